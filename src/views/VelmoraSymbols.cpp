#include "VelmoraSymbols.h"

#include <QHash>
#include <QPainter>
#include <QSvgRenderer>
#include <cmath>

using namespace Qt::StringLiterals;

QImage VelmoraSymbols::image(const QString& name, double pixelSize, const QColor& color,
                             qreal devicePixelRatio)
{
    const int side = qMax(1, int(std::ceil(pixelSize * devicePixelRatio)));
    const QString key = u"%1/%2/%3"_s.arg(name).arg(side).arg(color.rgba(), 0, 16);
    static QHash<QString, QImage> cache;
    if (const auto found = cache.constFind(key); found != cache.constEnd())
        return *found;

    QSvgRenderer renderer(u":/icons/%1.svg"_s.arg(name));
    QImage result;
    if (renderer.isValid()) {
        result = QImage(side, side, QImage::Format_ARGB32_Premultiplied);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(0, 0, side, side));
        // The drawing's coverage, in the one colour asked for.
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(result.rect(), color);
        painter.end();
        result.setDevicePixelRatio(devicePixelRatio);
    }
    cache.insert(key, result);
    return result;
}

void VelmoraSymbols::paint(QPainter& painter, const QString& name, const QRectF& box, double pixelSize,
                           const QColor& color)
{
    const QImage symbol = image(name, pixelSize, color, painter.device()->devicePixelRatioF());
    if (symbol.isNull())
        return;
    const QSizeF size = symbol.deviceIndependentSize();
    painter.drawImage(QPointF(box.center().x() - size.width() / 2.0, box.center().y() - size.height() / 2.0),
                      symbol);
}
