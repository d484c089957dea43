#include "WorkspacePickerView.h"

#include "PanelText.h"
#include "PromptStore.h"
#include "VelmoraAppearance.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraSymbols.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QPainter>

using namespace Qt::StringLiterals;
using namespace VelmoraColors;

namespace {

// The borderless menu of the selection row: the workspace's name cut at the tail, then a chevron.
class WorkspaceMenuButton : public QPushButton {
public:
    explicit WorkspaceMenuButton(QWidget* parent) : QPushButton(parent)
    {
        setFlat(true);
        setCursor(Qt::PointingHandCursor);
        setAutoDefault(false);
        setFocusPolicy(Qt::NoFocus);
        setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    }

    QSize sizeHint() const override
    {
        return {fontMetrics().horizontalAdvance(text()) + chevronSpace, fontMetrics().height() + 8};
    }
    QSize minimumSizeHint() const override { return {chevronSpace + 24, sizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setOpacity(isEnabled() ? 1.0 : 0.6);
        const QRect textBox = rect().adjusted(0, 0, -chevronSpace, 0);
        painter.setPen(white(0.9));
        painter.drawText(textBox, Qt::AlignLeft | Qt::AlignVCenter,
                         fontMetrics().elidedText(text(), Qt::ElideRight, textBox.width()));
        const double textRight = std::min<double>(textBox.width(), fontMetrics().horizontalAdvance(text()));
        VelmoraSymbols::paint(painter, u"chevron.down"_s, QRectF(textRight + 4, 0, 10, height()), 10, white(0.72));
    }

private:
    static constexpr int chevronSpace = 18;
};

VelmoraButton* actionButton(const QString& title, const QString& symbol, QWidget* parent)
{
    return new VelmoraButton(VelmoraButtonStyle::panelAction, PromptPanelActionLabel{title, symbol, false}.label(),
                             parent);
}

} // namespace

WorkspacePickerView::WorkspacePickerView(PromptStore& promptStore, QWidget* parent)
    : QWidget(parent), m_promptStore(promptStore)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
}

void WorkspacePickerView::clear()
{
    QLayout* row = layout();
    while (QLayoutItem* item = row->takeAt(0)) {
        if (QWidget* widget = item->widget())
            widget->deleteLater();
        delete item;
    }
    if (m_menu)
        m_menu->deleteLater();
    m_help = nullptr;
    m_bindButton = m_createButton = m_bindingsButton = m_selectionButton = nullptr;
    m_menu = nullptr;
}

QMenu* WorkspacePickerView::makeMenu()
{
    m_menu = new QMenu(this);
    VelmoraAppearance::apply(m_menu);
    connect(m_menu, &QMenu::aboutToShow, this, [this] { Q_EMIT popupVisibilityChanged(true); });
    connect(m_menu, &QMenu::aboutToHide, this, [this] { Q_EMIT popupVisibilityChanged(false); });
    return m_menu;
}

void WorkspacePickerView::setContext(const AgentContext& context, AppLanguage language, PromptPanelTextSize textSize)
{
    clear();
    m_context = context;
    m_language = language;
    const auto text = [language](const QString& key) { return L10n::text(key, language); };
    auto* row = static_cast<QHBoxLayout*>(layout());
    const QFont caption = PanelText::styled(PromptTextStyle::caption, textSize);
    const QList<PromptWorkspace>& workspaces = m_promptStore.workspaces();
    const QList<PromptWorkspace> bound = m_promptStore.boundWorkspaces(context);

    if (workspaces.isEmpty()) {
        m_row = Row::noWorkspaces;
        m_help = PanelText::label(caption, white(0.72), this, true);
        m_help->setText(text(u"workspace.none.help"_s));
        row->addWidget(m_help, 1);
        return;
    }
    if (context.agent != AgentType::unknown && bound.isEmpty()) {
        m_row = Row::unbound;
        m_bindButton = actionButton(text(u"action.bind.existing.workspace"_s), u"link"_s, this);
        QMenu* menu = makeMenu();
        for (const PromptWorkspace& workspace : workspaces) {
            connect(menu->addAction(workspace.name), &QAction::triggered, this,
                    [this, id = workspace.id] { m_promptStore.bindContext(m_context, id); });
        }
        m_bindButton->setMenu(menu);
        row->addWidget(m_bindButton);
        if (onCreateAndBindWorkspace) {
            m_createButton = actionButton(text(u"action.create.workspace"_s), u"folder.badge.plus"_s, this);
            const QString help = text(u"action.create.and.bind.workspace"_s);
            m_createButton->setToolTip(help);
            m_createButton->setAccessibleName(help);
            connect(m_createButton, &QAbstractButton::clicked, this, [this] { onCreateAndBindWorkspace(); });
            row->addWidget(m_createButton);
        }
        m_bindingsButton = actionButton(text(u"action.open.bindings"_s), u"gearshape"_s, this);
        connect(m_bindingsButton, &QAbstractButton::clicked, this, [this] {
            if (onOpenSettings)
                onOpenSettings();
        });
        row->addWidget(m_bindingsButton);
        row->addStretch(1);
        return;
    }
    m_row = Row::selection;
    m_help = PanelText::label(caption, white(0.64), this);
    m_help->setText(text(u"field.workspace"_s));
    m_selectionButton = new WorkspaceMenuButton(this);
    m_selectionButton->setFont(PanelText::styled(PromptTextStyle::caption, textSize, QFont::DemiBold));
    m_selectionButton->setText(selectedWorkspaceTitle());
    QMenu* menu = makeMenu();
    for (const PromptWorkspace& workspace : bound) {
        connect(menu->addAction(workspace.name), &QAction::triggered, this,
                [this, id = workspace.id] { m_promptStore.selectWorkspace(id, m_context); });
    }
    m_selectionButton->setMenu(menu);
    m_selectionButton->setEnabled(bound.size() >= 2);
    row->addWidget(m_help);
    row->addWidget(m_selectionButton);
    row->addStretch(1);
}

QString WorkspacePickerView::selectedWorkspaceTitle() const
{
    if (const std::optional<PromptWorkspace> workspace = m_promptStore.matchingService().matchDetails(m_context).workspace)
        return workspace->name;
    return L10n::text(u"common.not.bound"_s, m_language);
}
