#include "PromptEditorSheet.h"

#include "CharacterClasses.h"
#include "EditorSheetParts.h"
#include "PromptStore.h"
#include "ShortcutRecorderButton.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSymbolButton.h"

#include <QComboBox>
#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QUuid>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace EditorSheetParts;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

QString trimmed(const QString& text)
{
    return CharacterClasses::trimmedWhitespaceAndNewlines(text).toString();
}

bool holdsPrompt(const PromptWorkspace& workspace, const QString& promptID)
{
    return std::any_of(workspace.prompts.cbegin(), workspace.prompts.cend(),
                       [&](const PromptItem& prompt) { return prompt.id == promptID; });
}

} // namespace

PromptEditorSheet::PromptEditorSheet(PromptStore& promptStore, Configuration configuration, QWidget* parent)
    : QWidget(parent), m_promptStore(promptStore), m_configuration(std::move(configuration)),
      m_language(promptStore.language())
{
    promptInterfaceTextSize(this, m_configuration.interfaceTextSize);
    setFixedSize(sheetWidth, sheetHeight);
    const auto text = [this](const char* key) {
        return L10n::text(QString::fromLatin1(key), m_language);
    };

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(14);
    column->addWidget(heading(text(m_configuration.editingPrompt ? "title.edit.prompt" : "title.new.prompt"), this));

    QVBoxLayout* rows = nullptr;
    QScrollArea* scroll = scrollingColumn(this, rows);
    QWidget* inner = scroll->widget();

    m_targetPopUp = new QComboBox(inner);
    // A prompt doesn't change workspace here.
    m_targetPopUp->setEnabled(!m_configuration.editingPrompt);
    connect(m_targetPopUp, &QComboBox::activated, this, [this] {
        m_selectedTargetWorkspaceID = m_targetPopUp->currentData().toString();
        refreshGroups();
        refreshSaveEnabled();
    });
    addRow(rows, "field.save.to.workspace", nullptr, m_targetPopUp);

    m_agentPopUp = new QComboBox(inner);
    m_agentPopUp->addItem(text("agent.any"), int(AgentType::unknown));
    for (const AgentType agent : bindableAgentTypes())
        m_agentPopUp->addItem(displayName(agent, m_language), int(agent));
    addRow(rows, "field.agent", "field.agent.help", m_agentPopUp);

    m_titleField = singleLineField(text("field.title.placeholder"), inner);
    addRow(rows, "field.title", "field.title.help", m_titleField);

    auto* groupRow = new QWidget(inner);
    auto* groupLayout = new QHBoxLayout(groupRow);
    groupLayout->setContentsMargins(0, 0, 0, 0);
    groupLayout->setSpacing(6);
    m_groupField = singleLineField(text("field.group.placeholder"), groupRow);
    m_groupMenuButton = new VelmoraSymbolButton(u"chevron.down"_s, QSize(24, 28), groupRow);
    m_groupMenuButton->setLook({u"chevron.down"_s, 12.0, Brand::textPrimary(), Qt::transparent, -1.0});
    m_groupMenuButton->setName(text("field.group.choose.existing"));
    m_groupMenu = new QMenu(m_groupMenuButton);
    connect(m_groupMenuButton, &QAbstractButton::clicked, this, [this] {
        m_groupMenu->popup(m_groupMenuButton->mapToGlobal(QPoint(0, m_groupMenuButton->height())));
    });
    groupLayout->addWidget(m_groupField, 1);
    groupLayout->addWidget(m_groupMenuButton);
    addRow(rows, "field.group", "field.group.help", groupRow);

    ShortcutRecorderOptions<PromptKeyboardShortcut> recorder;
    recorder.title = text("shortcut.record.none");
    recorder.minWidth = 160;
    recorder.allowsClear = true;
    recorder.recordHelp = text("shortcut.record.help");
    recorder.invalidMessage = text("shortcut.record.invalid");
    recorder.displayString = &PromptKeyboardShortcut::displayString;
    recorder.shortcutFromEvent = &PromptKeyboardShortcut::fromEvent;
    recorder.onChange = [this](const std::optional<PromptKeyboardShortcut>& value) { m_shortcut = value; };
    recorder.language = m_language;
    m_recorder = new ShortcutRecorderButton(recorder, inner);
    m_recorder->setHotKeyService(m_configuration.hotKeyService);
    addRow(rows, "field.prompt.shortcut", nullptr, m_recorder);

    m_bodyEditor = new QPlainTextEdit(inner);
    m_bodyEditor->setMinimumHeight(150);
    m_bodyEditor->setTabChangesFocus(true);
    m_bodyEditor->setStyleSheet(
        u"QPlainTextEdit { background: %1; color: %2; border: 1px solid %3; border-radius: 8px; padding: 4px; }"_s
            .arg(VelmoraColors::withOpacity(Brand::neutral(), 0.72).name(QColor::HexArgb),
                 Brand::textPrimary().name(QColor::HexArgb), Brand::border().name(QColor::HexArgb)));
    addRow(rows, "field.prompt.body", "field.prompt.body.help", m_bodyEditor);
    rows->addStretch();
    column->addWidget(scroll, 1);

    m_messageLabel = errorCaption(this);
    column->addWidget(m_messageLabel);
    m_cancelButton = new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.cancel")}, this);
    m_saveButton = new VelmoraButton(VelmoraButtonStyle::primary, {text("action.save")}, this);
    connect(m_cancelButton, &QAbstractButton::clicked, this, [this] { dismiss(this, false); });
    connect(m_saveButton, &QAbstractButton::clicked, this, [this] {
        if (save()) {
            Q_EMIT saved();
            dismiss(this, true);
        }
    });
    addButtonRow(column, m_cancelButton, m_saveButton, this);

    connect(m_titleField, &QLineEdit::textChanged, this, &PromptEditorSheet::refreshSaveEnabled);
    connect(m_bodyEditor, &QPlainTextEdit::textChanged, this, &PromptEditorSheet::refreshSaveEnabled);
    connect(&m_promptStore, &PromptStore::workspacesChanged, this, [this] {
        refreshTargets();
        refreshGroups();
    });
    populate();
    focusOnFirstShow(this, m_titleField);
}

