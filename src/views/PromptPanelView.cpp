#include "PromptPanelView.h"

#include "AppLanguageStore.h"
#include "ContextDetector.h"
#include "FirstRunChecklistStore.h"
#include "HapticFeedbackPerforming.h"
#include "PanelRenderSnapshotBuilder.h"
#include "PromptCopySoundPlayer.h"
#include "PromptGridStageView.h"
#include "PromptPanelPreferences.h"
#include "PromptStore.h"
#include "PromptUsageStore.h"
#include "PromptVariableSheet.h"
#include "ShortcutSettingsStore.h"
#include "VelmoraAppearance.h"
#include "VelmoraButton.h"
#include "VelmoraMorphState.h"
#include "VelmoraSheetHost.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QTimer>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

PromptPanelView::Environment withDefaults(PromptPanelView::Environment environment, QObject* context)
{
    if (!environment.schedule) {
        environment.schedule = [context](double seconds,
                                         std::function<void()> work) -> PromptPanelView::CancelWork {
            auto* timer = new QTimer(context);
            timer->setSingleShot(true);
            QObject::connect(timer, &QTimer::timeout, context, [timer, work = std::move(work)] {
                timer->deleteLater();
                work();
            });
            timer->start(int(seconds * 1000.0));
            return [timer = QPointer<QTimer>(timer)] {
                if (timer) {
                    timer->stop();
                    timer->deleteLater();
                }
            };
        };
    }
    if (!environment.now)
        environment.now = &QDateTime::currentDateTimeUtc;
    return environment;
}

void cancelAndClear(PromptPanelView::CancelWork& work)
{
    if (work)
        work();
    work = nullptr;
}

// The question before a prompt is deleted: its title, Cancel, and the destructive Delete, which
// is never the default.
QWidget* makeDeleteConfirmation(const PromptItem& prompt, AppLanguage language,
                                std::function<void()> onDelete, std::function<void()> onCancel)
{
    const auto text = [language](const char* key) {
        return L10n::text(QString::fromLatin1(key), language);
    };
    auto* content = new QWidget();
    content->setFixedSize(360, 150);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(8);
    auto* title = new QLabel(text("title.confirm.delete.prompt"), content);
    title->setFont(textStyleFont(PromptTextStyle::headline, promptPanelTextSizeOf(content)));
    auto* message = new QLabel(prompt.title, content);
    message->setTextFormat(Qt::PlainText);
    message->setWordWrap(true);
    column->addWidget(title);
    column->addWidget(message, 1);
    auto* buttons = new QHBoxLayout();
    buttons->addStretch();
    auto* cancel = new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.cancel")}, content);
    auto* remove = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text("action.delete")}, content);
    remove->setDestructive(true);
    QObject::connect(cancel, &QAbstractButton::clicked, content, std::move(onCancel));
    QObject::connect(remove, &QAbstractButton::clicked, content, std::move(onDelete));
    buttons->addWidget(cancel);
    buttons->addWidget(remove);
    column->addLayout(buttons);
    cancel->setFocus();
    return content;
}

} // namespace

