#include "UpdateFeedClient.h"

#include "AppLanguage.h"
#include "AppLinks.h"
#include "AppcastParser.h"
#include "UpdateCheckErrors.h"
#include "UpdateFeedSignature.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

using namespace Qt::StringLiterals;

namespace {

AppError networkError(QNetworkReply::NetworkError error, UpdateCheckFailure failure)
{
    return AppError{.typeName = u"QNetworkReply::NetworkError"_s,
                    .domain = u"QNetworkReply"_s,
                    .code = qint64(error),
                    .description = L10n::text(UpdateCheckErrors::textKey(failure))};
}

// Failures that mean the server could not be reached at all, or not in time.
bool isUnreachable(QNetworkReply::NetworkError error)
{
    switch (error) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::OperationCanceledError: // the transfer timeout
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
        return true;
    default:
        return false;
    }
}

} // namespace

UpdateFeedClient::UpdateFeedClient(Configuration configuration, QObject* parent)
    : QObject(parent), m_configuration(std::move(configuration)), m_network(new QNetworkAccessManager(this))
{
    m_network->setRedirectPolicy(QNetworkRequest::NoLessSafeRedirectPolicy);
}

UpdateFeedClient::~UpdateFeedClient()
{
    abort();
}

QUrl UpdateFeedClient::signatureURL(const QUrl& feedURL)
{
    QUrl url = feedURL;
    url.setPath(feedURL.path() + u".sig"_s);
    return url;
}

void UpdateFeedClient::start()
{
    abort();
    m_feed = Transfer{};
    m_signature = Transfer{};
    startTransfer(m_feed, m_configuration.feedURL, maximumFeedBytes);
    startTransfer(m_signature, signatureURL(m_configuration.feedURL), maximumSignatureBytes);
}

void UpdateFeedClient::abort()
{
    for (Transfer* transfer : {&m_feed, &m_signature}) {
        if (QNetworkReply* reply = transfer->reply) {
            transfer->reply = nullptr;
            reply->disconnect(this);
            // Deleting a reply ends its transfer. Aborting it here instead would collide with an
            // error of its own that is already on its way.
            reply->deleteLater();
        }
    }
}

void UpdateFeedClient::startTransfer(Transfer& transfer, const QUrl& url, qint64 limit)
{
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(maximumRedirects);
    // No cookies in either direction, and no cache.
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      QString(u"Velmora/"_s + m_configuration.currentVersion));
    // Qt would otherwise send the user's languages.
    request.setRawHeader("Accept-Language", "*");
    request.setTransferTimeout(int(m_configuration.transferTimeout.count()));
    if (m_configuration.tlsConfiguration)
        request.setSslConfiguration(*m_configuration.tlsConfiguration);

    transfer.limit = limit;
    QNetworkReply* reply = m_network->get(request);
    transfer.reply = reply;
    connect(reply, &QNetworkReply::metaDataChanged, this, [&transfer, reply] {
        if (transfer.reply != reply)
            return;
        const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid() && length.toLongLong() > transfer.limit) {
            transfer.tooLarge = true;
            reply->abort();
        }
    });
    connect(reply, &QNetworkReply::readyRead, this, [this, &transfer, reply] {
        if (transfer.reply == reply)
            readAvailable(transfer);
    });
    connect(reply, &QNetworkReply::finished, this, [this, &transfer, reply] {
        if (transfer.reply == reply)
            transferFinished(transfer);
    });
}

void UpdateFeedClient::readAvailable(Transfer& transfer)
{
    if (transfer.tooLarge)
        return;
    transfer.body += transfer.reply->read(transfer.limit + 1 - transfer.body.size());
    if (transfer.body.size() > transfer.limit) {
        transfer.tooLarge = true;
        transfer.reply->abort();
    }
}

void UpdateFeedClient::transferFinished(Transfer& transfer)
{
    QNetworkReply* reply = transfer.reply;
    if (!transfer.tooLarge && reply->error() == QNetworkReply::NoError)
        readAvailable(transfer);
    transfer.done = true;
    if (const std::optional<UpdateCheckOutcome> failure = transferFailure(transfer)) {
        finish(*failure);
        return;
    }
    transfer.reply = nullptr;
    reply->deleteLater();
    if (m_feed.done && m_signature.done)
        finish(evaluate());
}

std::optional<UpdateCheckOutcome> UpdateFeedClient::transferFailure(const Transfer& transfer) const
{
    const QString& version = m_configuration.currentVersion;
    if (transfer.tooLarge) {
        return UpdateCheckOutcome::failed(
            version, UpdateCheckFailure::server,
            UpdateCheckErrors::make(UpdateCheckErrors::bodyTooLarge, UpdateCheckFailure::server));
    }
    const QNetworkReply::NetworkError error = transfer.reply->error();
    if (error != QNetworkReply::NoError) {
        const UpdateCheckFailure failure =
            isUnreachable(error) ? UpdateCheckFailure::offline : UpdateCheckFailure::server;
        return UpdateCheckOutcome::failed(version, failure, networkError(error, failure));
    }
    const int status = transfer.reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 200) {
        AppError statusError =
            UpdateCheckErrors::make(UpdateCheckErrors::unexpectedHttpStatus, UpdateCheckFailure::server);
        statusError.code = status;
        statusError.domain = u"HTTP"_s;
        return UpdateCheckOutcome::failed(version, UpdateCheckFailure::server, statusError);
    }
    // The redirect policy already refuses this; the answer must come from where it was asked.
    if (transfer.reply->url().scheme() != u"https"_s) {
        return UpdateCheckOutcome::failed(
            version, UpdateCheckFailure::server,
            UpdateCheckErrors::make(UpdateCheckErrors::insecureLocation, UpdateCheckFailure::server));
    }
    return std::nullopt;
}

UpdateCheckOutcome UpdateFeedClient::evaluate() const
{
    const QString& version = m_configuration.currentVersion;
    const Expected<void> signature =
        UpdateFeedSignature::verify(m_feed.body, m_signature.body, m_configuration.publicKey);
    if (!signature)
        return UpdateCheckOutcome::failed(version, UpdateCheckFailure::signature, signature.error());
    const Expected<AppcastItem> item = AppcastParser::newestLinuxItem(m_feed.body);
    if (!item)
        return UpdateCheckOutcome::failed(version, UpdateCheckFailure::feed, item.error());
    const std::optional<QList<quint64>> current = DottedVersion::parse(version);
    if (!current) {
        return UpdateCheckOutcome::failed(
            version, UpdateCheckFailure::feed,
            UpdateCheckErrors::make(UpdateCheckErrors::currentVersionUnparsable, UpdateCheckFailure::feed));
    }
    if (DottedVersion::compare(item->versionNumbers, *current) <= 0)
        return UpdateCheckOutcome::upToDate(version);
    const QString displayVersion =
        item->shortVersionString.isEmpty() ? item->version : item->shortVersionString;
    return UpdateCheckOutcome::updateAvailable(
        version,
        UpdateAnnouncement{item->version, displayVersion, item->link.value_or(AppLinks::download())});
}

void UpdateFeedClient::finish(const UpdateCheckOutcome& outcome)
{
    abort();
    Q_EMIT finished(outcome);
}
