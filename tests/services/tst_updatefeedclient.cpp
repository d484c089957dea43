// Update checks against a local HTTPS server with feeds signed by a key made here: what a feed
// announces, and every bad input ending as one clear failure with nothing announced.

#include "AppLinks.h"
#include "AppcastParser.h"
#include "LocalHttpsServer.h"
#include "UpdateCheckErrors.h"
#include "UpdateFeedClient.h"
#include "UpdateFeedSignature.h"
#include "UpdateFeedSigner.h"

#include <QFileInfo>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using Response = LocalHttpsServer::Response;

namespace {

const QString feedPath = u"/appcast.xml"_s;
const QString signaturePath = u"/appcast.xml.sig"_s;

QByteArray item(const QByteArray& os, const QByteArray& version, const QByteArray& extra = {})
{
    return "<item><title>Velmora " + version + "</title><sparkle:version>" + version + "</sparkle:version>" +
           extra + "<enclosure url=\"https://velmora.app/files/velmora-" + version + "\" sparkle:os=\"" + os +
           "\" length=\"1\" type=\"application/octet-stream\"/></item>";
}

QByteArray feed(const QByteArray& items)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<rss version=\"2.0\" xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\">"
           "<channel><title>Velmora</title>" +
           items + "</channel></rss>\n";
}

// A failure of the test itself, which no check reports.
AppError harnessError(const QString& what)
{
    AppError error;
    error.typeName = what;
    return error;
}

} // namespace

class TestUpdateFeedClient : public QObject {
    Q_OBJECT

    LocalHttpsServer m_server;
    UpdateFeedSigner m_signer;

    UpdateFeedClient::Configuration configuration(const QString& currentVersion = u"0.1.0"_s) const
    {
        UpdateFeedClient::Configuration configuration;
        configuration.feedURL = m_server.url(feedPath);
        configuration.publicKey = m_signer.publicKey();
        configuration.currentVersion = currentVersion;
        configuration.tlsConfiguration = m_server.clientConfiguration();
        return configuration;
    }

    void serveSigned(const QByteArray& body)
    {
        m_server.setResponse(feedPath, Response{200, body, {}, Response::Mode::normal});
        m_server.setResponse(signaturePath,
                             Response{200, m_signer.signatureText(body), {}, Response::Mode::normal});
    }

