// The Wayland hot key against a fake desktop portal on a private session bus: what is sent, which
// presses count, refusals, a portal that restarts, and the choice of the facility.
#include "HotKeyFacility.h"
#include "HotKeyService.h"
#include "PortalHotKeyRegistrar.h"

#include "AppLanguage.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString applicationID = u"app.velmora.Velmora"_s;
const PromptKeyboardShortcut superShiftP{35, ShortcutModifiers::control | ShortcutModifiers::shift};
const PromptKeyboardShortcut superAltK{40, ShortcutModifiers::control | ShortcutModifiers::option};

struct Answer {
    quint32 id = 0;
    qint32 status = 0;
    QString triggerDescription;
    bool operator==(const Answer&) const = default;
};

} // namespace

class TestPortalHotKey : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_busAddress;
    std::unique_ptr<QDBusConnection> m_bus;
    std::unique_ptr<QProcess> m_portal;

    // A bus of our own that activates nothing: a desktop portal installed on the machine must
    // never answer in the fake's place.
    bool startBus()
    {
        QFile configuration(m_folder.filePath(u"bus.conf"_s));
        if (!configuration.open(QIODevice::WriteOnly))
            return false;
        configuration.write(
            "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><auth>EXTERNAL</auth>"
            "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
            "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        configuration.close();
        m_daemon.start(u"dbus-daemon"_s, {u"--config-file="_s + configuration.fileName(), u"--nofork"_s,
                                          u"--print-address=1"_s});
        if (!m_daemon.waitForStarted(5000) || !m_daemon.waitForReadyRead(5000))
            return false;
        m_busAddress = QString::fromUtf8(m_daemon.readLine()).trimmed();
        return !m_busAddress.isEmpty();
    }

    bool startPortal(const QStringList& arguments = {})
    {
        m_portal = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, m_busAddress);
        m_portal->setProcessEnvironment(environment);
        m_portal->start(QStringLiteral(FAKE_PORTAL_BINARY), arguments);
        return m_portal->waitForStarted(5000) && QTest::qWaitFor([this] {
                   return m_bus->interface()
                       ->isServiceRegistered(QString::fromLatin1(PortalHotKeyRegistrar::serviceName))
                       .value();
               });
    }

    void stopPortal()
    {
        if (m_portal) {
            m_portal->kill();
            m_portal->waitForFinished(5000);
        }
        m_portal.reset();
    }

    QDBusMessage control(const QString& method, const QVariantList& arguments = {})
    {
        QDBusMessage call =
            QDBusMessage::createMethodCall(QString::fromLatin1(PortalHotKeyRegistrar::serviceName),
                                           u"/app/velmora/test"_s, u"app.velmora.test.FakePortal"_s, method);
        call.setArguments(arguments);
        return m_bus->call(call);
    }

    // Every call the portal received, in order; the round trip also waits for those sent before it.
    QJsonArray calls()
    {
        return QJsonDocument::fromJson(control(u"Calls"_s).arguments().value(0).toString().toUtf8()).array();
    }

    QList<QJsonObject> callsOf(const QString& member)
    {
        QList<QJsonObject> found;
        for (const QJsonValue& call : calls()) {
            if (call[u"member"].toString() == member)
                found.append(call.toObject());
        }
        return found;
    }

    void activate(const QString& session, const QString& id, qulonglong timestamp)
    {
        control(u"Activate"_s, {QVariant::fromValue(QDBusObjectPath(session)), id, timestamp});
    }

    // A registrar and service as the app builds them, with the answers and presses they report.
    struct Rig {
        PortalHotKeyRegistrar registrar;
        HotKeyService service;
        QList<Answer> answers;
        QList<quint32> pressTimes;

        explicit Rig(const QDBusConnection& bus) : registrar(bus, applicationID), service(&registrar)
        {
            registrar.setAnswerHandler([this](HotKeyID id, qint32 status, const QString& description) {
                answers.append({id.id, status, description});
            });
        }
        qint32 registerHotKey(const PromptKeyboardShortcut& shortcut)
        {
            return service.registerHotKey(shortcut,
                                          [this] { pressTimes.append(registrar.lastPressTimestamp()); });
        }
    };

