// The content of the floating panel: the header with the detected context, the library's issues,
// the search and the workspace picker, the prompt tiles or why there are none, and the toolbar. It
// owns the search text, the keyboard selection, the hover preview and every sheet, and drives the
// copy of a prompt from the key press or click to the mark on its tile. It keeps no library data:
// every render builds one fresh snapshot from the stores, which header, tiles and empty state share;
// a key that could act on the list builds its own. Main thread only.
#pragma once

#include "KeyboardShortcutModels.h"
#include "PanelRenderSnapshot.h"
#include "PromptConfigIssue.h"
#include "PromptCopyCoordinator.h"
#include "PromptCopyFeedback.h"
#include "PromptPanelLayoutMode.h"

#include <QDateTime>
#include <QPointer>
#include <QVariant>
#include <QWidget>
#include <functional>
#include <optional>

class AppLanguageStore;
class ConfigIssueBanner;
class ContextDetector;
class ContextHeaderView;
class EmptyPromptView;
class FirstRunChecklistStore;
class FirstRunChecklistView;
class HapticFeedbackPerforming;
class PromptActionService;
class PromptCopySoundPlayer;
class PromptGridStageView;
class PromptPanelPreferences;
class PromptStore;
class PromptVariableSheet;
class PromptVariableValueStore;
class QHBoxLayout;
class QVBoxLayout;
class SearchVelmoraView;
class ShortcutSettingsStore;
class VelmoraButton;
class VelmoraMorphState;
class VelmoraSheetHost;
class WorkspacePickerView;

class PromptPanelView : public QWidget {
    Q_OBJECT

public:
    using CancelWork = std::function<void()>;
    // Runs `work` once after `seconds` on the main thread; the result cancels it.
    using Scheduler = std::function<CancelWork(double seconds, std::function<void()> work)>;

    static constexpr double hoverPreviewDelay = 0.7;
    static constexpr double searchFocusDelay = 0.04;
    static constexpr double initialSelectionDelay = 0.32;
    static constexpr int toolbarHeight = 62;

    // What the prompt editor is opened with.
    struct PromptEditorRequest {
        AgentContext context = AgentContext::unknown();
        QString targetWorkspaceID; // empty: none proposed
        std::optional<PromptItem> editingPrompt = std::nullopt;
    };

    // Make the content of each sheet; the panel hosts it and learns from the host when it goes. A
    // sheet that isn't given has no control that would open it.
    struct Sheets {
        std::function<QWidget*(const PromptEditorRequest&)> promptEditor;
        std::function<QWidget*(const AgentContext& bindingContext)> workspaceEditor;
        std::function<QWidget*(const std::optional<QString>& initialWorkspaceID, const AgentContext& bindingContext)>
            promptImporter;
        std::function<QWidget*(const PromptWorkspace&)> workspaceEdit;
    };

    // None may be null; all must outlive the view.
    struct Dependencies {
        PromptStore* promptStore = nullptr;
        ContextDetector* contextDetector = nullptr;
        ShortcutSettingsStore* shortcutStore = nullptr;
        VelmoraMorphState* morphState = nullptr;
        AppLanguageStore* languageStore = nullptr;
        PromptActionService* promptActionService = nullptr;
        PromptCopySoundPlayer* copySoundPlayer = nullptr;
        FirstRunChecklistStore* firstRunChecklistStore = nullptr;
        PromptVariableValueStore* variableValueStore = nullptr;
        HapticFeedbackPerforming* hapticPerformer = nullptr;
        PromptPanelPreferences* preferences = nullptr;
    };

    // Absent schedule and clock: a single-shot timer, and the system clock. The other members are
    // optional: what they'd offer is left out.
    struct Environment {
        Scheduler schedule;
        std::function<QDateTime()> now;
        Sheets sheets = {};
        // Shows a file in the desktop's file manager.
        std::function<void(const QString& path)> showInFileManager = {};
    };

    PromptPanelView(const Dependencies& dependencies, Environment environment, QWidget* parent = nullptr);
    ~PromptPanelView() override;

    // Tells the panel window the layout, which sizes it.
    std::function<void(PromptPanelLayoutMode)> onLayoutModeChange;
    // Tells the panel window the search text at each change.
    std::function<void(const QString&)> onSearchQueryChange;

