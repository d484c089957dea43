// The small drawn capsule that is the whole face of the status item: a light outer capsule with a
// coloured bar inside, a little brighter while the pointer rests on it. It only draws and tracks the
// pointer; every click passes through to the button beneath.
#pragma once

#include <QColor>
#include <QImage>
#include <QPainterPath>
#include <QPointer>
#include <QWidget>
#include <functional>

class StatusItemCapsuleView : public QWidget {
    Q_OBJECT

public:
    // What each of the two layers draws with; laid out and coloured as the item requires.
    struct BackgroundEffect {
        QRectF frame;
        double cornerRadius = 0.0;
        double borderWidth = 1.0;
        QColor borderColor;
        QColor backgroundColor;
    };
    struct InnerCapsule {
        QRectF frame;
        double cornerRadius = 0.0;
        QColor backgroundColor;
        QColor shadowColor;
        double shadowRadius = 4.0;
        double shadowOpacity = 0.0;
        QPointF shadowOffset;
    };

    explicit StatusItemCapsuleView(const QRect& frame, QWidget* parent = nullptr);

    std::function<void()> onPointerEntered;
    std::function<void()> onPointerExited;

    void setHovered(bool hovered);
    bool isHovered() const { return m_hovered; }

    const BackgroundEffect& backgroundEffect() const { return m_backgroundEffect; }
    const InnerCapsule& innerCapsule() const { return m_innerCapsule; }
    // The outer capsule's shape: what a window without transparency is cut to.
    QPainterPath outline() const;

    // Follows the pointer over the widget beneath, which gets every click.
    void updateTrackingAreas();

protected:
    void layout();
    void mouseEntered();
    void mouseExited();

    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QImage shadowImage(qreal devicePixelRatio) const;

    BackgroundEffect m_backgroundEffect;
    InnerCapsule m_innerCapsule;
    QPointer<QWidget> m_pointerTrackingArea;
    bool m_hovered = false;
    mutable QImage m_shadowCache; // the blurred glow of the bar, made again when its looks change
    mutable double m_shadowCacheOpacity = -1.0;
};
