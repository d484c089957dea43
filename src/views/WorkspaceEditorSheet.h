// The sheet that creates a workspace and binds agents to it; the agent the presenter detected is
// ticked when it appears. A binding that fails leaves the sheet open over the workspace already
// made, and Create then tries the bindings again instead of making a second workspace.
#pragma once

#include "AgentContext.h"
#include "PromptModels.h"
#include "PromptPanelTextSize.h"

#include <QWidget>
#include <optional>

class AgentToggleList;
class PromptStore;
class QLabel;
class QLineEdit;
class VelmoraButton;

class WorkspaceEditorSheet : public QWidget {
    Q_OBJECT

public:
    static constexpr int sheetWidth = 500;
    static constexpr int sheetHeight = 440;

    WorkspaceEditorSheet(PromptStore& promptStore, std::optional<AgentContext> bindingContext,
                         PromptPanelTextSize interfaceTextSize = PromptPanelTextSize::system,
                         QWidget* parent = nullptr);

    // action.create; true when the workspace exists with every binding made.
    bool create();

    QString name() const;
    QSet<AgentType> selectedAgents() const;
    const std::optional<PromptWorkspace>& createdWorkspace() const { return m_created; }

    QLineEdit* nameField() const { return m_nameField; }
    AgentToggleList* agentToggles() const { return m_agentToggles; }
    QLabel* messageLabel() const { return m_messageLabel; }
    VelmoraButton* createButton() const { return m_createButton; }
    VelmoraButton* cancelButton() const { return m_cancelButton; }

Q_SIGNALS:
    void created(const QString& workspaceID);

private:
    PromptStore& m_promptStore;
    std::optional<AgentContext> m_bindingContext;
    std::optional<PromptWorkspace> m_created;

    QLineEdit* m_nameField = nullptr;
    AgentToggleList* m_agentToggles = nullptr;
    QLabel* m_messageLabel = nullptr;
    VelmoraButton* m_createButton = nullptr;
    VelmoraButton* m_cancelButton = nullptr;
};
