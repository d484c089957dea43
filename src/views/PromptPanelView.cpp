#include "PromptPanelView.h"

#include "AppLanguageStore.h"
#include "CharacterClasses.h"
#include "ConfigIssueBanner.h"
#include "ContextDetector.h"
#include "ContextHeaderView.h"
#include "EmptyPromptView.h"
#include "FirstRunChecklistStore.h"
#include "FirstRunChecklistView.h"
#include "HapticFeedbackPerforming.h"
#include "PanelRenderSnapshotBuilder.h"
#include "PromptPackService.h"
#include "PromptCopySoundPlayer.h"
#include "PromptEditorSheet.h"
#include "PromptGridStageView.h"
#include "PromptPanelPreferences.h"
#include "PromptPanelRendering.h"
#include "PromptStore.h"
#include "PromptUsageStore.h"
#include "PromptVariableSheet.h"
#include "SearchVelmoraView.h"
#include "ShortcutSettingsStore.h"
#include "VelmoraAppearance.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraMorphState.h"
#include "VelmoraSheetHost.h"
#include "WorkspacePickerView.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
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
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 20, 0, 0);
    column->setSpacing(12);

    m_header = new ContextHeaderView(this);
    m_header->onShowDebugDetailsChange = [this](bool show) { setShowDebugDetails(show); };
    m_header->onTrustProjectConfig = [this](const QString& path) { m_promptStore.trustProjectConfig(path); };
    connect(m_header, &ContextHeaderView::popupVisibilityChanged, this, &PromptPanelView::popupVisibilityChanged);
    auto* headerRow = new QVBoxLayout();
    headerRow->setContentsMargins(PromptGridStageView::horizontalInset, 0, PromptGridStageView::horizontalInset, 0);
    headerRow->addWidget(m_header);
    column->addLayout(headerRow);

    m_issueRows = new QVBoxLayout();
    m_issueRows->setContentsMargins(16, 0, 16, 0);
    m_issueRows->setSpacing(8);
    column->addLayout(m_issueRows);

    auto* searchRows = new QVBoxLayout();
    searchRows->setContentsMargins(PromptGridStageView::horizontalInset, 0, PromptGridStageView::horizontalInset, 0);
    searchRows->setSpacing(10);
    m_search = new SearchVelmoraView(this);
    m_search->onSearchQueryChange = [this](const QString& text) { searchTextChanged(text); };
    m_picker = new WorkspacePickerView(m_promptStore, this);
    if (m_environment.sheets.workspaceEditor)
        m_picker->onCreateAndBindWorkspace = [this] { presentWorkspaceEditor(); };
    m_picker->onOpenSettings = [this] { Q_EMIT openSettingsRequested(); };
    connect(m_picker, &WorkspacePickerView::popupVisibilityChanged, this, &PromptPanelView::popupVisibilityChanged);
    searchRows->addWidget(m_search);
    searchRows->addWidget(m_picker);
    column->addLayout(searchRows);

    FirstRunChecklistView::Actions checklist;
    checklist.onOpenWorkspaceManager = [this] { requestWorkspaceManager(); };
    checklist.onBindWorkspace = [this](const QString& id) { m_promptStore.bindContext(context(), id); };
    checklist.onDismiss = [this] { m_firstRunChecklistStore.setDismissed(true); };
    m_checklist = new FirstRunChecklistView(m_promptStore, m_firstRunChecklistStore, [this] { return context(); },
                                            std::move(checklist), this);
    connect(&m_firstRunChecklistStore, &FirstRunChecklistStore::isDismissedChanged, this,
            &PromptPanelView::scheduleRender);

    m_stage = new PromptGridStageView(this);
    VelmoraAppearance::apply(m_stage);
    column->addWidget(m_stage, 1);
    m_stage->setHeader(m_checklist);
    m_emptyView = new EmptyPromptView(this);
    m_emptyView->hide();
    m_emptyHeaderRow = new QHBoxLayout();
    m_emptyHeaderRow->setContentsMargins(PromptGridStageView::horizontalInset, 0, PromptGridStageView::horizontalInset,
                                         0);
    column->addLayout(m_emptyHeaderRow);
    column->addWidget(m_emptyView, 1);
    connect(m_emptyView, &EmptyPromptView::popupVisibilityChanged, this, &PromptPanelView::popupVisibilityChanged);
    EmptyPromptView::Callbacks empty;
    empty.onInstallBuiltInPack = [this] {
        const QList<PromptPack>& packs = PromptPackService::builtInPacks(m_languageStore.effectiveLanguage());
        if (!packs.isEmpty())
            m_promptStore.installPromptPack(packs.first(), std::nullopt);
    };
    empty.onClearSearch = [this] {
        setSearchText(QString());
        focusSearchWhenReady();
    };
    empty.onManageWorkspaces = [this] { requestWorkspaceManager(); };
    if (m_environment.sheets.workspaceEditor)
        empty.onCreateWorkspace = [this] { presentWorkspaceEditor(); };
    if (m_environment.sheets.promptEditor)
        empty.onCreatePrompt = [this] {
            if (canCreatePrompt())
                presentPromptEditor(std::nullopt);
        };
    if (m_environment.sheets.promptImporter)
        empty.onImport = [this] { presentPromptImporter(); };
    // No permission exists to grant on this desktop: the settings say what can be read.
    empty.onOpenAutomationSettings = [this] { Q_EMIT openSettingsRequested(); };
    empty.onBindWorkspace = [this](const QString& id) { m_promptStore.bindContext(context(), id); };
    m_emptyView->setCallbacks(std::move(empty));

    makeToolbar();
    column->addWidget(m_toolbar);
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
        presentPromptEditor(prompt);
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
        refreshStage();
    };
    connect(m_stage, &PromptGridStageView::popupVisibilityChanged, this,
            &PromptPanelView::popupVisibilityChanged);

    for (const auto signal :
         {&PromptStore::globalPromptsChanged, &PromptStore::workspacesChanged, &PromptStore::sortModeChanged,
          &PromptStore::changed, &PromptStore::advancedAutomaticMatchingEnabledChanged,
          &PromptStore::projectConfigsEnabledChanged, &PromptStore::statusMessageChanged,
          &PromptStore::lastErrorMessageChanged, &PromptStore::configIssuesChanged})
        connect(&m_promptStore, signal, this, &PromptPanelView::scheduleRender);
    for (const auto signal : {&ContextDetector::currentContextChanged, &ContextDetector::needsAutomationPermissionChanged,
                              &ContextDetector::lastDetectionErrorChanged})
        connect(&m_contextDetector, signal, this, &PromptPanelView::scheduleRender);
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
                refreshStage();
                if (onLayoutModeChange)
                    onLayoutModeChange(mode);
            });
    render();
}

