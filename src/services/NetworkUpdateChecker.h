// Velmora's update checker on Linux: checks the signed feed and tells of a newer version, with a
// link to get it; it never downloads or installs. Off until the user turns automatic checks on, so
// nothing reaches the network unasked. With them on, a silent check runs at launch and every 24
// hours while running, at most once a day.
#pragma once

#include "AppLanguage.h"
#include "UpdateChecking.h"
#include "UpdateFeedClient.h"

#include <QDateTime>
#include <QSet>
#include <QTimer>
#include <chrono>
#include <functional>
#include <optional>

class DesktopNotifying;
class QSettings;
class UpdateCheckPresenting;

class NetworkUpdateChecker final : public UpdateChecking {
    Q_OBJECT

public:
    static constexpr auto automaticallyChecksKey = "Velmora.automaticallyChecksForUpdates.v1";
    static constexpr auto automaticallyDownloadsKey = "Velmora.automaticallyDownloadsUpdates.v1";
    // Seconds since 2001-01-01 00:00:00 UTC of the last check that was started.
    static constexpr auto lastCheckTimeKey = "Velmora.lastUpdateCheckTime.v1";
    static constexpr std::chrono::hours automaticCheckInterval{24};

    using Clock = std::function<QDateTime()>;
    using LanguageProvider = std::function<AppLanguage()>;

    struct Collaborators {
        QSettings* defaults = nullptr;
        UpdateCheckPresenting* presenter = nullptr; // the window of a check the user asked for
        DesktopNotifying* notifier = nullptr;       // announces what a silent check finds
        LanguageProvider languageProvider;
        Clock clock; // the current time; the system's when empty
    };

    NetworkUpdateChecker(UpdateFeedClient::Configuration configuration, Collaborators collaborators,
                         QObject* parent = nullptr);
    ~NetworkUpdateChecker() override;

    bool automaticallyChecksForUpdates() const override;
    void setAutomaticallyChecksForUpdates(bool enabled) override;
    bool automaticallyDownloadsUpdates() const override;
    void setAutomaticallyDownloadsUpdates(bool enabled) override;

    // Checks now unless a check was started less than a day ago; while automatic checks are on,
    // keeps the next one scheduled.
    void checkForUpdatesInBackground() override;
    // Always checks, in a window; a second request while one runs only brings the window forward.
    void checkForUpdates() override;

    bool isCheckRunning() const { return m_client.isRunning(); }
    std::optional<QDateTime> lastCheckTime() const;
    // How long until the scheduled automatic check; absent when none is scheduled.
    std::optional<std::chrono::milliseconds> scheduledCheckDelay() const;

    // The daily rule: due when no check was started within the last 24 hours. A last check in the
    // future (the clock was set back) doesn't hold checks off.
    static bool isAutomaticCheckDue(const QDateTime& now, const std::optional<QDateTime>& lastCheck);
    static std::chrono::milliseconds delayUntilDue(const QDateTime& now,
                                                   const std::optional<QDateTime>& lastCheck);

private:
    QDateTime now() const;
    void startCheck(bool withWindow);
    void checkFinished(const UpdateCheckOutcome& outcome);
    void announce(const UpdateAnnouncement& announcement, bool withWindow);
    void scheduleAutomaticCheck();
    QString text(const QString& textKey) const;

    UpdateFeedClient m_client;
    Collaborators m_collaborators;
    QTimer m_automaticTimer;
    bool m_runningWithWindow = false;
    QSet<QString> m_announcedVersions; // each newer version is announced once per run
};
