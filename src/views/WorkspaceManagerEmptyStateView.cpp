#include "WorkspaceManagerEmptyStateView.h"

#include "PanelText.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSymbols.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {
// A large title's symbol, as the standard size's 26 points scale.
constexpr double largeTitlePixels = 26.0;
} // namespace

WorkspaceManagerEmptyStateView::WorkspaceManagerEmptyStateView(Callbacks callbacks, QWidget* parent)
    : QWidget(parent), m_callbacks(std::move(callbacks))
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(16, 24, 16, 24);
    column->setSpacing(8);
    column->addStretch();
    m_icon = new QLabel(this);
    m_icon->setAlignment(Qt::AlignCenter);
    column->addWidget(m_icon);
    m_title = PanelText::label({}, VelmoraDesignTokens::Brand::textPrimary(), this, true);
    m_help = PanelText::label({}, VelmoraColors::secondaryText(), this, true);
    for (QLabel* label : {m_title, m_help}) {
        label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        column->addWidget(label);
    }
    m_buttonRow = new QHBoxLayout();
    m_buttonRow->setSpacing(8);
    column->addSpacing(4);
    column->addLayout(m_buttonRow);
    column->addStretch();
}

void WorkspaceManagerEmptyStateView::setState(const WorkspaceManagerEmptyState& state, AppLanguage language,
                                              PromptPanelTextSize textSize)
{
    m_state = state;
    const double scale = metrics(textSize).baseFontPixels / 13.0;
    const double iconPixels = largeTitlePixels * scale;
    m_icon->setPixmap(QPixmap::fromImage(VelmoraSymbols::image(
        state.systemImage(), iconPixels, VelmoraColors::secondaryText(), devicePixelRatioF())));
    m_icon->setFixedHeight(int(iconPixels) + 4);
    m_title->setFont(textStyleFont(PromptTextStyle::headline, textSize));
    m_title->setText(L10n::text(state.titleKey(), language));
    m_help->setFont(textStyleFont(PromptTextStyle::caption, textSize));
    m_help->setText(L10n::text(state.helpKey(), language));

    qDeleteAll(m_buttons);
    m_buttons.clear();
    while (QLayoutItem* item = m_buttonRow->takeAt(0))
        delete item;
    m_buttonRow->addStretch();
    const QList<WorkspaceManagerEmptyAction> actions = state.actions();
    for (const WorkspaceManagerEmptyAction action : actions) {
        const std::function<void()>& run = callback(action);
        if (!run)
            continue;
        const QString key = titleKey(action);
        auto* button =
            new VelmoraButton(VelmoraButtonStyle::panelAction,
                              PromptPanelActionLabel{L10n::text(key, language), {}, false}.label(), this);
        button->setObjectName(key);
        connect(button, &QAbstractButton::clicked, this, [run] { run(); });
        m_buttonRow->addWidget(button);
        button->show();
        m_buttons.append(button);
    }
    m_buttonRow->addStretch();
}

QString WorkspaceManagerEmptyStateView::title() const
{
    return m_title->text();
}

QString WorkspaceManagerEmptyStateView::help() const
{
    return m_help->text();
}

const std::function<void()>&
WorkspaceManagerEmptyStateView::callback(WorkspaceManagerEmptyAction action) const
{
    switch (action) {
    case WorkspaceManagerEmptyAction::createWorkspace:
        return m_callbacks.onCreateWorkspace;
    case WorkspaceManagerEmptyAction::importPromptPack:
        return m_callbacks.onImportPromptPack;
    case WorkspaceManagerEmptyAction::clearWorkspaceFilter:
        return m_callbacks.onClearWorkspaceFilter;
    case WorkspaceManagerEmptyAction::createPrompt:
        return m_callbacks.onCreatePrompt;
    case WorkspaceManagerEmptyAction::exportPromptPack:
        break;
    }
    return m_callbacks.onExportPromptPack;
}
