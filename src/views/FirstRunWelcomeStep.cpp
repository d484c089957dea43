#include "FirstRunWelcomeStep.h"

#include "PromptPanelTextSize.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSymbols.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <algorithm>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

// The icon tile with the step's number in a badge that stands out past its corner.
class StepIcon : public QWidget {
public:
    StepIcon(int number, QString symbol, QWidget* parent) : QWidget(parent), m_number(number), m_symbol(std::move(symbol))
    {
        const int side = FirstRunWelcomeStep::iconTile + FirstRunWelcomeStep::badgeOffset;
        setFixedSize(side, side);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const QRectF tile(0, FirstRunWelcomeStep::badgeOffset, FirstRunWelcomeStep::iconTile,
                          FirstRunWelcomeStep::iconTile);
        painter.setPen(Qt::NoPen);
        painter.setBrush(VelmoraColors::withOpacity(Brand::accent(), 0.16));
        painter.drawRoundedRect(tile, 10, 10);
        VelmoraSymbols::paint(painter, m_symbol, tile, 18, Brand::accent());
        const QRectF badge(tile.right() + FirstRunWelcomeStep::badgeOffset - FirstRunWelcomeStep::badge, 0,
                           FirstRunWelcomeStep::badge, FirstRunWelcomeStep::badge);
        painter.setBrush(Brand::accent());
        painter.drawEllipse(badge);
        QFont font = textStyleFont(PromptTextStyle::caption, promptPanelTextSizeOf(this));
        font.setPixelSize(std::max(9, font.pixelSize() - 1));
        font.setWeight(QFont::Bold);
        painter.setFont(font);
        painter.setPen(Brand::onAccent());
        painter.drawText(badge, Qt::AlignCenter, QString::number(m_number));
    }

private:
    int m_number;
    QString m_symbol;
};

} // namespace

FirstRunWelcomeStep::FirstRunWelcomeStep(int number, const QString& systemImage, const QString& title,
                                         const QString& detail, QWidget* parent)
    : QWidget(parent), m_number(number), m_systemImage(systemImage), m_title(title), m_detail(detail)
{
    setObjectName(u"step"_s + QString::number(number));
    const PromptPanelTextSize size = promptPanelTextSizeOf(parent);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(padding, padding, padding, padding);
    row->setSpacing(spacing);
    row->addWidget(new StepIcon(number, systemImage, this), 0, Qt::AlignTop);
    auto* texts = new QVBoxLayout();
    texts->setSpacing(3);
    auto* heading = new QLabel(title, this);
    heading->setObjectName(u"title"_s);
    heading->setFont(textStyleFont(PromptTextStyle::headline, size));
    auto* body = new QLabel(detail, this);
    body->setObjectName(u"detail"_s);
    body->setTextFormat(Qt::PlainText);
    body->setWordWrap(true);
    QPalette palette = body->palette();
    palette.setColor(QPalette::WindowText, VelmoraColors::secondaryText());
    body->setPalette(palette);
    texts->addWidget(heading);
    texts->addWidget(body);
    row->addLayout(texts, 1);
}

void FirstRunWelcomeStep::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor secondary = VelmoraColors::secondaryText();
    painter.setPen(QPen(VelmoraColors::withOpacity(secondary, 0.16), 1.0));
    painter.setBrush(VelmoraColors::withOpacity(secondary, 0.08));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}
