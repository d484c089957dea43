// The shape the panel's surface is cut to while it morphs: a capsule at the top centre that grows
// outward and downward to the full surface, keeping corners of at most 30 points.
#pragma once

#include <QPainterPath>
#include <QRectF>
#include <QRegion>

// The pixels whose centres lie inside a rectangle with circular corners: the shape a window or a
// widget is cut to where edges can't be blended.
QRegion roundedRectRegion(const QRectF& rect, double radius);

struct VelmoraMorphMask {
    double fullWidth = 0.0;
    double fullHeight = 0.0;
    double capsuleWidth = 0.0;
    double capsuleHeight = 0.0;
    double expansion = 0.0; // 0: the capsule; 1: the full surface; clamped to that range

    bool operator==(const VelmoraMorphMask&) const = default;

    static constexpr double maximumCornerRadius = 30.0;

    // The rectangle, at the top of `rect` and centred in it, and its corner radius.
    QRectF shapeRect(const QRectF& rect) const;
    double cornerRadius() const;
    QPainterPath path(const QRectF& rect) const;
    QRegion region(const QRectF& rect) const { return roundedRectRegion(shapeRect(rect), cornerRadius()); }
};
