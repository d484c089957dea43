// The update controller: the four configuration rules, the checker made only on use and never
// unconfigured, the download page standing in for an unconfigured check, and one switch for both
// automatic settings.

#include "AppLinks.h"
#include "AppUpdateController.h"
#include "FakeUpdateChecker.h"
#include "FakeUpdatePresentation.h"
#include "NetworkUpdateChecker.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString validKey = QString::fromLatin1(QByteArray(32, '\x5a').toBase64());
const QString validFeed = u"https://updates.velmora.app/linux/appcast.xml"_s;

void openOnDesktop(const QUrl& url)
{
    QDesktopServices::openUrl(url);
}

} // namespace

// Stands in for the desktop's browser.
class UrlCatcher : public QObject {
    Q_OBJECT

public:
    QList<QUrl> urls;

public Q_SLOTS:
    void open(const QUrl& url) { urls.append(url); }
};

class TestAppUpdateController : public QObject {
    Q_OBJECT

    UrlCatcher m_browser;
    FakeUpdateChecker* m_checker = nullptr;
    int m_checkersMade = 0;
    QUrl m_madeWithURL;
    QByteArray m_madeWithKey;

    AppUpdateController::CheckerFactory fakeFactory()
    {
        return [this](const QUrl& feedURL, const QByteArray& publicKey) {
            ++m_checkersMade;
            m_madeWithURL = feedURL;
            m_madeWithKey = publicKey;
            auto checker = std::make_unique<FakeUpdateChecker>();
            m_checker = checker.get();
            return checker;
        };
    }

private Q_SLOTS:
    void initTestCase()
    {
        QDesktopServices::setUrlHandler(u"https"_s, &m_browser, "open");
        QDesktopServices::setUrlHandler(u"http"_s, &m_browser, "open");
    }

    void cleanupTestCase()
    {
        QDesktopServices::unsetUrlHandler(u"https"_s);
        QDesktopServices::unsetUrlHandler(u"http"_s);
    }

    void init()
    {
        m_browser.urls.clear();
        m_checker = nullptr;
        m_checkersMade = 0;
    }

    void configurationRules_data()
    {
        QTest::addColumn<std::optional<QString>>("publicKey");
        QTest::addColumn<std::optional<QString>>("feedURL");
        QTest::addColumn<bool>("configured");
        using Text = std::optional<QString>;
        QTest::newRow("valid") << Text(validKey) << Text(validFeed) << true;
        QTest::newRow("key with a line feed") << Text(validKey + u"\n"_s) << Text(validFeed) << true;
        QTest::newRow("no key") << Text() << Text(validFeed) << false;
        QTest::newRow("empty key") << Text(u""_s) << Text(validFeed) << false;
        QTest::newRow("key of 31 bytes")
            << Text(QString::fromLatin1(QByteArray(31, 'k').toBase64())) << Text(validFeed) << false;
        QTest::newRow("key of 33 bytes")
            << Text(QString::fromLatin1(QByteArray(33, 'k').toBase64())) << Text(validFeed) << false;
        QTest::newRow("key not Base64")
            << Text(u"this is not base64 at all, not even close!!"_s) << Text(validFeed) << false;
        QTest::newRow("no feed") << Text(validKey) << Text() << false;
        QTest::newRow("feed on http")
            << Text(validKey) << Text(u"http://updates.velmora.app/appcast.xml"_s) << false;
        QTest::newRow("feed with an empty host")
            << Text(validKey) << Text(u"https:///appcast.xml"_s) << false;
        QTest::newRow("feed not a URL")
            << Text(validKey) << Text(u"https://exa mple.com/appcast.xml"_s) << false;
        QTest::newRow("feed relative") << Text(validKey) << Text(u"appcast.xml"_s) << false;
        QTest::newRow("feed on ftp") << Text(validKey) << Text(u"ftp://updates.velmora.app/appcast.xml"_s)
                                     << false;
    }

