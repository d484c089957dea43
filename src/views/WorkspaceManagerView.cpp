#include "WorkspaceManagerView.h"

#include "AppLanguageStore.h"
#include "CharacterClasses.h"
#include "ConfigIssueBanner.h"
#include "ContextBindingStore.h"
#include "EditorSheetParts.h"
#include "FileChoosing.h"
#include "PanelText.h"
#include "PromptEditorSheet.h"
#include "PromptPackService.h"
#include "PromptStore.h"
#include "PromptUsageStore.h"
#include "VelmoraAppearance.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSheetHost.h"
#include "VelmoraSymbolButton.h"
#include "VelmoraSymbols.h"
#include "WorkspaceEditSheet.h"
#include "WorkspaceEditorSheet.h"
#include "WorkspaceManagerEmptyStateView.h"
#include "WorkspaceManagerPromptList.h"
#include "WorkspaceManagerRowPainting.h"
#include "WorkspaceManagerWorkspaceList.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QScrollArea>
#include <QShowEvent>
#include <QStackedWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

constexpr auto infoPromptCount = "field.prompt.count";
constexpr auto infoBindings = "settings.bound.environments";
constexpr auto infoFile = "field.config.file";
constexpr auto infoModified = "workspace.manager.modified";

QString folded(const QString& query)
{
    return CharacterClasses::trimmedWhitespaceAndNewlines(query).toString().toLower();
}

QFrame* divider(Qt::Orientation orientation, QWidget* parent)
{
    auto* line = new QFrame(parent);
    line->setFrameShape(QFrame::NoFrame);
    line->setAutoFillBackground(true);
    QPalette palette = line->palette();
    palette.setColor(QPalette::Window, VelmoraColors::white(0.12));
    line->setPalette(palette);
    if (orientation == Qt::Vertical)
        line->setFixedWidth(1);
    else
        line->setFixedHeight(1);
    return line;
}

QLabel* symbolLabel(const QString& symbol, double pixels, const QColor& color, QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setPixmap(
        QPixmap::fromImage(VelmoraSymbols::image(symbol, pixels, color, parent->devicePixelRatioF())));
    label->setFixedSize(int(pixels) + 2, int(pixels) + 2);
    label->setAlignment(Qt::AlignCenter);
    return label;
}

} // namespace

WorkspaceManagerView::WorkspaceManagerView(const Dependencies& dependencies,
                                           const std::optional<QString>& initialWorkspaceID, QWidget* parent)
    : QWidget(parent), m_promptStore(*dependencies.promptStore), m_languageStore(*dependencies.languageStore),
      m_fileChooser(*dependencies.fileChooser), m_hotKeyService(dependencies.hotKeyService),
      m_showInFileManager(dependencies.showInFileManager), m_selectedWorkspaceID(initialWorkspaceID),
      m_interfaceTextSize(dependencies.interfaceTextSize)
{
    setObjectName(u"workspaceManager"_s);
    setMinimumSize(minimumContentWidth, minimumContentHeight);
    promptInterfaceTextSize(this, m_interfaceTextSize);
    build();
    VelmoraAppearance::apply(this);
    QPalette palette = this->palette();
    // The tint of the manager's controls.
    palette.setColor(QPalette::Highlight, Brand::steel());
    palette.setColor(QPalette::Link, Brand::steel());
    setPalette(palette);
    applyTexts();
    rebuildBanners();
    refresh();

    PromptStore* store = &m_promptStore;
    for (auto signal : {&PromptStore::globalPromptsChanged, &PromptStore::workspacesChanged,
                        &PromptStore::showsTransientSamplesChanged, &PromptStore::workspaceMetadataChanged,
                        &PromptStore::changed})
        connect(store, signal, this, &WorkspaceManagerView::refresh);
    connect(store, &PromptStore::configIssuesChanged, this, &WorkspaceManagerView::rebuildBanners);
    connect(&m_languageStore, &AppLanguageStore::selectionChanged, this, [this] {
        applyTexts();
        rebuildBanners();
        refresh();
    });
}

WorkspaceManagerView::~WorkspaceManagerView()
{
    delete m_sheetHost.data();
}

QString WorkspaceManagerView::titleFor(AppLanguage language)
{
    return L10n::text(u"title.workspace.manager"_s, language);
}

QString WorkspaceManagerView::formatModifiedTime(const std::optional<QDateTime>& date, const QLocale& locale,
                                                 const QString& none)
{
    if (!date || !date->isValid())
        return none;
    // The locale's long date without the weekday, with the month abbreviated and the year in full.
    QString format = locale.dateFormat(QLocale::LongFormat);
    format.remove(QRegularExpression(u"d{4}[,،、\\s]*"_s));
    format.replace(QRegularExpression(u"M{4}"_s), u"MMM"_s);
    format.replace(QRegularExpression(u"(?<!y)yy(?!y)"_s), u"yyyy"_s);
    format = format.trimmed();
    const QDateTime local = date->toLocalTime();
    return locale.toString(local.date(), format) + u' ' + locale.toString(local.time(), QLocale::ShortFormat);
}

// --- Derived values. ---

std::optional<PromptWorkspace> WorkspaceManagerView::selectedWorkspace() const
{
    if (!m_selectedWorkspaceID)
        return std::nullopt;
    const QList<PromptWorkspace> all = m_promptStore.workspaceManagerWorkspaces();
    for (const PromptWorkspace& workspace : all) {
        if (workspace.id == *m_selectedWorkspaceID)
            return workspace;
    }
    return std::nullopt;
}

