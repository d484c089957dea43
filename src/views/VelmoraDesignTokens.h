// The program's named colours, sRGB, opaque unless stated.
#pragma once

#include <QColor>

namespace VelmoraDesignTokens::Brand {

inline QColor accent() { return QColor::fromRgbF(1.0f, 0.3019f, 0.4941f); } // also the capsule's bar
inline QColor onAccent() { return QColor::fromRgbF(0.0431f, 0.0549f, 0.102f); } // text on accent
inline QColor textPrimary() { return QColor::fromRgbF(0.949f, 0.949f, 0.9608f); }
inline QColor steel() { return QColor::fromRgbF(0.4784f, 0.5255f, 0.6f); }
inline QColor neutral() { return QColor::fromRgbF(0.0431f, 0.0549f, 0.102f); }
inline QColor surface() { return QColor::fromRgbF(0.0784f, 0.0941f, 0.1569f); }
inline QColor border() { return QColor::fromRgbF(0.4784f, 0.5255f, 0.6f, 0.5f); }

} // namespace VelmoraDesignTokens::Brand
