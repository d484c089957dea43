// The first-run checklist card atop the panel's list: three steps ticked as the library fulfils them,
// each undone one with the action that does it, and Done, which dismisses the card for good. It reads
// the steps afresh whenever the library, the bindings or the flags change. Main thread only.
#pragma once

#include "AgentContext.h"
#include "FirstRunChecklistStore.h"

#include <QWidget>
#include <functional>

class PromptStore;
class QLabel;
class QVBoxLayout;
class VelmoraButton;

class FirstRunChecklistView : public QWidget {
    Q_OBJECT

public:
    struct Actions {
        std::function<void()> onOpenWorkspaceManager = nullptr;
        std::function<void(const QString& workspaceID)> onBindWorkspace = nullptr;
        std::function<void()> onDismiss = nullptr;
    };

    // `context` gives the context the panel shows. The stores outlive the view.
    FirstRunChecklistView(PromptStore& store, FirstRunChecklistStore& firstRun,
                          std::function<AgentContext()> context, Actions actions, QWidget* parent = nullptr);

    // The workspaces a binding may choose: saved user workspaces, in the given order.
    static QList<PromptWorkspace> bindableWorkspaces(const QList<PromptWorkspace>& workspaces);

    const FirstRunChecklistSnapshot& snapshot() const { return m_snapshot; }
    // Reads the steps again and shows them; the panel calls it at each render.
    void refresh();

    VelmoraButton* doneButton() const { return m_done; }
    // The action of an undone step; null for a completed one and for the copy step.
    VelmoraButton* actionButton(FirstRunStep step) const;
    // The symbol a step's row shows: "checkmark.circle.fill" or "circle".
    QString rowSymbol(FirstRunStep step) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void rebuildRows();

    PromptStore& m_store;
    FirstRunChecklistStore& m_firstRun;
    std::function<AgentContext()> m_context;
    Actions m_actions;
    FirstRunChecklistSnapshot m_snapshot;
    QList<PromptWorkspace> m_bindable;
    bool m_shown = false;
    VelmoraButton* m_done = nullptr;
    QVBoxLayout* m_rows = nullptr;
    QHash<FirstRunStep, VelmoraButton*> m_actionButtons;
    QHash<FirstRunStep, QString> m_symbols;
};