QStringList WorkspaceManagerView::deletableSelection() const
{
    QStringList ids;
    const QList<PromptWorkspace> all = m_promptStore.workspaceManagerWorkspaces();
    for (const PromptWorkspace& workspace : all) {
        if (workspace.isEditable() && m_selectedForDeletion.contains(workspace.id))
            ids.append(workspace.id);
    }
    return ids;
}

QList<PromptWorkspace> WorkspaceManagerView::filteredWorkspaces(const QString& search) const
{
    QList<PromptWorkspace> all = m_promptStore.workspaceManagerWorkspaces();
    const QString query = folded(search);
    if (query.isEmpty())
        return all;
    const AppLanguage current = language();
    const QString notSaved = text("workspace.not.saved").toLower();
    all.removeIf([&](const PromptWorkspace& workspace) {
        return !workspace.name.toLower().contains(query) &&
               !displayName(workspace.source, current).toLower().contains(query) &&
               !(workspace.fileURL ? workspace.fileURL->toLower() : notSaved).contains(query);
    });
    return all;
}

QList<PromptItem> WorkspaceManagerView::filteredPrompts(const PromptWorkspace& workspace,
                                                        const QString& search) const
{
    const QString query = folded(search);
    if (query.isEmpty())
        return workspace.prompts;
    if (!m_foldedPrompts.isSharedWith(workspace.prompts)) {
        m_foldedPrompts = workspace.prompts;
        m_foldedTexts.clear();
        m_foldedTexts.reserve(workspace.prompts.size());
        // A field break no query can hold, so a match never runs from one field into the next.
        for (const PromptItem& prompt : workspace.prompts)
            m_foldedTexts.append(
                (prompt.title + u'\0' + prompt.group + u'\0' + prompt.tags.join(u' ') + u'\0' + prompt.text)
                    .toLower());
    }
    QList<PromptItem> kept;
    for (qsizetype index = 0; index < workspace.prompts.size(); ++index) {
        if (m_foldedTexts.at(index).contains(query))
            kept.append(workspace.prompts.at(index));
    }
    return kept;
}

std::optional<WorkspaceManagerEmptyState> WorkspaceManagerView::managerEmptyState() const
{
    using Selection = WorkspaceManagerEmptyStateInput::Selection;
    WorkspaceManagerEmptyStateInput input;
    input.totalCount = m_promptStore.workspaceManagerWorkspaces().size();
    input.filteredCount = filteredWorkspaces().size();
    input.isSearching = !folded(m_workspaceSearch).isEmpty();
    if (const std::optional<PromptWorkspace> selected = selectedWorkspace()) {
        input.selection = selected->isEditable() ? Selection::editable : Selection::readOnly;
        input.canExport = !selected->isEditable();
        input.promptCount = selected->prompts.size();
        input.hasFile = selected->fileURL.has_value();
    }
    return WorkspaceManagerEmptyState::resolve(input);
}

QString WorkspaceManagerView::deleteWorkspaceMessage() const
{
    const QStringList ids = deletableSelection();
    QStringList names;
    const QList<PromptWorkspace> all = m_promptStore.workspaceManagerWorkspaces();
    for (const PromptWorkspace& workspace : all) {
        if (ids.contains(workspace.id))
            names.append(workspace.name);
    }
    names.sort();
    return text("workspace.manager.delete.confirm.message")
        .arg(QString::number(ids.size()), names.join(u'\n'));
}

QString WorkspaceManagerView::modifiedTime(const PromptWorkspace& workspace) const
{
    const auto metadata = m_promptStore.workspaceMetadata().constFind(workspace.id);
    const std::optional<QDateTime> date =
        metadata == m_promptStore.workspaceMetadata().cend() ? std::nullopt : metadata->modificationDate;
    return formatModifiedTime(date, QLocale::system(), text("common.none"));
}

// --- What the controls do. ---

void WorkspaceManagerView::setSelectedWorkspaceID(const std::optional<QString>& id)
{
    m_selectedWorkspaceID = id;
    refresh();
}

void WorkspaceManagerView::setWorkspaceSearch(const QString& text)
{
    m_workspaceSearch = text;
    if (m_workspaceFilter->text() != text)
        m_workspaceFilter->setText(text);
    refresh();
}

void WorkspaceManagerView::setPromptSearch(const QString& text)
{
    m_promptSearch = text;
    if (m_promptFilter->text() != text)
        m_promptFilter->setText(text);
    if (const std::optional<PromptWorkspace> selected = selectedWorkspace())
        refreshPrompts(*selected);
}

void WorkspaceManagerView::setTicked(const QString& id, bool ticked)
{
    const QList<PromptWorkspace> all = m_promptStore.workspaceManagerWorkspaces();
    const bool editable = std::any_of(all.cbegin(), all.cend(), [&](const PromptWorkspace& workspace) {
        return workspace.id == id && workspace.isEditable();
    });
    if (ticked && editable)
        m_selectedForDeletion.insert(id);
    else if (!ticked)
        m_selectedForDeletion.remove(id);
    refresh();
}

void WorkspaceManagerView::selectFiltered()
{
    const QList<PromptWorkspace> shown = filteredWorkspaces();
    for (const PromptWorkspace& workspace : shown) {
        if (workspace.isEditable())
            m_selectedForDeletion.insert(workspace.id);
    }
    refresh();
}

