// The lines of a tile's title or body: wrapped to a width, at most a given number, the last one cut
// at the tail when text remains. Only a bounded prefix of the text is ever laid out, so a prompt of
// a megabyte or of ten thousand lines costs what a short one does; line breaks are kept and other
// control characters show as spaces.
#pragma once

#include <QFont>
#include <QStringList>

namespace PromptTileText {

// Far more than the longest tile's lines can hold, even in the narrowest characters.
inline constexpr qsizetype prefixLimit = 2048;

// The first `limit` characters (never half a surrogate pair), line breaks as U+2028, other
// control characters as spaces.
QString displayPrefix(const QString& text, qsizetype limit = prefixLimit);

// `lastLineWidth` narrows the last allowed line (a badge stands at its end); negative: `width`.
QStringList lines(const QString& text, const QFont& font, double width, int maximumLines,
                  double lastLineWidth = -1.0);

} // namespace PromptTileText
