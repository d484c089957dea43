// The scale a pressed control shrinks to, animated on the press curve over 0.12 s, or set at once
// under reduce motion. The owner repaints on each change and draws at `value()`.
#pragma once

#include <QEasingCurve>
#include <QObject>
#include <QVariantAnimation>
#include <functional>

namespace VelmoraCurves {
// Ease-out: the cubic Bézier (0,0)(0.58,1).
QEasingCurve easeOut();
// The press: the cubic Bézier (0.23,1)(0.32,1).
QEasingCurve press();
} // namespace VelmoraCurves

class VelmoraPressScale : public QObject {
    Q_OBJECT

public:
    static constexpr int durationMilliseconds = 120;

    VelmoraPressScale(std::function<void()> changed, QObject* parent);

    // Moves towards `pressedScale` while pressed, back to 1 otherwise.
    void setPressed(bool pressed, double pressedScale, bool reduceMotion);
    double value() const { return m_value; }

private:
    std::function<void()> m_changed;
    QVariantAnimation m_animation;
    double m_value = 1.0;
};
