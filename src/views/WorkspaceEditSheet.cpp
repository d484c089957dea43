#include "WorkspaceEditSheet.h"

#include "AgentToggleList.h"
#include "CharacterClasses.h"
#include "ContextBindingStore.h"
#include "EditorSheetParts.h"
#include "PromptStore.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"

#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace EditorSheetParts;
namespace Brand = VelmoraDesignTokens::Brand;

WorkspaceEditSheet::WorkspaceEditSheet(PromptStore& promptStore, PromptWorkspace workspace,
                                       PromptPanelTextSize interfaceTextSize, QWidget* parent)
    : QWidget(parent), m_promptStore(promptStore), m_workspace(std::move(workspace)),
      m_language(promptStore.language())
{
    promptInterfaceTextSize(this, interfaceTextSize);
    setFixedSize(sheetWidth, sheetHeight);
    const auto text = [this](const char* key) {
        return L10n::text(QString::fromLatin1(key), m_language);
    };

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(14);
    column->addWidget(heading(text("title.edit.workspace"), this));
    m_nameField = singleLineField(text("field.workspace.name"), this);
    column->addWidget(m_nameField);

    QVBoxLayout* rows = nullptr;
    QScrollArea* scroll = scrollingColumn(this, rows);
    QWidget* inner = scroll->widget();
    rows->setSpacing(8);
    rows->addWidget(secondaryCaption(text("field.bind.to.agent"), inner));
    m_agentToggles = new AgentToggleList(m_language, inner);
    rows->addWidget(m_agentToggles);
    rows->addSpacing(6);
    rows->addWidget(secondaryCaption(text("field.config.file"), inner));
    // Read-only and frameless: the whole path can be selected and copied, however long it is.
    m_configFileField = new QLineEdit(filePathText(), inner);
    m_configFileField->setReadOnly(true);
    m_configFileField->setFrame(false);
    m_configFileField->setCursorPosition(0);
    m_configFileField->setStyleSheet(u"QLineEdit { background: transparent; color: %1; }"_s.arg(
        Brand::textPrimary().name(QColor::HexArgb)));
    rows->addWidget(m_configFileField);
    rows->addStretch();
    column->addWidget(scroll, 1);

    m_messageLabel = errorCaption(this);
    column->addWidget(m_messageLabel);

    m_conflictRow = new QWidget(this);
    auto* conflictLayout = new QHBoxLayout(m_conflictRow);
    conflictLayout->setContentsMargins(0, 0, 0, 0);
    m_reloadButton =
        new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.reload.disk.version")}, m_conflictRow);
    m_reloadButton->setToolTip(text("linux.action.reload.disk.version.help"));
    m_saveAsNewButton =
        new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.save.as.new.workspace")}, m_conflictRow);
    m_saveAsNewButton->setToolTip(text("linux.action.save.as.new.workspace.help"));
    for (VelmoraButton* button : {m_reloadButton, m_saveAsNewButton}) {
        button->setAutoDefault(false);
        conflictLayout->addWidget(button);
    }
    conflictLayout->addStretch();
    m_conflictRow->hide();
    column->addWidget(m_conflictRow);
    connect(m_reloadButton, &QAbstractButton::clicked, this, &WorkspaceEditSheet::reloadDiskVersion);
    connect(m_saveAsNewButton, &QAbstractButton::clicked, this, [this] {
        if (saveAsNewWorkspace())
            dismiss(this, true);
    });

    m_cancelButton = new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.cancel")}, this);
    m_saveButton = new VelmoraButton(VelmoraButtonStyle::primary, {text("action.save")}, this);
    connect(m_cancelButton, &QAbstractButton::clicked, this, [this] { dismiss(this, false); });
    connect(m_saveButton, &QAbstractButton::clicked, this, [this] {
        if (save())
            dismiss(this, true);
    });
    addButtonRow(column, m_cancelButton, m_saveButton, this);
    connect(m_nameField, &QLineEdit::textChanged, this, [this] { setBusy(false); });
    populate();
    focusOnFirstShow(this, m_nameField);
}

void WorkspaceEditSheet::populate()
{
    m_nameField->setText(m_workspace.name);
    m_agentToggles->setSelectedAgents(boundAgents());
    setBusy(false);
}

