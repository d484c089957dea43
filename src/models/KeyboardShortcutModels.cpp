#include "KeyboardShortcutModels.h"

#include "Localization.h"

#include <QHashFunctions>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <iterator>
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

constexpr quint64 navigation = ShortcutModifiers::function;
constexpr quint64 keypadFlag = ShortcutModifiers::numericPad;
constexpr quint64 arrow = ShortcutModifiers::numericPad | ShortcutModifiers::function;

struct KeyEntry {
    quint32 code;
    int qtKey;
    bool keypad;
    quint64 flags;
    const char16_t* name; // as QKeySequence's native text names the Qt key
};

// Ascending by code. The 47 printable keys, the named keys, the rest of the function and navigation
// keys, and the keypad. Help, which stands where PC keyboards have Insert, is Insert here.
constexpr KeyEntry keyTable[] = {
    {0, Qt::Key_A, false, 0, u"A"},
    {1, Qt::Key_S, false, 0, u"S"},
    {2, Qt::Key_D, false, 0, u"D"},
    {3, Qt::Key_F, false, 0, u"F"},
    {4, Qt::Key_H, false, 0, u"H"},
    {5, Qt::Key_G, false, 0, u"G"},
    {6, Qt::Key_Z, false, 0, u"Z"},
    {7, Qt::Key_X, false, 0, u"X"},
    {8, Qt::Key_C, false, 0, u"C"},
    {9, Qt::Key_V, false, 0, u"V"},
    {11, Qt::Key_B, false, 0, u"B"},
    {12, Qt::Key_Q, false, 0, u"Q"},
    {13, Qt::Key_W, false, 0, u"W"},
    {14, Qt::Key_E, false, 0, u"E"},
    {15, Qt::Key_R, false, 0, u"R"},
    {16, Qt::Key_Y, false, 0, u"Y"},
    {17, Qt::Key_T, false, 0, u"T"},
    {18, Qt::Key_1, false, 0, u"1"},
    {19, Qt::Key_2, false, 0, u"2"},
    {20, Qt::Key_3, false, 0, u"3"},
    {21, Qt::Key_4, false, 0, u"4"},
    {22, Qt::Key_6, false, 0, u"6"},
    {23, Qt::Key_5, false, 0, u"5"},
    {24, Qt::Key_Equal, false, 0, u"="},
    {25, Qt::Key_9, false, 0, u"9"},
    {26, Qt::Key_7, false, 0, u"7"},
    {27, Qt::Key_Minus, false, 0, u"-"},
    {28, Qt::Key_8, false, 0, u"8"},
    {29, Qt::Key_0, false, 0, u"0"},
    {30, Qt::Key_BracketRight, false, 0, u"]"},
    {31, Qt::Key_O, false, 0, u"O"},
    {32, Qt::Key_U, false, 0, u"U"},
    {33, Qt::Key_BracketLeft, false, 0, u"["},
    {34, Qt::Key_I, false, 0, u"I"},
    {35, Qt::Key_P, false, 0, u"P"},
    {36, Qt::Key_Return, false, 0, u"Return"},
    {37, Qt::Key_L, false, 0, u"L"},
    {38, Qt::Key_J, false, 0, u"J"},
    {39, Qt::Key_Apostrophe, false, 0, u"'"},
    {40, Qt::Key_K, false, 0, u"K"},
    {41, Qt::Key_Semicolon, false, 0, u";"},
    {42, Qt::Key_Backslash, false, 0, u"\\"},
    {43, Qt::Key_Comma, false, 0, u","},
    {44, Qt::Key_Slash, false, 0, u"/"},
    {45, Qt::Key_N, false, 0, u"N"},
    {46, Qt::Key_M, false, 0, u"M"},
    {47, Qt::Key_Period, false, 0, u"."},
    {48, Qt::Key_Tab, false, 0, u"Tab"},
    {49, Qt::Key_Space, false, 0, u"Space"},
    {50, Qt::Key_QuoteLeft, false, 0, u"`"},
    {51, Qt::Key_Backspace, false, 0, u"Backspace"},
    {53, Qt::Key_Escape, false, 0, u"Esc"},
    {64, Qt::Key_F17, false, navigation, u"F17"},
    {65, Qt::Key_Period, true, keypadFlag, u"Num+."},
    {67, Qt::Key_Asterisk, true, keypadFlag, u"Num+*"},
    {69, Qt::Key_Plus, true, keypadFlag, u"Num++"},
    {71, Qt::Key_Clear, false, keypadFlag, u"Clear"},
    {75, Qt::Key_Slash, true, keypadFlag, u"Num+/"},
    {76, Qt::Key_Enter, true, keypadFlag, u"Num+Enter"},
    {78, Qt::Key_Minus, true, keypadFlag, u"Num+-"},
    {79, Qt::Key_F18, false, navigation, u"F18"},
    {80, Qt::Key_F19, false, navigation, u"F19"},
    {81, Qt::Key_Equal, true, keypadFlag, u"Num+="},
    {82, Qt::Key_0, true, keypadFlag, u"Num+0"},
    {83, Qt::Key_1, true, keypadFlag, u"Num+1"},
    {84, Qt::Key_2, true, keypadFlag, u"Num+2"},
    {85, Qt::Key_3, true, keypadFlag, u"Num+3"},
    {86, Qt::Key_4, true, keypadFlag, u"Num+4"},
    {87, Qt::Key_5, true, keypadFlag, u"Num+5"},
    {88, Qt::Key_6, true, keypadFlag, u"Num+6"},
    {89, Qt::Key_7, true, keypadFlag, u"Num+7"},
    {90, Qt::Key_F20, false, navigation, u"F20"},
    {91, Qt::Key_8, true, keypadFlag, u"Num+8"},
    {92, Qt::Key_9, true, keypadFlag, u"Num+9"},
    {96, Qt::Key_F5, false, navigation, u"F5"},
    {97, Qt::Key_F6, false, navigation, u"F6"},
    {98, Qt::Key_F7, false, navigation, u"F7"},
    {99, Qt::Key_F3, false, navigation, u"F3"},
    {100, Qt::Key_F8, false, navigation, u"F8"},
    {101, Qt::Key_F9, false, navigation, u"F9"},
    {103, Qt::Key_F11, false, navigation, u"F11"},
    {105, Qt::Key_F13, false, navigation, u"F13"},
    {106, Qt::Key_F16, false, navigation, u"F16"},
    {107, Qt::Key_F14, false, navigation, u"F14"},
    {109, Qt::Key_F10, false, navigation, u"F10"},
    {111, Qt::Key_F12, false, navigation, u"F12"},
    {113, Qt::Key_F15, false, navigation, u"F15"},
    {114, Qt::Key_Insert, false, navigation, u"Ins"},
    {115, Qt::Key_Home, false, navigation, u"Home"},
    {116, Qt::Key_PageUp, false, navigation, u"PgUp"},
    {117, Qt::Key_Delete, false, navigation, u"Del"},
    {118, Qt::Key_F4, false, navigation, u"F4"},
    {119, Qt::Key_End, false, navigation, u"End"},
    {120, Qt::Key_F2, false, navigation, u"F2"},
    {121, Qt::Key_PageDown, false, navigation, u"PgDown"},
    {122, Qt::Key_F1, false, navigation, u"F1"},
    {123, Qt::Key_Left, false, arrow, u"Left"},
    {124, Qt::Key_Right, false, arrow, u"Right"},
    {125, Qt::Key_Down, false, arrow, u"Down"},
    {126, Qt::Key_Up, false, arrow, u"Up"},
};

