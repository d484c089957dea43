#include "StatusItemCapsuleView.h"

#include "SoftShadow.h"
#include "VelmoraDesignTokens.h"

#include <QEvent>
#include <QPainter>
#include <cmath>

namespace {

// The light material of the outer capsule, flattened: there is no live blur behind windows here.
const QColor materialFill = QColor::fromRgbF(1.0, 1.0, 1.0, 0.6);

QColor white(double alpha)
{
    return QColor::fromRgbF(1.0, 1.0, 1.0, float(alpha));
}

QPainterPath roundedRect(const QRectF& rect, double radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

} // namespace

StatusItemCapsuleView::StatusItemCapsuleView(const QRect& frame, QWidget* parent) : QWidget(parent)
{
    setGeometry(frame);
    // Clicks go to the button beneath, as if the capsule weren't there.
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);

    m_backgroundEffect.borderWidth = 1.0;
    const QColor accent = VelmoraDesignTokens::Brand::accent();
    m_innerCapsule.backgroundColor = QColor::fromRgbF(accent.redF(), accent.greenF(), accent.blueF(), 0.98f);
    m_innerCapsule.shadowColor = accent;
    m_innerCapsule.shadowRadius = 4.0;
    m_innerCapsule.shadowOffset = QPointF(0.0, 0.0);
    setHovered(false);
    layout();
    updateTrackingAreas();
}

void StatusItemCapsuleView::setHovered(bool hovered)
{
    m_hovered = hovered;
    m_backgroundEffect.borderColor = white(hovered ? 0.55 : 0.35);
    m_backgroundEffect.backgroundColor = white(hovered ? 0.08 : 0.0);
    m_innerCapsule.shadowOpacity = hovered ? 0.58 : 0.38;
    update();
}

void StatusItemCapsuleView::layout()
{
    const QPointF mid = QRectF(rect()).center();
    // Whole pixels for the outer capsule keep its border sharp; the bar may sit between pixels.
    const QRectF outer(mid.x() - 16.0, mid.y() - 8.0, 32.0, 16.0);
    const QPointF topLeft(std::floor(outer.left()), std::floor(outer.top()));
    const QPointF bottomRight(std::ceil(outer.right()), std::ceil(outer.bottom()));
    m_backgroundEffect.frame = QRectF(topLeft, bottomRight);
    m_backgroundEffect.cornerRadius = m_backgroundEffect.frame.height() / 2.0;
    m_innerCapsule.frame = QRectF(mid.x() - 8.0, mid.y() - 3.0, 16.0, 6.0);
    m_innerCapsule.cornerRadius = m_innerCapsule.frame.height() / 2.0;
    m_shadowCache = QImage();
}

QPainterPath StatusItemCapsuleView::outline() const
{
    return roundedRect(m_backgroundEffect.frame, m_backgroundEffect.cornerRadius);
}

void StatusItemCapsuleView::updateTrackingAreas()
{
    if (m_pointerTrackingArea)
        m_pointerTrackingArea->removeEventFilter(this);
    m_pointerTrackingArea = parentWidget();
    if (m_pointerTrackingArea)
        m_pointerTrackingArea->installEventFilter(this);
}

void StatusItemCapsuleView::mouseEntered()
{
    if (onPointerEntered)
        onPointerEntered();
}

void StatusItemCapsuleView::mouseExited()
{
    if (onPointerExited)
        onPointerExited();
}

bool StatusItemCapsuleView::event(QEvent* event)
{
    if (event->type() == QEvent::ParentChange)
        updateTrackingAreas();
    return QWidget::event(event);
}

bool StatusItemCapsuleView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_pointerTrackingArea) {
        if (event->type() == QEvent::Enter)
            mouseEntered();
        else if (event->type() == QEvent::Leave)
            mouseExited();
    }
    return QWidget::eventFilter(watched, event);
}

void StatusItemCapsuleView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layout();
}

QImage StatusItemCapsuleView::shadowImage(qreal devicePixelRatio) const
{
    if (m_shadowCache.isNull() || m_shadowCacheOpacity != m_innerCapsule.shadowOpacity ||
        m_shadowCache.devicePixelRatio() != devicePixelRatio) {
        QColor shadow = m_innerCapsule.shadowColor;
        shadow.setAlphaF(float(m_innerCapsule.shadowOpacity));
        m_shadowCache = SoftShadow::render(roundedRect(m_innerCapsule.frame, m_innerCapsule.cornerRadius),
                                           size(), shadow, m_innerCapsule.shadowRadius,
                                           m_innerCapsule.shadowOffset, devicePixelRatio);
        m_shadowCacheOpacity = m_innerCapsule.shadowOpacity;
    }
    return m_shadowCache;
}

void StatusItemCapsuleView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath outer = outline();
    painter.fillPath(outer, materialFill);
    painter.fillPath(outer, m_backgroundEffect.backgroundColor);
    // The border lies inside the edge, as a layer's border does.
    const double inset = m_backgroundEffect.borderWidth / 2.0;
    painter.setPen(QPen(m_backgroundEffect.borderColor, m_backgroundEffect.borderWidth));
    painter.drawPath(roundedRect(m_backgroundEffect.frame.adjusted(inset, inset, -inset, -inset),
                                 m_backgroundEffect.cornerRadius - inset));
    painter.drawImage(QPointF(0, 0), shadowImage(devicePixelRatioF()));
    painter.fillPath(roundedRect(m_innerCapsule.frame, m_innerCapsule.cornerRadius),
                     m_innerCapsule.backgroundColor);
}
