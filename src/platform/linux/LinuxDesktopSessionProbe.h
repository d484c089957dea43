// The desktop this Velmora runs on, probed without ever waiting: the session type and desktop name
// from the environment (never from Qt's platform name, as Velmora's windows run through XWayland on
// Wayland), the hot key facility chosen at start, the portal's GlobalShortcuts version and a tray host
// asked over D-Bus, an X11 tray read from the display, a sound server tried on a thread of its own.
// Linux desktops have no haptic feedback. Main thread only.
#pragma once

#include "DesktopSessionProbing.h"

#include <QDBusConnection>
#include <QProcessEnvironment>
#include <functional>

class LinuxDesktopSessionProbe : public DesktopSessionProbing {
    Q_OBJECT

public:
    struct Configuration {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        DesktopSessionReport::HotKeyFacility hotKeyFacility = DesktopSessionReport::HotKeyFacility::none;
        QDBusConnection bus = QDBusConnection(QString());
        // Runs off the main thread; true when a sound server answered. Absent: a libcanberra
        // context opens on the sound server.
        std::function<bool()> soundServerProbe = nullptr;
        // Whether an X11 tray (the system tray selection) has an owner; absent: asked of the display
        // in an X11 session, false elsewhere.
        std::function<bool()> x11TrayProbe = nullptr;
    };

    static DesktopSessionReport::Session session(const QProcessEnvironment& environment);
    // A libcanberra context opens on the sound server. Blocks briefly; call it off the main thread.
    static bool canberraContextOpens();
    // The system tray selection of the default screen has an owner on $DISPLAY.
    static bool x11TrayManagerPresent();

    // Starts every probe at once; their answers arrive by reportChanged.
    explicit LinuxDesktopSessionProbe(Configuration configuration, QObject* parent = nullptr);

    DesktopSessionReport report() const override { return m_report; }
    void refresh() override;
    // The desktop's words for the keys it bound (the portal's answer), from whoever hears them.
    void setTriggerDescription(const QString& description);

private Q_SLOTS:
    // Also the slot of the tray watcher's signals.
    void askTrayHost();

private:
    void askPortalVersion();
    void probeSoundServer();
    void update(const std::function<void(DesktopSessionReport&)>& change);

    Configuration m_configuration;
    DesktopSessionReport m_report;
    bool m_soundProbeRunning = false;
    bool m_statusNotifierHost = false;
};
