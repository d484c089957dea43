// Update checks for the Settings window and the command menu. With a valid update configuration it
// drives the update checker, made on first use; without one the check opens the download page and
// the automatic switch stays off and disabled. One instance, owned by the runtime. Main thread only.
#pragma once

#include "UpdateBundleValues.h"
#include "UpdateCheckModels.h"

#include <QByteArray>
#include <QObject>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>

class UpdateChecking;

class AppUpdateController : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isConfigured READ isConfigured CONSTANT)
    Q_PROPERTY(bool automaticUpdatesEnabled READ automaticUpdatesEnabled WRITE setAutomaticUpdatesEnabled
                   NOTIFY automaticUpdatesEnabledChanged)
    Q_PROPERTY(
        bool canToggleAutomaticUpdates READ canToggleAutomaticUpdates NOTIFY canToggleAutomaticUpdatesChanged)

public:
    // Makes the checker for a configuration that passed isSparkleConfigured: the feed's URL and
    // the 32 raw bytes of its public key.
    using CheckerFactory =
        std::function<std::unique_ptr<UpdateChecking>(const QUrl& feedURL, const QByteArray& publicKey)>;
    using UrlOpener = std::function<void(const QUrl&)>;

    AppUpdateController(const UpdateBundleValues& bundleValues, CheckerFactory makeChecker, UrlOpener openUrl,
                        QObject* parent = nullptr);
    ~AppUpdateController() override;

    // True only for a key that is Base64 of exactly 32 bytes and a feed URL that parses, is https
    // and has a host. (The name is the one the update framework's configuration has elsewhere.)
    static bool isSparkleConfigured(const std::optional<QString>& publicKey,
                                    const std::optional<QString>& feedURL);

    bool isConfigured() const { return m_isConfigured; }
    bool automaticUpdatesEnabled() const { return m_automaticUpdatesEnabled; }
    bool canToggleAutomaticUpdates() const { return m_canToggleAutomaticUpdates; }
    // The newest version a check has announced in this run, for the Settings window.
    const std::optional<UpdateAnnouncement>& announcedUpdate() const { return m_announcedUpdate; }
    bool hasUpdater() const { return m_updater != nullptr; }

    // Once at launch: a silent check when automatic checks are on. Unconfigured, nothing at all.
    void startAutomaticChecksIfConfigured();
    // The check with a window; unconfigured, opens the download page.
    void checkForUpdates();
    void refreshUpdateSettings();
    // The one switch: moves both automatic settings together.
    void setAutomaticUpdatesEnabled(bool enabled);

Q_SIGNALS:
    void automaticUpdatesEnabledChanged(bool enabled);
    void canToggleAutomaticUpdatesChanged(bool canToggle);
    void announcedUpdateChanged();

private:
    UpdateChecking& updater();
    void setAutomaticUpdatesEnabledValue(bool enabled);
    void setCanToggleAutomaticUpdates(bool canToggle);

    bool m_isConfigured = false;
    QUrl m_feedURL;
    QByteArray m_publicKey;
    CheckerFactory m_makeChecker;
    UrlOpener m_openUrl;
    std::unique_ptr<UpdateChecking> m_updater;
    bool m_automaticUpdatesEnabled = false;
    bool m_canToggleAutomaticUpdates = false;
    std::optional<UpdateAnnouncement> m_announcedUpdate;
};
