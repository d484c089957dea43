// The global hot key through the desktop portal's GlobalShortcuts, for Wayland sessions, where an X11
// grab hears keys only while an X11 window has focus. Each registration is a portal session holding
// one shortcut, "toggle-panel", with the stored combination as the preferred trigger. The desktop
// binds it, often after asking the user, so a registration that returns 0 is only a request: its
// answer reaches the answer handler later. Presses (the portal's Activated) reach the press handlers
// only for the session and shortcut of a registration still held. A portal that leaves the bus and
// comes back is asked again for every registration it held.
#pragma once

#include "HotKeyRegistering.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <memory>

class QDBusMessage;

class PortalHotKeyRegistrar : public QObject, public HotKeyRegistering {
    Q_OBJECT

public:
    static constexpr auto serviceName = "org.freedesktop.portal.Desktop";
    static constexpr auto shortcutID = "toggle-panel";

    // Introduces the application to the portal as `applicationID` where the portal offers its host
    // registry; it must come before any other portal call, which would fix the application's identity
    // otherwise. Blocks until the portal answered; false when it refused or offers no registry.
    static bool introduceApplication(const QDBusConnection& bus, const QString& applicationID);
    // Whether the portal answers on `bus` and offers GlobalShortcuts. Blocks until it answered.
    static bool offersGlobalShortcuts(const QDBusConnection& bus);
    // The combination in the form of the desktop's shortcut settings ("LOGO+SHIFT+p"); empty for a
    // key with no name there, and the desktop then lets the user choose.
    static QString preferredTrigger(const PromptKeyboardShortcut& shortcut);

    // `applicationID` introduces the application again to a portal that comes back.
    PortalHotKeyRegistrar(const QDBusConnection& bus, const QString& applicationID,
                          QObject* parent = nullptr);
    ~PortalHotKeyRegistrar() override;

    // What the desktop said the toggle keys are, for the registration bound last; empty before.
    QString triggerDescription() const;

    qint32 installEventHandler(PressHandler handler, HotKeyHandlerReference& reference) override;
    void removeEventHandler(HotKeyHandlerReference reference) override;
    // HotKeyRegistrationStatus::unavailable while no portal is on the bus; otherwise 0 once the
    // request is sent. A refused request answers cancelledByUser or refusedByDesktop, a portal that
    // left the bus unavailable; none of these is asked again but the last, when the portal is back.
    qint32 registerHotKey(const PromptKeyboardShortcut& shortcut, HotKeyID id,
                          HotKeyReference& reference) override;
    // Closes the registration's portal session, and its open request with any dialog of it.
    qint32 unregisterHotKey(HotKeyReference reference) override;
    void setAnswerHandler(AnswerHandler handler) override;
    quint32 lastPressTimestamp() const override;

private Q_SLOTS:
    void handlePortalSignal(const QDBusMessage& message);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
