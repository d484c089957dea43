// The size limits on texts are in UTF-8 bytes. Counting them needs no conversion, so a large text
// is measured without a copy, and line by line while each line is at hand.
#pragma once

#include <QStringView>

#include <algorithm>

// The UTF-8 size of the text; a surrogate pair counts four bytes.
inline qint64 utf8ByteCount(QStringView text)
{
    // In chunks with a 16-bit sum (at most two extra bytes a unit), which the compiler vectorises
    // eight units at a time.
    constexpr qsizetype chunk = 16384;
    const char16_t* units = text.utf16();
    // Most lines of prompts are ASCII: one OR a unit tells.
    char16_t any = 0;
    for (qsizetype i = 0; i < text.size(); ++i)
        any |= units[i];
    if (any < 0x80)
        return text.size();
    qint64 bytes = text.size();
    for (qsizetype begin = 0; begin < text.size(); begin += chunk) {
        const qsizetype end = std::min(text.size(), begin + chunk);
        quint16 extra = 0;
        for (qsizetype i = begin; i < end; ++i) {
            const char16_t unit = units[i];
            extra += quint16((unit >= 0x80) + (unit >= 0x800) - (unit >= 0xD800 && unit < 0xE000));
        }
        bytes += extra;
    }
    return bytes;
}

// The UTF-8 size of a line of `text` with the newline after it, if there is one.
inline qint64 utf8ByteCountWithNewline(QStringView line, QStringView text)
{
    const qsizetype end = line.data() - text.data() + line.size();
    return utf8ByteCount(
        QStringView(line.data(), std::min(line.size() + 1, line.size() + text.size() - end)));
}
