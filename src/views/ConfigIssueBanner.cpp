#include "ConfigIssueBanner.h"

#include "PanelText.h"
#include "PromptStore.h"
#include "SourceNoticeView.h"
#include "VelmoraColors.h"
#include "VelmoraSymbols.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {
constexpr int padding = 10;
constexpr int iconSize = 16;
} // namespace

ConfigIssueBanner::ConfigIssueBanner(const PromptConfigIssue& issue, PromptStore& promptStore,
                                     bool showsOpenWorkspaceManager, Actions actions, AppLanguage language,
                                     PromptPanelTextSize textSize, QWidget* parent)
    : QWidget(parent), m_issue(issue)
{
    // One element for a screen reader: the file, the message, the actions.
    setAccessibleName(issue.displayName);
    setAccessibleDescription(issue.message);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(padding + iconSize + 8, padding, padding, padding);
    row->setSpacing(8);
    auto* column = new QVBoxLayout();
    column->setSpacing(2);
    QLabel* name = PanelText::label(PanelText::styled(PromptTextStyle::subheadline, textSize, QFont::DemiBold),
                                    VelmoraColors::white(0.92), this, true);
    name->setText(issue.displayName);
    QLabel* message = PanelText::label(PanelText::styled(PromptTextStyle::caption, textSize),
                                       VelmoraColors::secondaryText(), this, true);
    message->setText(issue.message);
    column->addWidget(name);
    column->addWidget(message);
    row->addLayout(column, 1);

    QSet<PromptConfigRecoveryAction> offered = issue.recoveryActions;
    if (!showsOpenWorkspaceManager)
        offered.remove(PromptConfigRecoveryAction::openWorkspaceManager);
    const QString path = issue.fileURL;
    const std::pair<PromptConfigRecoveryAction, std::pair<const char16_t*, std::function<void()>>> table[] = {
        {PromptConfigRecoveryAction::reload, {u"action.reload.config", [&promptStore] { promptStore.reload(); }}},
        {PromptConfigRecoveryAction::showInFinder,
         {u"action.show.in.finder",
          actions.showInFileManager ? std::function<void()>([show = actions.showInFileManager, path] { show(path); })
                                    : std::function<void()>()}},
        {PromptConfigRecoveryAction::openWorkspaceManager,
         {u"action.open.workspace.manager", actions.openWorkspaceManager}},
    };
    for (const auto& [action, entry] : table) {
        const auto& [key, perform] = entry;
        if (!offered.contains(action) || !perform)
            continue;
        auto* button = new QPushButton(L10n::text(QString::fromUtf16(key), language), this);
        button->setFlat(true);
        button->setAutoDefault(false);
        button->setCursor(Qt::PointingHandCursor);
        button->setFont(PanelText::styled(PromptTextStyle::caption, textSize));
        button->setStyleSheet(u"QPushButton { border: none; color: %1; padding: 2px 4px; }"_s.arg(
            SourceNoticeView::orange().name()));
        connect(button, &QPushButton::clicked, this, perform);
        row->addWidget(button, 0, Qt::AlignTop);
        m_buttons.append(button);
        m_actions.append(action);
    }
}

QPushButton* ConfigIssueBanner::button(PromptConfigRecoveryAction action) const
{
    const qsizetype index = m_actions.indexOf(action);
    return index < 0 ? nullptr : m_buttons.at(index);
}

void ConfigIssueBanner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(SourceNoticeView::orange(0.35), 1.0));
    painter.setBrush(SourceNoticeView::orange(0.1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
    VelmoraSymbols::paint(painter, u"exclamationmark.triangle.fill"_s, QRectF(padding, padding, iconSize, iconSize + 2),
                          iconSize, SourceNoticeView::orange());
}
