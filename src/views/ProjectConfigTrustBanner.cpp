#include "ProjectConfigTrustBanner.h"

#include "EnvironmentOverviewPresentation.h"
#include "PanelText.h"
#include "SourceNoticeView.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace VelmoraColors;
namespace Brand = VelmoraDesignTokens::Brand;

ProjectConfigTrustBanner::ProjectConfigTrustBanner(QWidget* parent) : QWidget(parent)
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(10, 10, 10, 10);
    column->setSpacing(6);
    m_title = PanelText::label(QFont(), Qt::white, this);
    m_help = PanelText::label(QFont(), white(0.82), this, true);
    m_fileName = new ElidedLabel(this);
    PanelText::setColor(m_fileName, white(0.72));
    m_trust = new QPushButton(this);
    m_trust->setCursor(Qt::PointingHandCursor);
    m_trust->setAutoDefault(false);
    connect(m_trust, &QPushButton::clicked, this, [this] {
        if (onTrust)
            onTrust();
    });
    auto* row = new QHBoxLayout();
    row->setSpacing(8);
    row->addWidget(m_fileName, 1);
    row->addWidget(m_trust);
    column->addWidget(m_title);
    column->addWidget(m_help);
    column->addLayout(row);
}

void ProjectConfigTrustBanner::setConfigPath(const QString& configPath, AppLanguage language,
                                             PromptPanelTextSize textSize)
{
    m_configPath = configPath;
    const QFont caption = PanelText::styled(PromptTextStyle::caption, textSize);
    m_title->setFont(PanelText::styled(PromptTextStyle::caption, textSize, QFont::DemiBold));
    m_title->setText(L10n::text(u"project.config.found"_s, language));
    m_help->setFont(caption);
    m_help->setText(L10n::text(u"project.config.trust.help"_s, language));
    QFont mono = caption;
    mono.setFamily(u"monospace"_s);
    mono.setStyleHint(QFont::Monospace);
    m_fileName->setFont(mono);
    m_fileName->setFullText(EnvironmentOverviewPresentation::lastPathComponent(configPath));
    m_trust->setText(L10n::text(u"action.trust"_s, language));
    m_trust->setFont(PanelText::styled(PromptTextStyle::caption, textSize, QFont::DemiBold));
    m_trust->setStyleSheet(u"QPushButton { color: %1; background: %2; border: none; border-radius: 6px;"
                           " padding: 3px 14px; }"_s.arg(Brand::onAccent().name(), Brand::accent().name()));
}

void ProjectConfigTrustBanner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(SourceNoticeView::orange(0.32), 1.0));
    painter.setBrush(SourceNoticeView::orange(0.18));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 18, 18);
}