PromptPanelView::~PromptPanelView()
{
    removeKeyboardMonitor();
    cancelAndClear(m_hoverPreviewWorkItem);
    cancelAndClear(m_initialSelectionWorkItem);
    cancelAndClear(m_searchFocusWorkItem);
    delete m_sheetHost.data();
}

void PromptPanelView::makeToolbar()
{
    // The row on a faint backing, 62 high, inset 18 at the sides and 10 at the bottom.
    class Toolbar : public QWidget {
    public:
        using QWidget::QWidget;
        QSize sizeHint() const override { return {QWidget::sizeHint().width(), toolbarHeight + 10}; }

    protected:
        void paintEvent(QPaintEvent*) override
        {
            QPainter painter(this);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(QPen(VelmoraColors::white(0.06), 1.0));
            painter.setBrush(VelmoraColors::white(0.035));
            painter.drawRoundedRect(QRectF(18.5, 0.5, width() - 37.0, toolbarHeight - 1.0), 20, 20);
        }
    };
    m_toolbar = new Toolbar(this);
    m_toolbar->setFixedHeight(toolbarHeight + 10);
    auto* row = new QHBoxLayout(m_toolbar);
    row->setContentsMargins(18 + 10, 0, 18 + 10, 10);
    row->setSpacing(8);
    const auto add = [this, row](VelmoraButton*& button, bool primary, auto action) {
        button = new VelmoraButton(VelmoraButtonStyle::bottomToolbar, {}, m_toolbar);
        button->setPrimary(primary);
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        connect(button, &QAbstractButton::clicked, this, action);
        row->addWidget(button);
    };
    if (m_environment.sheets.promptEditor)
        add(m_addPromptButton, true, [this] { presentPromptEditor(std::nullopt); });
    add(m_workspaceButton, false, [this] { requestWorkspaceManager(); });
    if (m_environment.sheets.promptImporter)
        add(m_importButton, false, [this] { presentPromptImporter(); });
    add(m_settingsButton, false, [this] { Q_EMIT openSettingsRequested(); });
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

QString PromptPanelView::panelContextIdentity(const AgentContext& context)
{
    const QString bundle =
        CharacterClasses::trimmedWhitespaceAndNewlines(context.frontmostBundleIdentifier.value_or(QString()))
            .toString()
            .toLower();
    if (!bundle.isEmpty())
        return bundle;
    return toRawValue(context.agent) + u':' + context.frontmostAppName.toLower();
}

qint64 PromptPanelView::promptCount() const
{
    if (!CharacterClasses::trimmedWhitespaceAndNewlines(m_searchText).isEmpty())
        return m_snapshot.visiblePrompts.size();
    const std::optional<PromptWorkspace>& workspace = m_snapshot.matchDetails.workspace;
    return workspace ? workspace->prompts.size() : m_promptStore.globalPrompts().size();
}

bool PromptPanelView::canCreatePrompt() const
{
    return PromptEditorSheet::canCreatePrompt(m_promptStore.workspaces());
}

void PromptPanelView::scheduleRender()
{
    // Anything but the search text changed: the picker, banners and toolbar are made again too.
    m_chromeDirty = true;
    if (m_renderPending)
        return;
    m_renderPending = true;
    QMetaObject::invokeMethod(
        this, [this] { render(); }, Qt::QueuedConnection);
}

void PromptPanelView::render()
{
    if (m_rendering)
        return;
    m_rendering = true;
    m_renderPending = false;
    const AgentContext current = context();
    const QString identity = panelContextIdentity(current);
    if (m_contextIdentity && *m_contextIdentity != identity)
        setSearchText(QString());
    m_contextIdentity = identity;

    m_snapshot = makeSnapshot();
    const AppLanguage language = m_languageStore.effectiveLanguage();
    ContextHeaderView::State header;
    header.context = current;
    header.workspace = m_snapshot.matchDetails.workspace;
    header.promptCount = promptCount();
    header.errorMessage = m_promptStore.lastErrorMessage();
    header.matchDetails = m_snapshot.matchDetails;
    header.needsAutomationPermission = m_contextDetector.needsAutomationPermission();
    header.detectionErrorMessage = m_contextDetector.lastDetectionError();
    header.statusMessage = m_promptStore.statusMessage();
    header.showDebugDetails = m_showDebugDetails;
    header.language = language;
    header.textSize = m_preferences.textSize();
    m_header->setState(header);
    if (m_chromeDirty)
        refreshChrome();

    const bool empty = m_snapshot.sections.isEmpty();
    if (empty)
        m_emptyView->setState({m_snapshot.emptyReason, m_snapshot.emptyActions}, m_promptStore.workspaces(),
                              m_promptStore.workspaces().isEmpty(), language, m_preferences.textSize());
    m_emptyView->setVisible(empty);
    m_stage->setVisible(!empty);
    // The card scrolls with the prompts, and stands above an empty state.
    if (empty && m_checklist->parentWidget() != this) {
        m_stage->setHeader(nullptr);
        m_emptyHeaderRow->addWidget(m_checklist);
    } else if (!empty && m_checklist->parentWidget() == this) {
        m_emptyHeaderRow->removeWidget(m_checklist);
        m_stage->setHeader(m_checklist);
    }

    const QStringList ids = m_snapshot.visiblePromptIDs();
    if (ids != m_visibleIDs) {
        m_visibleIDs = ids;
        if (m_selectedPromptID)
            validateSelection(ids);
        else
            scheduleInitialSelection(ids);
        if (m_previewPrompt && !ids.contains(m_previewPrompt->id)) {
            cancelAndClear(m_hoverPreviewWorkItem);
            m_hoveredPromptID.reset();
            m_previewPrompt.reset();
        }
    }
    refreshStage();
    m_rendering = false;
}

void PromptPanelView::refreshChrome()
{
    m_chromeDirty = false;
    const AppLanguage language = m_languageStore.effectiveLanguage();
    const auto text = [language](const char16_t* key) { return L10n::text(QString::fromUtf16(key), language); };
    m_search->setLanguage(language);
    m_picker->setContext(context(), language, m_preferences.textSize());
    refreshIssueBanners();
    if (m_checklist)
        m_checklist->setVisible(!m_firstRunChecklistStore.isDismissed());
    if (m_addPromptButton) {
        // The word is the product's own, the same in every language.
        m_addPromptButton->setLabel(VelmoraBottomToolbarLabel{u"Prompt"_s, u"plus"_s, true}.label());
        const bool enabled = canCreatePrompt();
        m_addPromptButton->setEnabled(enabled);
        m_addPromptButton->setToolTip(text(enabled ? u"help.add.prompt.enabled" : u"help.add.prompt.disabled"));
    }
    m_workspaceButton->setLabel(VelmoraBottomToolbarLabel{text(u"field.workspace"), u"folder"_s, false}.label());
    m_workspaceButton->setToolTip(text(u"action.manage.workspaces"));
    if (m_importButton) {
        m_importButton->setLabel(
            VelmoraBottomToolbarLabel{text(u"action.import"), u"tray.and.arrow.down"_s, false}.label());
        m_importButton->setToolTip(text(u"help.import"));
    }
    m_settingsButton->setLabel(VelmoraBottomToolbarLabel{text(u"action.settings"), u"gearshape"_s, false}.label());
}

void PromptPanelView::refreshIssueBanners()
{
    const QList<PromptConfigIssue>& issues = m_promptStore.configIssues();
    if (issues == m_shownIssues && m_issueRows->count() == issues.size())
        return;
    m_shownIssues = issues;
    while (QLayoutItem* item = m_issueRows->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    ConfigIssueBanner::Actions actions;
    actions.showInFileManager = m_environment.showInFileManager;
    actions.openWorkspaceManager = [this] { Q_EMIT openWorkspaceManagerRequested(QVariant()); };
    for (const PromptConfigIssue& issue : issues)
        m_issueRows->addWidget(new ConfigIssueBanner(issue, m_promptStore, true, actions,
                                                     m_languageStore.effectiveLanguage(), m_preferences.textSize(),
                                                     this));
}

QList<ConfigIssueBanner*> PromptPanelView::issueBanners() const
{
    QList<ConfigIssueBanner*> banners;
    for (int index = 0; index < m_issueRows->count(); ++index)
        banners.append(static_cast<ConfigIssueBanner*>(m_issueRows->itemAt(index)->widget()));
    return banners;
}

void PromptPanelView::refreshStage()
{
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
    if (m_stage) {
        m_chromeDirty = true;
        m_shownIssues.clear();
        render();
    }
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
        refreshStage();
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
            self->refreshStage();
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
            self->refreshStage();
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
            refreshStage();
        }
    }
}