void WorkspaceManagerView::clearSelection()
{
    m_selectedForDeletion.clear();
    refresh();
}

void WorkspaceManagerView::reloadConfig()
{
    m_promptStore.reload(std::nullopt);
}

void WorkspaceManagerView::presentSheet(QWidget* content, std::function<void()> onGone)
{
    delete m_sheetHost.data();
    promptInterfaceTextSize(content, m_interfaceTextSize);
    m_sheetHost = new VelmoraSheetHost(this, content);
    connect(m_sheetHost, &QDialog::finished, this, [this, onGone = std::move(onGone)] {
        m_sheetHost = nullptr;
        onGone();
        refresh();
    });
    m_sheetHost->present();
}

void WorkspaceManagerView::presentNewWorkspace()
{
    m_showNewWorkspace = true;
    presentSheet(new WorkspaceEditorSheet(m_promptStore, std::nullopt, m_interfaceTextSize),
                 [this] { m_showNewWorkspace = false; });
}

void WorkspaceManagerView::presentWorkspaceEdit(const PromptWorkspace& workspace)
{
    if (!workspace.isEditable())
        return;
    m_editingWorkspace = workspace;
    presentSheet(new WorkspaceEditSheet(m_promptStore, workspace, m_interfaceTextSize),
                 [this] { m_editingWorkspace.reset(); });
}

void WorkspaceManagerView::presentPromptEditor(const std::optional<PromptItem>& prompt)
{
    const std::optional<PromptWorkspace> selected = selectedWorkspace();
    if (!selected || !selected->isEditable())
        return;
    m_editingPrompt = prompt;
    m_showPromptEditor = true;
    // The manager edits what the user picked, not what the detector saw.
    AgentContext context;
    context.agent = AgentType::unknown;
    context.workspaceName = unidentifiedWorkspaceName;
    PromptEditorSheet::Configuration configuration;
    configuration.context = context;
    configuration.targetWorkspaceID = m_selectedWorkspaceID.value_or(QString());
    configuration.editingPrompt = prompt;
    configuration.interfaceTextSize = m_interfaceTextSize;
    configuration.hotKeyService = m_hotKeyService;
    presentSheet(new PromptEditorSheet(m_promptStore, configuration), [this] {
        m_showPromptEditor = false;
        m_editingPrompt.reset();
    });
}

QWidget* WorkspaceManagerView::makeConfirmation(const QString& title, const QString& message,
                                                std::function<void()> onDelete)
{
    auto* content = new QWidget();
    content->setFixedWidth(420);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(10);
    QLabel* heading = EditorSheetParts::heading(title, content);
    heading->setWordWrap(true);
    column->addWidget(heading);
    QLabel* body = PanelText::label(textStyleFont(PromptTextStyle::body, m_interfaceTextSize),
                                    Brand::textPrimary(), content, true);
    body->setObjectName(u"message"_s);
    body->setText(message);
    body->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // A long list of names scrolls instead of growing the sheet past the window.
    auto* scroller = new QScrollArea(content);
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setWidgetResizable(true);
    scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroller->setWidget(body);
    scroller->viewport()->setAutoFillBackground(false);
    body->setAutoFillBackground(false);
    const int bodyHeight = body->heightForWidth(380);
    scroller->setFixedHeight(std::min(std::max(bodyHeight, body->fontMetrics().height()), 300));
    column->addWidget(scroller);
    auto* buttons = new QHBoxLayout();
    buttons->addStretch();
    auto* cancel = new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.cancel")}, content);
    cancel->setObjectName(u"action.cancel"_s);
    auto* remove = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text("action.delete")}, content);
    remove->setObjectName(u"action.delete"_s);
    remove->setDestructive(true);
    remove->setAutoDefault(false);
    cancel->setAutoDefault(false);
    buttons->addWidget(cancel);
    buttons->addWidget(remove);
    column->addLayout(buttons);
    content->setFixedHeight(content->sizeHint().height());
    connect(cancel, &QAbstractButton::clicked, content,
            [content] { EditorSheetParts::dismiss(content, false); });
    connect(remove, &QAbstractButton::clicked, content, [content, onDelete = std::move(onDelete)] {
        onDelete();
        EditorSheetParts::dismiss(content, true);
    });
    // Focus on Cancel, so that Return or Space never deletes by accident.
    EditorSheetParts::focusOnFirstShow(content, cancel);
    return content;
}

void WorkspaceManagerView::requestWorkspaceDelete()
{
    if (deletableSelection().isEmpty())
        return;
    m_pendingWorkspaceDelete = true;
    presentSheet(makeConfirmation(text("workspace.manager.delete.confirm.title"), deleteWorkspaceMessage(),
                                  [this] { deleteSelectedWorkspaces(); }),
                 [this] { m_pendingWorkspaceDelete = false; });
}

void WorkspaceManagerView::deleteSelectedWorkspaces()
{
    const QStringList ids = deletableSelection();
    const WorkspaceBatchDeletionResult result = m_promptStore.deleteWorkspaces(ids, {});
    QSet<QString> deleted;
    for (const WorkspaceDeletionResult& each : result.results) {
        if (each.succeeded)
            deleted.insert(each.id);
    }
    m_selectedForDeletion.subtract(deleted);
    if (m_selectedWorkspaceID && deleted.contains(*m_selectedWorkspaceID))
        m_selectedWorkspaceID.reset();
    QString message = m_promptStore.statusMessage();
    if (result.failureCount() >= 1)
        message += u'\n' + m_promptStore.lastErrorMessage().value_or(QString());
    m_resultMessage = message;
    refresh();
}

