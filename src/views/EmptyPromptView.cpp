#include "EmptyPromptView.h"

#include "PanelText.h"
#include "VelmoraAppearance.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraSymbols.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace VelmoraColors;
using Kind = PanelEmptyStateReason::Kind;

namespace {

struct ReasonLook {
    const char16_t* icon;
    const char16_t* title;
    const char16_t* message;
    const char16_t* action;
    const char16_t* actionIcon;
};

ReasonLook lookOf(Kind kind)
{
    switch (kind) {
    case Kind::noSearchResults:
        return {u"magnifyingglass", u"empty.no.search.title", u"empty.no.search.message", u"action.clear.search",
                u"xmark.circle"};
    case Kind::noWorkspaces:
        return {u"folder.badge.plus", u"empty.no.workspaces.title", u"empty.no.workspaces.message",
                u"action.create.first.workspace", u"folder.badge.plus"};
    case Kind::editableWorkspaceEmpty:
        return {u"square.grid.2x2", u"empty.no.prompts.title", u"empty.no.prompts.message", u"action.create.prompt",
                u"plus"};
    case Kind::automationPermission:
        return {u"lock.open", u"empty.automation.title", u"empty.automation.message", u"action.open.system.settings",
                u"gearshape"};
    case Kind::unavailable:
        return {u"square.grid.2x2", u"empty.unavailable.title", u"empty.unavailable.message",
                u"action.manage.workspaces", u"folder"};
    case Kind::recognizedUnbound:
        break;
    }
    return {u"link.badge.plus", u"empty.unbound.title", u"empty.unbound.message", u"action.bind.existing.workspace",
            u"link"};
}

} // namespace

EmptyPromptView::EmptyPromptView(QWidget* parent) : QWidget(parent)
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(32, 32, 32, 32);
    column->setSpacing(12);
    m_iconBox = new QWidget(this);
    m_title = PanelText::label(QFont(), white(0.86), this, true);
    m_message = PanelText::label(QFont(), white(0.72), this, true);
    m_title->setAlignment(Qt::AlignHCenter);
    m_message->setAlignment(Qt::AlignHCenter);
    m_buttonRow = new QWidget(this);
    auto* buttons = new QHBoxLayout(m_buttonRow);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->setSpacing(8);
    column->addWidget(m_iconBox);
    column->addWidget(m_title);
    column->addWidget(m_message);
    column->addWidget(m_buttonRow, 0, Qt::AlignHCenter);
    column->addStretch(1);
}

QString EmptyPromptView::title() const
{
    return m_title->text();
}

QString EmptyPromptView::message() const
{
    return m_message->text();
}

VelmoraButton* EmptyPromptView::makeButton(const QString& title, const QString& symbol,
                                           const std::function<void()>& action, bool primary)
{
    auto* button = new VelmoraButton(VelmoraButtonStyle::toolbar, {title, symbol, 13.0, std::nullopt, 0, std::nullopt},
                                     m_buttonRow);
    button->setPrimary(primary);
    if (action)
        connect(button, &QAbstractButton::clicked, this, action);
    m_buttonRow->layout()->addWidget(button);
    return button;
}

void EmptyPromptView::setState(const PanelEmptyState& state, const QList<PromptWorkspace>& workspaces,
                               bool canInstallBuiltInPack, AppLanguage language, PromptPanelTextSize textSize)
{
    m_state = state;
    m_language = language;
    const auto text = [language](const char16_t* key) { return L10n::text(QString::fromUtf16(key), language); };
    const ReasonLook look = lookOf(state.reason.kind);
    m_icon = QString::fromUtf16(look.icon);
    m_iconPixels = textStyleFont(PromptTextStyle::title2, textSize).pixelSize();
    m_iconBox->setFixedHeight(m_iconPixels + 4);
    m_title->setFont(textStyleFont(PromptTextStyle::subheadline, textSize));
    m_message->setFont(textStyleFont(PromptTextStyle::caption, textSize));
    m_title->setText(state.reason.kind == Kind::recognizedUnbound ? text(look.title).arg(state.reason.agentName)
                                                                  : text(look.title));
    m_message->setText(text(look.message));

    delete m_primary;
    delete m_secondary;
    delete m_bindMenu;
    m_primary = m_secondary = nullptr;
    m_bindMenu = nullptr;

    const std::function<void()> primaryAction = [&]() -> std::function<void()> {
        switch (state.reason.kind) {
        case Kind::noSearchResults:
            return m_callbacks.onClearSearch;
        case Kind::noWorkspaces:
            return m_callbacks.onCreateWorkspace;
        case Kind::editableWorkspaceEmpty:
            return m_callbacks.onCreatePrompt;
        case Kind::automationPermission:
            return m_callbacks.onOpenAutomationSettings;
        case Kind::unavailable:
            return m_callbacks.onManageWorkspaces;
        case Kind::recognizedUnbound:
            break;
        }
        return {};
    }();
    if (state.reason.kind == Kind::recognizedUnbound) {
        m_primary = makeButton(text(look.action), QString::fromUtf16(look.actionIcon), {}, true);
        m_bindMenu = new QMenu(this);
        VelmoraAppearance::apply(m_bindMenu);
        connect(m_bindMenu, &QMenu::aboutToShow, this, [this] { Q_EMIT popupVisibilityChanged(true); });
        connect(m_bindMenu, &QMenu::aboutToHide, this, [this] { Q_EMIT popupVisibilityChanged(false); });
        for (const PromptWorkspace& workspace : workspaces) {
            connect(m_bindMenu->addAction(workspace.name), &QAction::triggered, this, [this, id = workspace.id] {
                if (m_callbacks.onBindWorkspace)
                    m_callbacks.onBindWorkspace(id);
            });
        }
        m_primary->setMenu(m_bindMenu);
        m_primary->setEnabled(!workspaces.isEmpty());
    } else if (primaryAction) {
        m_primary = makeButton(text(look.action), QString::fromUtf16(look.actionIcon), primaryAction, true);
    }

    if (state.actions.size() >= 2) {
        switch (state.actions.at(1)) {
        case EmptyPromptAction::installOrImport:
            if (m_callbacks.onInstallBuiltInPack) {
                m_secondary = makeButton(text(u"action.install.builtin.pack"), u"square.and.arrow.down"_s,
                                         m_callbacks.onInstallBuiltInPack, false);
                m_secondary->setEnabled(canInstallBuiltInPack);
            }
            break;
        case EmptyPromptAction::createPrompt:
            if (m_callbacks.onCreatePrompt)
                m_secondary = makeButton(text(u"action.create.prompt"), u"plus"_s, m_callbacks.onCreatePrompt, false);
            break;
        case EmptyPromptAction::importPrompts:
            if (m_callbacks.onImport)
                m_secondary =
                    makeButton(text(u"action.import.batch"), u"tray.and.arrow.down"_s, m_callbacks.onImport, false);
            break;
        default:
            break;
        }
    }
    m_buttonRow->setVisible(m_primary || m_secondary);
    update();
}

void EmptyPromptView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    VelmoraSymbols::paint(painter, m_icon, QRectF(m_iconBox->geometry()), m_iconPixels, white(0.64));
}
