// Velmora's D-Bus interface on a private session bus: each method, each property and its change
// signal, and a second start that hands over to the running copy.
#include "AppNotifications.h"
#include "PromptStore.h"
#include "StatusVelmoraController.h"
#include "VelmoraDBusService.h"
#include "VelmoraRuntime.h"
#include "XvfbServer.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDir>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// Collects the PropertiesChanged signals of Velmora's object.
class PropertiesWatcher : public QObject {
    Q_OBJECT

public:
    QList<QVariantMap> changes;

    // The latest value announced for `name`, if any.
    QVariant last(const QString& name) const
    {
        for (auto change = changes.crbegin(); change != changes.crend(); ++change) {
            if (change->contains(name))
                return change->value(name);
        }
        return {};
    }

public Q_SLOTS:
    void propertiesChanged(const QString& interface, const QVariantMap& changed, const QStringList&)
    {
        if (interface == u"app.velmora.Velmora1")
            changes.append(changed);
    }
};

class TestVelmoraDBusService : public QObject {
    Q_OBJECT

    XvfbServer m_server; // only its session bus
    QTemporaryDir m_home;
    std::unique_ptr<VelmoraRuntime> m_runtime;
    std::unique_ptr<StatusVelmoraController> m_controller;
    std::unique_ptr<VelmoraDBusService> m_service;
    std::unique_ptr<QDBusConnection> m_client;
    PropertiesWatcher m_watcher;

    void writeGlobal(const QByteArray& prompts)
    {
        QFile global(m_home.filePath(u".velmora/global.yaml"_s));
        QVERIFY(global.open(QIODevice::WriteOnly | QIODevice::Truncate));
        global.write("prompts:\n" + prompts);
    }

    // The service runs on this thread: the reply can only be waited for with the event loop running.
    static QDBusMessage finished(QDBusPendingCall pending)
    {
        if (!QTest::qWaitFor([&pending] { return pending.isFinished(); }, 20000))
            return {};
        return pending.reply();
    }