void WorkspaceManagerView::requestPromptDelete(const PromptItem& prompt)
{
    const std::optional<PromptWorkspace> selected = selectedWorkspace();
    if (!selected || !selected->isEditable())
        return;
    m_pendingPromptDelete = prompt;
    presentSheet(makeConfirmation(text("title.confirm.delete.prompt"), prompt.title,
                                  [this] { confirmPromptDelete(); }),
                 [this] { m_pendingPromptDelete.reset(); });
}

void WorkspaceManagerView::confirmPromptDelete()
{
    if (m_pendingPromptDelete && m_selectedWorkspaceID &&
        m_promptStore.deletePrompt(m_pendingPromptDelete->id, *m_selectedWorkspaceID))
        m_promptStore.usageStore()->remove(m_pendingPromptDelete->id);
    m_pendingPromptDelete.reset();
}

void WorkspaceManagerView::importPromptPack()
{
    const std::optional<QString> path = m_fileChooser.chooseFileToOpen(
        this, text("action.select.pack.file"), text("action.import"), {u"yaml"_s, u"yml"_s});
    if (!path)
        return;
    const PromptPackService service(*m_promptStore.persistence(), [this] { return language(); });
    const Expected<PromptPackImportPreview> preview = service.parseImportPreviewAt(*path);
    if (!preview) {
        m_resultMessage = preview.error().description;
    } else if (m_promptStore.installPromptPack(preview->pack, std::nullopt)) {
        m_selectedWorkspaceID = m_promptStore.lastEditedWorkspaceID();
        m_workspaceSearch.clear();
        m_promptSearch.clear();
        m_workspaceFilter->clear();
        m_promptFilter->clear();
        m_resultMessage = m_promptStore.statusMessage();
    } else {
        m_resultMessage = EditorSheetParts::storeMessage(m_promptStore);
    }
    refresh();
}

void WorkspaceManagerView::exportPromptPack(const PromptWorkspace& workspace)
{
    const QString title = text("action.export.pack");
    const std::optional<QString> path = m_fileChooser.chooseFileToSave(
        this, title, title, workspace.id + QString::fromLatin1(PromptPackService::fileSuffix));
    if (!path)
        return;
    m_promptStore.exportPromptPack(workspace.id, *path);
    m_resultMessage = EditorSheetParts::storeMessage(m_promptStore);
    refresh();
}

void WorkspaceManagerView::copySampleToMyWorkspaces(const PromptWorkspace& workspace)
{
    if (const std::optional<PromptWorkspace> saved =
            m_promptStore.saveTransientSampleAsWorkspace(workspace, workspace.name)) {
        m_selectedWorkspaceID = saved->id;
        m_resultMessage = m_promptStore.statusMessage();
    } else {
        m_resultMessage = EditorSheetParts::storeMessage(m_promptStore);
    }
    refresh();
}

void WorkspaceManagerView::hideSamples()
{
    m_promptStore.dismissTransientSamples();
    m_selectedWorkspaceID.reset();
    m_resultMessage = m_promptStore.statusMessage();
    refresh();
}

void WorkspaceManagerView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        m_promptStore.reload(std::nullopt);
}

// --- Building. ---

QString WorkspaceManagerView::text(const char* key) const
{
    return L10n::text(QString::fromLatin1(key), language());
}

AppLanguage WorkspaceManagerView::language() const
{
    return m_languageStore.effectiveLanguage();
}

VelmoraButton* WorkspaceManagerView::makeButton(const char* key, const QString& symbol, QWidget* parent)
{
    auto* button = new VelmoraButton(VelmoraButtonStyle::settingsAction, {{}, symbol}, parent);
    button->setObjectName(QString::fromLatin1(key));
    m_keyedButtons.append({button, key});
    return button;
}

void WorkspaceManagerView::build()
{
    auto* root = new QVBoxLayout(this);
    root->setContentsMargins(0, 0, 0, 0);
    root->setSpacing(0);
    m_bannerColumn = new QVBoxLayout();
    m_bannerColumn->setContentsMargins(panePadding, 0, panePadding, 0);
    m_bannerColumn->setSpacing(0);
    root->addLayout(m_bannerColumn);
    auto* panes = new QHBoxLayout();
    panes->setContentsMargins(0, 0, 0, 0);
    panes->setSpacing(0);
    panes->addWidget(buildSidebar());
    panes->addWidget(divider(Qt::Vertical, this));
    panes->addWidget(buildDetail(), 1);
    root->addLayout(panes, 1);
}