    AgentContext context() const;
    PanelRenderSnapshot makeSnapshot() const;
    const PanelRenderSnapshot& snapshot() const { return m_snapshot; }
    std::optional<QString> editableWorkspaceID() const;
    // Builds a snapshot and shows it.
    void render();
    // Same-case, trimmed bundle identifier, else the agent and the application's name: a change of it
    // is a change of application, and ends the search.
    static QString panelContextIdentity(const AgentContext& context);
    // The count the header shows.
    qint64 promptCount() const;
    bool canCreatePrompt() const;

    // --- Search and keyboard. ---
    const QString& searchText() const { return m_searchText; }
    void setSearchText(const QString& text);
    // The key monitor's handler: true when the key was taken.
    bool handleKeyboardEvent(const ShortcutKeyEvent& event);
    static std::optional<PromptItem> promptForKeyboardShortcut(const ShortcutKeyEvent& event,
                                                               const PanelRenderSnapshot& snapshot,
                                                               const PromptTileShortcut& tileShortcut);
    void moveSelection(int delta, const QList<PromptItem>& list);
    void copySelectedPrompt(const QList<PromptItem>& list);
    void scheduleInitialSelection(const QStringList& visiblePromptIDs);
    void validateSelection(const QStringList& visiblePromptIDs);
    bool isKeyboardMonitorInstalled() const { return m_keyboardMonitorInstalled; }

    // --- Sheets. ---
    void presentPromptEditor(const std::optional<PromptItem>& prompt);
    void presentWorkspaceEditor();
    void presentPromptImporter();
    void editWorkspace(const PromptWorkspace& workspace);
    void setShowDebugDetails(bool show);
    bool showDebugDetails() const { return m_showDebugDetails; }
    bool showPromptEditor() const { return m_showPromptEditor; }
    bool showWorkspaceEditor() const { return m_showWorkspaceEditor; }
    bool showPromptImporter() const { return m_showPromptImporter; }
    const std::optional<PromptItem>& editingPrompt() const { return m_editingPrompt; }
    const std::optional<PromptWorkspace>& editingWorkspace() const { return m_editingWorkspace; }
    // The delete question's presented state: true while a prompt waits; false clears it.
    bool isDeleteConfirmationPresented() const { return m_pendingDeletePrompt.has_value(); }
    void setDeleteConfirmationPresented(bool presented);

    // --- The copy path. ---
    void copyPrompt(const PromptItem& prompt, bool keepSearchFocused);
    // The variable form's confirmation and cancel.
    PromptCopySubmissionResult confirmVariableForm(const QHash<QString, QString>& values);
    void cancelVariableForm();
    void applyCopyResult(PromptCopyResult result, const PromptItem& prompt, bool keepSearchFocused);
    void retryCopy(const PromptItem& prompt);

    // --- Hover preview, deletion, interaction lock, search focus. ---
    void handleTileHover(const PromptItem& prompt, bool isHovering);
    void cancelHoverPreview();
    void requestDelete(const PromptItem& prompt);
    void confirmDelete();
    void cancelDelete();
    void syncInteractionLock();
    void focusSearchWhenReady();

