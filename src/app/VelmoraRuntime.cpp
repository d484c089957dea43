#include "VelmoraRuntime.h"

#include "AppLanguageStore.h"
#include "AppNotifications.h"
#include "AppUpdateController.h"
#include "BackgroundPromptConfigLoader.h"
#include "CanberraSoundPlayback.h"
#include "ClipboardService.h"
#include "ContextDetector.h"
#include "FirstRunChecklistStore.h"
#include "FreedesktopNotificationService.h"
#include "HotKeyFacility.h"
#include "HotKeyService.h"
#include "LaunchAtLoginController.h"
#include "NetworkUpdateChecker.h"
#include "NoHapticFeedbackPerformer.h"
#include "PromptActionService.h"
#include "PromptCopySoundPlayer.h"
#include "PromptPanelPreferences.h"
#include "PromptStore.h"
#include "PromptVariableValueStore.h"
#include "ShortcutSettingsStore.h"
#include "SystemLaunchAtLoginService.h"
#include "UpdateCheckDialog.h"
#include "UpdateFeedClient.h"
#include "X11FrontmostApplicationProvider.h"
#include "X11WindowTitleReader.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QSettings>

VelmoraRuntime::VelmoraRuntime(const QString& homeDirectory, std::unique_ptr<QSettings> defaults,
                               QObject* parent)
    : QObject(parent), m_defaults(std::move(defaults)), m_notifications(std::make_unique<AppNotifications>())
{
    m_languageStore = std::make_unique<AppLanguageStore>(m_defaults.get(), systemPreferredLanguages);
    const auto languageProvider = [languages = m_languageStore.get()] {
        return languages->effectiveLanguage();
    };

    // The first reload starts here, before the application has finished launching.
    PromptStore::Collaborators collaborators;
    collaborators.configLoader =
        std::make_shared<BackgroundPromptConfigLoader>(homeDirectory, PromptConfigLimits{});
    m_promptStore =
        std::make_unique<PromptStore>(homeDirectory, languageProvider, m_defaults.get(), collaborators, true);

    // Detection runs before the application has finished launching.
    m_frontmostProvider = std::make_unique<X11FrontmostApplicationProvider>();
    m_windowTitleReader = std::make_unique<X11WindowTitleReader>(*m_frontmostProvider);
    ContextDetector::Configuration detection;
    detection.frontmostApplicationProvider = m_frontmostProvider.get();
    detection.windowTitleReader = m_windowTitleReader.get();
    detection.knownWorkspacePathsProvider = [store = m_promptStore.get()] {
        return store->knownWorkspacePaths();
    };
    detection.automaticMatchingEnabledProvider = [store = m_promptStore.get()] {
        return store->advancedAutomaticMatchingEnabled();
    };
    m_contextDetector = std::make_unique<ContextDetector>(detection);
    m_contextDetector->start();

    m_shortcutStore = std::make_unique<ShortcutSettingsStore>(m_defaults.get(), languageProvider);
    const DesktopSessionType session = desktopSessionType();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const QString applicationID = QGuiApplication::desktopFileName();
    m_hotKeyRegistrar = makeHotKeyRegistrar(chooseHotKeyFacility(session, bus, applicationID), session, bus,
                                            applicationID);
    m_hotKeyService = std::make_unique<HotKeyService>(m_hotKeyRegistrar.get(), true);
    m_promptActionService = std::make_unique<PromptActionService>(std::make_shared<ClipboardService>());
    m_copySoundPlayer = std::make_unique<PromptCopySoundPlayer>(CanberraSoundPlayback::factory(
        CanberraSoundPlayback::soundDirectories(QCoreApplication::applicationDirPath())));
    connect(m_shortcutStore.get(), &ShortcutSettingsStore::copySoundNameChanged, this,
            [this] { m_copySoundPlayer->selectSound(m_shortcutStore->copySoundName()); });
    m_hapticPerformer = std::make_unique<NoHapticFeedbackPerformer>();
    m_firstRunChecklistStore = std::make_unique<FirstRunChecklistStore>(m_defaults.get());
    m_variableValueStore = std::make_unique<PromptVariableValueStore>(m_defaults.get());
    m_panelPreferences = std::make_unique<PromptPanelPreferences>(m_defaults.get());

    const auto openUrl = [](const QUrl& url) {
        QDesktopServices::openUrl(url);
    };
    m_launchAtLoginController =
        std::make_unique<LaunchAtLoginController>(std::make_shared<SystemLaunchAtLoginService>(
            SystemLaunchAtLoginService::standardLocations(), openUrl));

    m_updateNotifier =
        std::make_unique<FreedesktopNotificationService>(QDBusConnection::sessionBus(), openUrl);
    m_updatePresenter = std::make_unique<UpdateCheckDialogPresenter>(languageProvider);
    m_appUpdateController = std::make_unique<AppUpdateController>(
        UpdateBundleValues::compiledIn(),
        [this, languageProvider](const QUrl& feedURL, const QByteArray& publicKey) {
            UpdateFeedClient::Configuration configuration;
            configuration.feedURL = feedURL;
            configuration.publicKey = publicKey;
            configuration.currentVersion = QCoreApplication::applicationVersion();
            NetworkUpdateChecker::Collaborators collaborators;
            collaborators.defaults = m_defaults.get();
            collaborators.presenter = m_updatePresenter.get();
            collaborators.notifier = m_updateNotifier.get();
            collaborators.languageProvider = languageProvider;
            return std::make_unique<NetworkUpdateChecker>(configuration, collaborators);
        },
        openUrl);
}

VelmoraRuntime::~VelmoraRuntime() = default;