QWidget* WorkspaceManagerView::buildSidebar()
{
    auto* sidebar = new QWidget(this);
    sidebar->setFixedWidth(sidebarWidth + 2 * panePadding);
    auto* column = new QVBoxLayout(sidebar);
    column->setContentsMargins(panePadding, panePadding, panePadding, panePadding);
    column->setSpacing(10);

    auto* titleRow = new QHBoxLayout();
    m_title = PanelText::label(WorkspaceManagerRowPainting::title3(m_interfaceTextSize), Brand::textPrimary(),
                               sidebar);
    titleRow->addWidget(m_title, 1);
    m_reloadButton = new VelmoraSymbolButton(u"arrow.clockwise"_s, QSize(28, 28), sidebar);
    m_reloadButton->setObjectName(u"action.reload.config"_s);
    m_reloadButton->setLook(
        {u"arrow.clockwise"_s, 14.0, Brand::textPrimary(), VelmoraColors::white(0.1), 8.0});
    connect(m_reloadButton, &QAbstractButton::clicked, this, &WorkspaceManagerView::reloadConfig);
    titleRow->addWidget(m_reloadButton);
    column->addLayout(titleRow);

    m_workspaceFilter = EditorSheetParts::singleLineField({}, sidebar);
    m_workspaceFilter->setObjectName(u"workspace.manager.search.workspaces"_s);
    m_workspaceFilter->setClearButtonEnabled(true);
    connect(m_workspaceFilter, &QLineEdit::textChanged, this, &WorkspaceManagerView::setWorkspaceSearch);
    column->addWidget(m_workspaceFilter);

    auto* fileRow = new QHBoxLayout();
    fileRow->setSpacing(8);
    m_createWorkspaceButton = makeButton("action.create.workspace", u"folder.badge.plus"_s, sidebar);
    connect(m_createWorkspaceButton, &QAbstractButton::clicked, this,
            &WorkspaceManagerView::presentNewWorkspace);
    m_importButton = makeButton("action.import.prompt.pack", u"tray.and.arrow.down"_s, sidebar);
    connect(m_importButton, &QAbstractButton::clicked, this, &WorkspaceManagerView::importPromptPack);
    fileRow->addWidget(m_createWorkspaceButton);
    fileRow->addWidget(m_importButton);
    fileRow->addStretch();
    column->addLayout(fileRow);

    auto* selectionRow = new QHBoxLayout();
    selectionRow->setSpacing(8);
    m_selectFilteredButton = makeButton("workspace.manager.select.filtered", {}, sidebar);
    connect(m_selectFilteredButton, &QAbstractButton::clicked, this, &WorkspaceManagerView::selectFiltered);
    m_clearSelectionButton = makeButton("workspace.manager.clear.selection", {}, sidebar);
    connect(m_clearSelectionButton, &QAbstractButton::clicked, this, &WorkspaceManagerView::clearSelection);
    selectionRow->addWidget(m_selectFilteredButton);
    selectionRow->addWidget(m_clearSelectionButton);
    selectionRow->addStretch();
    column->addLayout(selectionRow);

    m_deleteSelectedButton = makeButton("workspace.manager.delete.selected", u"trash"_s, sidebar);
    m_deleteSelectedButton->setDestructive(true);
    connect(m_deleteSelectedButton, &QAbstractButton::clicked, this,
            &WorkspaceManagerView::requestWorkspaceDelete);
    column->addWidget(m_deleteSelectedButton, 0, Qt::AlignLeft);

    m_resultLabel = PanelText::label(textStyleFont(PromptTextStyle::caption, m_interfaceTextSize),
                                     VelmoraColors::secondaryText(), sidebar, true);
    m_resultLabel->setObjectName(u"resultMessage"_s);
    m_resultLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(m_resultLabel);

    m_sidebarStack = new QStackedWidget(sidebar);
    m_workspaceList = new WorkspaceManagerWorkspaceList(m_sidebarStack);
    m_workspaceList->setContentsMargins(0, 4, 0, 4);
    connect(m_workspaceList, &WorkspaceManagerWorkspaceList::tickToggled, this,
            &WorkspaceManagerView::setTicked);
    connect(m_workspaceList, &WorkspaceManagerWorkspaceList::workspaceClicked, this,
            [this](const QString& id) { setSelectedWorkspaceID(id); });
    m_sidebarEmpty =
        new WorkspaceManagerEmptyStateView({[this] { presentNewWorkspace(); }, [this] { importPromptPack(); },
                                            [this] { setWorkspaceSearch({}); }, nullptr, nullptr},
                                           m_sidebarStack);
    m_sidebarStack->addWidget(m_workspaceList);
    m_sidebarStack->addWidget(m_sidebarEmpty);
    column->addWidget(m_sidebarStack, 1);
    return sidebar;
}

QWidget* WorkspaceManagerView::buildDetail()
{
    auto* pane = new QWidget(this);
    auto* padded = new QVBoxLayout(pane);
    padded->setContentsMargins(panePadding, panePadding, panePadding, panePadding);
    m_detailStack = new QStackedWidget(pane);
    padded->addWidget(m_detailStack);
    m_detailEmpty =
        new WorkspaceManagerEmptyStateView({[this] { presentNewWorkspace(); }, [this] { importPromptPack(); },
                                            [this] { setWorkspaceSearch({}); }, nullptr, nullptr},
                                           m_detailStack);
    m_detailStack->addWidget(m_detailEmpty);

    auto* noSelection = new QWidget(m_detailStack);
    auto* column = new QVBoxLayout(noSelection);
    column->setSpacing(10);
    column->addStretch();
    const double iconPixels = WorkspaceManagerRowPainting::scaled(26.0, m_interfaceTextSize).pixelSize();
    m_noSelectionIcon = symbolLabel(u"folder"_s, iconPixels, VelmoraColors::secondaryText(), noSelection);
    column->addWidget(m_noSelectionIcon, 0, Qt::AlignHCenter);
    m_noSelectionLabel = PanelText::label(textStyleFont(PromptTextStyle::body, m_interfaceTextSize),
                                          VelmoraColors::secondaryText(), noSelection);
    m_noSelectionLabel->setAlignment(Qt::AlignCenter);
    column->addWidget(m_noSelectionLabel);
    column->addStretch();
    m_detailStack->addWidget(noSelection);
    m_detailStack->addWidget(buildWorkspaceDetail());
    return pane;
}

