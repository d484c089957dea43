// The stored key codes and modifier bits of shortcuts, translated to X11 keysyms and modifier masks
// and back. The keyboard's own keycodes come later, from the server's mapping of these keysyms.
#pragma once

#include <QList>
#include <QtGlobal>
#include <optional>

namespace X11KeyMapping {

// Which modifier bits of the core protocol carry Alt, Super and Num Lock; the server's modifier
// map decides (X11HotKeyRegistrar reads it), these are the usual ones.
struct ModifierMasks {
    quint16 alt = 0x0008;   // Mod1
    quint16 super = 0x0040; // Mod4
    quint16 numLock = 0;    // none until the modifier map names one

    bool operator==(const ModifierMasks&) const = default;
};

inline constexpr quint16 shiftMask = 0x0001;
inline constexpr quint16 lockMask = 0x0002; // Caps Lock
inline constexpr quint16 controlMask = 0x0004;

// The keysym a stored key code stands for; absent for a code with no key on this desktop.
std::optional<quint32> keysym(quint32 keyCode);
// The stored key code of a keysym; the shifted symbols of the US layout, upper-case letters and
// ISO_Left_Tab give the key that carries them.
std::optional<quint32> keyCode(quint32 keysym);
// Every stored key code with a keysym, in ascending order.
QList<quint32> translatableKeyCodes();

// command -> Control, control -> Super, option -> Alt, shift -> Shift; other bits are dropped.
quint16 x11Modifiers(quint64 modifiers, const ModifierMasks& masks = {});
quint64 storedModifiers(quint16 x11State, const ModifierMasks& masks = {});

} // namespace X11KeyMapping
