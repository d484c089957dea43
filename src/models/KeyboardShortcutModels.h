// Shortcut values that prompts and settings hold. Key codes and modifier bits keep the stored form
// of the library files, whatever keyboard the platform has.
#pragma once

#include "AppLanguage.h"

#include <QByteArray>
#include <QList>
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

// Bits the stored key events carry beside the modifiers: keypad keys and arrows set numericPad;
// F keys, arrows and the navigation keys set function. Kept so that a shortcut recorded here equals
// the same shortcut recorded on any other machine that shares the library.
inline constexpr quint64 numericPad = 0x200000;
inline constexpr quint64 function = 0x800000;

// The flags of the global registration, one per modifier.
inline constexpr quint32 carbonCommand = 0x100;  // 256
inline constexpr quint32 carbonShift = 0x200;    // 512
inline constexpr quint32 carbonOption = 0x800;   // 2048
inline constexpr quint32 carbonControl = 0x1000; // 4096

// On this desktop the stored modifiers stand for Qt's: command is Ctrl, control is Super (Qt's Meta),
// option is Alt, shift is Shift. Only these four cross; keypad and function bits follow the key.
quint64 fromQtModifiers(int qtModifiers);
int toQtModifiers(quint64 modifiers);

// "Super+Ctrl+Alt+Shift+", each name only if present, in the order of Qt's native key text.
QString displayPrefix(quint64 modifiers);
} // namespace ShortcutModifiers

// A key event as the shortcut rules read it, free of Qt Gui: the views fill it from a QKeyEvent
// (key(), modifiers(), text(), isAutoRepeat()).
struct ShortcutKeyEvent {
    int key = 0;       // a Qt::Key value
    int modifiers = 0; // Qt::KeyboardModifiers bits
    QString text;
    bool isAutoRepeat = false;

    bool operator==(const ShortcutKeyEvent&) const = default;

    // From a QKeyEvent, which the views hold; a template so that this layer needs no Qt Gui.
    template <typename KeyEvent> static ShortcutKeyEvent from(const KeyEvent& event)
    {
        return {int(event.key()), int(event.modifiers().toInt()), event.text(), event.isAutoRepeat()};
    }

    // The stored key code of the key pressed; absent for a key the stored form can't name.
    std::optional<quint32> keyCode() const;
    // The event's modifiers in the stored form, with the keypad and function bits of its key.
    quint64 modifierFlags() const;
    // The character of the key as if no modifier but Shift were held.
    QString charactersIgnoringModifiers() const;
};

struct PromptKeyboardShortcut {
    quint32 keyCode = 0;
    quint64 modifiersRawValue = 0;

    bool operator==(const PromptKeyboardShortcut&) const = default;

    // "<keyCode>:<modifiers>", as prompt files hold it; absent unless it carries a required modifier.
    static std::optional<PromptKeyboardShortcut> fromStorageString(const QString& text);
    QString storageString() const;

    // What a shortcut recorder accepts: no Escape, no bare modifier key, a required modifier.
    static std::optional<PromptKeyboardShortcut> fromEvent(const ShortcutKeyEvent& event);
    // The key's name as the desktop shows it ("P", "Return", "F5"); "Key <code>" for one it can't name.
    static QString keyName(quint32 keyCode);

    // Earlier defaults of the panel shortcut, replaced by the current default when read back.
    static QList<PromptKeyboardShortcut> replacedDefaultTogglePanels();

    quint32 carbonModifierFlags() const;
    QString displayString() const;

    // JSON under the field names: {"keyCode":35,"modifiersRawValue":393216}.
    QByteArray encodedJson() const;
    static std::optional<PromptKeyboardShortcut> decodeJson(const QByteArray& data);
};

struct PromptTileShortcut {
    quint64 modifiersRawValue = 0;

    bool operator==(const PromptTileShortcut&) const = default;

    // The digit 1 to 9 of the key pressed, as 0 to 8: Shift's symbol is read as its digit (Ctrl+Shift+1
    // on a US layout is 1), keypad digits too. Absent for any other key.
    static std::optional<int> numberIndex(const ShortcutKeyEvent& event);

    // The modifiers, ready to be followed by a digit: "Ctrl+" for command.
    QString modifierDisplay() const;

    // JSON under the field name: {"modifiersRawValue":1048576}.
    QByteArray encodedJson() const;
    static std::optional<PromptTileShortcut> decodeJson(const QByteArray& data);
};

// The translation between stored key codes and Qt keys, for every key the stored form names.
namespace ShortcutKeys {
struct QtKey {
    int key = 0;         // a Qt::Key value
    bool keypad = false; // reached with Qt::KeypadModifier
    bool operator==(const QtKey&) const = default;
};

// Every key code with a Qt key, in ascending order.
QList<quint32> translatableKeyCodes();
std::optional<QtKey> qtKey(quint32 keyCode);
// Shifted symbols of the US layout ("!", "+", "{" ...) give the key that carries them, Backtab gives
// Tab and the bare modifier keys give their own codes (54 to 63), so that a recorder can refuse them.
std::optional<quint32> keyCode(int qtKey, bool keypad);
// The keypad and function bits that every event of this key carries.
quint64 implicitFlags(quint32 keyCode);
// Key, modifiers and keypad bit as one int, as QKeySequence takes it; absent for an untranslatable key.
std::optional<int> qtKeyCombination(const PromptKeyboardShortcut& shortcut);
} // namespace ShortcutKeys

// Statuses of a global registration beside the system's own error numbers (positive X11 error codes).
namespace HotKeyRegistrationStatus {
inline constexpr qint32 success = 0;
inline constexpr qint32 unavailable = -1;         // no X11 display or desktop portal to take the key
inline constexpr qint32 keyNotOnKeyboard = -2;    // the keyboard layout has no key for this key code
inline constexpr qint32 unknownRegistration = -3; // an unregistration of nothing registered
inline constexpr qint32 cancelledByUser = -4;     // the user cancelled the desktop's shortcut dialog
inline constexpr qint32 refusedByDesktop = -5;    // the desktop portal refused the binding or ended it
} // namespace HotKeyRegistrationStatus

// The state of the global panel shortcut, as the settings show it.
struct HotKeyStatus {
    enum class Kind { idle, registering, registered, failed, restoreFailed, invalid };

    Kind kind = Kind::idle;
    PromptKeyboardShortcut shortcut; // registering, registered, failed
    qint32 status = 0;               // failed; the requested status of restoreFailed
    qint32 restoreStatus = 0;        // restoreFailed

    bool operator==(const HotKeyStatus&) const = default;

    static HotKeyStatus idle() { return {}; }
    static HotKeyStatus invalid() { return {Kind::invalid, {}, 0, 0}; }
    static HotKeyStatus registering(const PromptKeyboardShortcut& shortcut)
    {
        return {Kind::registering, shortcut, 0, 0};
    }
    static HotKeyStatus registered(const PromptKeyboardShortcut& shortcut)
    {
        return {Kind::registered, shortcut, 0, 0};
    }
    static HotKeyStatus failed(const PromptKeyboardShortcut& shortcut, qint32 status)
    {
        return {Kind::failed, shortcut, status, 0};
    }
    static HotKeyStatus restoreFailed(qint32 requestedStatus, qint32 restoreStatus)
    {
        return {Kind::restoreFailed, {}, requestedStatus, restoreStatus};
    }

    // Empty for idle.
    QString message(AppLanguage language) const;
};

size_t qHash(const PromptKeyboardShortcut& shortcut, size_t seed = 0) noexcept;
size_t qHash(const PromptTileShortcut& shortcut, size_t seed = 0) noexcept;
