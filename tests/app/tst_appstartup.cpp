// Starts the real velmora binary on a private X server and session bus, as a user would.
#include "XvfbServer.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

class TestAppStartup : public QObject {
    Q_OBJECT

    XvfbServer m_server;
    QTemporaryDir m_home;
    std::unique_ptr<QDBusConnection> m_bus;

    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = m_server.environment();
        environment.insert(u"HOME"_s, m_home.path());
        environment.insert(u"XDG_CONFIG_HOME"_s, m_home.filePath(u".config"_s));
        return environment;
    }

    bool velmoraOnTheBus() const
    {
        return m_bus->interface()->isServiceRegistered(u"app.velmora.Velmora"_s).value();
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!XvfbServer::available() || QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
            QSKIP("Xvfb or dbus-daemon is not installed (scripts/setup installs both)");
        QVERIFY(m_server.start());
        const QString address = m_server.startSessionBus();
        QVERIFY(!address.isEmpty());
        m_bus = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(address, u"test"_s));
        QVERIFY(m_bus->isConnected());
        QVERIFY(QDir(m_home.path()).mkpath(u".velmora/workspaces"_s));
        QFile global(m_home.filePath(u".velmora/global.yaml"_s));
        QVERIFY(global.open(QIODevice::WriteOnly));
        global.write("prompts:\n  - id: review\n    title: Review\n    text: Review this change.\n");
    }

    void staysUpAloneAndQuitsCleanlyOnSignals_data()
    {
        QTest::addColumn<int>("signalNumber");
        QTest::newRow("SIGTERM") << int(SIGTERM);
        QTest::newRow("SIGINT") << int(SIGINT);
    }

    void staysUpAloneAndQuitsCleanlyOnSignals()
    {
        QFETCH(int, signalNumber);
        QProcess velmora;
        velmora.setProcessEnvironment(environment());
        velmora.start(QStringLiteral(VELMORA_BINARY), {});
        QVERIFY(velmora.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(velmoraOnTheBus(), 20000);
        QCOMPARE(velmora.state(), QProcess::Running);

        // A second start hands over to the running copy and exits at once.
        QProcess second;
        second.setProcessEnvironment(environment());
        second.start(QStringLiteral(VELMORA_BINARY), {});
        QVERIFY(second.waitForFinished(20000));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(velmora.state(), QProcess::Running);

        ::kill(pid_t(velmora.processId()), signalNumber);
        QVERIFY(velmora.waitForFinished(20000));
        QCOMPARE(velmora.exitStatus(), QProcess::NormalExit);
        QCOMPARE(velmora.exitCode(), 0);
        const QByteArray errors = velmora.readAllStandardError();
        QVERIFY2(!errors.contains("QFATAL") && !errors.contains("ASSERT"), errors.constData());
        QTRY_VERIFY(!velmoraOnTheBus());
    }
};

QTEST_GUILESS_MAIN(TestAppStartup)
#include "tst_appstartup.moc"
