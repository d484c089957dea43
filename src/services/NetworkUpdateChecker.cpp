#include "NetworkUpdateChecker.h"

#include "AppLog.h"
#include "DesktopNotifying.h"
#include "Localization.h"
#include "Preferences.h"
#include "UpdateCheckPresenting.h"

#include <QSettings>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 referenceDateUnixSeconds = 978307200; // 2001-01-01 00:00:00 UTC

QString key(const char* name)
{
    return QString::fromLatin1(name);
}

} // namespace

NetworkUpdateChecker::NetworkUpdateChecker(UpdateFeedClient::Configuration configuration,
                                           Collaborators collaborators, QObject* parent)
    : UpdateChecking(parent), m_client(std::move(configuration)), m_collaborators(std::move(collaborators))
{
    m_automaticTimer.setSingleShot(true);
    m_automaticTimer.setTimerType(Qt::VeryCoarseTimer);
    connect(&m_automaticTimer, &QTimer::timeout, this, [this] {
        if (automaticallyChecksForUpdates())
            checkForUpdatesInBackground();
    });
    connect(&m_client, &UpdateFeedClient::finished, this, &NetworkUpdateChecker::checkFinished);
}

NetworkUpdateChecker::~NetworkUpdateChecker() = default;

QDateTime NetworkUpdateChecker::now() const
{
    return m_collaborators.clock ? m_collaborators.clock() : QDateTime::currentDateTimeUtc();
}

bool NetworkUpdateChecker::automaticallyChecksForUpdates() const
{
    return Preferences::boolean(*m_collaborators.defaults, key(automaticallyChecksKey)).value_or(false);
}

void NetworkUpdateChecker::setAutomaticallyChecksForUpdates(bool enabled)
{
    m_collaborators.defaults->setValue(key(automaticallyChecksKey), enabled);
    scheduleAutomaticCheck();
}

bool NetworkUpdateChecker::automaticallyDownloadsUpdates() const
{
    return Preferences::boolean(*m_collaborators.defaults, key(automaticallyDownloadsKey)).value_or(false);
}

void NetworkUpdateChecker::setAutomaticallyDownloadsUpdates(bool enabled)
{
    // Kept for the setting's sake; this checker never downloads.
    m_collaborators.defaults->setValue(key(automaticallyDownloadsKey), enabled);
}

std::optional<QDateTime> NetworkUpdateChecker::lastCheckTime() const
{
    const std::optional<qint64> seconds =
        Preferences::integer(*m_collaborators.defaults, key(lastCheckTimeKey));
    if (!seconds)
        return std::nullopt;
    return QDateTime::fromSecsSinceEpoch(*seconds + referenceDateUnixSeconds, Qt::UTC);
}

bool NetworkUpdateChecker::isAutomaticCheckDue(const QDateTime& now,
                                               const std::optional<QDateTime>& lastCheck)
{
    return delayUntilDue(now, lastCheck).count() == 0;
}

std::chrono::milliseconds NetworkUpdateChecker::delayUntilDue(const QDateTime& now,
                                                              const std::optional<QDateTime>& lastCheck)
{
    if (!lastCheck || !lastCheck->isValid() || *lastCheck > now)
        return std::chrono::milliseconds(0);
    const std::chrono::milliseconds elapsed(lastCheck->msecsTo(now));
    const std::chrono::milliseconds interval = automaticCheckInterval;
    return elapsed >= interval ? std::chrono::milliseconds(0) : interval - elapsed;
}

std::optional<std::chrono::milliseconds> NetworkUpdateChecker::scheduledCheckDelay() const
{
    if (!m_automaticTimer.isActive())
        return std::nullopt;
    return std::chrono::milliseconds(m_automaticTimer.interval());
}

void NetworkUpdateChecker::checkForUpdatesInBackground()
{
    if (!m_client.isRunning() && isAutomaticCheckDue(now(), lastCheckTime()))
        startCheck(false);
    scheduleAutomaticCheck();
}

void NetworkUpdateChecker::checkForUpdates()
{
    if (m_collaborators.presenter)
        m_collaborators.presenter->presentChecking();
    if (m_client.isRunning() && m_runningWithWindow)
        return;
    // A silent check still running is abandoned: this one answers the user.
    startCheck(true);
}

void NetworkUpdateChecker::startCheck(bool withWindow)
{
    m_runningWithWindow = withWindow;
    m_collaborators.defaults->setValue(key(lastCheckTimeKey),
                                       now().toSecsSinceEpoch() - referenceDateUnixSeconds);
    m_client.start();
}

void NetworkUpdateChecker::checkFinished(const UpdateCheckOutcome& outcome)
{
    const bool withWindow = m_runningWithWindow;
    m_runningWithWindow = false;
    if (outcome.kind == UpdateCheckOutcome::Kind::failed && outcome.failure) {
        AppLog::ui(u"Check for updates failed error=%1"_s.arg(AppLog::errorSummary(outcome.error)));
    }
    if (outcome.announcement)
        announce(*outcome.announcement, withWindow);
    if (withWindow && m_collaborators.presenter)
        m_collaborators.presenter->presentOutcome(outcome);
    scheduleAutomaticCheck();
}

void NetworkUpdateChecker::announce(const UpdateAnnouncement& announcement, bool withWindow)
{
    const bool isNew = !m_announcedVersions.contains(announcement.version);
    m_announcedVersions.insert(announcement.version);
    // The window of a requested check tells of it itself; a silent check only once a run.
    if (!withWindow && isNew && m_collaborators.notifier) {
        m_collaborators.notifier->notify(DesktopNotification{
            text(u"linux.update.notification.title"_s).arg(announcement.displayVersion),
            text(u"linux.update.notification.body"_s), text(u"linux.update.download"_s), announcement.link});
    }
    if (withWindow || isNew)
        Q_EMIT updateAnnounced(announcement);
}

void NetworkUpdateChecker::scheduleAutomaticCheck()
{
    if (!automaticallyChecksForUpdates()) {
        m_automaticTimer.stop();
        return;
    }
    if (m_client.isRunning())
        return; // scheduled again when it finishes
    m_automaticTimer.start(int(delayUntilDue(now(), lastCheckTime()).count()));
}

QString NetworkUpdateChecker::text(const QString& textKey) const
{
    const AppLanguage language =
        m_collaborators.languageProvider ? m_collaborators.languageProvider() : L10n::currentLanguage();
    return AppLocalizationCatalog::shared().string(textKey, language);
}
