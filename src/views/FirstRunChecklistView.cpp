#include "FirstRunChecklistView.h"

#include "PromptPanelTextSize.h"
#include "PromptStore.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraSymbols.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace {

constexpr int padding = 12;
constexpr int spacing = 10;
constexpr double cornerRadius = 10.0;

QString stepTextKey(FirstRunStep step)
{
    switch (step) {
    case FirstRunStep::workspace:
        return u"first.checklist.workspace"_s;
    case FirstRunStep::binding:
        return u"first.checklist.binding"_s;
    case FirstRunStep::successfulCopy:
        return u"first.checklist.copy"_s;
    }
    return {};
}

} // namespace

FirstRunChecklistView::FirstRunChecklistView(PromptStore& store, FirstRunChecklistStore& firstRun,
                                             std::function<AgentContext()> context, Actions actions,
                                             QWidget* parent)
    : QWidget(parent), m_store(store), m_firstRun(firstRun), m_context(std::move(context)),
      m_actions(std::move(actions))
{
    setObjectName(u"firstRunChecklist"_s);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(spacing);
    auto* header = new QHBoxLayout();
    auto* title = new QLabel(m_store.text(u"first.checklist.title"_s), this);
    title->setObjectName(u"first.checklist.title"_s);
    title->setFont(tileTitleFont(promptPanelTextSizeOf(parent)));
    header->addWidget(title, 1);
    m_done = new VelmoraButton(VelmoraButtonStyle::secondary, {m_store.text(u"action.done.tip"_s)}, this);
    m_done->setObjectName(u"action.done.tip"_s);
    connect(m_done, &QAbstractButton::clicked, this, [this] {
        if (m_actions.onDismiss)
            m_actions.onDismiss();
    });
    header->addWidget(m_done);
    column->addLayout(header);
    m_rows = new QVBoxLayout();
    m_rows->setSpacing(spacing);
    column->addLayout(m_rows);

    for (auto signal : {&PromptStore::workspacesChanged, &PromptStore::changed})
        connect(&m_store, signal, this, &FirstRunChecklistView::refresh);
    connect(&m_firstRun, &FirstRunChecklistStore::changed, this, &FirstRunChecklistView::refresh);
    refresh();
}

QList<PromptWorkspace> FirstRunChecklistView::bindableWorkspaces(const QList<PromptWorkspace>& workspaces)
{
    QList<PromptWorkspace> result;
    for (const PromptWorkspace& workspace : workspaces) {
        if (workspace.source == PromptWorkspaceSource::userWorkspace && workspace.fileURL)
            result.append(workspace);
    }
    return result;
}

void FirstRunChecklistView::refresh()
{
    const QList<PromptWorkspace>& workspaces = m_store.workspaces();
    FirstRunChecklistSnapshot snapshot =
        m_firstRun.snapshot(workspaces, m_context(), m_store.bindingStore().get());
    QList<PromptWorkspace> bindable = bindableWorkspaces(workspaces);
    // Rows are made again only when what they show changed, so a render costs nothing.
    if (m_shown && snapshot == m_snapshot && bindable == m_bindable)
        return;
    m_shown = true;
    m_snapshot = std::move(snapshot);
    m_bindable = std::move(bindable);
    rebuildRows();
}

void FirstRunChecklistView::rebuildRows()
{
    while (QLayoutItem* item = m_rows->takeAt(0)) {
        if (QLayout* row = item->layout()) {
            while (QLayoutItem* part = row->takeAt(0)) {
                delete part->widget();
                delete part;
            }
        }
        delete item;
    }
    m_actionButtons.clear();
    m_symbols.clear();
    const PromptPanelTextSize size = promptPanelTextSizeOf(this);
    for (const FirstRunStep step : allFirstRunSteps) {
        const bool completed = m_snapshot.completed.contains(step);
        auto* row = new QHBoxLayout();
        row->setSpacing(8);
        const QString symbol = completed ? u"checkmark.circle.fill"_s : u"circle"_s;
        m_symbols.insert(step, symbol);
        auto* icon = new QLabel(this);
        icon->setObjectName(u"icon."_s + toRawValue(step));
        icon->setPixmap(QPixmap::fromImage(VelmoraSymbols::image(
            symbol, 16, completed ? VelmoraColors::green() : VelmoraColors::secondaryText(), devicePixelRatioF())));
        row->addWidget(icon);
        auto* label = new QLabel(m_store.text(stepTextKey(step)), this);
        label->setObjectName(u"text."_s + toRawValue(step));
        label->setFont(textStyleFont(PromptTextStyle::body, size));
        label->setWordWrap(true); // the action keeps its whole title; the step's text wraps
        row->addWidget(label, 1);
        VelmoraButton* action = nullptr;
        if (!completed && step == FirstRunStep::workspace) {
            action = new VelmoraButton(VelmoraButtonStyle::secondary, {m_store.text(u"action.create.workspace"_s)}, this);
            connect(action, &QAbstractButton::clicked, this, [this] {
                if (m_actions.onOpenWorkspaceManager)
                    m_actions.onOpenWorkspaceManager();
            });
        } else if (!completed && step == FirstRunStep::binding) {
            action = new VelmoraButton(VelmoraButtonStyle::secondary,
                                       {m_store.text(u"action.bind.existing.workspace"_s), u"chevron.down"_s}, this);
            auto* menu = new QMenu(action);
            for (const PromptWorkspace& workspace : std::as_const(m_bindable)) {
                connect(menu->addAction(workspace.name), &QAction::triggered, this, [this, id = workspace.id] {
                    if (m_actions.onBindWorkspace)
                        m_actions.onBindWorkspace(id);
                });
            }
            action->setEnabled(!m_bindable.isEmpty());
            connect(action, &QAbstractButton::clicked, menu,
                    [action, menu] { menu->popup(action->mapToGlobal(QPoint(0, action->height()))); });
        }
        if (action) {
            action->setObjectName(u"action."_s + toRawValue(step));
            m_actionButtons.insert(step, action);
            row->addWidget(action);
        }
        m_rows->addLayout(row);
    }
}

VelmoraButton* FirstRunChecklistView::actionButton(FirstRunStep step) const
{
    return m_actionButtons.value(step);
}

QString FirstRunChecklistView::rowSymbol(FirstRunStep step) const
{
    return m_symbols.value(step);
}

void FirstRunChecklistView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor secondary = VelmoraColors::secondaryText();
    painter.setPen(QPen(VelmoraColors::withOpacity(secondary, 0.18), 1.0));
    painter.setBrush(VelmoraColors::withOpacity(secondary, 0.1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}
