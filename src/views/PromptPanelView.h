// The content of the floating panel: the stage of prompt tiles for the pinned context, and the copy
// of a prompt from the click to the mark on its tile: the variable form when the prompt needs
// values, the clipboard, the usage record, the first-run step, the sound, the haptic and the
// selection; a failed copy offers a retry on its tile. It keeps no library data: every render
// builds a fresh snapshot from the stores. Main thread only.
#pragma once

#include "PanelRenderSnapshot.h"
#include "PromptCopyCoordinator.h"
#include "PromptCopyFeedback.h"
#include "PromptPanelLayoutMode.h"

#include <QDateTime>
#include <QPointer>
#include <QWidget>
#include <functional>
#include <optional>

class AppLanguageStore;
class ContextDetector;
class FirstRunChecklistStore;
class HapticFeedbackPerforming;
class PromptActionService;
class PromptCopySoundPlayer;
class PromptGridStageView;
class PromptPanelPreferences;
class PromptStore;
class PromptVariableSheet;
class PromptVariableValueStore;
class ShortcutSettingsStore;
class VelmoraMorphState;
class VelmoraSheetHost;

class PromptPanelView : public QWidget {
    Q_OBJECT

public:
    using CancelWork = std::function<void()>;
    // Runs `work` once after `seconds` on the main thread; the result cancels it.
    using Scheduler = std::function<CancelWork(double seconds, std::function<void()> work)>;

    static constexpr double hoverPreviewDelay = 0.7;
    static constexpr double searchFocusDelay = 0.04;

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

    // Absent members: a single-shot timer, and the system clock.
    struct Environment {
        Scheduler schedule;
        std::function<QDateTime()> now;
    };

    PromptPanelView(const Dependencies& dependencies, Environment environment, QWidget* parent = nullptr);
    ~PromptPanelView() override;

    // Tells the panel window the layout, which sizes it.
    std::function<void(PromptPanelLayoutMode)> onLayoutModeChange;

    AgentContext context() const;
    PanelRenderSnapshot makeSnapshot() const;
    const PanelRenderSnapshot& snapshot() const { return m_snapshot; }
    std::optional<QString> editableWorkspaceID() const;
    // Builds a snapshot and shows it.
    void render();

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
    VelmoraSheetHost* sheetHost() const { return m_sheetHost; }
    PromptVariableSheet* variableSheet() const;

Q_SIGNALS:
    // The search field is to take the focus (the copy asked to keep it there).
    void searchFocusRequested();
    // The edit item of a tile's menu; the prompt editor presents itself on it.
    void editPromptRequested(const PromptItem& prompt);
    // A menu or popup of the panel opened or closed: while one is open the pointer counts as over the
    // panel.
    void popupVisibilityChanged(bool visible);
    // Escape: the panel is to close.
    void closeRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void scheduleRender();
    void presentVariableSheet();
    void closeSheet();
    void contentVisibilityChanged(bool visible);
    void textSizeChanged();

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

    PromptGridStageView* m_stage = nullptr;
    PanelRenderSnapshot m_snapshot;
    bool m_renderPending = false;
    QString m_searchText;

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
    CancelWork m_searchFocusWorkItem;
    QPointer<VelmoraSheetHost> m_sheetHost;
};
