// The desktop as the probe reports it: the session from the environment, the tray host and the
// portal's version asked over a private session bus, the sound server on a thread, never waited for.
#include "LinuxDesktopSessionProbe.h"
#include "XvfbServer.h"

#include <QDBusConnection>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using Report = DesktopSessionReport;

class FakeTrayWatcher : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)

public:
    bool host = true;
    bool hostRegistered() const { return host; }
};

class FakeGlobalShortcutsPortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")
    Q_PROPERTY(uint version READ version)

public:
    uint version() const { return 2; }
};

class TestDesktopSessionProbe : public QObject {
    Q_OBJECT

    static LinuxDesktopSessionProbe::Configuration offline(bool sound = false, bool x11Tray = false)
    {
        LinuxDesktopSessionProbe::Configuration configuration;
        configuration.environment = QProcessEnvironment();
        configuration.soundServerProbe = [sound] { return sound; };
        configuration.x11TrayProbe = [x11Tray] { return x11Tray; };
        return configuration;
    }

private Q_SLOTS:
    void sessionComesFromTheEnvironment_data()
    {
        QTest::addColumn<QStringList>("variables");
        QTest::addColumn<Report::Session>("session");
        QTest::newRow("declared x11 beats a Wayland socket")
            << QStringList{u"XDG_SESSION_TYPE=x11"_s, u"WAYLAND_DISPLAY=wayland-0"_s} << Report::Session::x11;
        QTest::newRow("declared wayland beats DISPLAY (XWayland)")
            << QStringList{u"XDG_SESSION_TYPE=wayland"_s, u"DISPLAY=:0"_s} << Report::Session::wayland;
        QTest::newRow("tty falls back to the sockets")
            << QStringList{u"XDG_SESSION_TYPE=tty"_s, u"DISPLAY=:1"_s} << Report::Session::x11;
        QTest::newRow("Wayland socket before DISPLAY")
            << QStringList{u"WAYLAND_DISPLAY=wayland-1"_s, u"DISPLAY=:1"_s} << Report::Session::wayland;
        QTest::newRow("nothing") << QStringList{} << Report::Session::none;
    }

    void sessionComesFromTheEnvironment()
    {
        QFETCH(QStringList, variables);
        auto configuration = offline();
        for (const QString& variable : std::as_const(variables))
            configuration.environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
        configuration.environment.insert(u"XDG_CURRENT_DESKTOP"_s, u"KDE"_s);
        LinuxDesktopSessionProbe probe(configuration);
        QTEST(probe.report().session, "session");
        QCOMPARE(probe.report().currentDesktop, u"KDE"_s);
        QVERIFY(!probe.report().hasHaptics);
    }

    void soundServerIsCheckingUntilTheThreadAnswers_data()
    {
        QTest::addColumn<bool>("answers");
        QTest::newRow("server") << true;
        QTest::newRow("no server") << false;
    }

    void soundServerIsCheckingUntilTheThreadAnswers()
    {
        QFETCH(bool, answers);
        LinuxDesktopSessionProbe probe(offline(answers));
        QCOMPARE(probe.report().hasSoundServer, std::nullopt);
        QTRY_COMPARE(probe.report().hasSoundServer, std::optional<bool>(answers));
    }

    void withoutABusTheX11TrayDecides()
    {
        LinuxDesktopSessionProbe withTray(offline(false, true));
        QCOMPARE(withTray.report().hasTrayHost, std::optional<bool>(true));
        LinuxDesktopSessionProbe without(offline(false, false));
        QCOMPARE(without.report().hasTrayHost, std::optional<bool>(false));
        QCOMPARE(without.report().portalVersion, std::nullopt);
    }

    void trayHostAndPortalVersionFollowTheBus()
    {
        XvfbServer server;
        if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
            QSKIP("dbus-daemon is not installed");
        const QString address = server.startSessionBus();
        QVERIFY(!address.isEmpty());
        QDBusConnection desktop = QDBusConnection::connectToBus(address, u"desktop"_s);
        QVERIFY(desktop.isConnected());
        FakeGlobalShortcutsPortal portal;
        QVERIFY(desktop.registerObject(u"/org/freedesktop/portal/desktop"_s, &portal,
                                       QDBusConnection::ExportAllProperties));
        QVERIFY(desktop.registerService(u"org.freedesktop.portal.Desktop"_s));

        auto configuration = offline();
        configuration.bus = QDBusConnection::connectToBus(address, u"velmora"_s);
        configuration.hotKeyFacility = Report::HotKeyFacility::portal;
        LinuxDesktopSessionProbe probe(configuration);
        QCOMPARE(probe.report().hotKeyFacility, Report::HotKeyFacility::portal);
        QTRY_COMPARE(probe.report().portalVersion, std::optional<quint32>(2));
        QTRY_COMPARE(probe.report().hasTrayHost, std::optional<bool>(false));

        // A bar that starts later brings a tray; one that quits takes it away.
        FakeTrayWatcher watcher;
        QVERIFY(desktop.registerObject(u"/StatusNotifierWatcher"_s, &watcher, QDBusConnection::ExportAllProperties));
        QVERIFY(desktop.registerService(u"org.kde.StatusNotifierWatcher"_s));
        QTRY_COMPARE(probe.report().hasTrayHost, std::optional<bool>(true));
        QVERIFY(desktop.unregisterService(u"org.kde.StatusNotifierWatcher"_s));
        QTRY_COMPARE(probe.report().hasTrayHost, std::optional<bool>(false));

        probe.setTriggerDescription(u"Super+Shift+P"_s);
        QCOMPARE(probe.report().triggerDescription, u"Super+Shift+P"_s);
        QDBusConnection::disconnectFromBus(u"velmora"_s);
        QDBusConnection::disconnectFromBus(u"desktop"_s);
    }
};

QTEST_GUILESS_MAIN(TestDesktopSessionProbe)
#include "tst_desktopsessionprobe.moc"