QSet<AgentType> WorkspaceEditSheet::boundAgents() const
{
    QSet<AgentType> agents;
    for (const AgentType agent : bindableAgentTypes()) {
        if (m_promptStore.bindingStore()->agentWorkspaceBinding(agent, m_workspace.id))
            agents.insert(agent);
    }
    return agents;
}

QString WorkspaceEditSheet::name() const
{
    return m_nameField->text();
}

QSet<AgentType> WorkspaceEditSheet::selectedAgents() const
{
    return m_agentToggles->selectedAgents();
}

QString WorkspaceEditSheet::matchPathsText() const
{
    // The sheet has no control for the paths: they pass through unchanged.
    return m_workspace.matchPaths.join(u'\n');
}

QString WorkspaceEditSheet::filePathText() const
{
    return m_workspace.fileURL.value_or(L10n::text(u"workspace.not.saved"_s, m_language));
}

void WorkspaceEditSheet::setError(const std::optional<QString>& message, bool showsConflictActions)
{
    m_errorMessage = message;
    m_showsConflictActions = showsConflictActions;
    showMessage(m_messageLabel, message);
    m_conflictRow->setVisible(showsConflictActions);
}

void WorkspaceEditSheet::setBusy(bool busy)
{
    m_reloadButton->setEnabled(!busy);
    m_saveAsNewButton->setEnabled(!busy);
    m_saveButton->setEnabled(!busy && !CharacterClasses::trimmedWhitespaceAndNewlines(name()).isEmpty());
}

bool WorkspaceEditSheet::save()
{
    if (!m_promptStore.updateWorkspace(m_workspace.id, name(), matchPathsText(), m_workspace.fileVersion)) {
        setError(m_promptStore.lastErrorMessage().value_or(L10n::text(u"status.save.failed"_s, m_language)),
                 m_promptStore.lastWorkspaceSaveIssue().has_value());
        return false;
    }
    // The name is on disk under a new version: a second Save must not meet its own write.
    for (const PromptWorkspace& saved : m_promptStore.workspaces()) {
        if (saved.id == m_workspace.id)
            m_workspace = saved;
    }
    const QSet<AgentType> selected = selectedAgents();
    bool allDone = true;
    for (const AgentType agent : bindableAgentTypes()) {
        if (selected.contains(agent)) {
            allDone = m_promptStore.bindAgent(agent, m_workspace.id, false) && allDone;
        } else if (const std::optional<AgentWorkspaceBinding> binding =
                       m_promptStore.bindingStore()->agentWorkspaceBinding(agent, m_workspace.id)) {
            allDone = m_promptStore.deleteBinding(binding->id) && allDone;
        }
    }
    if (allDone)
        return true;
    setError(m_promptStore.lastErrorMessage().value_or(L10n::text(u"status.save.binding.failed"_s, m_language)),
             false);
    return false;
}

void WorkspaceEditSheet::reloadDiskVersion()
{
    setBusy(true);
    auto* watcher = new QFutureWatcher<void>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        watcher->deleteLater();
        setBusy(false);
        const QList<PromptWorkspace>& workspaces = m_promptStore.workspaces();
        const auto found = std::find_if(workspaces.cbegin(), workspaces.cend(),
                                        [&](const PromptWorkspace& each) { return each.id == m_workspace.id; });
        if (found == workspaces.cend()) {
            setError(L10n::text(u"error.workspace.save.deleted"_s, m_language).arg(filePathText()), true);
        } else if (!m_promptStore.configIssues().isEmpty()) {
            // The file on disk doesn't load and the previous library stayed: the version hasn't
            // moved, so Save goes on refusing and the unreadable file is never overwritten.
            setError(m_promptStore.statusMessage(), true);
        } else {
            m_workspace = *found;
            populate();
            setError(std::nullopt, false);
        }
        Q_EMIT reloadFinished();
    });
    watcher->setFuture(m_promptStore.reloadAndWait());
}

bool WorkspaceEditSheet::saveAsNewWorkspace()
{
    if (m_promptStore.saveWorkspaceAsNewCopy(m_workspace.id, name(), matchPathsText()))
        return true;
    setError(m_promptStore.lastErrorMessage().value_or(L10n::text(u"status.create.workspace.failed"_s, m_language)),
             m_showsConflictActions);
    return false;
}
