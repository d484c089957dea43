// The content of the settings window: a sidebar of categories and, beside it, the grouped form of the
// selected one. It keeps no settings of its own: every control writes straight through to its store
// and shows what the store then holds, so a change made elsewhere shows here too. The view is kept
// across closings of its window, and with it the selected category. Main thread only.
#pragma once

#include "AppLanguage.h"
#include "DesktopSessionProbing.h"
#include "KeyboardShortcutModels.h"
#include "LaunchAtLoginServicing.h"
#include "SettingsCategory.h"
#include "ShortcutRecorderButton.h"

#include <QPointer>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

class AppLanguageStore;
class AppUpdateController;
class ContextDetector;
class FirstRunChecklistStore;
class HotKeyService;
class LaunchAtLoginController;
class PromptActionService;
class PromptCopySoundPlayer;
class PromptPanelPreferences;
class PromptStore;
class PromptVariableValueStore;
class QBoxLayout;
class QLabel;
class QListWidget;
class QStackedWidget;
class QVBoxLayout;
class ShortcutSettingsStore;
class VelmoraSheetHost;

class SettingsView : public QWidget {
    Q_OBJECT

public:
    static constexpr int contentWidth = 760;
    static constexpr int contentHeight = 640;
    static constexpr int sidebarWidth = 170;
    static constexpr int recorderMinWidth = 174;
    // The command a desktop without global shortcuts binds to a key of its own.
    static constexpr auto toggleCommand = "velmora-cli toggle";

    // None may be null but the detector, which is asked to detect again when a matching switch
    // changes; all must outlive the view.
    struct Dependencies {
        PromptStore* promptStore = nullptr;
        ShortcutSettingsStore* shortcutStore = nullptr;
        FirstRunChecklistStore* firstRunChecklistStore = nullptr;
        LaunchAtLoginController* launchAtLoginController = nullptr;
        AppUpdateController* appUpdateController = nullptr;
        AppLanguageStore* languageStore = nullptr;
        PromptPanelPreferences* preferences = nullptr;
        PromptCopySoundPlayer* copySoundPlayer = nullptr;
        PromptVariableValueStore* variableValueStore = nullptr;
        PromptActionService* promptActionService = nullptr;
        HotKeyService* hotKeyService = nullptr;
        DesktopSessionProbing* desktop = nullptr;
        ContextDetector* contextDetector = nullptr;
    };

    explicit SettingsView(const Dependencies& dependencies, QWidget* parent = nullptr);
    ~SettingsView() override;

    // The window's title in a language: the product's name and the word for settings.
    static QString titleFor(AppLanguage language);

    SettingsCategory selectedCategory() const { return m_selectedCategory; }
    void setSelectedCategory(SettingsCategory category);
    // The page of a category; its controls carry their catalog keys as object names.
    QWidget* page(SettingsCategory category) const;
    QListWidget* sidebar() const { return m_sidebar; }
    ShortcutRecorderButton* panelShortcutRecorder() const { return m_panelRecorder; }
    ShortcutRecorderButton* tileShortcutRecorder() const { return m_tileRecorder; }

    bool showsClearUsageConfirmation() const;
    VelmoraSheetHost* clearUsageConfirmation() const;
    // The alert's destructive action.
    void clearUsage();

    // --- What the sections show, by their rules. ---
    static QString startupHelpKey(LaunchAtLoginStatus status, bool hasError);
    static QString updateHelpKey(bool isConfigured, bool automaticUpdatesEnabled);
    static QColor shortcutStatusColor(HotKeyStatus::Kind kind);
    // The status line under the panel shortcut: a refused X11 grab names the other program's hold.
    static QString shortcutStatusText(const HotKeyStatus& status, DesktopSessionReport::HotKeyFacility facility,
                                      AppLanguage language);
    // One line per fact of "This desktop", in order.
    static QStringList desktopLines(const DesktopSessionReport& report, AppLanguage language);
    static std::optional<PromptTileShortcut> tileShortcutFromEvent(const ShortcutKeyEvent& event);
    static QString tileDisplayString(const PromptTileShortcut& shortcut);

Q_SIGNALS:
    void openWelcomeGuideRequested();
    void openPanelRequested();
    void openWorkspaceManagerRequested();

protected:
    void showEvent(QShowEvent* event) override;

private:
    using Sync = std::function<void()>;

    // Builds every page afresh in the language and text size of the moment.
    void rebuild();
    void scheduleRebuild();
    // Shows the stores' values in every control.
    void sync();
    QString text(const QString& key) const;
    AppLanguage language() const;

    QWidget* makeGettingStarted();
    QWidget* makeGeneral();
    QWidget* makePrompts();
    QWidget* makeShortcuts();
    QWidget* makeUpdates();
    void addPanelShortcutGroup(QVBoxLayout* box);
    void addTileShortcutGroup(QVBoxLayout* box);
    template <typename Value>
    ShortcutRecorderButton* addRecorder(QVBoxLayout* box, const QString& key, ShortcutRecorderOptions<Value> options,
                                        const QString& helpKey, const QString& invalidKey);
    void addDefaultValue(QVBoxLayout* box, const QString& key, const QString& value);
    std::pair<QWidget*, QWidget*> addDefaultState(QVBoxLayout* box, const QString& name, std::function<void()> reset);
    QWidget* makeCommandHint();
    void presentClearUsageConfirmation();

    // Form pieces: a section's box under its title, and the common rows.
    QVBoxLayout* addSection(QVBoxLayout* page, const QString& titleKey);
    QLabel* addHelp(QBoxLayout* box, const QString& key, const QString& objectName = {});
    QWidget* addSwitch(QVBoxLayout* box, const QString& key, std::function<bool()> read,
                       std::function<void(bool)> write, std::function<bool()> enabled = nullptr);
    QBoxLayout* addRow(QVBoxLayout* box, const QString& key);

    PromptStore& m_promptStore;
    ShortcutSettingsStore& m_shortcutStore;
    FirstRunChecklistStore& m_firstRunChecklistStore;
    LaunchAtLoginController& m_launchAtLoginController;
    AppUpdateController& m_appUpdateController;
    AppLanguageStore& m_languageStore;
    PromptPanelPreferences& m_preferences;
    PromptCopySoundPlayer& m_copySoundPlayer;
    PromptVariableValueStore& m_variableValueStore;
    PromptActionService& m_promptActionService;
    HotKeyService& m_hotKeyService;
    DesktopSessionProbing& m_desktop;
    ContextDetector* m_contextDetector;

    SettingsCategory m_selectedCategory = SettingsCategory::gettingStarted;
    QListWidget* m_sidebar = nullptr;
    QStackedWidget* m_stack = nullptr;
    ShortcutRecorderButton* m_panelRecorder = nullptr;
    ShortcutRecorderButton* m_tileRecorder = nullptr;
    QPointer<VelmoraSheetHost> m_clearUsageSheet;
    std::vector<Sync> m_syncs;
    bool m_rebuildPending = false;
};