struct KeyAlias {
    int qtKey;
    quint32 code;
};

// Qt names a key by the symbol it types, so Shift turns "1" into "!". These are the symbols of the US
// layout over the keys that carry them, and the bare modifier keys, which a recorder must refuse.
constexpr KeyAlias qtKeyAliases[] = {
    {Qt::Key_Exclam, 18},      {Qt::Key_At, 19},         {Qt::Key_NumberSign, 20}, {Qt::Key_Dollar, 21},
    {Qt::Key_AsciiCircum, 22}, {Qt::Key_Percent, 23},    {Qt::Key_Plus, 24},       {Qt::Key_ParenLeft, 25},
    {Qt::Key_Ampersand, 26},   {Qt::Key_Underscore, 27}, {Qt::Key_Asterisk, 28},   {Qt::Key_ParenRight, 29},
    {Qt::Key_BraceRight, 30},  {Qt::Key_BraceLeft, 33},  {Qt::Key_QuoteDbl, 39},   {Qt::Key_Colon, 41},
    {Qt::Key_Bar, 42},         {Qt::Key_Less, 43},       {Qt::Key_Question, 44},   {Qt::Key_Greater, 47},
    {Qt::Key_Backtab, 48},     {Qt::Key_AsciiTilde, 50}, {Qt::Key_Control, 55},    {Qt::Key_Shift, 56},
    {Qt::Key_CapsLock, 57},    {Qt::Key_Alt, 58},        {Qt::Key_Meta, 59},       {Qt::Key_Super_L, 59},
    {Qt::Key_AltGr, 61},       {Qt::Key_Super_R, 62},    {Qt::Key_Hyper_L, 63},    {Qt::Key_Hyper_R, 63},
};