PromptPanelView::PromptPanelView(const Dependencies& dependencies, Environment environment, QWidget* parent)
    : QWidget(parent), m_promptStore(*dependencies.promptStore),
      m_contextDetector(*dependencies.contextDetector), m_shortcutStore(*dependencies.shortcutStore),
      m_morphState(*dependencies.morphState), m_languageStore(*dependencies.languageStore),
      m_promptActionService(*dependencies.promptActionService),
      m_copySoundPlayer(*dependencies.copySoundPlayer),
      m_firstRunChecklistStore(*dependencies.firstRunChecklistStore),
      m_variableValueStore(*dependencies.variableValueStore),
      m_hapticPerformer(*dependencies.hapticPerformer), m_preferences(*dependencies.preferences),
      m_environment(withDefaults(std::move(environment), this))
{
    VelmoraAppearance::apply(this);
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::StrongFocus);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    m_stage = new PromptGridStageView(this);
    VelmoraAppearance::apply(m_stage);
    column->addWidget(m_stage);
    textSizeChanged();

    PromptSectionCallbacks callbacks;
    callbacks.isEditablePrompt = [this](const PromptItem& prompt) {
        return m_snapshot.editablePromptIDs.contains(prompt.id);
    };
    callbacks.onCopy = [this](const PromptItem& prompt) {
        copyPrompt(prompt, true);
    };
    callbacks.onRetry = [this](const PromptItem& prompt) {
        retryCopy(prompt);
    };
    callbacks.onEdit = [this](const PromptItem& prompt) {
        Q_EMIT editPromptRequested(prompt);
    };
    callbacks.onDelete = [this](const PromptItem& prompt) {
        requestDelete(prompt);
    };
    callbacks.canMove = [this](const PromptItem& prompt, PromptMoveDirection direction) {
        const std::optional<QString> workspace = editableWorkspaceID();
        return workspace && m_snapshot.allowsPromptOrdering &&
               m_promptStore.canMovePrompt(prompt.id, *workspace, direction);
    };
    callbacks.onMove = [this](const PromptItem& prompt, PromptMoveDirection direction) {
        if (const std::optional<QString> workspace = editableWorkspaceID())
            m_promptStore.movePrompt(prompt.id, *workspace, direction);
    };
    callbacks.onTogglePinned = [this](const PromptItem& prompt) {
        if (const std::optional<QString> workspace = editableWorkspaceID())
            m_promptStore.togglePinned(prompt.id, *workspace);
    };
    callbacks.onTileHover = [this](const PromptItem& prompt, bool hovering) {
        handleTileHover(prompt, hovering);
    };
    callbacks.onLayoutModeChange = [this](PromptPanelLayoutMode mode) {
        m_preferences.setLayoutMode(mode);
    };
    m_stage->setCallbacks(std::move(callbacks));
    m_stage->onPreviewDismissed = [this] {
        if (!m_previewPrompt)
            return;
        m_previewPrompt.reset();
        scheduleRender();
    };
    connect(m_stage, &PromptGridStageView::popupVisibilityChanged, this,
            &PromptPanelView::popupVisibilityChanged);

    for (const auto signal :
         {&PromptStore::globalPromptsChanged, &PromptStore::workspacesChanged, &PromptStore::sortModeChanged,
          &PromptStore::changed, &PromptStore::advancedAutomaticMatchingEnabledChanged,
          &PromptStore::projectConfigsEnabledChanged})
        connect(&m_promptStore, signal, this, &PromptPanelView::scheduleRender);
    connect(&m_contextDetector, &ContextDetector::currentContextChanged, this,
            &PromptPanelView::scheduleRender);
    connect(&m_contextDetector, &ContextDetector::needsAutomationPermissionChanged, this,
            &PromptPanelView::scheduleRender);
    connect(&m_shortcutStore, &ShortcutSettingsStore::promptTileShortcutChanged, this,
            &PromptPanelView::scheduleRender);
    connect(&m_languageStore, &AppLanguageStore::selectionChanged, this, &PromptPanelView::scheduleRender);
    connect(&m_morphState, &VelmoraMorphState::pinnedContextChanged, this, &PromptPanelView::scheduleRender);
    connect(&m_morphState, &VelmoraMorphState::accessibilityReduceMotionChanged, this,
            &PromptPanelView::scheduleRender);
    connect(&m_morphState, &VelmoraMorphState::contentVisibleChanged, this,
            [this](bool visible) { contentVisibilityChanged(visible); });
    connect(&m_morphState, &VelmoraMorphState::isInteractionLockedChanged, this, [this](bool locked) {
        if (!locked)
            focusSearchWhenReady();
    });
    connect(&m_preferences, &PromptPanelPreferences::textSizeChanged, this,
            &PromptPanelView::textSizeChanged);
    connect(&m_preferences, &PromptPanelPreferences::layoutModeChanged, this,
            [this](PromptPanelLayoutMode mode) {
                render();
                if (onLayoutModeChange)
                    onLayoutModeChange(mode);
            });
    render();
}