void PromptPanelView::cancelHoverPreview()
{
    cancelAndClear(m_hoverPreviewWorkItem);
    m_hoveredPromptID.reset();
    if (m_previewPrompt) {
        m_previewPrompt.reset();
        refreshStage();
    }
}

void PromptPanelView::contentVisibilityChanged(bool visible)
{
    if (visible) {
        scheduleInitialSelection(m_visibleIDs);
        focusSearchWhenReady();
        return;
    }
    cancelAndClear(m_initialSelectionWorkItem);
    m_selectedPromptID.reset();
    cancelHoverPreview();
    refreshStage();
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

VelmoraSheetHost* PromptPanelView::sheetHost() const
{
    return m_sheetHost;
}

PromptVariableSheet* PromptPanelView::variableSheet() const
{
    return m_sheetHost ? qobject_cast<PromptVariableSheet*>(m_sheetHost->content()) : nullptr;
}

void PromptPanelView::syncInteractionLock()
{
    const bool locked = m_showDebugDetails || m_showPromptEditor || m_showWorkspaceEditor || m_showPromptImporter ||
                        m_editingWorkspace.has_value() || m_pendingDeletePrompt.has_value() ||
                        m_pendingVariableForm.has_value();
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
            self->m_search->focusField();
    });
}

// --- Search and keyboard. ---

