#include "SourceNoticeView.h"

#include "PanelText.h"

#include <QHBoxLayout>
#include <QPainter>

SourceNoticeView::SourceNoticeView(QWidget* parent) : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(10, 7, 10, 7);
    m_label = PanelText::label(QFont(), orange(), this, true);
    row->addWidget(m_label);
}

QColor SourceNoticeView::orange(double opacity)
{
    return QColor::fromRgbF(1.0f, 0.624f, 0.039f, float(opacity));
}

void SourceNoticeView::setText(const QString& text, PromptPanelTextSize textSize)
{
    m_label->setFont(PanelText::styled(PromptTextStyle::caption, textSize));
    m_label->setText(text);
}

QString SourceNoticeView::text() const
{
    return m_label->text();
}

void SourceNoticeView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(orange(0.12));
    const double radius = std::min(18.0, height() / 2.0);
    painter.drawRoundedRect(QRectF(rect()), radius, radius);
}