void PromptEditorSheet::addRow(QVBoxLayout* rows, const char* headerKey, const char* helpKey, QWidget* control)
{
    auto* row = new QVBoxLayout();
    row->setSpacing(6);
    row->addWidget(fieldHeader(L10n::text(QString::fromLatin1(headerKey), m_language),
                               helpKey ? L10n::text(QString::fromLatin1(helpKey), m_language) : QString(),
                               control->parentWidget()));
    row->addWidget(control);
    rows->addLayout(row);
}

void PromptEditorSheet::populate()
{
    if (const std::optional<PromptItem>& prompt = m_configuration.editingPrompt) {
        m_titleField->setText(prompt->title);
        m_groupField->setText(prompt->group);
        m_bodyEditor->setPlainText(prompt->text);
        m_shortcut = prompt->shortcut;
        m_recorder->setShortcut(m_shortcut);
    }
    const AgentType agent = m_configuration.editingPrompt
                                ? m_configuration.editingPrompt->agent.value_or(AgentType::unknown)
                                : AgentType::unknown;
    m_agentPopUp->setCurrentIndex(std::max(0, m_agentPopUp->findData(int(agent))));
    m_selectedTargetWorkspaceID = m_configuration.targetWorkspaceID;
    refreshTargets();
    refreshGroups();
    refreshSaveEnabled();
}

bool PromptEditorSheet::canCreatePrompt(const QList<PromptWorkspace>& workspaces)
{
    return std::any_of(workspaces.cbegin(), workspaces.cend(),
                       [](const PromptWorkspace& workspace) { return workspace.isEditable(); });
}

std::optional<PromptWorkspace> PromptEditorSheet::targetWorkspace() const
{
    for (const PromptWorkspace& workspace : m_promptStore.workspaces()) {
        if (workspace.id == m_selectedTargetWorkspaceID)
            return workspace;
    }
    return std::nullopt;
}