const KeyEntry* entryForCode(quint32 code)
{
    const auto found =
        std::lower_bound(std::begin(keyTable), std::end(keyTable), code,
                         [](const KeyEntry& entry, quint32 value) { return entry.code < value; });
    return found != std::end(keyTable) && found->code == code ? found : nullptr;
}

const KeyEntry* entryForQtKey(int qtKey, bool keypad)
{
    for (const KeyEntry& entry : keyTable) {
        if (entry.qtKey == qtKey && entry.keypad == keypad)
            return &entry;
    }
    return nullptr;
}

// An integral JSON number within [0, maximum]; JSON keeps no integer type of its own.
std::optional<quint64> unsignedJsonNumber(const QJsonValue& value, quint64 maximum)
{
    if (!value.isDouble())
        return std::nullopt;
    const qint64 integer = value.toInteger(-1);
    if (integer >= 0 && static_cast<double>(integer) == value.toDouble())
        return static_cast<quint64>(integer) <= maximum ? std::optional<quint64>(integer) : std::nullopt;
    // Integers beyond qint64 arrive as doubles.
    const double number = value.toDouble();
    if (number < 0 || number != std::floor(number) || number >= 18446744073709551616.0)
        return std::nullopt;
    const auto converted = static_cast<quint64>(number);
    return converted <= maximum ? std::optional<quint64>(converted) : std::nullopt;
}

std::optional<QJsonObject> jsonObject(const QByteArray& data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

// JSON numbers are doubles beyond 2^53; such bits never come from a key event.
QJsonValue jsonNumber(quint64 value)
{
    if (value <= quint64(std::numeric_limits<qint64>::max()))
        return QJsonValue(qint64(value));
    return QJsonValue(static_cast<double>(value));
}

QString catalogText(const char* key, AppLanguage language)
{
    return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), language);
}

} // namespace

namespace ShortcutModifiers {

quint64 fromQtModifiers(int qtModifiers)
{
    quint64 modifiers = 0;
    if (qtModifiers & Qt::ShiftModifier)
        modifiers |= shift;
    if (qtModifiers & Qt::ControlModifier)
        modifiers |= command;
    if (qtModifiers & Qt::AltModifier)
        modifiers |= option;
    if (qtModifiers & Qt::MetaModifier)
        modifiers |= control;
    return modifiers;
}

int toQtModifiers(quint64 modifiers)
{
    int qtModifiers = 0;
    if (modifiers & shift)
        qtModifiers |= Qt::ShiftModifier;
    if (modifiers & command)
        qtModifiers |= Qt::ControlModifier;
    if (modifiers & option)
        qtModifiers |= Qt::AltModifier;
    if (modifiers & control)
        qtModifiers |= Qt::MetaModifier;
    return qtModifiers;
}

QString displayPrefix(quint64 modifiers)
{
    QString prefix;
    if (modifiers & control)
        prefix += u"Super+";
    if (modifiers & command)
        prefix += u"Ctrl+";
    if (modifiers & option)
        prefix += u"Alt+";
    if (modifiers & shift)
        prefix += u"Shift+";
    return prefix;
}

} // namespace ShortcutModifiers

