// What this desktop offers Velmora, as Settings and the welcome guide report it: the kind of session,
// the desktop's name, who holds the global hot key, whether a tray and a sound server are there, and
// haptics. Every answer comes from the desktop itself; one it hasn't given yet is still being checked.
#pragma once

#include <QObject>
#include <QString>
#include <optional>

struct DesktopSessionReport {
    enum class Session { x11, wayland, none };
    // Who takes the global hot key: the X11 grab, the desktop portal's GlobalShortcuts, or nobody
    // (the user binds "velmora-cli toggle" in the desktop's keyboard settings).
    enum class HotKeyFacility { x11Grab, portal, none };

    Session session = Session::none;
    QString currentDesktop = {}; // XDG_CURRENT_DESKTOP as set; empty when unset
    HotKeyFacility hotKeyFacility = HotKeyFacility::none;
    std::optional<quint32> portalVersion = std::nullopt; // GlobalShortcuts' version, once the portal said
    QString triggerDescription = {}; // the keys the desktop bound, in its own words; empty before
    std::optional<bool> hasTrayHost = std::nullopt;    // absent while checking
    std::optional<bool> hasSoundServer = std::nullopt; // absent while checking
    bool hasHaptics = false;

    bool operator==(const DesktopSessionReport&) const = default;
};

class DesktopSessionProbing : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual DesktopSessionReport report() const = 0;
    // Asks again what may have changed since (a tray started later). Answers come by reportChanged;
    // the call never waits for the desktop.
    virtual void refresh() = 0;

Q_SIGNALS:
    void reportChanged();
};