    // Calls a method from another connection, as velmora-cli does, and waits for the answer.
    QDBusMessage call(const QString& method)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(u"app.velmora.Velmora"_s, u"/app/velmora/Velmora"_s,
                                                              u"app.velmora.Velmora1"_s, method);
        return finished(m_client->asyncCall(message));
    }

    QVariant property(const QString& name)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(u"app.velmora.Velmora"_s, u"/app/velmora/Velmora"_s,
                                                              u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
        message << u"app.velmora.Velmora1"_s << name;
        const QDBusMessage reply = finished(m_client->asyncCall(message));
        return reply.arguments().isEmpty() ? QVariant() : reply.arguments().first().value<QDBusVariant>().variant();
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
            QSKIP("dbus-daemon is not installed (scripts/setup installs it)");
        QStandardPaths::setTestModeEnabled(true);
        const QString address = m_server.startSessionBus();
        QVERIFY(!address.isEmpty());
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
        QVERIFY(QDir(m_home.path()).mkpath(u".velmora/workspaces"_s));
        writeGlobal("  - id: review\n    title: Review\n    text: Review this change.\n");

        m_runtime = std::make_unique<VelmoraRuntime>(
            m_home.path(), std::make_unique<QSettings>(m_home.filePath(u"settings.ini"_s), QSettings::IniFormat));
        m_service = std::make_unique<VelmoraDBusService>(*m_runtime);
        QVERIFY(m_service->registerOnSessionBus());
        StatusVelmoraController::Dependencies dependencies;
        dependencies.promptStore = &m_runtime->promptStore();
        dependencies.contextDetector = &m_runtime->contextDetector();
        dependencies.shortcutStore = &m_runtime->shortcutStore();
        dependencies.hotKeyService = &m_runtime->hotKeyService();
        dependencies.languageStore = &m_runtime->languageStore();
        dependencies.promptActionService = &m_runtime->promptActionService();
        dependencies.notifications = &m_runtime->notifications();
        m_controller = std::make_unique<StatusVelmoraController>(dependencies, StatusVelmoraController::Environment{});
        m_controller->bindVelmoraUpdates();
        m_controller->makePanelIfNeeded();
        m_service->setController(m_controller.get());

        m_client = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(address, u"client"_s));
        QVERIFY(m_client->connect(u"app.velmora.Velmora"_s, u"/app/velmora/Velmora"_s,
                                  u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s, &m_watcher,
                                  SLOT(propertiesChanged(QString, QVariantMap, QStringList))));
    }

    void cleanupTestCase()
    {
        m_controller.reset();
        m_service.reset();
        m_runtime.reset();
    }

    void reloadRepliesWithTheStatusAndAnnouncesTheModel()
    {
        const QDBusMessage reply = call(u"Reload"_s);
        QCOMPARE(reply.type(), QDBusMessage::ReplyMessage);
        QCOMPARE(reply.arguments().value(0).toString(), m_runtime->promptStore().statusMessage());
        QCOMPARE(property(u"StatusMessage"_s).toString(), m_runtime->promptStore().statusMessage());
        QTRY_COMPARE(property(u"PromptCount"_s).toInt(), 1);
        QCOMPARE(property(u"Title"_s).toString(), u"Velmora"_s);
        QTRY_COMPARE(m_watcher.last(u"PromptCount"_s).toInt(), 1);
        QCOMPARE(m_watcher.last(u"Title"_s).toString(), u"Velmora"_s);

        writeGlobal("  - id: a\n    title: A\n    text: a\n  - id: b\n    title: B\n    text: b\n");
        call(u"Reload"_s);
        QTRY_COMPARE(m_watcher.last(u"PromptCount"_s).toInt(), 2);
    }

    void methodsMoveThePanelAndItsStateIsAnnounced_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<bool>("locked");
        QTest::addColumn<QStringList>("states"); // announced, in order
        QTest::newRow("show") << u"ShowPanel"_s << false << QStringList{u"open"_s};
        QTest::newRow("hide") << u"HidePanel"_s << false << QStringList{u"closing"_s, u"hidden"_s};
        QTest::newRow("toggle opens") << u"TogglePanel"_s << false << QStringList{u"open"_s};
        QTest::newRow("toggle closes") << u"TogglePanel"_s << false << QStringList{u"closing"_s, u"hidden"_s};
        QTest::newRow("hide leaves a held panel open") << u"HidePanel"_s << true << QStringList{};
    }

    void methodsMoveThePanelAndItsStateIsAnnounced()
    {
        QFETCH(QString, method);
        QFETCH(bool, locked);
        QFETCH(QStringList, states);
        if (locked) {
            call(u"ShowPanel"_s);
            QTRY_COMPARE(m_watcher.last(u"PanelState"_s).toString(), u"open"_s);
        }
        // The last step's close has ended.
        QTRY_VERIFY(m_controller->panelState() != u"closing"_s);
        m_controller->morphState().setInteractionLocked(locked);
        m_watcher.changes.clear();
        const QString before = m_controller->panelState();
        QCOMPARE(call(method).type(), QDBusMessage::ReplyMessage);
        QStringList announced;
        QTRY_COMPARE_WITH_TIMEOUT((
            [&] {
                announced.clear();
                for (const QVariantMap& change : std::as_const(m_watcher.changes))
                    announced.append(change.value(u"PanelState"_s).toString());
                return announced;
            }()),
            states, 5000);
        QCOMPARE(property(u"PanelState"_s).toString(), states.isEmpty() ? before : states.last());
        m_controller->morphState().setInteractionLocked(false);
    }

    void aSecondStartShowsThePanelOfTheFirstAndExits()
    {
        m_controller->morphState().setInteractionLocked(false);
        m_controller->closePanel();
        QTRY_COMPARE(m_controller->panelState(), u"hidden"_s);
        QProcess second;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, m_server.busAddress());
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        environment.insert(u"HOME"_s, m_home.path());
        environment.insert(u"XDG_CONFIG_HOME"_s, m_home.filePath(u".config"_s));
        second.setProcessEnvironment(environment);
        second.start(QStringLiteral(VELMORA_BINARY), {});
        QTRY_COMPARE_WITH_TIMEOUT(second.state(), QProcess::NotRunning, 20000);
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(m_controller->panelState(), u"open"_s);
    }
};

QTEST_MAIN(TestVelmoraDBusService)
#include "tst_velmoradbusservice.moc"