QWidget* WorkspaceManagerView::buildWorkspaceDetail()
{
    const PromptPanelTextSize size = m_interfaceTextSize;
    auto* detail = new QWidget(m_detailStack);
    auto* column = new QVBoxLayout(detail);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(18);

    auto* header = new QHBoxLayout();
    auto* names = new QVBoxLayout();
    names->setSpacing(2);
    m_nameLabel = new ElidedLabel(detail);
    m_nameLabel->setFont(PanelText::styled(PromptTextStyle::title2, size, QFont::DemiBold));
    PanelText::setColor(m_nameLabel, Brand::textPrimary());
    m_sourceLabel =
        PanelText::label(textStyleFont(PromptTextStyle::body, size), VelmoraColors::secondaryText(), detail);
    names->addWidget(m_nameLabel);
    names->addWidget(m_sourceLabel);
    header->addLayout(names, 1);
    auto* headerButtons = new QHBoxLayout();
    headerButtons->setSpacing(4);
    m_copySampleButton = makeButton("action.copy.to.my.workspaces", u"doc.on.doc"_s, detail);
    connect(m_copySampleButton, &QAbstractButton::clicked, this, [this] {
        if (const std::optional<PromptWorkspace> selected = selectedWorkspace())
            copySampleToMyWorkspaces(*selected);
    });
    m_hideSamplesButton = makeButton("action.hide.samples", u"eye.slash"_s, detail);
    connect(m_hideSamplesButton, &QAbstractButton::clicked, this, &WorkspaceManagerView::hideSamples);
    m_editWorkspaceButton = makeButton("action.edit.workspace", u"pencil"_s, detail);
    connect(m_editWorkspaceButton, &QAbstractButton::clicked, this, [this] {
        if (const std::optional<PromptWorkspace> selected = selectedWorkspace())
            presentWorkspaceEdit(*selected);
    });
    // A saved workspace of the user's own is the one kind the store exports.
    m_exportWorkspaceButton = makeButton("action.export.pack", u"square.and.arrow.down"_s, detail);
    m_exportWorkspaceButton->setObjectName(u"exportWorkspace"_s);
    connect(m_exportWorkspaceButton, &QAbstractButton::clicked, this, [this] {
        if (const std::optional<PromptWorkspace> selected = selectedWorkspace())
            exportPromptPack(*selected);
    });
    for (VelmoraButton* button :
         {m_copySampleButton, m_hideSamplesButton, m_exportWorkspaceButton, m_editWorkspaceButton})
        headerButtons->addWidget(button, 0, Qt::AlignTop);
    header->addLayout(headerButtons);
    column->addLayout(header);

    m_readOnlyRow = new QWidget(detail);
    auto* readOnly = new QHBoxLayout(m_readOnlyRow);
    readOnly->setContentsMargins(0, 0, 0, 0);
    readOnly->setSpacing(6);
    const QFont caption = textStyleFont(PromptTextStyle::caption, size);
    readOnly->addWidget(symbolLabel(u"lock"_s, caption.pixelSize() + 2, WorkspaceManagerRowPainting::orange(),
                                    m_readOnlyRow));
    m_readOnlyLabel = PanelText::label(caption, WorkspaceManagerRowPainting::orange(), m_readOnlyRow, true);
    readOnly->addWidget(m_readOnlyLabel, 1);
    m_exportButton = makeButton("action.export.pack", u"square.and.arrow.down"_s, m_readOnlyRow);
    connect(m_exportButton, &QAbstractButton::clicked, this, [this] {
        if (const std::optional<PromptWorkspace> selected = selectedWorkspace())
            exportPromptPack(*selected);
    });
    readOnly->addWidget(m_exportButton);
    column->addWidget(m_readOnlyRow);

    auto* info = new QGridLayout();
    info->setHorizontalSpacing(16);
    info->setVerticalSpacing(6);
    for (const char* key : {infoPromptCount, infoBindings, infoFile, infoModified}) {
        QLabel* label = PanelText::label(textStyleFont(PromptTextStyle::body, size),
                                         VelmoraColors::secondaryText(), detail);
        QLabel* value =
            PanelText::label(textStyleFont(PromptTextStyle::body, size), Brand::textPrimary(), detail, true);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        value->setObjectName(QString::fromLatin1(key));
        const int row = int(m_infoRows.size());
        info->addWidget(label, row, 0, Qt::AlignTop);
        info->addWidget(value, row, 1);
        m_infoRows.append({key, {label, value}});
    }
    info->setColumnStretch(1, 1);
    column->addLayout(info);
    column->addWidget(divider(Qt::Horizontal, detail));

    auto* promptsHeader = new QHBoxLayout();
    promptsHeader->setSpacing(10);
    m_promptsTitle =
        PanelText::label(textStyleFont(PromptTextStyle::headline, size), Brand::textPrimary(), detail);
    promptsHeader->addWidget(m_promptsTitle);
    promptsHeader->addStretch();
    m_promptFilter = EditorSheetParts::singleLineField({}, detail);
    m_promptFilter->setObjectName(u"workspace.manager.search.prompts"_s);
    m_promptFilter->setClearButtonEnabled(true);
    m_promptFilter->setFixedWidth(promptFilterWidth);
    connect(m_promptFilter, &QLineEdit::textChanged, this, &WorkspaceManagerView::setPromptSearch);
    promptsHeader->addWidget(m_promptFilter);
    m_createPromptButton = makeButton("action.create.prompt", u"plus"_s, detail);
    connect(m_createPromptButton, &QAbstractButton::clicked, this,
            [this] { presentPromptEditor(std::nullopt); });
    promptsHeader->addWidget(m_createPromptButton);
    column->addLayout(promptsHeader);

    m_promptStack = new QStackedWidget(detail);
    m_promptList = new WorkspaceManagerPromptList(m_promptStack);
    connect(m_promptList, &WorkspaceManagerPromptList::editRequested, this,
            [this](const PromptItem& prompt) { presentPromptEditor(prompt); });
    connect(m_promptList, &WorkspaceManagerPromptList::deleteRequested, this,
            &WorkspaceManagerView::requestPromptDelete);
    m_noSearchLabel = PanelText::label(textStyleFont(PromptTextStyle::body, size),
                                       VelmoraColors::secondaryText(), m_promptStack);
    m_noSearchLabel->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_noSearchLabel->setContentsMargins(0, 36, 0, 36);
    m_promptsEmpty =
        new WorkspaceManagerEmptyStateView({nullptr, [this] { importPromptPack(); }, nullptr,
                                            [this] { presentPromptEditor(std::nullopt); }, nullptr},
                                           m_promptStack);
    m_noPromptsLabel = PanelText::label(textStyleFont(PromptTextStyle::body, size),
                                        VelmoraColors::secondaryText(), m_promptStack);
    m_noPromptsLabel->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    m_noPromptsLabel->setContentsMargins(0, 36, 0, 36);
    for (QWidget* page :
         std::initializer_list<QWidget*>{m_promptList, m_noSearchLabel, m_promptsEmpty, m_noPromptsLabel})
        m_promptStack->addWidget(page);
    column->addWidget(m_promptStack, 1);
    return detail;
}

