// The desktop's facility for one system-wide key combination: it grabs a key, reports a status, and
// hands each press to the installed handlers with the identifier the key was registered under.
#pragma once

#include "KeyboardShortcutModels.h"

#include <QString>
#include <QtGlobal>
#include <functional>

// What a registration is known by when its key is pressed: a four-character signature of the
// registering program and a number of its choosing.
struct HotKeyID {
    quint32 signature = 0;
    quint32 id = 0;

    bool operator==(const HotKeyID&) const = default;
};

// Opaque handles the facility gives out; 0 is never one.
using HotKeyReference = quint64;
using HotKeyHandlerReference = quint64;

class HotKeyRegistering {
public:
    // Called for every press of a registered key, possibly off the main thread.
    using PressHandler = std::function<void(HotKeyID)>;

    virtual ~HotKeyRegistering() = default;

    // Statuses are 0 for success, else a non-zero value of HotKeyRegistrationStatus or of the system.
    virtual qint32 installEventHandler(PressHandler handler, HotKeyHandlerReference& reference) = 0;
    virtual void removeEventHandler(HotKeyHandlerReference reference) = 0;

    // Non-zero when the combination is taken or the desktop offers no global keys.
    virtual qint32 registerHotKey(const PromptKeyboardShortcut& shortcut, HotKeyID id,
                                  HotKeyReference& reference) = 0;
    virtual qint32 unregisterHotKey(HotKeyReference reference) = 0;

    // Facilities that bind keys through the desktop (its portal) answer later: a registration that
    // returned 0 is then only a request. The handler hears how it went, for registrations still held:
    // 0 with the desktop's own words for the keys it bound, or a non-zero status when the request was
    // refused or the binding lost. It hears again when the desktop binds other keys or binds anew.
    // Facilities that answer at once never call it.
    using AnswerHandler = std::function<void(HotKeyID id, qint32 status, const QString& triggerDescription)>;
    virtual void setAnswerHandler(AnswerHandler handler) { Q_UNUSED(handler); }

    // The time of the last press handed to the handlers, 0 before the first: window managers take
    // focus requests that carry the time of the event that caused them.
    virtual quint32 lastPressTimestamp() const { return 0; }

    // Lets go of the keys registered so far while a shortcut recorder listens, so that it sees them,
    // and takes them back; resuming answers the first failure. Facilities whose keys never reach the
    // application's windows (the desktop's portal) have nothing to let go.
    virtual void suspendGrabs() {}
    virtual qint32 resumeGrabs() { return 0; }
};