QStringList PromptEditorSheet::availableGroups() const
{
    QStringList groups;
    if (const std::optional<PromptWorkspace> workspace = targetWorkspace()) {
        for (const PromptItem& prompt : workspace->prompts) {
            const QString group = trimmed(prompt.group);
            if (!group.isEmpty() && !groups.contains(group))
                groups.append(group);
        }
    }
    return groups;
}

AgentType PromptEditorSheet::selectedAgent() const
{
    return AgentType(m_agentPopUp->currentData().toInt());
}

QString PromptEditorSheet::title() const
{
    return m_titleField->text();
}

QString PromptEditorSheet::group() const
{
    return m_groupField->text();
}

QString PromptEditorSheet::text() const
{
    return m_bodyEditor->toPlainText();
}

std::optional<PromptEditorSheet::FocusedField> PromptEditorSheet::focusedField() const
{
    if (m_titleField->hasFocus())
        return FocusedField::title;
    if (m_groupField->hasFocus())
        return FocusedField::group;
    if (m_bodyEditor->hasFocus())
        return FocusedField::body;
    return std::nullopt;
}

bool PromptEditorSheet::canSave() const
{
    return !m_isRereading && !m_selectedTargetWorkspaceID.isEmpty() && !trimmed(title()).isEmpty() &&
           !trimmed(text()).isEmpty();
}

void PromptEditorSheet::refreshTargets()
{
    m_targetPopUp->clear();
    m_targetPopUp->addItem(L10n::text(u"common.select.placeholder"_s, m_language), QString());
    for (const PromptWorkspace& workspace : m_promptStore.workspaces()) {
        if (workspace.isEditable())
            m_targetPopUp->addItem(workspace.name, workspace.id);
    }
    // A target that is gone (its file deleted) shows the placeholder; Save then says why.
    m_targetPopUp->setCurrentIndex(std::max(0, m_targetPopUp->findData(m_selectedTargetWorkspaceID)));
}

void PromptEditorSheet::refreshGroups()
{
    m_groupMenu->clear();
    const QStringList groups = availableGroups();
    for (const QString& name : groups)
        m_groupMenu->addAction(name, this, [this, name] { m_groupField->setText(name); });
    m_groupMenuButton->setEnabled(!groups.isEmpty());
}

void PromptEditorSheet::refreshSaveEnabled()
{
    m_saveButton->setEnabled(canSave());
}

bool PromptEditorSheet::save()
{
    if (!canSave())
        return false;
    const std::optional<PromptItem>& editing = m_configuration.editingPrompt;
    PromptItem item;
    item.id = editing ? editing->id : QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    item.title = trimmed(title());
    item.group = trimmed(group());
    if (item.group.isEmpty())
        item.group = L10n::text(u"prompt.default.group"_s, m_language);
    if (selectedAgent() != AgentType::unknown)
        item.agent = selectedAgent();
    item.text = trimmed(text());
    item.tags = editing ? editing->tags : QStringList();
    item.isPinned = editing && editing->isPinned;
    item.shortcut = m_shortcut;

    // A prompt that has left its workspace meanwhile (another program removed it) goes back in: an
    // update would find nothing to replace and save nothing of it.
    const std::optional<PromptWorkspace> target = targetWorkspace();
    const bool ok = editing && target && holdsPrompt(*target, item.id)
                        ? m_promptStore.updatePrompt(item, m_selectedTargetWorkspaceID)
                        : m_promptStore.addPrompt(item, m_selectedTargetWorkspaceID);
    if (ok)
        return true;
    showMessage(m_messageLabel, storeMessage(m_promptStore));
    if (m_promptStore.lastWorkspaceSaveIssue())
        rereadAfterConflict();
    return false;
}

void PromptEditorSheet::rereadAfterConflict()
{
    m_isRereading = true;
    refreshSaveEnabled();
    auto* watcher = new QFutureWatcher<void>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        watcher->deleteLater();
        m_isRereading = false;
        showMessage(m_messageLabel, storeMessage(m_promptStore) + u'\n' +
                                        L10n::text(u"linux.editor.prompt.reread"_s, m_language));
        refreshSaveEnabled();
    });
    watcher->setFuture(m_promptStore.reloadAndWait(m_promptStore.statusMessage()));
}
