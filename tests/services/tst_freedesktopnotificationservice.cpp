// Desktop notifications over a private session bus with a fake notification server: what is sent,
// the default action opening the link, and a desktop without a server.

#include "AppLog.h"
#include "FreedesktopNotificationService.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

// Answers Notify as a notification server does and remembers what it was given.
class FakeNotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Call {
        QString appName;
        QString icon;
        QString summary;
        QString body;
        QStringList actions;
        QVariantMap hints;
    };

    QList<Call> calls;

public Q_SLOTS:
    uint Notify(const QString& appName, uint replacesId, const QString& icon, const QString& summary,
                const QString& body, const QStringList& actions, const QVariantMap& hints, int timeout)
    {
        Q_UNUSED(replacesId);
        Q_UNUSED(timeout);
        calls.append({appName, icon, summary, body, actions, hints});
        return uint(40 + calls.size());
    }
};

class TestFreedesktopNotificationService : public QObject {
    Q_OBJECT

    QProcess m_bus;
    QString m_address;
    QStringList m_log;

    void emitFromServer(QDBusConnection& server, const QString& name, const QVariantList& arguments)
    {
        QDBusMessage signal = QDBusMessage::createSignal(u"/org/freedesktop/Notifications"_s,
                                                         u"org.freedesktop.Notifications"_s, name);
        signal.setArguments(arguments);
        QVERIFY(server.send(signal));
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
            QSKIP("dbus-daemon is not installed (package dbus)");
        m_bus.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
        QVERIFY(m_bus.waitForStarted());
        QVERIFY(m_bus.waitForReadyRead());
        m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
        QVERIFY(!m_address.isEmpty());
    }

    void cleanupTestCase()
    {
        m_bus.kill();
        m_bus.waitForFinished();
    }

    void init()
    {
        m_log.clear();
        AppLog::setSinkForTesting([this](AppLog::Category, const QString& line) { m_log.append(line); });
    }

    void cleanup() { AppLog::setSinkForTesting(nullptr); }

    void theDefaultActionOpensTheLink()
    {
        QDBusConnection server = QDBusConnection::connectToBus(m_address, u"server"_s);
        QVERIFY(server.isConnected());
        FakeNotificationServer fake;
        QVERIFY(server.registerObject(u"/org/freedesktop/Notifications"_s, &fake,
                                      QDBusConnection::ExportAllSlots));
        QVERIFY(server.registerService(u"org.freedesktop.Notifications"_s));

        QList<QUrl> opened;
        QDBusConnection client = QDBusConnection::connectToBus(m_address, u"client"_s);
        FreedesktopNotificationService service(client, [&opened](const QUrl& url) { opened.append(url); });
        service.notify({u"Velmora 2.0 is available"_s, u"Open the download page."_s, u"Download"_s,
                        QUrl(u"https://velmora.app/releases/2.0"_s)});
        service.notify({u"Velmora 2.1 is available"_s, u"Open the download page."_s, u"Download"_s,
                        QUrl(u"https://velmora.app/releases/2.1"_s)});
        QTRY_COMPARE(fake.calls.size(), 2);
        const FakeNotificationServer::Call call = fake.calls.first();
        QCOMPARE(call.appName, u"Velmora"_s);
        QCOMPARE(call.summary, u"Velmora 2.0 is available"_s);
        QCOMPARE(call.body, u"Open the download page."_s);
        QCOMPARE(call.actions, (QStringList{u"default"_s, u"Download"_s}));
        QCOMPARE(call.hints.value(u"desktop-entry"_s).toString(), u"app.velmora.Velmora"_s);

        // Another program's notification, another action, then ours.
        emitFromServer(server, u"ActionInvoked"_s, {uint(7), u"default"_s});
        emitFromServer(server, u"ActionInvoked"_s, {uint(42), u"other"_s});
        emitFromServer(server, u"ActionInvoked"_s, {uint(41), u"default"_s});
        QTRY_COMPARE(opened.size(), 1);
        QCOMPARE(opened.first(), QUrl(u"https://velmora.app/releases/2.0"_s));

        // A closed notification can no longer open anything.
        emitFromServer(server, u"NotificationClosed"_s, {uint(42), uint(2)});
        emitFromServer(server, u"ActionInvoked"_s, {uint(42), u"default"_s});
        emitFromServer(server, u"ActionInvoked"_s, {uint(41), u"default"_s});
        QTRY_COMPARE(opened.size(), 2);
        QCOMPARE(opened.last(), QUrl(u"https://velmora.app/releases/2.0"_s));
        QVERIFY(m_log.isEmpty());

        server.unregisterService(u"org.freedesktop.Notifications"_s);
        QDBusConnection::disconnectFromBus(u"server"_s);
        QDBusConnection::disconnectFromBus(u"client"_s);
    }

    void aDesktopWithoutANotificationServerLogsOneLine()
    {
        QDBusConnection client = QDBusConnection::connectToBus(m_address, u"lonely"_s);
        FreedesktopNotificationService service(client, [](const QUrl&) { QFAIL("nothing to open"); });
        service.notify(
            {u"Velmora 2.0 is available"_s, u"body"_s, u"Download"_s, QUrl(u"https://velmora.app"_s)});
        QTRY_COMPARE(m_log.size(), 1);
        QVERIFY(m_log.first().startsWith(u"Show update notification failed error=QDBusError "_s));
        QVERIFY(m_log.first().contains(u"org.freedesktop.DBus.Error.ServiceUnknown"_s));
        QDBusConnection::disconnectFromBus(u"lonely"_s);
    }
};

QTEST_GUILESS_MAIN(TestFreedesktopNotificationService)
#include "tst_freedesktopnotificationservice.moc"
