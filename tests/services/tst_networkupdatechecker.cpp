// The Linux update checker: its two settings off until turned on, the daily rule on a controllable
// clock, a newer version announced once a run, silent failures only logged, and one window at a time.

#include "AppLog.h"
#include "FakeUpdatePresentation.h"
#include "LocalHttpsServer.h"
#include "NetworkUpdateChecker.h"
#include "UpdateFeedSigner.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Response = LocalHttpsServer::Response;

namespace {

const QString feedPath = u"/appcast.xml"_s;

QByteArray feedWithLinuxVersion(const QByteArray& version)
{
    return "<rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>"
           "<item><sparkle:version>" +
           version +
           "</sparkle:version><link>https://velmora.app/releases</link>"
           "<enclosure url=\"https://velmora.app/v\" sparkle:os=\"linux\"/></item></channel></rss>";
}

} // namespace

class TestNetworkUpdateChecker : public QObject {
    Q_OBJECT

    LocalHttpsServer m_server;
    UpdateFeedSigner m_signer;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QSettings> m_settings;
    FakeUpdateCheckPresenter m_presenter;
    FakeDesktopNotifier m_notifier;
    QDateTime m_now;
    QStringList m_log;

    std::unique_ptr<NetworkUpdateChecker> makeChecker()
    {
        UpdateFeedClient::Configuration configuration;
        configuration.feedURL = m_server.url(feedPath);
        configuration.publicKey = m_signer.publicKey();
        configuration.currentVersion = u"1.0.0"_s;
        configuration.tlsConfiguration = m_server.clientConfiguration();
        NetworkUpdateChecker::Collaborators collaborators;
        collaborators.defaults = m_settings.get();
        collaborators.presenter = &m_presenter;
        collaborators.notifier = &m_notifier;
        collaborators.languageProvider = [] {
            return AppLanguage::english;
        };
        collaborators.clock = [this] {
            return m_now;
        };
        return std::make_unique<NetworkUpdateChecker>(configuration, collaborators);
    }

    void serveVersion(const QByteArray& version)
    {
        const QByteArray body = feedWithLinuxVersion(version);
        m_server.setResponse(feedPath, Response{200, body, {}, Response::Mode::normal});
        m_server.setResponse(feedPath + u".sig"_s,
                             Response{200, m_signer.signatureText(body), {}, Response::Mode::normal});
    }