PromptPanelView::~PromptPanelView()
{
    cancelAndClear(m_hoverPreviewWorkItem);
    cancelAndClear(m_searchFocusWorkItem);
    delete m_sheetHost.data();
}

AgentContext PromptPanelView::context() const
{
    return m_morphState.pinnedContext().value_or(m_contextDetector.currentContext());
}

PanelRenderSnapshot PromptPanelView::makeSnapshot() const
{
    const PromptMatchingService matching = m_promptStore.matchingService();
    return PanelRenderSnapshotBuilder::make(
        m_promptStore, context(), m_searchText, m_contextDetector.needsAutomationPermission(),
        [&matching](const AgentContext& value) { return matching.matchDetails(value); });
}

std::optional<QString> PromptPanelView::editableWorkspaceID() const
{
    const std::optional<PromptWorkspace>& workspace = m_snapshot.matchDetails.workspace;
    if (workspace && workspace->isEditable())
        return workspace->id;
    return std::nullopt;
}

void PromptPanelView::scheduleRender()
{
    if (m_renderPending)
        return;
    m_renderPending = true;
    QMetaObject::invokeMethod(
        this, [this] { render(); }, Qt::QueuedConnection);
}

void PromptPanelView::render()
{
    m_renderPending = false;
    m_snapshot = makeSnapshot();
    if (m_previewPrompt && !m_snapshot.visiblePromptIDs().contains(m_previewPrompt->id)) {
        cancelAndClear(m_hoverPreviewWorkItem);
        m_hoveredPromptID.reset();
        m_previewPrompt.reset();
    }
    PromptStageState state;
    state.snapshot = m_snapshot;
    state.editableWorkspaceID = editableWorkspaceID();
    state.copyFeedback = m_copyFeedback;
    state.selectedPromptID = m_selectedPromptID;
    state.previewPrompt = m_previewPrompt;
    state.tileShortcut = m_shortcutStore.promptTileShortcut();
    state.layoutMode = m_preferences.layoutMode();
    state.textSize = m_preferences.textSize();
    state.reduceMotion = m_morphState.accessibilityReduceMotion();
    state.language = m_languageStore.effectiveLanguage();
    m_stage->setState(state);
}

void PromptPanelView::textSizeChanged()
{
    promptInterfaceTextSize(this, m_preferences.textSize());
    if (m_stage)
        render();
}

void PromptPanelView::copyPrompt(const PromptItem& prompt, bool keepSearchFocused)
{
    cancelHoverPreview();
    const PromptCopyCoordinator coordinator(m_promptActionService, m_variableValueStore, m_environment.now);
    const PromptCopyPreparation preparation = coordinator.prepare(prompt);
    if (!preparation.requiresValues()) {
        const PromptCopyResult result = m_promptActionService.copyText(preparation.immediateText());
        if (result == PromptCopyResult::success)
            m_promptStore.usageStore()->recordSuccessfulCopy(prompt.id, m_environment.now());
        applyCopyResult(result, prompt, keepSearchFocused);
        return;
    }
    m_pendingVariablePrompt = prompt;
    m_pendingVariableCopyKeepsSearchFocused = keepSearchFocused;
    m_pendingVariableForm = preparation.form();
    presentVariableSheet();
    syncInteractionLock();
}

