#include "PromptTileText.h"

#include <QFontMetricsF>
#include <QTextLayout>

namespace {

constexpr QChar lineSeparator(0x2028);
constexpr QChar ellipsis(0x2026);

bool isControl(char16_t c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x2029;
}

} // namespace

QString PromptTileText::displayPrefix(const QString& text, qsizetype limit)
{
    qsizetype length = std::min(text.size(), limit);
    if (length > 0 && length < text.size() && text.at(length - 1).isHighSurrogate())
        --length;
    QString result;
    result.reserve(length);
    for (qsizetype index = 0; index < length; ++index) {
        const char16_t c = text.at(index).unicode();
        if (c == u'\r' && index + 1 < length && text.at(index + 1) == u'\n')
            continue;
        if (c == u'\n' || c == u'\r')
            result.append(lineSeparator);
        else
            result.append(isControl(c) ? QChar(u' ') : QChar(c));
    }
    return result;
}

QStringList PromptTileText::lines(const QString& text, const QFont& font, double width, int maximumLines,
                                  double lastLineWidth)
{
    if (lastLineWidth < 0.0)
        lastLineWidth = width;
    QStringList result;
    if (maximumLines <= 0 || width <= 0.0 || text.isEmpty())
        return result;
    const QString prefix = displayPrefix(text);
    QTextLayout layout(prefix, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.setCacheEnabled(false);
    layout.beginLayout();
    qsizetype next = 0;
    qsizetype lastStart = 0;
    while (result.size() < maximumLines) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(result.size() + 1 == maximumLines ? lastLineWidth : width);
        QString content = prefix.mid(line.textStart(), line.textLength());
        if (content.endsWith(lineSeparator))
            content.chop(1);
        result.append(content);
        lastStart = line.textStart();
        next = lastStart + line.textLength();
    }
    layout.endLayout();

    const bool truncated = text.size() > prefixLimit;
    const bool remains = next < prefix.size() || truncated;
    if (remains && !result.isEmpty()) {
        // The last line runs on to the end of its paragraph, cut with an ellipsis where it stops.
        const qsizetype start = lastStart;
        qsizetype end = prefix.indexOf(lineSeparator, start);
        const bool paragraphEnds = end >= 0;
        if (!paragraphEnds)
            end = prefix.size();
        QString paragraph = prefix.mid(start, std::min<qsizetype>(end - start, 512));
        if (paragraphEnds || truncated)
            paragraph += ellipsis;
        const double available = result.size() == maximumLines ? lastLineWidth : width;
        result.last() = QFontMetricsF(font).elidedText(paragraph, Qt::ElideRight, available);
    }
    return result;
}
