#include "CharacterClasses.h"

#include <QChar>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace CharacterClasses {

bool isWhitespace(char32_t character)
{
    if (character == 0x09 || character == 0x20)
        return true;
    if (character < 0xA0)
        return false;
    return QChar::category(character) == QChar::Separator_Space;
}

bool isNewline(char32_t character)
{
    return (character >= 0x0A && character <= 0x0D) || character == 0x85 || character == 0x2028 ||
           character == 0x2029;
}

bool isWhitespaceOrNewline(char32_t character)
{
    return isWhitespace(character) || isNewline(character);
}

bool hasWhiteSpaceProperty(char32_t character)
{
    return isWhitespaceOrNewline(character);
}

namespace {

template <typename Predicate> QStringView trimmedBy(QStringView text, Predicate isMember)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isMember(text[begin].unicode()))
        ++begin;
    while (end > begin && isMember(text[end - 1].unicode()))
        --end;
    return text.sliced(begin, end - begin);
}

} // namespace

QStringView trimmedWhitespace(QStringView text)
{
    return trimmedBy(text, isWhitespaceUnit);
}

QStringView trimmedNewlines(QStringView text)
{
    return trimmedBy(text, isNewlineUnit);
}

QStringView trimmedWhitespaceAndNewlines(QStringView text)
{
    return trimmedBy(text, isWhitespaceOrNewlineUnit);
}

#if defined(__SSE2__)
namespace {

// Lanes of eight code units that hold a member of the newline class, as a byte mask.
inline int newlineMask(__m128i units)
{
    const __m128i lineFeed = _mm_set1_epi16(0x0A);
    const __m128i three = _mm_set1_epi16(3);
    const __m128i nextLine = _mm_set1_epi16(0x85);
    const __m128i separators = _mm_set1_epi16(0x2029);
    const __m128i one = _mm_set1_epi16(1);
    // U+000A..U+000D: unit - 0x0A, saturated at zero once 3 is taken off, is zero.
    const __m128i controls =
        _mm_cmpeq_epi16(_mm_subs_epu16(_mm_sub_epi16(units, lineFeed), three), _mm_setzero_si128());
    const __m128i next = _mm_cmpeq_epi16(units, nextLine);
    const __m128i separator = _mm_cmpeq_epi16(_mm_or_si128(units, one), separators); // U+2028, U+2029
    return _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(controls, next), separator));
}

} // namespace
#endif

qsizetype indexOfNewline(const char16_t* text, qsizetype from, qsizetype size)
{
    qsizetype i = from;
#if defined(__SSE2__)
    // Prompt files are mostly long lines of block text: test eight code units at a time.
    for (; i + 8 <= size; i += 8) {
        const int mask = newlineMask(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i)));
        if (mask != 0)
            return i + __builtin_ctz(unsigned(mask)) / 2;
    }
#endif
    for (; i < size; ++i) {
        if (isNewlineUnit(text[i]))
            return i;
    }
    return size;
}

QList<QStringView> splitLines(QStringView text)
{
    QList<QStringView> lines;
    LineReader reader(text);
    QStringView line;
    while (reader.next(line))
        lines.append(line);
    return lines;
}

} // namespace CharacterClasses
