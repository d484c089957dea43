#include "ContextStatusBanner.h"

#include "PanelText.h"
#include "VelmoraColors.h"

#include <QHBoxLayout>
#include <QPainter>

using namespace VelmoraColors;

ContextStatusBanner::ContextStatusBanner(QWidget* parent) : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(12, 8, 12, 8);
    row->setSpacing(8);
    auto* dot = new QWidget(this);
    dot->setFixedSize(8, 8);
    dot->setObjectName(QStringLiteral("dot"));
    m_label = PanelText::label(PanelText::font(13), white(0.82), this, true);
    row->addWidget(dot, 0, Qt::AlignVCenter);
    row->addWidget(m_label, 1);
}

void ContextStatusBanner::setText(const QString& text)
{
    m_label->setText(text);
}

QString ContextStatusBanner::text() const
{
    return m_label->text();
}

void ContextStatusBanner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(white(0.07), 1.0));
    painter.setBrush(white(0.065));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 14, 14);
    const QWidget* dot = findChild<QWidget*>(QStringLiteral("dot"));
    painter.setPen(Qt::NoPen);
    painter.setBrush(white(0.82));
    painter.drawEllipse(QRectF(dot->geometry()));
}
