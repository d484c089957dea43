// One update check over the network: fetches the feed and its signature over HTTPS, checks the
// signature, reads the newest Linux item and compares it with the running version. Sends nothing
// about the user but a "Velmora/<version>" agent, keeps no cookies, follows no redirect to anything
// less safe, and caps what it reads.
#pragma once

#include "UpdateCheckModels.h"

#include <QByteArray>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QSslConfiguration>
#include <QUrl>
#include <chrono>
#include <optional>

class QNetworkAccessManager;

class UpdateFeedClient : public QObject {
    Q_OBJECT

public:
    static constexpr qint64 maximumFeedBytes = 1024 * 1024;
    static constexpr qint64 maximumSignatureBytes = 1024;
    static constexpr int maximumRedirects = 5;

    struct Configuration {
        QUrl feedURL;           // https
        QByteArray publicKey;   // the 32 raw bytes of the Ed25519 key that signs the feed
        QString currentVersion; // the running build's dotted version
        std::chrono::milliseconds transferTimeout = std::chrono::seconds(30);
        std::optional<QSslConfiguration> tlsConfiguration; // the system's trust when absent
    };

    explicit UpdateFeedClient(Configuration configuration, QObject* parent = nullptr);
    ~UpdateFeedClient() override;

    // Starts a check; one that is still running is abandoned and never reports.
    void start();
    void abort();
    bool isRunning() const { return m_feed.reply || m_signature.reply; }

    const Configuration& configuration() const { return m_configuration; }

    // Where the signature of a feed is published: the feed's path with ".sig" appended.
    static QUrl signatureURL(const QUrl& feedURL);

Q_SIGNALS:
    void finished(const UpdateCheckOutcome& outcome);

private:
    struct Transfer {
        QPointer<QNetworkReply> reply;
        qint64 limit = 0;
        QByteArray body;
        bool tooLarge = false;
        bool done = false;
    };

    void startTransfer(Transfer& transfer, const QUrl& url, qint64 limit);
    void readAvailable(Transfer& transfer);
    void transferFinished(Transfer& transfer);
    std::optional<UpdateCheckOutcome> transferFailure(const Transfer& transfer) const;
    UpdateCheckOutcome evaluate() const;
    void finish(const UpdateCheckOutcome& outcome);

    Configuration m_configuration;
    QNetworkAccessManager* m_network;
    Transfer m_feed;
    Transfer m_signature;
};
