#include "SoftShadow.h"

#include <QPainter>
#include <cmath>
#include <vector>

namespace {

// One box blur of the alpha channel along rows or columns, by running sums: linear in the pixels.
void boxBlur(std::vector<int>& alpha, std::vector<int>& scratch, int width, int height, int radius,
             bool horizontal)
{
    const int lines = horizontal ? height : width;
    const int length = horizontal ? width : height;
    const int window = 2 * radius + 1;
    const auto at = [&](int line, int position) -> size_t {
        return horizontal ? size_t(line) * size_t(width) + size_t(position)
                          : size_t(position) * size_t(width) + size_t(line);
    };
    for (int line = 0; line < lines; ++line) {
        int sum = 0;
        for (int position = 0; position < qMin(radius, length); ++position)
            sum += alpha[at(line, position)];
        for (int position = 0; position < length; ++position) {
            const int entering = position + radius;
            const int leaving = position - radius - 1;
            if (entering < length)
                sum += alpha[at(line, entering)];
            if (leaving >= 0)
                sum -= alpha[at(line, leaving)];
            scratch[at(line, position)] = sum / window;
        }
    }
    alpha.swap(scratch);
}

} // namespace

QImage SoftShadow::render(const QPainterPath& shape, const QSize& size, const QColor& color, double radius,
                          const QPointF& offset, qreal devicePixelRatio)
{
    QImage image(size * devicePixelRatio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    if (image.isNull())
        return image;
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(shape.translated(offset), QColor(0, 0, 0, 255));
    }
    const int width = image.width();
    const int height = image.height();
    std::vector<int> alpha(size_t(width) * size_t(height));
    for (int y = 0; y < height; ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < width; ++x)
            alpha[size_t(y) * size_t(width) + size_t(x)] = qAlpha(line[x]);
    }
    // A shadow's radius spans about two standard deviations; three box passes of this width come
    // close to a Gaussian of that deviation.
    const double sigma = radius * devicePixelRatio / 2.0;
    const int box = qMax(0, int(std::lround((std::sqrt(4.0 * sigma * sigma + 1.0) - 1.0) / 2.0)));
    if (box > 0) {
        std::vector<int> scratch(alpha.size());
        for (int round = 0; round < 3; ++round) {
            boxBlur(alpha, scratch, width, height, box, true);
            boxBlur(alpha, scratch, width, height, box, false);
        }
    }
    const QRgb base = color.rgba();
    for (int y = 0; y < height; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x) {
            const int a = alpha[size_t(y) * size_t(width) + size_t(x)] * qAlpha(base) / 255;
            line[x] = qPremultiply(qRgba(qRed(base), qGreen(base), qBlue(base), a));
        }
    }
    return image;
}