    const std::optional<PromptCopyFeedback>& copyFeedback() const { return m_copyFeedback; }
    const PromptCopyFeedbackLifetime& copyFeedbackLifetime() const { return m_copyFeedbackLifetime; }
    const std::optional<PromptItem>& failedPrompt() const { return m_failedPrompt; }
    const std::optional<PromptVariableForm>& pendingVariableForm() const { return m_pendingVariableForm; }
    const std::optional<PromptItem>& pendingDeletePrompt() const { return m_pendingDeletePrompt; }
    const std::optional<QString>& selectedPromptID() const { return m_selectedPromptID; }
    const std::optional<PromptItem>& previewPrompt() const { return m_previewPrompt; }
    const std::optional<QString>& hoveredPromptID() const { return m_hoveredPromptID; }
    PromptGridStageView* stage() const { return m_stage; }
    VelmoraSheetHost* sheetHost() const;
    PromptVariableSheet* variableSheet() const;
    ContextHeaderView* header() const { return m_header; }
    QList<ConfigIssueBanner*> issueBanners() const;
    SearchVelmoraView* searchView() const { return m_search; }
    WorkspacePickerView* workspacePicker() const { return m_picker; }
    EmptyPromptView* emptyView() const { return m_emptyView; }
    // The bottom row; the panel window takes it into the surface's toolbar slot.
    QWidget* toolbar() const { return m_toolbar; }
    VelmoraButton* addPromptButton() const { return m_addPromptButton; }
    VelmoraButton* workspaceButton() const { return m_workspaceButton; }
    VelmoraButton* importButton() const { return m_importButton; }
    VelmoraButton* settingsButton() const { return m_settingsButton; }

Q_SIGNALS:
    // A menu or popup of the panel opened or closed: while one is open the pointer counts as over the
    // panel.
    void popupVisibilityChanged(bool visible);
    // The application requests the panel posts.
    void closeRequested();
    void openSettingsRequested();
    // With the active workspace's id, or an invalid value without one.
    void openWorkspaceManagerRequested(const QVariant& workspaceID);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void scheduleRender();
    void refreshStage();
    void refreshChrome();
    void refreshIssueBanners();
    void makeToolbar();
    void presentVariableSheet();
    void presentSheet(QWidget* content, std::function<void()> onGone);
    void closeSheet();
    void contentVisibilityChanged(bool visible);
    void textSizeChanged();
    void searchTextChanged(const QString& text);
    void requestWorkspaceManager();
    void installKeyboardMonitorIfNeeded();
    void removeKeyboardMonitor();

    PromptStore& m_promptStore;
    ContextDetector& m_contextDetector;
    ShortcutSettingsStore& m_shortcutStore;
    VelmoraMorphState& m_morphState;
    AppLanguageStore& m_languageStore;
    PromptActionService& m_promptActionService;
    PromptCopySoundPlayer& m_copySoundPlayer;
    FirstRunChecklistStore& m_firstRunChecklistStore;
    PromptVariableValueStore& m_variableValueStore;
    HapticFeedbackPerforming& m_hapticPerformer;
    PromptPanelPreferences& m_preferences;
    Environment m_environment;

    ContextHeaderView* m_header = nullptr;
    QVBoxLayout* m_issueRows = nullptr;
    QList<PromptConfigIssue> m_shownIssues;
    SearchVelmoraView* m_search = nullptr;
    WorkspacePickerView* m_picker = nullptr;
    FirstRunChecklistView* m_checklist = nullptr;
    QHBoxLayout* m_emptyHeaderRow = nullptr; // holds the card above an empty state
    PromptGridStageView* m_stage = nullptr;
    EmptyPromptView* m_emptyView = nullptr;
    QWidget* m_toolbar = nullptr;
    VelmoraButton* m_addPromptButton = nullptr;
    VelmoraButton* m_workspaceButton = nullptr;
    VelmoraButton* m_importButton = nullptr;
    VelmoraButton* m_settingsButton = nullptr;
    PanelRenderSnapshot m_snapshot;
    QStringList m_visibleIDs;
    std::optional<QString> m_contextIdentity;
    bool m_renderPending = false;
    bool m_rendering = false;
    bool m_chromeDirty = true;
    bool m_keyboardMonitorInstalled = false;
    QString m_searchText;
    bool m_showPromptEditor = false;
    bool m_showWorkspaceEditor = false;
    bool m_showPromptImporter = false;
    bool m_showDebugDetails = false;
    std::optional<PromptItem> m_editingPrompt;
    std::optional<PromptWorkspace> m_editingWorkspace;

    std::optional<PromptCopyFeedback> m_copyFeedback;
    PromptCopyFeedbackLifetime m_copyFeedbackLifetime;
    std::optional<PromptItem> m_failedPrompt;
    std::optional<PromptVariableForm> m_pendingVariableForm;
    std::optional<PromptItem> m_pendingVariablePrompt;
    bool m_pendingVariableCopyKeepsSearchFocused = false;
    std::optional<PromptItem> m_pendingDeletePrompt;
    std::optional<QString> m_selectedPromptID;
    std::optional<PromptItem> m_previewPrompt;
    std::optional<QString> m_hoveredPromptID;
    CancelWork m_hoverPreviewWorkItem;
    CancelWork m_initialSelectionWorkItem;
    CancelWork m_searchFocusWorkItem;
    QPointer<VelmoraSheetHost> m_sheetHost;
};