namespace ShortcutKeys {

QList<quint32> translatableKeyCodes()
{
    QList<quint32> codes;
    codes.reserve(std::size(keyTable));
    for (const KeyEntry& entry : keyTable)
        codes.append(entry.code);
    return codes;
}

std::optional<QtKey> qtKey(quint32 keyCode)
{
    const KeyEntry* entry = entryForCode(keyCode);
    if (!entry)
        return std::nullopt;
    return QtKey{entry->qtKey, entry->keypad};
}

std::optional<quint32> keyCode(int qtKey, bool keypad)
{
    if (const KeyEntry* entry = entryForQtKey(qtKey, keypad))
        return entry->code;
    for (const KeyAlias& alias : qtKeyAliases) {
        if (alias.qtKey == qtKey)
            return alias.code;
    }
    // A keypad key that types what a main key types (Num Lock off turns keypad 1 into End).
    if (const KeyEntry* entry = entryForQtKey(qtKey, !keypad))
        return entry->code;
    return std::nullopt;
}

quint64 implicitFlags(quint32 keyCode)
{
    const KeyEntry* entry = entryForCode(keyCode);
    return entry ? entry->flags : 0;
}

std::optional<int> qtKeyCombination(const PromptKeyboardShortcut& shortcut)
{
    const KeyEntry* entry = entryForCode(shortcut.keyCode);
    if (!entry)
        return std::nullopt;
    return entry->qtKey | ShortcutModifiers::toQtModifiers(shortcut.modifiersRawValue) |
           (entry->keypad ? int(Qt::KeypadModifier) : 0);
}

} // namespace ShortcutKeys

std::optional<quint32> ShortcutKeyEvent::keyCode() const
{
    return ShortcutKeys::keyCode(key, (modifiers & Qt::KeypadModifier) != 0);
}

quint64 ShortcutKeyEvent::modifierFlags() const
{
    quint64 flags = ShortcutModifiers::fromQtModifiers(modifiers);
    if (modifiers & Qt::KeypadModifier)
        flags |= ShortcutModifiers::numericPad;
    if (const auto code = keyCode())
        flags |= ShortcutKeys::implicitFlags(*code);
    return flags;
}

QString ShortcutKeyEvent::charactersIgnoringModifiers() const
{
    // Qt's key is the symbol without Ctrl, Alt or Super; its text is not (Ctrl+1 may type nothing).
    if (key >= Qt::Key_Space && key <= Qt::Key_ydiaeresis) {
        const QChar character(key);
        return (modifiers & Qt::ShiftModifier) ? QString(character) : QString(character.toLower());
    }
    for (QChar character : text) {
        if (character.category() == QChar::Other_Control)
            return {};
    }
    return text;
}

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

std::optional<PromptKeyboardShortcut> PromptKeyboardShortcut::fromEvent(const ShortcutKeyEvent& event)
{
    const auto code = event.keyCode();
    // Escape and the modifier keys themselves, and keys the stored form has no code for.
    if (!code || (*code >= 53 && *code <= 63))
        return std::nullopt;
    const quint64 modifiers = event.modifierFlags();
    if (!ShortcutModifiers::hasRequiredModifier(modifiers))
        return std::nullopt;
    return PromptKeyboardShortcut{*code, ShortcutModifiers::stored(modifiers)};
}

QString PromptKeyboardShortcut::keyName(quint32 keyCode)
{
    if (const KeyEntry* entry = entryForCode(keyCode))
        return QString::fromUtf16(entry->name);
    return u"Key "_s + QString::number(keyCode);
}

QList<PromptKeyboardShortcut> PromptKeyboardShortcut::replacedDefaultTogglePanels()
{
    return {PromptKeyboardShortcut{49, ShortcutModifiers::option},
            PromptKeyboardShortcut{49, ShortcutModifiers::control | ShortcutModifiers::option}};
}

quint32 PromptKeyboardShortcut::carbonModifierFlags() const
{
    quint32 flags = 0;
    if (modifiersRawValue & ShortcutModifiers::control)
        flags += ShortcutModifiers::carbonControl;
    if (modifiersRawValue & ShortcutModifiers::option)
        flags += ShortcutModifiers::carbonOption;
    if (modifiersRawValue & ShortcutModifiers::shift)
        flags += ShortcutModifiers::carbonShift;
    if (modifiersRawValue & ShortcutModifiers::command)
        flags += ShortcutModifiers::carbonCommand;
    return flags;
}

