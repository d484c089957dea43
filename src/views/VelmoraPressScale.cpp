#include "VelmoraPressScale.h"

#include <QPointF>

namespace {

QEasingCurve bezier(QPointF first, QPointF second)
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(first, second, QPointF(1.0, 1.0));
    return curve;
}

} // namespace

QEasingCurve VelmoraCurves::easeOut()
{
    return bezier(QPointF(0.0, 0.0), QPointF(0.58, 1.0));
}

QEasingCurve VelmoraCurves::press()
{
    return bezier(QPointF(0.23, 1.0), QPointF(0.32, 1.0));
}

VelmoraPressScale::VelmoraPressScale(std::function<void()> changed, QObject* parent)
    : QObject(parent), m_changed(std::move(changed))
{
    m_animation.setDuration(durationMilliseconds);
    m_animation.setEasingCurve(VelmoraCurves::press());
    connect(&m_animation, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_value = value.toDouble();
        m_changed();
    });
}

void VelmoraPressScale::setPressed(bool pressed, double pressedScale, bool reduceMotion)
{
    const double target = pressed && !reduceMotion ? pressedScale : 1.0;
    m_animation.stop();
    if (qFuzzyCompare(target, m_value))
        return;
    if (reduceMotion) {
        m_value = target;
        m_changed();
        return;
    }
    m_animation.setStartValue(m_value);
    m_animation.setEndValue(target);
    m_animation.start();
}
