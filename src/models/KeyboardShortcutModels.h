// Shortcut values that prompts and settings hold. Key codes and modifier bits keep the stored form
// of the library files, whatever keyboard the platform has.
#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>

namespace ShortcutModifiers {
inline constexpr quint32 shift = 0x20000;                           // 131072: no modifier on its own
inline constexpr quint32 control = 0x40000;                         // 262144
inline constexpr quint32 option = 0x80000;                          // 524288
inline constexpr quint32 command = 0x100000;                        // 1048576
inline constexpr quint32 requiredMask = control | option | command; // 0x1C0000
inline constexpr quint64 storedMask = 0xFFFE0000;                   // drops device bits and Caps Lock

inline constexpr bool hasRequiredModifier(quint64 modifiers)
{
    return (modifiers & requiredMask) != 0;
}
inline constexpr quint64 stored(quint64 modifiers)
{
    return modifiers & storedMask;
}
} // namespace ShortcutModifiers

struct PromptKeyboardShortcut {
    quint32 keyCode = 0;
    quint64 modifiersRawValue = 0;

    bool operator==(const PromptKeyboardShortcut&) const = default;

    // "<keyCode>:<modifiers>", as prompt files hold it; absent unless it carries a required modifier.
    static std::optional<PromptKeyboardShortcut> fromStorageString(const QString& text);
    QString storageString() const;
};

struct PromptTileShortcut {
    quint64 modifiersRawValue = 0;

    bool operator==(const PromptTileShortcut&) const = default;
};

size_t qHash(const PromptKeyboardShortcut& shortcut, size_t seed = 0) noexcept;
size_t qHash(const PromptTileShortcut& shortcut, size_t seed = 0) noexcept;