    void configurationRules()
    {
        QFETCH(std::optional<QString>, publicKey);
        QFETCH(std::optional<QString>, feedURL);
        QFETCH(bool, configured);
        QCOMPARE(AppUpdateController::isSparkleConfigured(publicKey, feedURL), configured);
        AppUpdateController controller({publicKey, feedURL}, fakeFactory(), openOnDesktop);
        QCOMPARE(controller.isConfigured(), configured);
        QCOMPARE(m_checkersMade, 0); // made on first use, not at creation
    }

    void anUnconfiguredBuildOpensTheDownloadPage()
    {
        AppUpdateController controller({u"short"_s, validFeed}, fakeFactory(), openOnDesktop);
        QVERIFY(!controller.isConfigured());
        controller.startAutomaticChecksIfConfigured();
        controller.refreshUpdateSettings();
        controller.setAutomaticUpdatesEnabled(true);
        QCOMPARE(controller.automaticUpdatesEnabled(), false);
        QCOMPARE(controller.canToggleAutomaticUpdates(), false);
        QVERIFY(m_browser.urls.isEmpty());
        controller.checkForUpdates();
        QCOMPARE(m_browser.urls, QList<QUrl>{AppLinks::download()});
        QCOMPARE(AppLinks::download(), QUrl(u"https://velmora.app/download"_s));
        QCOMPARE(m_checkersMade, 0);
        QVERIFY(!controller.hasUpdater());
    }

    void theCheckerIsMadeOnceOnFirstUse()
    {
        AppUpdateController controller({validKey, validFeed}, fakeFactory(), openOnDesktop);
        controller.refreshUpdateSettings();
        controller.checkForUpdates();
        controller.startAutomaticChecksIfConfigured();
        QCOMPARE(m_checkersMade, 1);
        QCOMPARE(m_madeWithURL, QUrl(validFeed));
        QCOMPARE(m_madeWithKey, QByteArray(32, '\x5a'));
        QCOMPARE(m_checker->windowChecks, 1);
        QVERIFY(m_browser.urls.isEmpty());
    }

    void automaticChecksAtLaunchReadTheSettings()
    {
        AppUpdateController on(
            {validKey, validFeed},
            [](const QUrl&, const QByteArray&) {
                auto checker = std::make_unique<FakeUpdateChecker>();
                checker->checks = checker->downloads = true;
                return checker;
            },
            openOnDesktop);
        on.startAutomaticChecksIfConfigured();
        QVERIFY(on.automaticUpdatesEnabled());
    }

    void refreshReadsBothSettings_data()
    {
        QTest::addColumn<bool>("checks");
        QTest::addColumn<bool>("downloads");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("both") << true << true << true;
        QTest::newRow("checks only") << true << false << false;
        QTest::newRow("downloads only") << false << true << false;
        QTest::newRow("neither") << false << false << false;
    }

    void refreshReadsBothSettings()
    {
        QFETCH(bool, checks);
        QFETCH(bool, downloads);
        QFETCH(bool, enabled);
        AppUpdateController controller({validKey, validFeed}, fakeFactory(), openOnDesktop);
        controller.refreshUpdateSettings();
        m_checker->checks = checks;
        m_checker->downloads = downloads;
        controller.refreshUpdateSettings();
        QCOMPARE(controller.automaticUpdatesEnabled(), enabled);
        QCOMPARE(m_checker->backgroundChecks, 0);
        controller.startAutomaticChecksIfConfigured(); // at launch, only when checks are on
        QCOMPARE(m_checker->backgroundChecks, checks ? 1 : 0);
    }

