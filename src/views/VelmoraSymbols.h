// The symbols the views draw: our own monochrome SVGs under resources/icons, by the names the views
// use ("pin.fill", "checkmark"), tinted to a colour when drawn. Rendered images are kept, so a
// repaint draws an image.
#pragma once

#include <QColor>
#include <QImage>
#include <QRectF>
#include <QString>

class QPainter;

namespace VelmoraSymbols {

// The symbol filling a square of `pixelSize`, in `color` (its alpha included); a null image for an
// unknown name.
QImage image(const QString& name, double pixelSize, const QColor& color, qreal devicePixelRatio);

// Draws the symbol centred in `box`, `pixelSize` wide and high.
void paint(QPainter& painter, const QString& name, const QRectF& box, double pixelSize, const QColor& color);

} // namespace VelmoraSymbols
