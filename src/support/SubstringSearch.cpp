#include "SubstringSearch.h"

#include <cstdint>
#include <cstring>

namespace {

// Eight UTF-16 units, compared at once on any target the compiler vectorises for.
using Lanes = std::uint16_t __attribute__((vector_size(16)));
constexpr qsizetype laneCount = 8;

} // namespace

qsizetype SubstringSearch::indexIn(QStringView text) const
{
    const qsizetype length = m_needle.size();
    if (length == 0)
        return 0;
    if (length > text.size())
        return -1;
    const char16_t* haystack = text.utf16();
    const char16_t* needle = QStringView(m_needle).utf16();
    const qsizetype starts = text.size() - length + 1;
    const auto matchesAt = [&](qsizetype start) {
        return std::memcmp(haystack + start, needle, size_t(length) * sizeof(char16_t)) == 0;
    };

    // Positions whose first and last units both fit are rare; only those are compared in full.
    Lanes first, last;
    for (qsizetype lane = 0; lane < laneCount; ++lane) {
        first[lane] = needle[0];
        last[lane] = needle[length - 1];
    }
    qsizetype start = 0;
    for (; start + laneCount <= starts; start += laneCount) {
        Lanes heads, tails;
        std::memcpy(&heads, haystack + start, sizeof heads);
        std::memcpy(&tails, haystack + start + length - 1, sizeof tails);
        const Lanes candidates = Lanes((heads == first) & (tails == last));
        std::uint64_t halves[2];
        std::memcpy(halves, &candidates, sizeof halves);
        if ((halves[0] | halves[1]) == 0)
            continue;
        for (qsizetype lane = 0; lane < laneCount; ++lane) {
            if (candidates[lane] && matchesAt(start + lane))
                return start + lane;
        }
    }
    for (; start < starts; ++start) {
        if (haystack[start] == needle[0] && matchesAt(start))
            return start;
    }
    return -1;
}
