// The global hot key on X11: a passive key grab on the root window, on a connection of its own, so
// that it works whatever Qt's platform is. The grab is made for each keycode that carries the key's
// keysym, and again with Num Lock and Caps Lock, which would otherwise stop it matching. A change
// of the keyboard mapping moves the grabs to the keys that now carry the keysyms.
#pragma once

#include "DesktopSession.h"
#include "HotKeyRegistering.h"
#include "X11KeyMapping.h"

#include <QByteArray>
#include <QObject>
#include <memory>

class X11HotKeyRegistrar : public QObject, public HotKeyRegistering {
    Q_OBJECT

public:
    // Connects to `displayName` (empty: $DISPLAY) in an X11 session. In any other session, or while
    // the display can't be reached, every operation answers HotKeyRegistrationStatus::unavailable
    // and nothing is grabbed; each installation and registration tries to connect again.
    explicit X11HotKeyRegistrar(DesktopSessionType session = desktopSessionType(),
                                const QByteArray& displayName = {}, QObject* parent = nullptr);
    ~X11HotKeyRegistrar() override;

    bool isConnected() const;
    X11KeyMapping::ModifierMasks modifierMasks() const;
    // Presses of a held key that the keyboard repeated; they call no handler, as a held hot key
    // must not toggle the panel over and over.
    int ignoredRepeatCount() const;
    // The server time of the last press handed to the handlers, 0 before the first: window managers
    // take focus requests that carry the time of the event that caused them.
    quint32 lastPressTimestamp() const override;

    // Lets go of the keys registered so far, so that a shortcut recorder sees them; registrations
    // made meanwhile grab as usual. Resuming grabs the suspended ones again and answers the first
    // failure (the key may have been taken meanwhile); such a registration stays without a key.
    void suspendGrabs() override;
    qint32 resumeGrabs() override;

    // Presses are delivered on this object's thread, from its event loop.
    qint32 installEventHandler(PressHandler handler, HotKeyHandlerReference& reference) override;
    void removeEventHandler(HotKeyHandlerReference reference) override;
    // BadAccess (10) when another client holds the combination.
    qint32 registerHotKey(const PromptKeyboardShortcut& shortcut, HotKeyID id,
                          HotKeyReference& reference) override;
    qint32 unregisterHotKey(HotKeyReference reference) override;

Q_SIGNALS:
    // A keyboard mapping change has been handled: every registration holds its keys again, or has
    // been logged as lost.
    void grabsRenewed();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
