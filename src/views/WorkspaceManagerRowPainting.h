// What the workspace manager's two list delegates draw alike: the rounded card of a row, lines of
// text cut to their width, the text styles the shared table lacks, and the colour of read-only notes.
#pragma once

#include "PromptPanelTextSize.h"

#include <QColor>
#include <QFont>
#include <QRect>
#include <QString>

class QPainter;

namespace WorkspaceManagerRowPainting {

inline constexpr double cornerRadius = 8.0;

// The dark appearance's system orange.
inline QColor orange()
{
    return QColor::fromRgbF(1.0f, 0.624f, 0.039f);
}

// A style at its standard size in pixels, scaled as the shared table scales.
QFont scaled(double pixels, PromptPanelTextSize size, QFont::Weight weight = QFont::Normal);
QFont caption2(PromptPanelTextSize size);
QFont title3(PromptPanelTextSize size);

// The height of a line in `font`, tall enough for the fallback fonts of Chinese text as well.
int lineHeight(const QFont& font);
// The card behind a row; with `focused`, a steel ring for the keyboard's place.
void card(QPainter& painter, const QRect& rect, const QColor& fill, bool focused);
// One line of `text`, vertically centred in `line`, cut where it doesn't fit.
void text(QPainter& painter, const QRect& line, const QFont& font, const QColor& color, const QString& text,
          Qt::TextElideMode elide = Qt::ElideRight);
// The line below `line` in `font`, `spacing` apart.
QRect nextLine(const QRect& line, const QFont& font, int spacing);
// At most `maximumLines` lines of wrapped text from the top of `box`, the last cut with an ellipsis.
void wrappedText(QPainter& painter, const QRect& box, const QFont& font, const QColor& color,
                 const QString& text, int maximumLines);

} // namespace WorkspaceManagerRowPainting
