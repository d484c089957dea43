#include "AgentToggleList.h"

#include "PromptPanelTextSize.h"

#include <QCheckBox>
#include <QVBoxLayout>

AgentToggleList::AgentToggleList(AppLanguage language, QWidget* parent) : QWidget(parent)
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    for (const AgentType agent : bindableAgentTypes()) {
        auto* toggle = new QCheckBox(displayName(agent, language), this);
        toggle->setFont(textStyleFont(PromptTextStyle::body, promptPanelTextSizeOf(parent)));
        column->addWidget(toggle);
        m_toggles.insert(agent, toggle);
    }
}

QSet<AgentType> AgentToggleList::selectedAgents() const
{
    QSet<AgentType> agents;
    for (auto toggle = m_toggles.cbegin(); toggle != m_toggles.cend(); ++toggle) {
        if (toggle.value()->isChecked())
            agents.insert(toggle.key());
    }
    return agents;
}

void AgentToggleList::setSelectedAgents(const QSet<AgentType>& agents)
{
    for (auto toggle = m_toggles.cbegin(); toggle != m_toggles.cend(); ++toggle)
        toggle.value()->setChecked(agents.contains(toggle.key()));
}