void PromptPanelView::setSearchText(const QString& text)
{
    m_search->setSearchText(text);
}

void PromptPanelView::searchTextChanged(const QString& text)
{
    m_searchText = text;
    if (onSearchQueryChange)
        onSearchQueryChange(text);
    // Typing changes only what the snapshot shows: the picker, banners and toolbar stay.
    render();
}

void PromptPanelView::installKeyboardMonitorIfNeeded()
{
    if (m_keyboardMonitorInstalled)
        return;
    qApp->installEventFilter(this);
    m_keyboardMonitorInstalled = true;
}

void PromptPanelView::removeKeyboardMonitor()
{
    if (!m_keyboardMonitorInstalled)
        return;
    qApp->removeEventFilter(this);
    m_keyboardMonitorInstalled = false;
}

bool PromptPanelView::eventFilter(QObject* watched, QEvent* event)
{
    // Only key presses addressed to a widget of this window: an input method's text comes as another
    // event, and the window itself sees each key before its focus widget does.
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType() ||
        static_cast<QWidget*>(watched)->window() != window())
        return false;
    if (!handleKeyboardEvent(ShortcutKeyEvent::from(*static_cast<QKeyEvent*>(event))))
        return false;
    event->accept();
    return true;
}

namespace {

// Key codes in the stored form.
enum StoredKey : quint32 {
    returnKey = 36,
    escapeKey = 53,
    keypadEnter = 76,
    leftArrow = 123,
    rightArrow = 124,
    downArrow = 125,
    upArrow = 126,
};

} // namespace

