#include "WorkspaceManagerRowPainting.h"

#include "VelmoraDesignTokens.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTextLayout>

#include <cmath>

namespace WorkspaceManagerRowPainting {

QFont scaled(double pixels, PromptPanelTextSize size, QFont::Weight weight)
{
    QFont font;
    font.setPixelSize(int(std::lround(pixels * metrics(size).baseFontPixels / 13.0)));
    font.setWeight(weight);
    return font;
}

QFont caption2(PromptPanelTextSize size)
{
    return scaled(10.0, size);
}

QFont title3(PromptPanelTextSize size)
{
    return scaled(15.0, size, QFont::DemiBold);
}

int lineHeight(const QFont& font)
{
    const QFontMetrics metrics(font);
    return std::max(metrics.height(), metrics.boundingRect(QStringLiteral("\u6C49\u00C1g")).height() + 1);
}

void card(QPainter& painter, const QRect& rect, const QColor& fill, bool focused)
{
    painter.setPen(focused ? QPen(VelmoraDesignTokens::Brand::steel(), 1.5) : QPen(Qt::NoPen));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect).adjusted(0.75, 0.75, -0.75, -0.75), cornerRadius, cornerRadius);
}

void text(QPainter& painter, const QRect& line, const QFont& font, const QColor& color, const QString& text,
          Qt::TextElideMode elide)
{
    painter.setFont(font);
    painter.setPen(color);
    const QString shown = QFontMetrics(font).elidedText(text, elide, line.width());
    painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shown);
}

QRect nextLine(const QRect& line, const QFont& font, int spacing)
{
    return {line.left(), line.bottom() + 1 + spacing, line.width(), lineHeight(font)};
}

void wrappedText(QPainter& painter, const QRect& box, const QFont& font, const QColor& color,
                 const QString& fullText, int maximumLines)
{
    // A few lines never need more than this much of a long prompt, and the layout costs by length.
    const QString text = fullText.left(160 * maximumLines);
    painter.setFont(font);
    painter.setPen(color);
    const QFontMetrics metrics(font);
    const int height = lineHeight(font);
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    int y = box.top();
    for (int lineNumber = 0; lineNumber < maximumLines; ++lineNumber) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(box.width());
        const bool last = lineNumber == maximumLines - 1;
        QString piece = text.mid(line.textStart(), last ? -1 : line.textLength());
        if (last)
            piece = metrics.elidedText(piece, Qt::ElideRight, box.width());
        painter.drawText(QRect(box.left(), y, box.width(), height),
                         Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, piece);
        y += height;
    }
    layout.endLayout();
}

} // namespace WorkspaceManagerRowPainting