    int feedRequests() const { return m_server.requestCount(feedPath); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_signer.isValid());
        QVERIFY(m_server.start());
    }

    void init()
    {
        m_server.clearRequests();
        serveVersion("1.0.0");
        m_dir = std::make_unique<QTemporaryDir>();
        m_settings = std::make_unique<QSettings>(m_dir->filePath(u"Velmora.conf"_s), QSettings::IniFormat);
        m_presenter = FakeUpdateCheckPresenter{};
        m_notifier = FakeDesktopNotifier{};
        m_now = QDateTime(QDate(2025, 3, 1), QTime(9, 0), Qt::UTC);
        m_log.clear();
        AppLog::setSinkForTesting([this](AppLog::Category category, const QString& line) {
            QCOMPARE(category, AppLog::Category::ui);
            m_log.append(line);
        });
    }

    void cleanup() { AppLog::setSinkForTesting(nullptr); }

    void bothSettingsAreOffUntilTurnedOn()
    {
        auto checker = makeChecker();
        QCOMPARE(checker->automaticallyChecksForUpdates(), false);
        QCOMPARE(checker->automaticallyDownloadsUpdates(), false);
        QCOMPARE(checker->scheduledCheckDelay(), std::nullopt);
        checker->setAutomaticallyChecksForUpdates(true);
        checker->setAutomaticallyDownloadsUpdates(true);
        QCOMPARE(m_settings->value(QLatin1String(NetworkUpdateChecker::automaticallyChecksKey)).toString(),
                 u"true"_s);
        QCOMPARE(m_settings->value(QLatin1String(NetworkUpdateChecker::automaticallyDownloadsKey)).toString(),
                 u"true"_s);
        // Kept between runs.
        QVERIFY(makeChecker()->automaticallyChecksForUpdates());
        QVERIFY(makeChecker()->automaticallyDownloadsUpdates());
        checker->setAutomaticallyChecksForUpdates(false);
        QCOMPARE(checker->scheduledCheckDelay(), std::nullopt);
    }

    void theDailyRule_data()
    {
        QTest::addColumn<std::optional<qint64>>("hoursSinceLastCheck");
        QTest::addColumn<bool>("due");
        QTest::addColumn<qint64>("delayMinutes");
        QTest::newRow("never checked") << std::optional<qint64>() << true << qint64(0);
        QTest::newRow("an hour ago") << std::optional<qint64>(1) << false << qint64(23 * 60);
        QTest::newRow("23 hours ago") << std::optional<qint64>(23) << false << qint64(60);
        QTest::newRow("a day ago") << std::optional<qint64>(24) << true << qint64(0);
        QTest::newRow("a week ago") << std::optional<qint64>(24 * 7) << true << qint64(0);
        QTest::newRow("in the future") << std::optional<qint64>(-5) << true << qint64(0);
    }

    void theDailyRule()
    {
        QFETCH(std::optional<qint64>, hoursSinceLastCheck);
        QFETCH(bool, due);
        QFETCH(qint64, delayMinutes);
        std::optional<QDateTime> last;
        if (hoursSinceLastCheck)
            last = m_now.addSecs(-*hoursSinceLastCheck * 3600);
        QCOMPARE(NetworkUpdateChecker::isAutomaticCheckDue(m_now, last), due);
        QCOMPARE(NetworkUpdateChecker::delayUntilDue(m_now, last),
                 std::chrono::milliseconds(std::chrono::minutes(delayMinutes)));
    }

    void silentChecksRunAtMostOnceADay()
    {
        auto checker = makeChecker();
        checker->setAutomaticallyChecksForUpdates(true);
        checker->checkForUpdatesInBackground();
        QTRY_COMPARE(feedRequests(), 1);
        QTRY_VERIFY(!checker->isCheckRunning());
        QCOMPARE(checker->lastCheckTime(), std::optional(m_now));
        // Seconds since 2001-01-01 UTC.
        QCOMPARE(m_settings->value(QLatin1String(NetworkUpdateChecker::lastCheckTimeKey)).toLongLong(),
                 m_now.toSecsSinceEpoch() - 978307200);
        QCOMPARE(checker->scheduledCheckDelay(), std::optional(std::chrono::milliseconds(24h)));

        // A restart an hour later: no check, the next one is due in 23 hours.
        m_now = m_now.addSecs(3600);
        auto restarted = makeChecker();
        restarted->checkForUpdatesInBackground();
        QCOMPARE(restarted->isCheckRunning(), false);
        QCOMPARE(restarted->scheduledCheckDelay(), std::optional(std::chrono::milliseconds(23h)));

        m_now = m_now.addSecs(23 * 3600);
        restarted->checkForUpdatesInBackground();
        QTRY_COMPARE(feedRequests(), 2);
        QTRY_VERIFY(!restarted->isCheckRunning());
        QCOMPARE(m_presenter.checkingShown, 0); // never a window
        QVERIFY(m_presenter.outcomes.isEmpty());
    }

    void theScheduledCheckRunsWhenItsTimeComes()
    {
        auto checker = makeChecker();
        // Turning the switch on asks for checks: the first is due at once.
        checker->setAutomaticallyChecksForUpdates(true);
        QCOMPARE(checker->scheduledCheckDelay(), std::optional(std::chrono::milliseconds(0)));
        QTRY_COMPARE(feedRequests(), 1);
        QTRY_VERIFY(!checker->isCheckRunning());
        QCOMPARE(checker->scheduledCheckDelay(), std::optional(std::chrono::milliseconds(24h)));
    }

    void aNewerVersionIsAnnouncedOnceARun()
    {
        serveVersion("1.2.0");
        auto checker = makeChecker();
        QSignalSpy announced(checker.get(), &UpdateChecking::updateAnnounced);
        checker->checkForUpdatesInBackground();
        QVERIFY(announced.wait(20000));
        QCOMPARE(m_notifier.notifications.size(), 1);
        const DesktopNotification notification = m_notifier.notifications.first();
        QCOMPARE(notification.summary, u"Velmora 1.2.0 is available"_s);
        QVERIFY(!notification.body.isEmpty());
        QCOMPARE(notification.defaultActionLabel, u"Download"_s);
        QCOMPARE(notification.defaultActionUrl, QUrl(u"https://velmora.app/releases"_s));

        m_now = m_now.addDays(1);
        checker->checkForUpdatesInBackground();
        QTRY_COMPARE(feedRequests(), 2);
        QTRY_VERIFY(!checker->isCheckRunning());
        QCOMPARE(m_notifier.notifications.size(), 1);
        QCOMPARE(announced.size(), 1);

        // A still newer one is news again.
        serveVersion("1.3.0");
        m_now = m_now.addDays(1);
        checker->checkForUpdatesInBackground();
        QVERIFY(announced.wait(20000));
        QCOMPARE(m_notifier.notifications.size(), 2);
        QVERIFY(m_log.isEmpty());
    }

    void silentFailuresAreLoggedNeverShown()
    {
        m_server.setResponse(feedPath + u".sig"_s, Response{200, "AAAA", {}, Response::Mode::normal});
        auto checker = makeChecker();
        checker->checkForUpdatesInBackground();
        QTRY_COMPARE(m_log.size(), 1);
        QCOMPARE(
            m_log.first(),
            u"Check for updates failed error=UpdateCheckError domain=app.velmora.update code=11"_s);
        QCOMPARE(m_presenter.checkingShown, 0);
        QVERIFY(m_presenter.outcomes.isEmpty());
        QVERIFY(m_notifier.notifications.isEmpty());
    }

    void aCheckWithAWindowShowsItsOutcome()
    {
        auto checker = makeChecker();
        checker->checkForUpdates();
        QCOMPARE(m_presenter.checkingShown, 1);
        checker->checkForUpdates(); // one at a time: the window comes forward, no second check
        QCOMPARE(m_presenter.checkingShown, 2);
        QTRY_COMPARE(m_presenter.outcomes.size(), 1);
        QCOMPARE(m_presenter.outcomes.first().kind, UpdateCheckOutcome::Kind::upToDate);
        QCOMPARE(feedRequests(), 1);

        serveVersion("2.0");
        QSignalSpy announced(checker.get(), &UpdateChecking::updateAnnounced);
        checker->checkForUpdates();
        QTRY_COMPARE(m_presenter.outcomes.size(), 2);
        QCOMPARE(m_presenter.outcomes.last().kind, UpdateCheckOutcome::Kind::updateAvailable);
        QCOMPARE(announced.size(), 1);
        QVERIFY(m_notifier.notifications.isEmpty()); // the window tells of it
    }

    void aWindowFailureIsShownAndLogged()
    {
        m_server.setResponse(feedPath, Response{404, "gone", {}, Response::Mode::normal});
        auto checker = makeChecker();
        checker->checkForUpdates();
        QTRY_COMPARE(m_presenter.outcomes.size(), 1);
        QCOMPARE(m_presenter.outcomes.first().failure, std::optional(UpdateCheckFailure::server));
        QCOMPARE(m_log.size(), 1);
    }

    void aWindowCheckReplacesARunningSilentOne()
    {
        m_server.setResponse(feedPath, Response{200, {}, {}, Response::Mode::silent});
        auto checker = makeChecker();
        checker->checkForUpdatesInBackground();
        QTRY_COMPARE(feedRequests(), 1);
        serveVersion("1.0.0");
        checker->checkForUpdates();
        QTRY_COMPARE(m_presenter.outcomes.size(), 1);
        QCOMPARE(m_presenter.outcomes.first().kind, UpdateCheckOutcome::Kind::upToDate);
        QVERIFY(m_log.isEmpty()); // the abandoned silent check never reports
    }
};

QTEST_GUILESS_MAIN(TestNetworkUpdateChecker)
#include "tst_networkupdatechecker.moc"
