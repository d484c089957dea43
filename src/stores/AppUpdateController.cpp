#include "AppUpdateController.h"

#include "AppLinks.h"
#include "UpdateChecking.h"

using namespace Qt::StringLiterals;

namespace {

std::optional<QByteArray> decodedPublicKey(const std::optional<QString>& publicKey)
{
    if (!publicKey)
        return std::nullopt;
    const auto decoded = QByteArray::fromBase64Encoding(publicKey->trimmed().toLatin1(),
                                                        QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || decoded.decoded.size() != 32)
        return std::nullopt;
    return *decoded;
}

std::optional<QUrl> parsedFeedURL(const std::optional<QString>& feedURL)
{
    if (!feedURL)
        return std::nullopt;
    const QUrl url(feedURL->trimmed(), QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != u"https"_s || url.host().isEmpty())
        return std::nullopt;
    return url;
}

} // namespace

AppUpdateController::AppUpdateController(const UpdateBundleValues& bundleValues, CheckerFactory makeChecker,
                                         UrlOpener openUrl, QObject* parent)
    : QObject(parent), m_makeChecker(std::move(makeChecker)), m_openUrl(std::move(openUrl))
{
    m_isConfigured = isSparkleConfigured(bundleValues.publicKey, bundleValues.feedURL);
    if (m_isConfigured) {
        m_feedURL = *parsedFeedURL(bundleValues.feedURL);
        m_publicKey = *decodedPublicKey(bundleValues.publicKey);
    }
}

AppUpdateController::~AppUpdateController() = default;

bool AppUpdateController::isSparkleConfigured(const std::optional<QString>& publicKey,
                                              const std::optional<QString>& feedURL)
{
    return decodedPublicKey(publicKey) && parsedFeedURL(feedURL);
}

UpdateChecking& AppUpdateController::updater()
{
    if (!m_updater) {
        m_updater = m_makeChecker(m_feedURL, m_publicKey);
        connect(m_updater.get(), &UpdateChecking::updateAnnounced, this,
                [this](const UpdateAnnouncement& announcement) {
                    if (m_announcedUpdate == announcement)
                        return;
                    m_announcedUpdate = announcement;
                    Q_EMIT announcedUpdateChanged();
                });
    }
    return *m_updater;
}

void AppUpdateController::startAutomaticChecksIfConfigured()
{
    if (!m_isConfigured)
        return;
    UpdateChecking& checker = updater();
    refreshUpdateSettings();
    if (checker.automaticallyChecksForUpdates())
        checker.checkForUpdatesInBackground();
}

void AppUpdateController::checkForUpdates()
{
    if (!m_isConfigured) {
        if (m_openUrl)
            m_openUrl(AppLinks::download());
        return;
    }
    updater().checkForUpdates();
    refreshUpdateSettings();
}

void AppUpdateController::refreshUpdateSettings()
{
    if (!m_isConfigured) {
        setAutomaticUpdatesEnabledValue(false);
        setCanToggleAutomaticUpdates(false);
        return;
    }
    UpdateChecking& checker = updater();
    setAutomaticUpdatesEnabledValue(checker.automaticallyChecksForUpdates() &&
                                    checker.automaticallyDownloadsUpdates());
    setCanToggleAutomaticUpdates(true);
}

void AppUpdateController::setAutomaticUpdatesEnabled(bool enabled)
{
    if (!m_isConfigured)
        return;
    UpdateChecking& checker = updater();
    checker.setAutomaticallyChecksForUpdates(enabled);
    checker.setAutomaticallyDownloadsUpdates(enabled);
    refreshUpdateSettings();
}

void AppUpdateController::setAutomaticUpdatesEnabledValue(bool enabled)
{
    if (m_automaticUpdatesEnabled == enabled)
        return;
    m_automaticUpdatesEnabled = enabled;
    Q_EMIT automaticUpdatesEnabledChanged(enabled);
}

void AppUpdateController::setCanToggleAutomaticUpdates(bool canToggle)
{
    if (m_canToggleAutomaticUpdates == canToggle)
        return;
    m_canToggleAutomaticUpdates = canToggle;
    Q_EMIT canToggleAutomaticUpdatesChanged(canToggle);
}
