// The three character classes of the prompt file format, and trimming and line splitting by them.
// Every text rule of the library uses these, never isspace() or the C locale, so that a no-break
// space or an ideographic space is a blank everywhere and a line separator ends a line everywhere.
#pragma once

#include <QList>
#include <QStringView>

namespace CharacterClasses {

// U+0009 and the Unicode space separators (general category Zs).
bool isWhitespace(char32_t character);
// U+000A to U+000D, U+0085, U+2028, U+2029.
bool isNewline(char32_t character);
bool isWhitespaceOrNewline(char32_t character);

// The Unicode White_Space property. It holds exactly the members of whitespace-and-newline, so both
// names answer alike; the slug rule is written in terms of this one.
bool hasWhiteSpaceProperty(char32_t character);

// Every member of the three classes lies in the Basic Multilingual Plane, so these tests may run
// on single UTF-16 code units: a surrogate is never a member.
inline bool isNewlineUnit(char16_t unit)
{
    if (unit < 0x0A)
        return false;
    if (unit <= 0x0D)
        return true;
    return unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

inline bool isWhitespaceUnit(char16_t unit)
{
    if (unit == 0x20 || unit == 0x09)
        return true;
    return unit >= 0xA0 && isWhitespace(unit);
}

inline bool isWhitespaceOrNewlineUnit(char16_t unit)
{
    return isWhitespaceUnit(unit) || isNewlineUnit(unit);
}

// Removal of members of the class from both ends only.
QStringView trimmedWhitespace(QStringView text);
QStringView trimmedNewlines(QStringView text);
QStringView trimmedWhitespaceAndNewlines(QStringView text);

// The position of the first member of the newline class at or after `from`, or `size` if none.
qsizetype indexOfNewline(const char16_t* text, qsizetype from, qsizetype size);

// Walks the lines of a text: each single member of the newline class separates two lines, so CR LF
// gives an empty line between its two characters, and a text ending in a newline ends in an empty
// line. An empty text is one empty line. The views point into the text, which must outlive them.
class LineReader {
public:
    explicit LineReader(QStringView text) : m_text(text) {}

    bool next(QStringView& line)
    {
        if (m_position > m_text.size())
            return false;
        const qsizetype end =
            indexOfNewline(reinterpret_cast<const char16_t*>(m_text.data()), m_position, m_text.size());
        line = m_text.sliced(m_position, end - m_position);
        m_position = end + 1;
        return true;
    }

private:
    QStringView m_text;
    qsizetype m_position = 0;
};

QList<QStringView> splitLines(QStringView text);

} // namespace CharacterClasses
