#include "WorkspaceEditorSheet.h"

#include "AgentToggleList.h"
#include "CharacterClasses.h"
#include "EditorSheetParts.h"
#include "PromptStore.h"
#include "VelmoraButton.h"

#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace EditorSheetParts;

WorkspaceEditorSheet::WorkspaceEditorSheet(PromptStore& promptStore, std::optional<AgentContext> bindingContext,
                                           PromptPanelTextSize interfaceTextSize, QWidget* parent)
    : QWidget(parent), m_promptStore(promptStore), m_bindingContext(std::move(bindingContext))
{
    promptInterfaceTextSize(this, interfaceTextSize);
    setFixedSize(sheetWidth, sheetHeight);
    const AppLanguage language = promptStore.language();
    const auto text = [language](const char* key) {
        return L10n::text(QString::fromLatin1(key), language);
    };

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(14);
    column->addWidget(heading(text("title.new.workspace"), this));
    m_nameField = singleLineField(text("field.workspace.name.example"), this);
    column->addWidget(m_nameField);

    QVBoxLayout* rows = nullptr;
    QScrollArea* scroll = scrollingColumn(this, rows);
    rows->setSpacing(8);
    rows->addWidget(secondaryCaption(text("field.bind.to.agent"), scroll->widget()));
    m_agentToggles = new AgentToggleList(language, scroll->widget());
    rows->addWidget(m_agentToggles);
    rows->addStretch();
    column->addWidget(scroll, 1);

    m_messageLabel = errorCaption(this);
    column->addWidget(m_messageLabel);
    m_cancelButton = new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.cancel")}, this);
    m_createButton = new VelmoraButton(VelmoraButtonStyle::primary, {text("action.create")}, this);
    connect(m_cancelButton, &QAbstractButton::clicked, this, [this] { dismiss(this, false); });
    connect(m_createButton, &QAbstractButton::clicked, this, [this] {
        if (create())
            dismiss(this, true);
    });
    addButtonRow(column, m_cancelButton, m_createButton, this);
    const auto refresh = [this] {
        m_createButton->setEnabled(!CharacterClasses::trimmedWhitespaceAndNewlines(name()).isEmpty());
    };
    connect(m_nameField, &QLineEdit::textChanged, this, refresh);
    refresh();

    if (m_bindingContext && m_bindingContext->agent != AgentType::unknown)
        m_agentToggles->setSelectedAgents({m_bindingContext->agent});
    focusOnFirstShow(this, m_nameField);
}

QString WorkspaceEditorSheet::name() const
{
    return m_nameField->text();
}

QSet<AgentType> WorkspaceEditorSheet::selectedAgents() const
{
    return m_agentToggles->selectedAgents();
}

bool WorkspaceEditorSheet::create()
{
    if (!m_created) {
        m_created = m_promptStore.createWorkspace(name(), QString());
        if (!m_created) {
            showMessage(m_messageLabel, storeMessage(m_promptStore));
            return false;
        }
        Q_EMIT created(m_created->id);
    }
    const QSet<AgentType> agents = selectedAgents();
    bool allBound = true;
    for (const AgentType agent : bindableAgentTypes()) {
        if (agents.contains(agent))
            allBound = m_promptStore.bindAgent(agent, m_created->id, false) && allBound;
    }
    if (m_bindingContext && agents.contains(m_bindingContext->agent))
        m_promptStore.selectWorkspace(m_created->id, *m_bindingContext);
    if (!allBound)
        showMessage(m_messageLabel, storeMessage(m_promptStore));
    return allBound;
}