PromptCopySubmissionResult PromptPanelView::confirmVariableForm(const QHash<QString, QString>& values)
{
    if (!m_pendingVariableForm)
        return {PromptCopySubmissionResult::Kind::cancelled, {}, PromptCopyResult::success};
    const PromptVariableForm form = *m_pendingVariableForm;
    const PromptCopyCoordinator coordinator(m_promptActionService, m_variableValueStore, m_environment.now);
    const PromptCopySubmissionResult submission = coordinator.submit(form, values);
    if (submission.kind != PromptCopySubmissionResult::Kind::copy)
        return submission;
    if (submission.result == PromptCopyResult::success)
        m_promptStore.usageStore()->recordSuccessfulCopy(form.promptID, m_environment.now());
    const std::optional<PromptItem> prompt = m_pendingVariablePrompt;
    if (!prompt)
        return submission;
    m_pendingVariableForm.reset();
    m_pendingVariablePrompt.reset();
    closeSheet();
    syncInteractionLock();
    applyCopyResult(submission.result, *prompt, m_pendingVariableCopyKeepsSearchFocused);
    return submission;
}

void PromptPanelView::cancelVariableForm()
{
    m_pendingVariableForm.reset();
    m_pendingVariablePrompt.reset();
    closeSheet();
    syncInteractionLock();
}

void PromptPanelView::applyCopyResult(PromptCopyResult result, const PromptItem& prompt,
                                      bool keepSearchFocused)
{
    const bool succeeded = result == PromptCopyResult::success;
    if (succeeded)
        m_firstRunChecklistStore.recordSuccessfulCopy();
    m_copyFeedback =
        succeeded ? PromptCopyFeedback::copied(prompt.id) : PromptCopyFeedback::failed(prompt.id);
    m_failedPrompt = succeeded ? std::nullopt : std::optional<PromptItem>(prompt);
    if (!succeeded) {
        render();
        return;
    }
    const qint64 generation = m_copyFeedbackLifetime.begin();
    const PromptCopyFeedback copied = *m_copyFeedback;
    const QPointer<PromptPanelView> self(this);
    m_environment.schedule(
        PromptCopyFeedbackLifetime::durationMilliseconds / 1000.0, [self, generation, copied] {
            if (!self || !self->m_copyFeedbackLifetime.isCurrent(generation, self->m_copyFeedback, copied))
                return;
            self->m_copyFeedback.reset();
            self->render();
        });
    m_copySoundPlayer.play(m_shortcutStore.copySoundName());
    m_selectedPromptID = prompt.id;
    if (m_shortcutStore.copyHapticsEnabled())
        m_hapticPerformer.perform();
    if (keepSearchFocused)
        focusSearchWhenReady();
    render();
}

void PromptPanelView::retryCopy(const PromptItem& prompt)
{
    if (const std::optional<PromptItem> failed =
            PromptCopyRetry::resolve(m_copyFeedback, m_failedPrompt, prompt.id))
        copyPrompt(*failed, true);
}

void PromptPanelView::handleTileHover(const PromptItem& prompt, bool isHovering)
{
    if (!m_morphState.contentVisible() || m_morphState.isInteractionLocked()) {
        cancelHoverPreview();
        return;
    }
    if (isHovering) {
        m_hoveredPromptID = prompt.id;
        cancelAndClear(m_hoverPreviewWorkItem);
        const QPointer<PromptPanelView> self(this);
        m_hoverPreviewWorkItem = m_environment.schedule(hoverPreviewDelay, [self, prompt] {
            if (!self)
                return;
            self->m_hoverPreviewWorkItem = nullptr;
            if (self->m_hoveredPromptID != prompt.id || !self->m_morphState.contentVisible() ||
                self->m_morphState.isInteractionLocked())
                return;
            self->m_previewPrompt = prompt;
            self->render();
        });
        return;
    }
    // The end of a hover that another tile's has overtaken changes nothing, not even that tile's
    // pending preview.
    if (m_hoveredPromptID == prompt.id) {
        cancelAndClear(m_hoverPreviewWorkItem);
        m_hoveredPromptID.reset();
        if (m_previewPrompt) {
            m_previewPrompt.reset();
            render();
        }
    }
}

