// Colours the views mix from: white and black at an opacity, a token at an opacity, and the two
// system colours the states use (red for failures and destructive actions, green for a copy).
#pragma once

#include <QColor>

namespace VelmoraColors {

inline QColor white(double opacity)
{
    return QColor::fromRgbF(1.0f, 1.0f, 1.0f, float(opacity));
}

inline QColor black(double opacity)
{
    return QColor::fromRgbF(0.0f, 0.0f, 0.0f, float(opacity));
}

inline QColor withOpacity(QColor color, double opacity)
{
    color.setAlphaF(float(color.alphaF() * opacity));
    return color;
}

// The dark appearance's system red and green.
inline QColor red(double opacity = 1.0)
{
    return QColor::fromRgbF(1.0f, 0.271f, 0.227f, float(opacity));
}

inline QColor green(double opacity = 1.0)
{
    return QColor::fromRgbF(0.188f, 0.82f, 0.345f, float(opacity));
}

// The secondary text colour of the dark appearance.
inline QColor secondaryText()
{
    return QColor::fromRgbF(0.922f, 0.922f, 0.961f, 0.6f);
}

} // namespace VelmoraColors
