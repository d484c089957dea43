#include "ContextHeaderView.h"

#include "ContextStatusBanner.h"
#include "EnvironmentInfoPopoverView.h"
#include "EnvironmentOverviewPresentation.h"
#include "PanelText.h"
#include "ProjectConfigTrustBanner.h"
#include "SourceNoticeView.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSymbolButton.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace VelmoraColors;
namespace Brand = VelmoraDesignTokens::Brand;

ContextHeaderView::ContextHeaderView(QWidget* parent) : QWidget(parent)
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(10);

    auto* top = new QHBoxLayout();
    top->setSpacing(12);
    auto* names = new QVBoxLayout();
    names->setSpacing(4);
    m_title = PanelText::label(PanelText::font(22, QFont::Bold), Brand::textPrimary(), this);
    m_summary = new ElidedLabel(this);
    m_summary->setFont(PanelText::font(13));
    PanelText::setColor(m_summary, white(0.82));
    names->addWidget(m_title);
    names->addWidget(m_summary);
    top->addLayout(names, 1);

    m_pill = new QWidget(this);
    m_pill->setObjectName(u"countPill"_s);
    m_pill->setFixedHeight(40);
    auto* pill = new QHBoxLayout(m_pill);
    pill->setContentsMargins(14, 0, 14, 0);
    pill->setSpacing(5);
    m_count = PanelText::label(PanelText::font(14, QFont::Bold), Brand::accent(), m_pill);
    m_countSuffix = PanelText::label(PanelText::font(12), white(0.72), m_pill);
    pill->addWidget(m_count);
    pill->addWidget(m_countSuffix);
    top->addWidget(m_pill, 0, Qt::AlignVCenter);

    m_info = new VelmoraSymbolButton(QString(), QSize(40, 40), this);
    m_info->setFocusPolicy(Qt::NoFocus);
    connect(m_info, &QAbstractButton::clicked, this, [this] {
        if (onShowDebugDetailsChange)
            onShowDebugDetailsChange(!m_state.showDebugDetails);
    });
    top->addWidget(m_info, 0, Qt::AlignVCenter);
    column->addLayout(top);

    m_statusBanner = new ContextStatusBanner(this);
    m_error = PanelText::label(QFont(), red(0.92), this, true);
    m_trustBanner = new ProjectConfigTrustBanner(this);
    m_trustBanner->onTrust = [this] {
        if (onTrustProjectConfig)
            onTrustProjectConfig(m_trustBanner->configPath());
    };
    m_sourceNotice = new SourceNoticeView(this);
    for (QWidget* row : {static_cast<QWidget*>(m_statusBanner), static_cast<QWidget*>(m_error),
                         static_cast<QWidget*>(m_trustBanner), static_cast<QWidget*>(m_sourceNotice)}) {
        row->hide();
        column->addWidget(row);
    }
    column->setAlignment(m_sourceNotice, Qt::AlignLeft);
}

ContextHeaderView::~ContextHeaderView()
{
    delete m_popover.data();
}

QString ContextHeaderView::statusSummary(const AgentContext& context, AppLanguage language)
{
    if (context.agent == AgentType::unknown)
        return L10n::text(u"context.waiting"_s, language);
    return EnvironmentOverviewPresentation::agentLabel(context, language);
}

std::optional<QString> ContextHeaderView::unboundText(const AgentContext& context,
                                                      const std::optional<PromptWorkspace>& workspace,
                                                      AppLanguage language)
{
    if (context.agent == AgentType::unknown || workspace)
        return std::nullopt;
    return L10n::text(u"workspace.unbound.current"_s, language)
        .arg(EnvironmentOverviewPresentation::agentLabel(context, language));
}

void ContextHeaderView::setState(const State& state)
{
    m_state = state;
    const AppLanguage language = state.language;
    m_title->setText(L10n::text(u"product.name"_s, language));
    m_summary->setFullText(statusSummary(state.context, language));
    m_count->setText(QString::number(state.promptCount));
    m_countSuffix->setText(L10n::text(u"prompt.count.suffix"_s, language));

    m_info->setLook({u"info.circle.fill"_s, 15, white(0.72), white(state.showDebugDetails ? 0.14 : 0.07), -1});
    m_info->setToolTip(L10n::text(u"help.debug.toggle"_s, language));
    m_info->setAccessibleName(L10n::text(state.showDebugDetails ? u"debug.hide"_s : u"debug.show"_s, language));

    const std::optional<QString> unbound = unboundText(state.context, state.workspace, language);
    m_statusBanner->setVisible(unbound.has_value());
    m_statusBanner->setText(unbound.value_or(QString()));

    m_error->setFont(PanelText::styled(PromptTextStyle::caption, state.textSize));
    m_error->setText(state.errorMessage.value_or(QString()));
    m_error->setVisible(state.errorMessage.has_value());

    const ContextMatchDetails& details = state.matchDetails;
    const bool asksTrust = details.projectConfigRequiresTrust && details.projectConfigPath.has_value();
    const bool trusted = !asksTrust && state.workspace && state.workspace->source == PromptWorkspaceSource::projectConfig;
    if (asksTrust)
        m_trustBanner->setConfigPath(*details.projectConfigPath, language, state.textSize);
    m_trustBanner->setVisible(asksTrust);
    if (trusted)
        m_sourceNotice->setText(L10n::text(u"project.config.trusted.notice"_s, language), state.textSize);
    m_sourceNotice->setVisible(trusted);
    syncPopover();
}

void ContextHeaderView::syncPopover()
{
    if (!m_state.showDebugDetails) {
        if (m_popover && m_popover->isVisible()) {
            m_popover->disconnect(this);
            m_popover->close();
            Q_EMIT popupVisibilityChanged(false);
        }
        return;
    }
    const bool opening = !m_popover || !m_popover->isVisible();
    if (!m_popover)
        m_popover = new EnvironmentInfoPopoverView(this);
    m_popover->setState({m_state.context, m_state.workspace, m_state.matchDetails, m_state.needsAutomationPermission,
                         m_state.detectionErrorMessage, m_state.statusMessage, m_state.language, m_state.textSize});
    if (!opening)
        return;
    // A click outside or Escape closes the popup: the state follows.
    connect(m_popover, &EnvironmentInfoPopoverView::closed, this, [this] {
        m_popover->disconnect(this);
        Q_EMIT popupVisibilityChanged(false);
        if (onShowDebugDetailsChange)
            onShowDebugDetailsChange(false);
    });
    Q_EMIT popupVisibilityChanged(true);
    m_popover->popUp(m_info);
}

void ContextHeaderView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(white(0.075));
    painter.drawRoundedRect(QRectF(m_pill->geometry()), 20, 20);
    painter.setPen(QPen(Brand::border(), 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QRectF(m_info->geometry()).adjusted(0.5, 0.5, -0.5, -0.5));
}