private Q_SLOTS:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
            QSKIP("dbus-daemon is not installed (scripts/setup installs it)");
        QVERIFY(startBus());
        m_bus = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(m_busAddress, u"app"_s));
        QVERIFY(m_bus->isConnected());
    }

    void cleanupTestCase()
    {
        stopPortal();
        m_daemon.terminate();
        m_daemon.waitForFinished(5000);
    }

    void init()
    {
        QVERIFY(startPortal());
        QCOMPARE(chooseHotKeyFacility(DesktopSessionType::wayland, *m_bus, applicationID),
                 HotKeyFacility::portal);
    }

    void cleanup() { stopPortal(); }

    void choosesTheFacilityFromSessionAndPortal_data()
    {
        QTest::addColumn<DesktopSessionType>("session");
        QTest::addColumn<QStringList>("portal"); // its arguments; "absent" for none on the bus
        QTest::addColumn<HotKeyFacility>("facility");
        QTest::newRow("X11 takes the grab")
            << DesktopSessionType::x11 << QStringList() << HotKeyFacility::x11Grab;
        QTest::newRow("Wayland with the portal")
            << DesktopSessionType::wayland << QStringList() << HotKeyFacility::portal;
        QTest::newRow("Wayland, portal without GlobalShortcuts")
            << DesktopSessionType::wayland << QStringList{u"--without-global-shortcuts"_s}
            << HotKeyFacility::none;
        QTest::newRow("Wayland, no portal")
            << DesktopSessionType::wayland << QStringList{u"absent"_s} << HotKeyFacility::none;
        QTest::newRow("no session") << DesktopSessionType::none << QStringList() << HotKeyFacility::none;
    }

    void choosesTheFacilityFromSessionAndPortal()
    {
        QFETCH(DesktopSessionType, session);
        QFETCH(QStringList, portal);
        QFETCH(HotKeyFacility, facility);
        stopPortal();
        if (portal != QStringList{u"absent"_s})
            QVERIFY(startPortal(portal));

        QCOMPARE(chooseHotKeyFacility(session, *m_bus, applicationID), facility);
        if (session == DesktopSessionType::wayland && m_portal) {
            // The application is introduced before anything else is asked of the portal.
            const QJsonArray sent = calls();
            QCOMPARE(sent.size(), 2);
            QCOMPARE(sent[0][u"member"].toString(), u"Register"_s);
            QCOMPARE(sent[0][u"appID"].toString(), applicationID);
            QCOMPARE(sent[1][u"member"].toString(), u"Get"_s);
        } else if (m_portal) {
            QVERIFY(calls().isEmpty());
        }
        if (facility == HotKeyFacility::none) {
            const qsizetype callsMade = m_portal ? calls().size() : 0;
            const auto registrar = makeHotKeyRegistrar(facility, session, *m_bus, applicationID);
            HotKeyService service(registrar.get());
            QCOMPARE(service.registerHotKey(superShiftP, [] {}), HotKeyRegistrationStatus::unavailable);
            QVERIFY(!service.isRunning());
            if (m_portal)
                QCOMPARE(calls().size(), callsMade); // it touches nothing
        }
    }

    void bindsTheToggleShortcutWithTokensDescriptionAndTrigger()
    {
        Rig rig(*m_bus);
        QCOMPARE(rig.registerHotKey(superShiftP), 0);
        QTRY_COMPARE(rig.answers.size(), 1);
        QCOMPARE(rig.answers[0], (Answer{*rig.service.activeEventID(), 0, u"Press LOGO+SHIFT+p"_s}));
        QCOMPARE(rig.registrar.triggerDescription(), u"Press LOGO+SHIFT+p"_s);

        const QJsonArray sent = calls();
        QStringList members;
        for (const QJsonValue& call : sent)
            members << call[u"member"].toString();
        QCOMPARE(members, (QStringList{u"Register"_s, u"Get"_s, u"CreateSession"_s, u"BindShortcuts"_s}));
        const QJsonObject created = sent[2].toObject();
        const QJsonObject bound = sent[3].toObject();
        const QStringList tokens{created[u"options"][u"handle_token"].toString(),
                                 created[u"options"][u"session_handle_token"].toString(),
                                 bound[u"options"][u"handle_token"].toString()};
        static const QRegularExpression tokenForm(u"^[A-Za-z0-9_]+$"_s);
        for (const QString& token : tokens)
            QVERIFY2(tokenForm.match(token).hasMatch(), qPrintable(token));
        QCOMPARE(QSet<QString>(tokens.begin(), tokens.end()).size(), 3);
        QCOMPARE(bound[u"session"].toString(), created[u"session"].toString());
        const QJsonArray shortcuts = bound[u"shortcuts"].toArray();
        QCOMPARE(shortcuts.size(), 1);
        QCOMPARE(shortcuts[0].toObject(),
                 (QJsonObject{{u"id"_s, u"toggle-panel"_s},
                              {u"description"_s, L10n::text(u"linux.shortcut.portal.description"_s)},
                              {u"preferred_trigger"_s, u"LOGO+SHIFT+p"_s}}));
    }

    void pressesCountOnlyForTheCurrentSessionAndShortcut()
    {
        Rig rig(*m_bus);
        QCOMPARE(rig.registerHotKey(superShiftP), 0);
        QTRY_COMPARE(rig.answers.size(), 1);
        const QString first = callsOf(u"CreateSession"_s).value(0)[u"session"].toString();
        activate(first, u"toggle-panel"_s, 4242);
        activate(first, u"another-shortcut"_s, 1);
        QTRY_COMPARE(rig.pressTimes.size(), 1);

        // A change closes the old session before it creates the new one.
        QCOMPARE(rig.registerHotKey(superAltK), 0);
        QTRY_COMPARE(rig.answers.size(), 2);
        QCOMPARE(rig.answers[1].status, 0);
        const QJsonArray sent = calls();
        qsizetype closed = -1;
        qsizetype secondCreated = -1;
        for (qsizetype index = 0; index < sent.size(); ++index) {
            if (sent[index][u"member"].toString() == u"Close" && sent[index][u"path"].toString() == first)
                closed = index;
            if (sent[index][u"member"].toString() == u"CreateSession" &&
                sent[index][u"session"].toString() != first)
                secondCreated = index;
        }
        QVERIFY(closed >= 0 && closed < secondCreated);
        QCOMPARE(callsOf(u"BindShortcuts"_s).value(1)[u"shortcuts"][0][u"preferred_trigger"].toString(),
                 u"LOGO+ALT+k"_s);

        const QString second = sent[secondCreated][u"session"].toString();
        activate(first, u"toggle-panel"_s, 5);
        activate(second, u"toggle-panel"_s, 6);
        QTRY_COMPARE(rig.pressTimes.size(), 2);
        QCOMPARE(rig.pressTimes, (QList<quint32>{4242, 6}));
        QCOMPARE(rig.registrar.lastPressTimestamp(), 6u);
    }

    void aRefusalFailsWithoutAskingAgain_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<uint>("response");
        QTest::addColumn<qint32>("status");
        QTest::newRow("session cancelled")
            << u"CreateSession"_s << 1u << HotKeyRegistrationStatus::cancelledByUser;
        QTest::newRow("session refused")
            << u"CreateSession"_s << 2u << HotKeyRegistrationStatus::refusedByDesktop;
        QTest::newRow("dialog cancelled")
            << u"BindShortcuts"_s << 1u << HotKeyRegistrationStatus::cancelledByUser;
        QTest::newRow("binding refused")
            << u"BindShortcuts"_s << 2u << HotKeyRegistrationStatus::refusedByDesktop;
    }

    void aRefusalFailsWithoutAskingAgain()
    {
        QFETCH(QString, method);
        QFETCH(uint, response);
        QFETCH(qint32, status);
        control(u"SetResponse"_s, {method, response});
        Rig rig(*m_bus);
        QCOMPARE(rig.registerHotKey(superShiftP), 0);
        QTRY_COMPARE(rig.answers.size(), 1);
        QCOMPARE(rig.answers[0], (Answer{*rig.service.activeEventID(), status, QString()}));
        const QString key = status == HotKeyRegistrationStatus::cancelledByUser
                                ? u"linux.shortcut.register.cancelled"_s
                                : u"linux.shortcut.register.refused"_s;
        QCOMPARE(HotKeyStatus::failed(superShiftP, status).message(AppLanguage::english),
                 L10n::text(key, AppLanguage::english).arg(superShiftP.displayString()));
        QCOMPARE(callsOf(u"CreateSession"_s).size(), 1);
        QCOMPARE(callsOf(u"BindShortcuts"_s).size(), method == u"BindShortcuts" ? 1 : 0);
        if (method == u"BindShortcuts") { // the session that came to nothing is closed
            const QString session = callsOf(u"CreateSession"_s).value(0)[u"session"].toString();
            QCOMPARE(callsOf(u"Close"_s).value(0)[u"path"].toString(), session);
        }
    }

    void aPortalThatComesBackIsAskedAgain()
    {
        Rig rig(*m_bus);
        QCOMPARE(rig.registerHotKey(superShiftP), 0);
        QTRY_COMPARE(rig.answers.size(), 1);

        stopPortal();
        QTRY_COMPARE(rig.answers.size(), 2);
        QCOMPARE(rig.answers[1].status, HotKeyRegistrationStatus::unavailable);
        QVERIFY(startPortal());
        QTRY_COMPARE(rig.answers.size(), 3);
        QCOMPARE(rig.answers[2], (Answer{*rig.service.activeEventID(), 0, u"Press LOGO+SHIFT+p"_s}));
        QStringList members;
        for (const QJsonValue& call : calls())
            members << call[u"member"].toString();
        QCOMPARE(members, (QStringList{u"Register"_s, u"CreateSession"_s, u"BindShortcuts"_s}));

        activate(callsOf(u"CreateSession"_s).value(0)[u"session"].toString(), u"toggle-panel"_s, 7);
        QTRY_COMPARE(rig.pressTimes, QList<quint32>{7});
    }
};

QTEST_GUILESS_MAIN(TestPortalHotKey)
#include "tst_portalhotkey.moc"
