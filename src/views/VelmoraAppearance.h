// The dark look of Velmora's windows, whatever the desktop's theme: the Fusion style with a palette
// of our own, one shared value.
#pragma once

#include <QPalette>

class QStyle;
class QWidget;

namespace VelmoraAppearance {

const QPalette& dark();
// Fusion, made once and kept for the whole run.
QStyle* style();
// Gives the widget and the children it has now the dark style and palette.
void apply(QWidget* widget);

} // namespace VelmoraAppearance
