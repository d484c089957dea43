// Blurred shadows and glows, drawn once into an image and reused: a shape filled in a colour, its
// edge softened by a Gaussian-like blur of the given radius.
#pragma once

#include <QColor>
#include <QImage>
#include <QPainterPath>

namespace SoftShadow {

// An image of `size` (device-independent) holding `shape` moved by `offset`, filled with `color`
// and blurred by `radius`, as a layer's shadow of that radius looks.
QImage render(const QPainterPath& shape, const QSize& size, const QColor& color, double radius,
              const QPointF& offset, qreal devicePixelRatio);

} // namespace SoftShadow
