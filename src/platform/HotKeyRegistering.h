// The desktop's facility for one system-wide key combination: it grabs a key, reports a status, and
// hands each press to the installed handlers with the identifier the key was registered under.
#pragma once

#include "KeyboardShortcutModels.h"

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
};
