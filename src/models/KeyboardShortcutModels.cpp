#include "KeyboardShortcutModels.h"

#include <QHashFunctions>
#include <QStringList>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

// Decimal digits with an optional leading "+", nothing else: no blanks, no sign of minus.
template <typename Number> std::optional<Number> parseDecimal(QStringView text, Number maximum)
{
    if (text.startsWith(u'+'))
        text = text.mid(1);
    if (text.isEmpty())
        return std::nullopt;
    for (QChar character : text) {
        if (character < u'0' || character > u'9')
            return std::nullopt;
    }
    bool ok = false;
    const qulonglong value = text.toULongLong(&ok, 10);
    if (!ok || value > maximum)
        return std::nullopt;
    return static_cast<Number>(value);
}

} // namespace

std::optional<PromptKeyboardShortcut> PromptKeyboardShortcut::fromStorageString(const QString& text)
{
    const QStringList parts = text.split(u':', Qt::SkipEmptyParts);
    if (parts.size() != 2)
        return std::nullopt;
    const auto keyCode = parseDecimal<quint32>(parts[0], std::numeric_limits<quint32>::max());
    const auto modifiers = parseDecimal<quint64>(parts[1], std::numeric_limits<quint64>::max());
    if (!keyCode || !modifiers || !ShortcutModifiers::hasRequiredModifier(*modifiers))
        return std::nullopt;
    return PromptKeyboardShortcut{*keyCode, ShortcutModifiers::stored(*modifiers)};
}

QString PromptKeyboardShortcut::storageString() const
{
    return QString::number(keyCode) + u':' + QString::number(modifiersRawValue);
}

size_t qHash(const PromptKeyboardShortcut& shortcut, size_t seed) noexcept
{
    return qHashMulti(seed, shortcut.keyCode, shortcut.modifiersRawValue);
}

size_t qHash(const PromptTileShortcut& shortcut, size_t seed) noexcept
{
    return qHash(shortcut.modifiersRawValue, seed);
}
