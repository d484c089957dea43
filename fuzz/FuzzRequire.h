// What a fuzz target checks besides crashes: a broken promise aborts with its line, so that the
// crash report says which one it was.
#pragma once

#include "CharacterClasses.h"

#include <QString>

#include <cstdio>
#include <cstdlib>

inline void requireAt(bool condition, int line)
{
    if (!condition) {
        std::fprintf(stderr, "requirement failed at line %d\n", line);
        std::abort();
    }
}
#define require(condition) requireAt((condition), __LINE__)

inline bool isBlank(const QString& value)
{
    return CharacterClasses::trimmedWhitespaceAndNewlines(value).isEmpty();
}