    void theSwitchWritesBothSettings()
    {
        QTemporaryDir dir;
        QSettings settings(dir.filePath(u"Velmora.conf"_s), QSettings::IniFormat);
        FakeUpdateCheckPresenter presenter;
        FakeDesktopNotifier notifier;
        // Checked an hour ago: turning the switch on schedules the next check and contacts nothing now.
        settings.setValue(QLatin1String(NetworkUpdateChecker::lastCheckTimeKey),
                          QDateTime(QDate(2025, 1, 1), QTime(11, 0), Qt::UTC).toSecsSinceEpoch() - 978307200);
        AppUpdateController controller(
            {validKey, validFeed},
            [&](const QUrl& feedURL, const QByteArray& publicKey) {
                UpdateFeedClient::Configuration configuration;
                configuration.feedURL = feedURL;
                configuration.publicKey = publicKey;
                configuration.currentVersion = u"1.0"_s;
                NetworkUpdateChecker::Collaborators collaborators;
                collaborators.defaults = &settings;
                collaborators.presenter = &presenter;
                collaborators.notifier = &notifier;
                collaborators.clock = [] {
                    return QDateTime(QDate(2025, 1, 1), QTime(12, 0), Qt::UTC);
                };
                return std::make_unique<NetworkUpdateChecker>(configuration, collaborators);
            },
            openOnDesktop);
        controller.refreshUpdateSettings();
        QCOMPARE(controller.automaticUpdatesEnabled(), false);
        QCOMPARE(controller.canToggleAutomaticUpdates(), true);

        QSignalSpy changed(&controller, &AppUpdateController::automaticUpdatesEnabledChanged);
        controller.setAutomaticUpdatesEnabled(true);
        QCOMPARE(controller.automaticUpdatesEnabled(), true);
        QCOMPARE(changed.size(), 1);
        settings.sync();
        QSettings reread(dir.filePath(u"Velmora.conf"_s), QSettings::IniFormat);
        QCOMPARE(reread.value(u"Velmora.automaticallyChecksForUpdates.v1"_s).toString(), u"true"_s);
        QCOMPARE(reread.value(u"Velmora.automaticallyDownloadsUpdates.v1"_s).toString(), u"true"_s);

        controller.setAutomaticUpdatesEnabled(false);
        settings.sync();
        QSettings rereadOff(dir.filePath(u"Velmora.conf"_s), QSettings::IniFormat);
        QCOMPARE(rereadOff.value(u"Velmora.automaticallyChecksForUpdates.v1"_s).toString(), u"false"_s);
        QCOMPARE(rereadOff.value(u"Velmora.automaticallyDownloadsUpdates.v1"_s).toString(), u"false"_s);
        QCOMPARE(controller.automaticUpdatesEnabled(), false);
    }

    void theLinksAreHttpsOnOneSite()
    {
        const QUrl site(QString::fromLatin1(AppLinks::site));
        const QList<QUrl> links = {AppLinks::website(), AppLinks::download(), AppLinks::support(),
                                   AppLinks::terms(), AppLinks::privacy()};
        for (const QUrl& link : links) {
            QVERIFY2(link.isValid(), qPrintable(link.toString()));
            QCOMPARE(link.scheme(), u"https"_s);
            QCOMPARE(link.host(), site.host());
        }
        QCOMPARE(AppLinks::terms().path(), u"/terms"_s);
        QCOMPARE(AppLinks::privacy().path(), u"/privacy"_s);
        QCOMPARE(QSet<QUrl>(links.cbegin(), links.cend()).size(), 5);
    }

    void anAnnouncementReachesSettings()
    {
        AppUpdateController controller({validKey, validFeed}, fakeFactory(), openOnDesktop);
        controller.refreshUpdateSettings();
        QSignalSpy changed(&controller, &AppUpdateController::announcedUpdateChanged);
        const UpdateAnnouncement announcement{u"2.0.0"_s, u"2.0"_s,
                                              QUrl(u"https://velmora.app/releases/2.0"_s)};
        m_checker->announce(announcement);
        m_checker->announce(announcement);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(controller.announcedUpdate(), std::optional(announcement));
    }
};

QTEST_MAIN(TestAppUpdateController)
#include "tst_appupdatecontroller.moc"
