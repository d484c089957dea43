// The desktop's reduce-motion setting read from a settings portal on a private bus: the value, its
// changes, and no portal at all.
#include "ReduceMotionSetting.h"
#include "XvfbServer.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QTest>

using namespace Qt::StringLiterals;

// The part of the settings portal that Velmora reads; Read wraps the value once more, as portals do.
class FakeSettingsPortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    bool animations = false;

public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key)
    {
        if (group == u"org.gnome.desktop.interface" && key == u"enable-animations")
            return QDBusVariant(QVariant::fromValue(QDBusVariant(animations)));
        return QDBusVariant(QVariant::fromValue(QDBusVariant(QString())));
    }
};

class TestReduceMotionSetting : public QObject {
    Q_OBJECT

    XvfbServer m_server; // only its session bus

private Q_SLOTS:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
            QSKIP("dbus-daemon is not installed (scripts/setup installs it)");
        QVERIFY(!m_server.startSessionBus().isEmpty());
    }

    void followsThePortal()
    {
        QDBusConnection velmora = QDBusConnection::connectToBus(m_server.busAddress(), u"velmora"_s);
        ReduceMotionSetting absent(velmora);
        QCOMPARE(absent.reduceMotion(), false);

        FakeSettingsPortal portal;
        QDBusConnection desktop = QDBusConnection::connectToBus(m_server.busAddress(), u"portal"_s);
        QVERIFY(desktop.registerService(u"org.freedesktop.portal.Desktop"_s));
        QVERIFY(desktop.registerObject(u"/org/freedesktop/portal/desktop"_s, &portal,
                                       QDBusConnection::ExportAllSlots));
        ReduceMotionSetting setting(velmora);
        QTRY_COMPARE(setting.reduceMotion(), true);

        QDBusMessage changed = QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s,
                                                          u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        changed << u"org.gnome.desktop.interface"_s << u"enable-animations"_s
                << QVariant::fromValue(QDBusVariant(true));
        QVERIFY(desktop.send(changed));
        QTRY_COMPARE(setting.reduceMotion(), false);
    }
};

QTEST_GUILESS_MAIN(TestReduceMotionSetting)
#include "tst_reducemotionsetting.moc"