bool PromptPanelView::handleKeyboardEvent(const ShortcutKeyEvent& event)
{
    if (!m_morphState.contentVisible() || m_morphState.isInteractionLocked())
        return false;
    const std::optional<quint32> code = event.keyCode();
    const quint64 flags = event.modifierFlags();
    if ((flags & ShortcutModifiers::storedMask) == ShortcutModifiers::command &&
        event.charactersIgnoringModifiers() == u","_s) {
        Q_EMIT openSettingsRequested();
        return true;
    }
    if (code == escapeKey) {
        if (!m_searchText.isEmpty()) {
            setSearchText(QString());
            focusSearchWhenReady();
        } else {
            Q_EMIT closeRequested();
        }
        return true;
    }
    const bool listKey = code == leftArrow || code == rightArrow || code == upArrow || code == downArrow ||
                         code == returnKey || code == keypadEnter;
    const PromptTileShortcut tileShortcut = m_shortcutStore.promptTileShortcut();
    // Every shortcut holds Ctrl, Alt or Super: a plain key typed into the search can't be one, and
    // needs no snapshot of its own.
    if (!listKey && !ShortcutModifiers::hasRequiredModifier(flags) &&
        ShortcutModifiers::hasRequiredModifier(tileShortcut.modifiersRawValue))
        return false;
    const PanelRenderSnapshot snapshot = makeSnapshot();
    if (const std::optional<PromptItem> prompt = promptForKeyboardShortcut(event, snapshot, tileShortcut)) {
        copyPrompt(*prompt, true);
        return true;
    }
    const QList<PromptItem>& list = snapshot.visiblePrompts;
    switch (code.value_or(0)) {
    case leftArrow:
        moveSelection(-1, list);
        return true;
    case rightArrow:
        moveSelection(1, list);
        return true;
    case upArrow:
        moveSelection(-3, list);
        return true;
    case downArrow:
        moveSelection(3, list);
        return true;
    case returnKey:
    case keypadEnter:
        copySelectedPrompt(list);
        return true;
    default:
        return false;
    }
}

std::optional<PromptItem> PromptPanelView::promptForKeyboardShortcut(const ShortcutKeyEvent& event,
                                                                     const PanelRenderSnapshot& snapshot,
                                                                     const PromptTileShortcut& tileShortcut)
{
    const quint64 flags = event.modifierFlags();
    if (const std::optional<quint32> code = event.keyCode()) {
        for (const PromptItem& prompt : snapshot.visiblePrompts) {
            // Only the bits above 16 have to agree: device bits and Caps Lock don't count.
            if (prompt.shortcut && prompt.shortcut->keyCode == *code &&
                (flags ^ prompt.shortcut->modifiersRawValue) <= 0x1FFFF)
                return prompt;
        }
    }
    if (((flags ^ tileShortcut.modifiersRawValue) & 0x1E0000) != 0)
        return std::nullopt;
    const std::optional<int> index = PromptTileShortcut::numberIndex(event);
    if (!index)
        return std::nullopt;
    return PromptPanelRendering::prompt(*index + 1, snapshot);
}

void PromptPanelView::moveSelection(int delta, const QList<PromptItem>& list)
{
    if (list.isEmpty()) {
        m_selectedPromptID.reset();
        refreshStage();
        return;
    }
    const auto found = std::find_if(list.cbegin(), list.cend(),
                                    [this](const PromptItem& prompt) { return prompt.id == m_selectedPromptID; });
    if (m_selectedPromptID && found != list.cend()) {
        const qsizetype index = std::clamp<qsizetype>((found - list.cbegin()) + delta, 0, list.size() - 1);
        m_selectedPromptID = list.at(index).id;
        focusSearchWhenReady();
    } else {
        m_selectedPromptID = list.constFirst().id;
    }
    refreshStage();
}

