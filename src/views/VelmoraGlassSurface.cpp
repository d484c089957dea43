#include "VelmoraGlassSurface.h"

#include "VelmoraDesignTokens.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPathStroker>

namespace {

QColor white(double alpha)
{
    return QColor::fromRgbF(1.0f, 1.0f, 1.0f, float(alpha));
}

QColor black(double alpha)
{
    return QColor::fromRgbF(0.0f, 0.0f, 0.0f, float(alpha));
}

} // namespace

void VelmoraGlassSurface::paint(QPainter& painter, const QRectF& rect, const QPainterPath& clip) const
{
    QPainterPath shape;
    shape.addRoundedRect(rect, cornerRadius, cornerRadius);
    // Cutting by path, not by clip region, keeps the edges antialiased.
    const auto cut = [&clip](const QPainterPath& path) {
        return clip.isEmpty() ? path : path.intersected(clip);
    };
    const QPainterPath body = cut(shape);
    if (body.isEmpty())
        return;

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);

    QColor material = VelmoraDesignTokens::Brand::surface();
    material.setAlphaF(0.5f);
    painter.fillPath(body, material);
    painter.fillPath(body, black(0.74));

    QLinearGradient diagonal(rect.topLeft(), rect.bottomRight());
    diagonal.setColorAt(0.0, white(0.07));
    diagonal.setColorAt(0.5, Qt::transparent);
    diagonal.setColorAt(1.0, black(0.2));
    painter.fillPath(body, diagonal);

    const QRectF highlightRect(rect.left(), rect.top(), rect.width(), qMin(150.0, rect.height()));
    QPainterPath highlightArea;
    highlightArea.addRect(highlightRect);
    QLinearGradient highlight(highlightRect.topLeft(), QPointF(highlightRect.left(), highlightRect.top() + 150.0));
    highlight.setColorAt(0.0, white(0.16));
    highlight.setColorAt(0.5, white(0.045));
    highlight.setColorAt(1.0, Qt::transparent);
    painter.fillPath(body.intersected(highlightArea), highlight);

    // A one-point line inside the edge.
    QPainterPath edge;
    const QRectF inner = rect.adjusted(0.5, 0.5, -0.5, -0.5);
    edge.addRoundedRect(inner, cornerRadius - 0.5, cornerRadius - 0.5);
    QPainterPathStroker stroker;
    stroker.setWidth(1.0);
    QLinearGradient stroke(rect.topLeft(), rect.bottomLeft());
    stroke.setColorAt(0.0, white(0.24));
    stroke.setColorAt(0.5, white(0.12));
    stroke.setColorAt(1.0, white(0.04));
    painter.fillPath(cut(stroker.createStroke(edge)), stroke);
    painter.restore();
}