void WorkspaceManagerView::applyTexts()
{
    const QString title = titleFor(language());
    setAccessibleName(title);
    m_title->setText(title);
    m_title->setAccessibleName(title);
    m_reloadButton->setName(text("action.reload.config"));
    m_workspaceFilter->setPlaceholderText(text("workspace.manager.search.workspaces"));
    m_workspaceFilter->setAccessibleName(text("workspace.manager.search.workspaces"));
    m_promptFilter->setPlaceholderText(text("workspace.manager.search.prompts"));
    m_promptFilter->setAccessibleName(text("workspace.manager.search.prompts"));
    for (const auto& [button, key] : std::as_const(m_keyedButtons)) {
        VelmoraButtonLabel label = button->label();
        label.title = text(key);
        button->setLabel(label);
        button->setAccessibleName(label.title);
    }
    for (const auto& [key, labels] : std::as_const(m_infoRows))
        labels.first->setText(text(key));
    m_noSelectionLabel->setText(text("workspace.manager.no.selection"));
    m_promptsTitle->setText(text("workspace.manager.prompts"));
    m_noSearchLabel->setText(text("workspace.manager.no.search"));
    m_noPromptsLabel->setText(text("empty.no.prompts.title"));
}

void WorkspaceManagerView::rebuildBanners()
{
    while (QLayoutItem* item = m_bannerColumn->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    m_banners.clear();
    ConfigIssueBanner::Actions actions;
    actions.showInFileManager = m_showInFileManager;
    const QList<PromptConfigIssue>& issues = m_promptStore.configIssues();
    for (const PromptConfigIssue& issue : issues) {
        auto* banner = new ConfigIssueBanner(issue, m_promptStore, false, actions, language(),
                                             m_interfaceTextSize, this);
        m_bannerColumn->addSpacing(10);
        m_bannerColumn->addWidget(banner);
        m_banners.append(banner);
    }
}

// --- Refreshing from the store and the state. ---

QString WorkspaceManagerView::abbreviatedPath(const std::optional<QString>& path) const
{
    if (!path)
        return text("workspace.not.saved");
    const QString& home = m_promptStore.homeDirectory();
    if (*path == home)
        return u"~"_s;
    if (path->startsWith(home + u'/'))
        return u'~' + path->mid(home.size());
    return *path;
}

void WorkspaceManagerView::refresh()
{
    const QList<PromptWorkspace> all = m_promptStore.workspaceManagerWorkspaces();
    refreshSidebar(all);
    refreshDetail(all);
}

void WorkspaceManagerView::refreshSidebar(const QList<PromptWorkspace>& all)
{
    const AppLanguage current = language();
    const QList<PromptWorkspace> shown = filteredWorkspaces();
    const ContextBindingStore& bindings = *m_promptStore.bindingStore();
    const QString bindingsWord = text("workspace.manager.bindings.short");
    QList<WorkspaceManagerWorkspaceList::Row> rows;
    rows.reserve(shown.size());
    for (const PromptWorkspace& workspace : shown) {
        WorkspaceManagerWorkspaceList::Row row;
        row.id = workspace.id;
        row.name = workspace.name;
        row.promptCount = workspace.prompts.size();
        row.sourceLine = displayName(workspace.source, current) + u" · "_s +
                         QString::number(bindings.boundAgentCount(workspace.id)) + u' ' + bindingsWord;
        row.pathLine = abbreviatedPath(workspace.fileURL);
        row.readOnlyReason = m_promptStore.readOnlyReason(workspace);
        row.tickLabel = text("workspace.manager.select.workspace").arg(workspace.name);
        row.ticked = m_selectedForDeletion.contains(workspace.id);
        row.selected = m_selectedWorkspaceID == workspace.id;
        rows.append(row);
    }
    m_workspaceList->setRows(rows, m_interfaceTextSize);
    if (shown.isEmpty()) {
        m_sidebarEmpty->setState(all.isEmpty() ? WorkspaceManagerEmptyState::noData()
                                               : WorkspaceManagerEmptyState::filteredToEmpty(),
                                 current, m_interfaceTextSize);
        m_sidebarStack->setCurrentWidget(m_sidebarEmpty);
    } else {
        m_sidebarStack->setCurrentWidget(m_workspaceList);
    }

    const bool anyTickable = std::any_of(shown.cbegin(), shown.cend(), [](const PromptWorkspace& workspace) {
        return workspace.isEditable();
    });
    m_selectFilteredButton->setEnabled(anyTickable);
    m_clearSelectionButton->setEnabled(!m_selectedForDeletion.isEmpty());
    m_deleteSelectedButton->setEnabled(!deletableSelection().isEmpty());
    m_resultLabel->setText(m_resultMessage.value_or(QString()));
    m_resultLabel->setVisible(m_resultMessage.has_value());
}

void WorkspaceManagerView::refreshDetail(const QList<PromptWorkspace>& all)
{
    Q_UNUSED(all);
    const std::optional<PromptWorkspace> selected = selectedWorkspace();
    if (!selected) {
        const std::optional<WorkspaceManagerEmptyState> state = managerEmptyState();
        using Kind = WorkspaceManagerEmptyState::Kind;
        if (state && (state->kind == Kind::noData || state->kind == Kind::filteredToEmpty)) {
            m_detailEmpty->setState(*state, language(), m_interfaceTextSize);
            m_detailStack->setCurrentWidget(m_detailEmpty);
        } else {
            m_detailStack->setCurrentIndex(1);
        }
        return;
    }
    m_detailStack->setCurrentIndex(2);
    const PromptWorkspace& workspace = *selected;
    const bool editable = workspace.isEditable();
    const bool sample = workspace.source == PromptWorkspaceSource::transientSample;
    m_nameLabel->setFullText(workspace.name);
    m_nameLabel->setToolTip(workspace.name);
    m_sourceLabel->setText(displayName(workspace.source, language()));
    m_copySampleButton->setVisible(sample);
    m_hideSamplesButton->setVisible(sample);
    m_editWorkspaceButton->setVisible(!sample);
    m_editWorkspaceButton->setEnabled(editable);
    m_exportWorkspaceButton->setVisible(editable && workspace.fileURL);
    m_readOnlyRow->setVisible(!editable);
    m_readOnlyLabel->setText(m_promptStore.readOnlyReason(workspace));
    const QStringList values{QString::number(workspace.prompts.size()),
                             QString::number(m_promptStore.bindingStore()->boundAgentCount(workspace.id)),
                             abbreviatedPath(workspace.fileURL), modifiedTime(workspace)};
    for (qsizetype index = 0; index < m_infoRows.size(); ++index)
        m_infoRows.at(index).second.second->setText(values.at(index));
    m_createPromptButton->setEnabled(editable);
    refreshPrompts(workspace);
}

void WorkspaceManagerView::refreshPrompts(const PromptWorkspace& workspace)
{
    const QList<PromptItem> prompts = filteredPrompts(workspace);
    const bool editable = workspace.isEditable();
    m_promptList->setPrompts(prompts, editable,
                             {text("action.edit"), text("action.delete"), text("list.separator")},
                             m_interfaceTextSize);
    if (!prompts.isEmpty()) {
        m_promptStack->setCurrentWidget(m_promptList);
    } else if (!workspace.prompts.isEmpty()) {
        m_promptStack->setCurrentWidget(m_noSearchLabel);
    } else if (editable) {
        m_promptsEmpty->setState(WorkspaceManagerEmptyState::editableEmpty(), language(),
                                 m_interfaceTextSize);
        m_promptStack->setCurrentWidget(m_promptsEmpty);
    } else {
        m_promptStack->setCurrentWidget(m_noPromptsLabel);
    }
}

VelmoraSheetHost* WorkspaceManagerView::sheetHost() const
{
    return m_sheetHost;
}

QString WorkspaceManagerView::shownText(const QString& part) const
{
    if (part == u"name")
        return m_nameLabel->fullText();
    if (part == u"source")
        return m_sourceLabel->text();
    if (part == u"readOnly")
        return m_readOnlyRow->isVisibleTo(this) ? m_readOnlyLabel->text() : QString();
    if (part == u"noSelection")
        return m_noSelectionLabel->text();
    if (part == u"noSearch")
        return m_noSearchLabel->text();
    if (part == u"noPrompts")
        return m_noPromptsLabel->text();
    for (const auto& [key, labels] : m_infoRows) {
        if (part == QLatin1String(key))
            return labels.second->text();
    }
    return {};
}
