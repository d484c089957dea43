// One toggle per agent that can be bound, labelled by its name, in the order of the bindable agents:
// the binding block of the workspace sheets.
#pragma once

#include "AgentType.h"
#include "AppLanguage.h"

#include <QHash>
#include <QSet>
#include <QWidget>

class QCheckBox;

class AgentToggleList : public QWidget {
    Q_OBJECT

public:
    AgentToggleList(AppLanguage language, QWidget* parent = nullptr);

    QSet<AgentType> selectedAgents() const;
    void setSelectedAgents(const QSet<AgentType>& agents);
    QCheckBox* toggle(AgentType agent) const { return m_toggles.value(agent); }

private:
    QHash<AgentType, QCheckBox*> m_toggles;
};
