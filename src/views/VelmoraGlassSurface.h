// The dark glass behind the panel's content: five layers, back to front, in a rounded rectangle. The
// blurred material has no equivalent here and is a flat fill of the surface colour at half opacity.
#pragma once

#include <QPainterPath>
#include <QRectF>

class QPainter;

struct VelmoraGlassSurface {
    double cornerRadius = 30.0;

    // Draws into `rect`, cut to `clip` as well (an empty path cuts nothing), with smooth edges.
    void paint(QPainter& painter, const QRectF& rect, const QPainterPath& clip = {}) const;
};
