#include "X11KeyMapping.h"

#include "KeyboardShortcutModels.h"

#include <X11/keysym.h>

#include <algorithm>
#include <iterator>

namespace X11KeyMapping {

namespace {

struct KeysymEntry {
    quint32 code;
    quint32 keysym;
};

// Ascending by code; the same keys as the Qt side of the stored codes. Help stands where PC
// keyboards have Insert, so it is Insert here.
constexpr KeysymEntry keysymTable[] = {
    {0, XK_a},
    {1, XK_s},
    {2, XK_d},
    {3, XK_f},
    {4, XK_h},
    {5, XK_g},
    {6, XK_z},
    {7, XK_x},
    {8, XK_c},
    {9, XK_v},
    {11, XK_b},
    {12, XK_q},
    {13, XK_w},
    {14, XK_e},
    {15, XK_r},
    {16, XK_y},
    {17, XK_t},
    {18, XK_1},
    {19, XK_2},
    {20, XK_3},
    {21, XK_4},
    {22, XK_6},
    {23, XK_5},
    {24, XK_equal},
    {25, XK_9},
    {26, XK_7},
    {27, XK_minus},
    {28, XK_8},
    {29, XK_0},
    {30, XK_bracketright},
    {31, XK_o},
    {32, XK_u},
    {33, XK_bracketleft},
    {34, XK_i},
    {35, XK_p},
    {36, XK_Return},
    {37, XK_l},
    {38, XK_j},
    {39, XK_apostrophe},
    {40, XK_k},
    {41, XK_semicolon},
    {42, XK_backslash},
    {43, XK_comma},
    {44, XK_slash},
    {45, XK_n},
    {46, XK_m},
    {47, XK_period},
    {48, XK_Tab},
    {49, XK_space},
    {50, XK_grave},
    {51, XK_BackSpace},
    {53, XK_Escape},
    {64, XK_F17},
    {65, XK_KP_Decimal},
    {67, XK_KP_Multiply},
    {69, XK_KP_Add},
    {71, XK_Clear},
    {75, XK_KP_Divide},
    {76, XK_KP_Enter},
    {78, XK_KP_Subtract},
    {79, XK_F18},
    {80, XK_F19},
    {81, XK_KP_Equal},
    {82, XK_KP_0},
    {83, XK_KP_1},
    {84, XK_KP_2},
    {85, XK_KP_3},
    {86, XK_KP_4},
    {87, XK_KP_5},
    {88, XK_KP_6},
    {89, XK_KP_7},
    {90, XK_F20},
    {91, XK_KP_8},
    {92, XK_KP_9},
    {96, XK_F5},
    {97, XK_F6},
    {98, XK_F7},
    {99, XK_F3},
    {100, XK_F8},
    {101, XK_F9},
    {103, XK_F11},
    {105, XK_F13},
    {106, XK_F16},
    {107, XK_F14},
    {109, XK_F10},
    {111, XK_F12},
    {113, XK_F15},
    {114, XK_Insert},
    {115, XK_Home},
    {116, XK_Page_Up},
    {117, XK_Delete},
    {118, XK_F4},
    {119, XK_End},
    {120, XK_F2},
    {121, XK_Page_Down},
    {122, XK_F1},
    {123, XK_Left},
    {124, XK_Right},
    {125, XK_Down},
    {126, XK_Up},
};

// Keysyms that a key types with Shift (US layout), and Shift+Tab's own keysym.
constexpr KeysymEntry shiftedKeysyms[] = {
    {18, XK_exclam},       {19, XK_at},         {20, XK_numbersign}, {21, XK_dollar},    {22, XK_asciicircum},
    {23, XK_percent},      {24, XK_plus},       {25, XK_parenleft},  {26, XK_ampersand}, {27, XK_underscore},
    {28, XK_asterisk},     {29, XK_parenright}, {30, XK_braceright}, {33, XK_braceleft}, {39, XK_quotedbl},
    {41, XK_colon},        {42, XK_bar},        {43, XK_less},       {44, XK_question},  {47, XK_greater},
    {48, XK_ISO_Left_Tab}, {50, XK_asciitilde},
};

} // namespace

std::optional<quint32> keysym(quint32 keyCode)
{
    const auto found =
        std::lower_bound(std::begin(keysymTable), std::end(keysymTable), keyCode,
                         [](const KeysymEntry& entry, quint32 code) { return entry.code < code; });
    if (found == std::end(keysymTable) || found->code != keyCode)
        return std::nullopt;
    return found->keysym;
}

std::optional<quint32> keyCode(quint32 keysym)
{
    if (keysym >= XK_A && keysym <= XK_Z)
        keysym += XK_a - XK_A;
    for (const KeysymEntry& entry : keysymTable) {
        if (entry.keysym == keysym)
            return entry.code;
    }
    for (const KeysymEntry& entry : shiftedKeysyms) {
        if (entry.keysym == keysym)
            return entry.code;
    }
    return std::nullopt;
}

QList<quint32> translatableKeyCodes()
{
    QList<quint32> codes;
    codes.reserve(std::size(keysymTable));
    for (const KeysymEntry& entry : keysymTable)
        codes.append(entry.code);
    return codes;
}

quint16 x11Modifiers(quint64 modifiers, const ModifierMasks& masks)
{
    quint16 state = 0;
    if (modifiers & ShortcutModifiers::shift)
        state |= shiftMask;
    if (modifiers & ShortcutModifiers::command)
        state |= controlMask;
    if (modifiers & ShortcutModifiers::option)
        state |= masks.alt;
    if (modifiers & ShortcutModifiers::control)
        state |= masks.super;
    return state;
}

quint64 storedModifiers(quint16 x11State, const ModifierMasks& masks)
{
    quint64 modifiers = 0;
    if (x11State & shiftMask)
        modifiers |= ShortcutModifiers::shift;
    if (x11State & controlMask)
        modifiers |= ShortcutModifiers::command;
    if (masks.alt && (x11State & masks.alt))
        modifiers |= ShortcutModifiers::option;
    if (masks.super && (x11State & masks.super))
        modifiers |= ShortcutModifiers::control;
    return modifiers;
}

} // namespace X11KeyMapping
