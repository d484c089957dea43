#include "VelmoraMorphMask.h"

#include <algorithm>
#include <cmath>

QRegion roundedRectRegion(const QRectF& rect, double radius)
{
    QRegion region;
    radius = std::min({radius, rect.width() / 2.0, rect.height() / 2.0});
    const int top = int(std::ceil(rect.top() - 0.5));
    const int bottom = int(std::floor(rect.bottom() - 0.5));
    for (int y = top; y <= bottom; ++y) {
        const double centre = y + 0.5;
        // How far the corner's arc pulls this row in from the straight sides.
        double inset = 0.0;
        const double fromTop = rect.top() + radius - centre;
        const double fromBottom = centre - (rect.bottom() - radius);
        const double into = std::max(fromTop, fromBottom);
        if (into > 0.0)
            inset = radius - std::sqrt(std::max(0.0, radius * radius - into * into));
        const int left = int(std::ceil(rect.left() + inset - 0.5));
        const int right = int(std::floor(rect.right() - inset - 0.5));
        if (right >= left)
            region += QRect(left, y, right - left + 1, 1);
    }
    return region;
}

QRectF VelmoraMorphMask::shapeRect(const QRectF& rect) const
{
    const double e = std::clamp(expansion, 0.0, 1.0);
    const double width = capsuleWidth + (fullWidth - capsuleWidth) * e;
    const double height = capsuleHeight + (fullHeight - capsuleHeight) * e;
    return QRectF(rect.center().x() - width * 0.5, 0.0, width, height);
}

double VelmoraMorphMask::cornerRadius() const
{
    const double e = std::clamp(expansion, 0.0, 1.0);
    const double height = capsuleHeight + (fullHeight - capsuleHeight) * e;
    return std::min(height * 0.5, maximumCornerRadius);
}

QPainterPath VelmoraMorphMask::path(const QRectF& rect) const
{
    QPainterPath shape;
    const double radius = cornerRadius();
    shape.addRoundedRect(shapeRect(rect), radius, radius);
    return shape;
}
