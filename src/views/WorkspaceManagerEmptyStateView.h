// The workspace manager's empty state: its icon, title and help line, and one button per action of
// the state. A pane leaves out the callbacks it can't need; their buttons are left out with them.
#pragma once

#include "AppLanguage.h"
#include "PromptPanelTextSize.h"
#include "WorkspaceManagerEmptyState.h"

#include <QWidget>
#include <functional>

class QHBoxLayout;
class QLabel;
class VelmoraButton;

class WorkspaceManagerEmptyStateView : public QWidget {
    Q_OBJECT

public:
    struct Callbacks {
        std::function<void()> onCreateWorkspace;
        std::function<void()> onImportPromptPack;
        std::function<void()> onClearWorkspaceFilter;
        std::function<void()> onCreatePrompt;
        std::function<void()> onExportPromptPack;
    };

    explicit WorkspaceManagerEmptyStateView(Callbacks callbacks, QWidget* parent = nullptr);

    void setState(const WorkspaceManagerEmptyState& state, AppLanguage language,
                  PromptPanelTextSize textSize);

    const WorkspaceManagerEmptyState& state() const { return m_state; }
    QString title() const;
    QString help() const;
    // The buttons shown, in order; each carries its catalog key as its object name.
    QList<VelmoraButton*> buttons() const { return m_buttons; }

private:
    const std::function<void()>& callback(WorkspaceManagerEmptyAction action) const;

    Callbacks m_callbacks;
    WorkspaceManagerEmptyState m_state;
    QLabel* m_icon = nullptr;
    QLabel* m_title = nullptr;
    QLabel* m_help = nullptr;
    QHBoxLayout* m_buttonRow = nullptr;
    QList<VelmoraButton*> m_buttons;
};