QString PromptKeyboardShortcut::displayString() const
{
    return ShortcutModifiers::displayPrefix(modifiersRawValue) + keyName(keyCode);
}

QByteArray PromptKeyboardShortcut::encodedJson() const
{
    QJsonObject object;
    object.insert(u"keyCode"_s, qint64(keyCode));
    object.insert(u"modifiersRawValue"_s, jsonNumber(modifiersRawValue));
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<PromptKeyboardShortcut> PromptKeyboardShortcut::decodeJson(const QByteArray& data)
{
    const auto object = jsonObject(data);
    if (!object)
        return std::nullopt;
    const auto keyCode = unsignedJsonNumber(object->value(u"keyCode"), std::numeric_limits<quint32>::max());
    const auto modifiers =
        unsignedJsonNumber(object->value(u"modifiersRawValue"), std::numeric_limits<quint64>::max());
    if (!keyCode || !modifiers)
        return std::nullopt;
    return PromptKeyboardShortcut{static_cast<quint32>(*keyCode), *modifiers};
}

std::optional<int> PromptTileShortcut::numberIndex(const ShortcutKeyEvent& event)
{
    const QString characters = event.charactersIgnoringModifiers();
    if (characters.size() == 1 && characters[0] >= u'1' && characters[0] <= u'9')
        return characters[0].unicode() - u'1';
    // With Shift the key gives its symbol ("!"); the key that carries it is the digit.
    const std::optional<quint32> code = event.keyCode();
    const std::optional<ShortcutKeys::QtKey> key = code ? ShortcutKeys::qtKey(*code) : std::nullopt;
    if (!key || key->key < Qt::Key_1 || key->key > Qt::Key_9)
        return std::nullopt;
    return key->key - Qt::Key_1;
}

QString PromptTileShortcut::modifierDisplay() const
{
    return ShortcutModifiers::displayPrefix(modifiersRawValue);
}

QByteArray PromptTileShortcut::encodedJson() const
{
    QJsonObject object;
    object.insert(u"modifiersRawValue"_s, jsonNumber(modifiersRawValue));
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<PromptTileShortcut> PromptTileShortcut::decodeJson(const QByteArray& data)
{
    const auto object = jsonObject(data);
    if (!object)
        return std::nullopt;
    const auto modifiers =
        unsignedJsonNumber(object->value(u"modifiersRawValue"), std::numeric_limits<quint64>::max());
    if (!modifiers)
        return std::nullopt;
    return PromptTileShortcut{*modifiers};
}

QString HotKeyStatus::message(AppLanguage language) const
{
    switch (kind) {
    case Kind::idle:
        return {};
    case Kind::registering:
        return catalogText("shortcut.registering", language).arg(shortcut.displayString());
    case Kind::registered:
        return catalogText("shortcut.registered", language).arg(shortcut.displayString());
    case Kind::failed:
        // Statuses of this desktop's own making say what the user can do about them.
        if (status == HotKeyRegistrationStatus::unavailable)
            return catalogText("linux.shortcut.register.unavailable", language).arg(shortcut.displayString());
        if (status == HotKeyRegistrationStatus::keyNotOnKeyboard)
            return catalogText("linux.shortcut.register.no.key", language).arg(shortcut.displayString());
        if (status == HotKeyRegistrationStatus::cancelledByUser)
            return catalogText("linux.shortcut.register.cancelled", language).arg(shortcut.displayString());
        if (status == HotKeyRegistrationStatus::refusedByDesktop)
            return catalogText("linux.shortcut.register.refused", language).arg(shortcut.displayString());
        return catalogText("shortcut.register.failed", language)
            .arg(shortcut.displayString(), QString::number(status));
    case Kind::restoreFailed:
        return catalogText("shortcut.restore.failed", language)
            .arg(QString::number(status), QString::number(restoreStatus));
    case Kind::invalid:
        return catalogText("shortcut.error.needs.modifier", language);
    }
    return {};
}

size_t qHash(const PromptKeyboardShortcut& shortcut, size_t seed) noexcept
{
    return qHashMulti(seed, shortcut.keyCode, shortcut.modifiersRawValue);
}

size_t qHash(const PromptTileShortcut& shortcut, size_t seed) noexcept
{
    return qHash(shortcut.modifiersRawValue, seed);
}
