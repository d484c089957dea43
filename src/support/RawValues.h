// The case of an enumeration whose raw value is the given text, found through its toRawValue.
#pragma once

#include <QString>
#include <initializer_list>
#include <optional>

template <typename Enum, typename Cases>
std::optional<Enum> enumFromRawValue(const Cases& cases, const QString& raw)
{
    for (Enum value : cases) {
        if (toRawValue(value) == raw)
            return value;
    }
    return std::nullopt;
}

template <typename Enum>
std::optional<Enum> enumFromRawValue(std::initializer_list<Enum> cases, const QString& raw)
{
    return enumFromRawValue<Enum, std::initializer_list<Enum>>(cases, raw);
}