void PromptPanelView::copySelectedPrompt(const QList<PromptItem>& list)
{
    if (list.isEmpty())
        return;
    const auto found = std::find_if(list.cbegin(), list.cend(),
                                    [this](const PromptItem& prompt) { return prompt.id == m_selectedPromptID; });
    copyPrompt(found != list.cend() ? *found : list.constFirst(), true);
}

void PromptPanelView::scheduleInitialSelection(const QStringList& visiblePromptIDs)
{
    cancelAndClear(m_initialSelectionWorkItem);
    if (!m_morphState.contentVisible() || m_selectedPromptID)
        return;
    const QPointer<PromptPanelView> self(this);
    const double delay = m_morphState.accessibilityReduceMotion() ? 0.0 : initialSelectionDelay;
    m_initialSelectionWorkItem = m_environment.schedule(delay, [self, visiblePromptIDs] {
        if (!self)
            return;
        self->m_initialSelectionWorkItem = nullptr;
        if (!self->m_morphState.contentVisible() || self->m_selectedPromptID)
            return;
        self->m_selectedPromptID =
            visiblePromptIDs.isEmpty() ? std::nullopt : std::optional<QString>(visiblePromptIDs.constFirst());
        self->refreshStage();
    });
}

void PromptPanelView::validateSelection(const QStringList& visiblePromptIDs)
{
    if (m_selectedPromptID && visiblePromptIDs.contains(*m_selectedPromptID))
        return;
    m_selectedPromptID =
        visiblePromptIDs.isEmpty() ? std::nullopt : std::optional<QString>(visiblePromptIDs.constFirst());
}

void PromptPanelView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    syncInteractionLock();
    installKeyboardMonitorIfNeeded();
    scheduleInitialSelection(m_visibleIDs);
    focusSearchWhenReady();
    if (onLayoutModeChange)
        onLayoutModeChange(m_preferences.layoutMode());
}

void PromptPanelView::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    cancelAndClear(m_initialSelectionWorkItem);
    removeKeyboardMonitor();
}

// --- Sheets. ---

void PromptPanelView::presentSheet(QWidget* content, std::function<void()> onGone)
{
    delete m_sheetHost.data();
    promptInterfaceTextSize(content, m_preferences.textSize());
    m_sheetHost = new VelmoraSheetHost(this, content);
    connect(m_sheetHost, &QDialog::finished, this, [this, onGone = std::move(onGone)] {
        m_sheetHost = nullptr;
        onGone();
        syncInteractionLock();
    });
    m_sheetHost->present();
}

void PromptPanelView::presentPromptEditor(const std::optional<PromptItem>& prompt)
{
    if (!m_environment.sheets.promptEditor || (!prompt && !canCreatePrompt()))
        return;
    m_editingPrompt = prompt;
    m_showPromptEditor = true;
    syncInteractionLock();
    presentSheet(m_environment.sheets.promptEditor({context(), editableWorkspaceID().value_or(QString()), prompt}),
                 [this] {
                     m_showPromptEditor = false;
                     m_editingPrompt.reset();
                 });
}

void PromptPanelView::presentWorkspaceEditor()
{
    if (!m_environment.sheets.workspaceEditor)
        return;
    m_showWorkspaceEditor = true;
    syncInteractionLock();
    presentSheet(m_environment.sheets.workspaceEditor(context()), [this] { m_showWorkspaceEditor = false; });
}

void PromptPanelView::presentPromptImporter()
{
    if (!m_environment.sheets.promptImporter)
        return;
    m_showPromptImporter = true;
    syncInteractionLock();
    presentSheet(m_environment.sheets.promptImporter(editableWorkspaceID(), context()),
                 [this] { m_showPromptImporter = false; });
}

void PromptPanelView::editWorkspace(const PromptWorkspace& workspace)
{
    if (!m_environment.sheets.workspaceEdit)
        return;
    m_editingWorkspace = workspace;
    syncInteractionLock();
    presentSheet(m_environment.sheets.workspaceEdit(workspace), [this] { m_editingWorkspace.reset(); });
}

void PromptPanelView::setShowDebugDetails(bool show)
{
    if (show == m_showDebugDetails)
        return;
    m_showDebugDetails = show;
    syncInteractionLock();
    render();
}

void PromptPanelView::setDeleteConfirmationPresented(bool presented)
{
    if (!presented)
        cancelDelete();
}

void PromptPanelView::requestWorkspaceManager()
{
    const std::optional<PromptWorkspace>& workspace = m_snapshot.matchDetails.workspace;
    Q_EMIT openWorkspaceManagerRequested(workspace ? QVariant(workspace->id) : QVariant());
}