    UpdateCheckOutcome check(UpdateFeedClient::Configuration configuration)
    {
        UpdateFeedClient client(std::move(configuration));
        QSignalSpy finished(&client, &UpdateFeedClient::finished);
        client.start();
        if (!finished.wait(20000))
            return UpdateCheckOutcome::failed({}, UpdateCheckFailure::feed,
                                              harnessError(u"test timed out"_s));
        const UpdateCheckOutcome outcome = finished.takeFirst().at(0).value<UpdateCheckOutcome>();
        // Exactly one report per check.
        QTest::qWait(0);
        if (!finished.isEmpty())
            return UpdateCheckOutcome::failed({}, UpdateCheckFailure::feed,
                                              harnessError(u"reported twice"_s));
        return outcome;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_signer.isValid());
        QVERIFY(m_server.start());
    }

    void init()
    {
        m_server.clearResponses();
        m_server.clearRequests();
    }

    void theSameVersionIsUpToDate()
    {
        serveSigned(feed(item("linux", "0.1.0") + item("macos", "9.0")));
        const UpdateCheckOutcome outcome = check(configuration());
        QCOMPARE(outcome.kind, UpdateCheckOutcome::Kind::upToDate);
        QCOMPARE(outcome.currentVersion, u"0.1.0"_s);
        QCOMPARE(outcome.announcement, std::nullopt);
        // "1.2" and "1.2.0" are the same version; an older one is no update either.
        serveSigned(feed(item("linux", "1.2.0") + item("linux", "1.1.9")));
        QCOMPARE(check(configuration(u"1.2"_s)).kind, UpdateCheckOutcome::Kind::upToDate);
    }

    void theNewestLinuxItemIsAnnounced_data()
    {
        QTest::addColumn<QByteArray>("items");
        QTest::addColumn<UpdateAnnouncement>("announcement");
        QTest::newRow("newest of several")
            << item("macos", "9.0") +
                   item("linux", "1.9.0", "<link>https://velmora.app/releases/1.9</link>") +
                   item("linux", "1.10.0",
                        "<sparkle:shortVersionString>1.10</sparkle:shortVersionString>"
                        "<link>https://velmora.app/releases/1.10</link>") +
                   item("windows", "20.0") + "<item><title>no enclosure</title></item>"
            << UpdateAnnouncement{u"1.10.0"_s, u"1.10"_s, QUrl(u"https://velmora.app/releases/1.10"_s)};
        QTest::newRow("no link: the download page")
            << item("linux", "2.0") << UpdateAnnouncement{u"2.0"_s, u"2.0"_s, AppLinks::download()};
        QTest::newRow("versions on the enclosure")
            << QByteArray("<item><enclosure url=\"https://velmora.app/v\" sparkle:os=\"linux\" "
                          "sparkle:version=\"3.1\" sparkle:shortVersionString=\"3.1 beta\"/></item>")
            << UpdateAnnouncement{u"3.1"_s, u"3.1 beta"_s, AppLinks::download()};
    }

    void theNewestLinuxItemIsAnnounced()
    {
        QFETCH(QByteArray, items);
        QFETCH(UpdateAnnouncement, announcement);
        serveSigned(feed(items));
        const UpdateCheckOutcome outcome = check(configuration());
        QCOMPARE(outcome.kind, UpdateCheckOutcome::Kind::updateAvailable);
        QCOMPARE(outcome.announcement, std::optional(announcement));
    }

    void requestsCarryNothingAboutTheUser()
    {
        const QByteArray body = feed(item("linux", "0.1.0"));
        m_server.setResponse(
            feedPath, Response{200, body, {{"Set-Cookie", "session=abc; Path=/"}}, Response::Mode::normal});
        m_server.setResponse(
            signaturePath,
            Response{200, m_signer.signatureText(body), {{"Set-Cookie", "sig=1"}}, Response::Mode::normal});
        UpdateFeedClient client(configuration());
        QSignalSpy finished(&client, &UpdateFeedClient::finished);
        client.start();
        QVERIFY(finished.wait(20000));
        client.start(); // the same client again: cookies it was given must not come back
        QVERIFY(finished.wait(20000));
        QCOMPARE(m_server.requests().size(), 4);
        for (const LocalHttpsServer::Request& request : m_server.requests()) {
            QCOMPARE(request.headers.value("user-agent"), QByteArray("Velmora/0.1.0"));
            QVERIFY(!request.headers.contains("cookie"));
            QVERIFY(!request.headers.contains("referer"));
            QCOMPARE(request.headers.value("accept-language"), QByteArray("*"));
        }
    }

    void redirects_data()
    {
        QTest::addColumn<QString>("scheme");
        QTest::addColumn<std::optional<UpdateCheckFailure>>("failure");
        QTest::newRow("within https: followed") << u"https"_s << std::optional<UpdateCheckFailure>();
        QTest::newRow("to http: refused") << u"http"_s << std::optional(UpdateCheckFailure::server);
    }

    void redirects()
    {
        QFETCH(QString, scheme);
        QFETCH(std::optional<UpdateCheckFailure>, failure);
        const QByteArray body = feed(item("linux", "9.0"));
        serveSigned(body);
        m_server.setResponse(
            u"/moved.xml"_s,
            Response{
                301, {}, {{"Location", m_server.url(feedPath, scheme).toEncoded()}}, Response::Mode::normal});
        m_server.setResponse(u"/moved.xml.sig"_s,
                             Response{200, m_signer.signatureText(body), {}, Response::Mode::normal});
        UpdateFeedClient::Configuration moved = configuration();
        moved.feedURL = m_server.url(u"/moved.xml"_s);
        const UpdateCheckOutcome outcome = check(moved);
        QCOMPARE(outcome.failure, failure);
        QCOMPARE(outcome.announcement.has_value(), !failure);
        if (failure)
            QCOMPARE(outcome.error.code, qint64(QNetworkReply::InsecureRedirectError));
    }

    void badInputFailsCleanly_data()
    {
        QTest::addColumn<QByteArray>("feedBody");
        QTest::addColumn<QByteArray>("signatureBody");
        QTest::addColumn<int>("feedMode");
        QTest::addColumn<int>("feedStatus");
        QTest::addColumn<UpdateCheckFailure>("failure");
        QTest::addColumn<qint64>("code");

        const QByteArray good = feed(item("linux", "9.0"));
        const QByteArray goodSignature = m_signer.signatureText(good);
        const int normal = int(Response::Mode::normal);
        using F = UpdateCheckFailure;
        using E = UpdateCheckErrors::Code;

        QTest::newRow("signature of the wrong length")
            << good << m_signer.sign(good).left(63).toBase64() << normal << 200 << F::signature
            << qint64(E::signatureWrongLength);
        QTest::newRow("signature not Base64") << good << QByteArray("not*base64!") << normal << 200
                                              << F::signature << qint64(E::signatureNotBase64);
        QTest::newRow("empty signature")
            << good << QByteArray("\n") << normal << 200 << F::signature << qint64(E::signatureNotBase64);
        UpdateFeedSigner other;
        QTest::newRow("signature of another key") << good << other.signatureText(good) << normal << 200
                                                  << F::signature << qint64(E::signatureMismatch);
        QByteArray changed = good;
        changed[changed.indexOf("9.0")] = '8';
        QTest::newRow("bytes changed by one")
            << changed << goodSignature << normal << 200 << F::signature << qint64(E::signatureMismatch);
        QTest::newRow("truncated body") << good << goodSignature << int(Response::Mode::truncated) << 200
                                        << F::server << qint64(QNetworkReply::RemoteHostClosedError);
        const QByteArray huge = feed(QByteArray(UpdateFeedClient::maximumFeedBytes, ' '));
        QTest::newRow("oversized body with a length")
            << huge << m_signer.signatureText(huge) << normal << 200 << F::server << qint64(E::bodyTooLarge);
        QTest::newRow("oversized body without a length")
            << huge << m_signer.signatureText(huge) << int(Response::Mode::withoutLength) << 200 << F::server
            << qint64(E::bodyTooLarge);
        QTest::newRow("oversized signature")
            << good << QByteArray(UpdateFeedClient::maximumSignatureBytes + 1, 'A') << normal << 200
            << F::server << qint64(E::bodyTooLarge);

        const auto signedFeed = [this](const QByteArray& body) {
            return std::pair{body, m_signer.signatureText(body)};
        };
        const std::pair<const char*, std::pair<QByteArray, QByteArray>> signedBadFeeds[] = {
            {"XML error", signedFeed(feed(item("linux", "9.0")).replace("</channel>", "</chanel>"))},
            {"not XML", signedFeed("{\"version\": \"9.0\"}")},
            {"undeclared entity", signedFeed(feed(item("linux", "9.0", "<link>&evil;</link>")))},
            {"empty feed", signedFeed(QByteArray())},
        };
        for (const auto& [name, bodies] : signedBadFeeds)
            QTest::newRow(name) << bodies.first << bodies.second << normal << 200 << F::feed
                                << qint64(E::feedNotXml);
        const QByteArray withDtd =
            "<?xml version=\"1.0\"?>\n<!DOCTYPE rss [<!ENTITY v \"9.0\">]>\n" +
            feed(item("linux", "&v;")).mid(int(qstrlen("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n")));
        QTest::newRow("DTD") << withDtd << m_signer.signatureText(withDtd) << normal << 200 << F::feed
                             << qint64(E::feedHasDocumentType);
        const QByteArray notAppcast = "<feed xmlns=\"http://www.w3.org/2005/Atom\"><entry/></feed>";
        QTest::newRow("not an appcast") << notAppcast << m_signer.signatureText(notAppcast) << normal << 200
                                        << F::feed << qint64(E::feedNotAppcast);
        const QByteArray noLinux = feed(item("macos", "9.0") + item("windows", "9.0"));
        QTest::newRow("no Linux item") << noLinux << m_signer.signatureText(noLinux) << normal << 200
                                       << F::feed << qint64(E::feedNoLinuxItem);
        for (const QByteArray& version : {QByteArray("1.2-beta"), QByteArray("v2"), QByteArray("1..2"),
                                          QByteArray(""), QByteArray("99999999999999999999")}) {
            const QByteArray body = feed(item("linux", "0.0.1") + item("linux", version));
            QTest::newRow(QByteArray("unparsable version " + version).constData())
                << body << m_signer.signatureText(body) << normal << 200 << F::feed
                << qint64(E::feedVersionUnparsable);
        }
        const QByteArray httpLink = feed(item("linux", "9.0", "<link>http://velmora.app/download</link>"));
        QTest::newRow("http link") << httpLink << m_signer.signatureText(httpLink) << normal << 200 << F::feed
                                   << qint64(E::feedLinkNotHttps);
        QTest::newRow("HTTP error") << good << goodSignature << normal << 500 << F::server
                                    << qint64(QNetworkReply::InternalServerError);
        QTest::newRow("HTTP success that isn't 200")
            << good << goodSignature << normal << 203 << F::server << qint64(203);
    }

    void badInputFailsCleanly()
    {
        QFETCH(QByteArray, feedBody);
        QFETCH(QByteArray, signatureBody);
        QFETCH(int, feedMode);
        QFETCH(int, feedStatus);
        QFETCH(UpdateCheckFailure, failure);
        QFETCH(qint64, code);
        m_server.setResponse(feedPath, Response{feedStatus, feedBody, {}, Response::Mode(feedMode)});
        m_server.setResponse(signaturePath, Response{200, signatureBody, {}, Response::Mode::normal});
        const UpdateCheckOutcome outcome = check(configuration());
        QCOMPARE(outcome.kind, UpdateCheckOutcome::Kind::failed);
        QCOMPARE(outcome.failure, std::optional(failure));
        QCOMPARE(outcome.error.code, code);
        QCOMPARE(outcome.announcement, std::nullopt);
        QVERIFY(!outcome.error.description.isEmpty());
    }

    void aMissingSignatureFails()
    {
        m_server.setResponse(feedPath, Response{200, feed(item("linux", "9.0")), {}, Response::Mode::normal});
        const UpdateCheckOutcome outcome = check(configuration());
        QCOMPARE(outcome.failure, std::optional(UpdateCheckFailure::server));
        QCOMPARE(outcome.error.code, qint64(QNetworkReply::ContentNotFoundError));
    }

    void anUntrustedCertificateFails()
    {
        serveSigned(feed(item("linux", "9.0")));
        UpdateFeedClient::Configuration untrusted = configuration();
        untrusted.tlsConfiguration.reset(); // the system's trust doesn't know this server
        const UpdateCheckOutcome outcome = check(untrusted);
        QCOMPARE(outcome.failure, std::optional(UpdateCheckFailure::server));
        QCOMPARE(outcome.error.code, qint64(QNetworkReply::SslHandshakeFailedError));
    }

    void aServerThatDoesntAnswerTimesOut()
    {
        m_server.setResponse(feedPath, Response{200, {}, {}, Response::Mode::silent});
        m_server.setResponse(signaturePath, Response{200, {}, {}, Response::Mode::silent});
        UpdateFeedClient::Configuration impatient = configuration();
        impatient.transferTimeout = std::chrono::milliseconds(300);
        const UpdateCheckOutcome outcome = check(impatient);
        QCOMPARE(outcome.failure, std::optional(UpdateCheckFailure::offline));
        QCOMPARE(outcome.announcement, std::nullopt);
    }

    void anUnreachableServerIsOffline()
    {
        QTcpServer closed;
        QVERIFY(closed.listen(QHostAddress::LocalHost, 0));
        const quint16 port = closed.serverPort();
        closed.close();
        UpdateFeedClient::Configuration nowhere = configuration();
        nowhere.feedURL = QUrl(u"https://127.0.0.1:%1/appcast.xml"_s.arg(port));
        const UpdateCheckOutcome outcome = check(nowhere);
        QCOMPARE(outcome.failure, std::optional(UpdateCheckFailure::offline));
        QCOMPARE(outcome.error.code, qint64(QNetworkReply::ConnectionRefusedError));
    }

    void anAbandonedCheckNeverReports()
    {
        m_server.setResponse(feedPath, Response{200, {}, {}, Response::Mode::silent});
        m_server.setResponse(signaturePath, Response{200, {}, {}, Response::Mode::silent});
        UpdateFeedClient client(configuration());
        QSignalSpy finished(&client, &UpdateFeedClient::finished);
        client.start();
        QTRY_COMPARE(m_server.requests().size(), 2);
        client.abort();
        QVERIFY(!client.isRunning());
        serveSigned(feed(item("linux", "0.1.0")));
        client.start();
        QVERIFY(finished.wait(20000));
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.first().at(0).value<UpdateCheckOutcome>().kind, UpdateCheckOutcome::Kind::upToDate);
    }

    void theSignatureURLIsBesideTheFeed()
    {
        QCOMPARE(
            UpdateFeedClient::signatureURL(QUrl(u"https://velmora.app/linux/appcast.xml?channel=stable"_s)),
            QUrl(u"https://velmora.app/linux/appcast.xml.sig?channel=stable"_s));
    }

    void theReleaseScriptSignsFeedsThisBuildAccepts()
    {
        if (QStandardPaths::findExecutable(u"openssl"_s).isEmpty())
            QSKIP("openssl is not installed (package openssl)");
        const QString script = QStringLiteral(QT_TESTCASE_SOURCEDIR "/../scripts/sign-update-feed");
        QVERIFY(QFileInfo(script).isExecutable());
        QTemporaryDir dir;
        const auto writeFile = [&](const QString& name, const QByteArray& bytes) {
            QFile file(dir.filePath(name));
            return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
        };
        const QString keyPath = dir.filePath(u"key.pem"_s);
        const QString feedFile = dir.filePath(u"appcast.xml"_s);
        const QByteArray body = feed(item("linux", "4.2"));
        QVERIFY(writeFile(u"key.pem"_s, m_signer.privateKeyPem()) && writeFile(u"appcast.xml"_s, body));

        QProcess sign;
        sign.start(script, {keyPath, feedFile});
        QVERIFY(sign.waitForFinished());
        QVERIFY2(sign.exitCode() == 0, sign.readAllStandardError().constData());
        QFile signature(feedFile + u".sig"_s);
        QVERIFY(signature.open(QIODevice::ReadOnly));
        QVERIFY(UpdateFeedSignature::verify(body, signature.readAll(), m_signer.publicKey()));

        QProcess publicKey;
        publicKey.start(script, {u"--public-key"_s, keyPath});
        QVERIFY(publicKey.waitForFinished());
        QCOMPARE(publicKey.readAllStandardOutput().trimmed(), m_signer.publicKey().toBase64());
    }
};

QTEST_GUILESS_MAIN(TestUpdateFeedClient)
#include "tst_updatefeedclient.moc"
