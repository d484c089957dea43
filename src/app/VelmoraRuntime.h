// The composition root: builds the long-lived stores and services in their order and owns them for
// the whole run. Made once in main and passed down; nothing reaches it as a global.
#pragma once

#include <QObject>
#include <QString>
#include <memory>

class AppLanguageStore;
class AppNotifications;
class AppUpdateController;
class ClipboardService;
class ContextDetector;
class FirstRunChecklistStore;
class FreedesktopNotificationService;
class HapticFeedbackPerforming;
class HotKeyRegistering;
class HotKeyService;
class LaunchAtLoginController;
class PromptActionService;
class PromptCopySoundPlayer;
class PromptPanelPreferences;
class PromptStore;
class PromptVariableValueStore;
class QSettings;
class ShortcutSettingsStore;
class UpdateCheckDialogPresenter;
class X11FrontmostApplicationProvider;
class X11WindowTitleReader;

class VelmoraRuntime : public QObject {
    Q_OBJECT

public:
    // `homeDirectory` is the root of the library folders; `defaults` the user's preferences.
    VelmoraRuntime(const QString& homeDirectory, std::unique_ptr<QSettings> defaults,
                   QObject* parent = nullptr);
    ~VelmoraRuntime() override;

    QSettings& defaults() const { return *m_defaults; }
    AppNotifications& notifications() const { return *m_notifications; }
    AppLanguageStore& languageStore() const { return *m_languageStore; }
    PromptStore& promptStore() const { return *m_promptStore; }
    ContextDetector& contextDetector() const { return *m_contextDetector; }
    ShortcutSettingsStore& shortcutStore() const { return *m_shortcutStore; }
    HotKeyService& hotKeyService() const { return *m_hotKeyService; }
    HotKeyRegistering& hotKeyRegistrar() const { return *m_hotKeyRegistrar; }
    PromptActionService& promptActionService() const { return *m_promptActionService; }
    // Follows the chosen copy sound by itself; the panel only calls play.
    PromptCopySoundPlayer& copySoundPlayer() const { return *m_copySoundPlayer; }
    HapticFeedbackPerforming& hapticPerformer() const { return *m_hapticPerformer; }
    FirstRunChecklistStore& firstRunChecklistStore() const { return *m_firstRunChecklistStore; }
    PromptVariableValueStore& variableValueStore() const { return *m_variableValueStore; }
    PromptPanelPreferences& panelPreferences() const { return *m_panelPreferences; }
    LaunchAtLoginController& launchAtLoginController() const { return *m_launchAtLoginController; }
    AppUpdateController& appUpdateController() const { return *m_appUpdateController; }

private:
    // Members are destroyed in reverse: each outlives what was built after it and may use it.
    std::unique_ptr<QSettings> m_defaults;
    std::unique_ptr<AppNotifications> m_notifications;
    std::unique_ptr<AppLanguageStore> m_languageStore;
    std::unique_ptr<PromptStore> m_promptStore;
    std::unique_ptr<X11FrontmostApplicationProvider> m_frontmostProvider;
    std::unique_ptr<X11WindowTitleReader> m_windowTitleReader;
    std::unique_ptr<ContextDetector> m_contextDetector;
    std::unique_ptr<ShortcutSettingsStore> m_shortcutStore;
    std::unique_ptr<HotKeyRegistering> m_hotKeyRegistrar;
    std::unique_ptr<HotKeyService> m_hotKeyService;
    std::unique_ptr<PromptActionService> m_promptActionService;
    std::unique_ptr<PromptCopySoundPlayer> m_copySoundPlayer;
    std::unique_ptr<HapticFeedbackPerforming> m_hapticPerformer;
    std::unique_ptr<FirstRunChecklistStore> m_firstRunChecklistStore;
    std::unique_ptr<PromptVariableValueStore> m_variableValueStore;
    std::unique_ptr<PromptPanelPreferences> m_panelPreferences;
    std::unique_ptr<LaunchAtLoginController> m_launchAtLoginController;
    std::unique_ptr<FreedesktopNotificationService> m_updateNotifier;
    std::unique_ptr<UpdateCheckDialogPresenter> m_updatePresenter;
    std::unique_ptr<AppUpdateController> m_appUpdateController;
};
