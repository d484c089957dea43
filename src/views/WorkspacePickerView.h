// Under the search field: which workspace the panel shows, and the way to change it. With no
// workspaces it says how to begin; for a recognised agent that no workspace is bound to it offers to
// bind one, create one, or open the bindings; otherwise a menu of the agent's bound workspaces.
#pragma once

#include "AgentContext.h"
#include "PromptPanelTextSize.h"

#include <QWidget>
#include <functional>

class PromptStore;
class QLabel;
class QMenu;
class QPushButton;

class WorkspacePickerView : public QWidget {
    Q_OBJECT

public:
    enum class Row { noWorkspaces, unbound, selection };

    explicit WorkspacePickerView(PromptStore& promptStore, QWidget* parent = nullptr);

    // Absent: the create button isn't offered.
    std::function<void()> onCreateAndBindWorkspace;
    std::function<void()> onOpenSettings;

    // Builds the row afresh for this context from the store's state now.
    void setContext(const AgentContext& context, AppLanguage language, PromptPanelTextSize textSize);

    Row row() const { return m_row; }
    QString selectedWorkspaceTitle() const;

    // The controls of the row shown; absent ones are null.
    QLabel* helpLabel() const { return m_help; }
    QPushButton* bindMenuButton() const { return m_bindButton; }
    QPushButton* createButton() const { return m_createButton; }
    QPushButton* bindingsButton() const { return m_bindingsButton; }
    QPushButton* selectionButton() const { return m_selectionButton; }
    // The menu of the bind or selection button.
    QMenu* menu() const { return m_menu; }

Q_SIGNALS:
    // A menu opened or closed.
    void popupVisibilityChanged(bool visible);

private:
    void clear();
    QMenu* makeMenu();

    PromptStore& m_promptStore;
    AgentContext m_context = AgentContext::unknown();
    AppLanguage m_language = AppLanguage::english;
    Row m_row = Row::noWorkspaces;
    QLabel* m_help = nullptr;
    QPushButton* m_bindButton = nullptr;
    QPushButton* m_createButton = nullptr;
    QPushButton* m_bindingsButton = nullptr;
    QPushButton* m_selectionButton = nullptr;
    QMenu* m_menu = nullptr;
};