void PromptPanelView::cancelHoverPreview()
{
    cancelAndClear(m_hoverPreviewWorkItem);
    m_hoveredPromptID.reset();
    if (m_previewPrompt) {
        m_previewPrompt.reset();
        render();
    }
}

void PromptPanelView::contentVisibilityChanged(bool visible)
{
    if (visible) {
        focusSearchWhenReady();
        return;
    }
    m_selectedPromptID.reset();
    cancelHoverPreview();
    render();
}

void PromptPanelView::requestDelete(const PromptItem& prompt)
{
    m_pendingDeletePrompt = prompt;
    syncInteractionLock();
    delete m_sheetHost.data();
    QWidget* content = makeDeleteConfirmation(
        prompt, m_languageStore.effectiveLanguage(), [this] { confirmDelete(); }, [this] { cancelDelete(); });
    promptInterfaceTextSize(content, m_preferences.textSize());
    m_sheetHost = new VelmoraSheetHost(this, content);
    connect(m_sheetHost, &QDialog::rejected, this, &PromptPanelView::cancelDelete);
    m_sheetHost->present();
}

void PromptPanelView::confirmDelete()
{
    const std::optional<PromptItem> prompt = m_pendingDeletePrompt;
    const std::optional<QString> workspace = editableWorkspaceID();
    if (prompt && workspace && m_promptStore.deletePrompt(prompt->id, *workspace))
        m_promptStore.usageStore()->remove(prompt->id);
    cancelDelete();
}

void PromptPanelView::cancelDelete()
{
    m_pendingDeletePrompt.reset();
    closeSheet();
    syncInteractionLock();
}

void PromptPanelView::presentVariableSheet()
{
    delete m_sheetHost.data();
    auto* sheet = new PromptVariableSheet(
        *m_pendingVariableForm,
        [this](const QHash<QString, QString>& values) { return confirmVariableForm(values); },
        [this] { cancelVariableForm(); }, m_preferences.textSize(), m_languageStore.effectiveLanguage());
    m_sheetHost = new VelmoraSheetHost(this, sheet);
    // Escape or the window manager's close: the form's cancel.
    connect(m_sheetHost, &QDialog::rejected, this, &PromptPanelView::cancelVariableForm);
    m_sheetHost->present();
}

void PromptPanelView::closeSheet()
{
    if (!m_sheetHost)
        return;
    VelmoraSheetHost* host = m_sheetHost;
    m_sheetHost = nullptr;
    // Taken down by the panel, not cancelled: no rejected() comes back.
    host->disconnect(this);
    host->accept();
}

PromptVariableSheet* PromptPanelView::variableSheet() const
{
    return m_sheetHost ? qobject_cast<PromptVariableSheet*>(m_sheetHost->content()) : nullptr;
}

void PromptPanelView::syncInteractionLock()
{
    const bool locked = m_pendingDeletePrompt.has_value() || m_pendingVariableForm.has_value();
    m_morphState.setInteractionLocked(locked);
    if (locked)
        cancelHoverPreview();
}

void PromptPanelView::focusSearchWhenReady()
{
    if (!m_morphState.contentVisible() || m_morphState.isInteractionLocked())
        return;
    cancelAndClear(m_searchFocusWorkItem);
    const QPointer<PromptPanelView> self(this);
    m_searchFocusWorkItem = m_environment.schedule(searchFocusDelay, [self] {
        if (!self)
            return;
        self->m_searchFocusWorkItem = nullptr;
        if (self->m_morphState.contentVisible() && !self->m_morphState.isInteractionLocked())
            Q_EMIT self->searchFocusRequested();
    });
}

void PromptPanelView::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && m_morphState.contentVisible() &&
        !m_morphState.isInteractionLocked()) {
        Q_EMIT closeRequested();
        return;
    }
    QWidget::keyPressEvent(event);
}
