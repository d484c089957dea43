// Draws the morph: a shadow plate and the glass surface, with the content above the toolbar, all cut
// to the morph mask, which grows from a capsule at the top centre to the full surface. The content is
// laid out once at the container's full size; during a morph only the mask, the opacities and the
// small vertical offsets change, so nothing inside is laid out again.
#pragma once

#include "VelmoraMorphMask.h"
#include "VelmoraMorphState.h"

#include <QImage>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <functional>

class QGraphicsOpacityEffect;

class VelmoraMorphContainer : public QWidget {
    Q_OBJECT

public:
    static constexpr double collapsedHeight = 28.0;
    static constexpr double collapsedMinimumWidth = 124.0;
    static constexpr double expandedHorizontalInset = 18.0;
    static constexpr double expandedVerticalInset = 10.0;
    static constexpr double plateCornerRadius = 36.0;
    static constexpr double surfaceCornerRadius = 30.0;

    // The sizes the container works out from the size it is given.
    struct Geometry {
        double expandedWidth = 0.0;
        double expandedHeight = 0.0;
        double collapsedWidth = 0.0;
        QRectF surfaceRect; // where the surface stands at full size, in the container

        bool operator==(const Geometry&) const = default;
        static Geometry forSize(const QSizeF& size);
    };

    // The values one drawn frame uses; animations move them towards what the state says.
    struct Frame {
        double expansion = 0.0;
        double contentOpacity = 0.0;
        double contentOffset = -8.0;
        double toolbarOpacity = 0.0;
        double toolbarOffset = 8.0;
        double treeOpacity = 1.0;

        bool operator==(const Frame&) const = default;
    };

    // Milliseconds on a monotonic clock; absent: the process's own.
    using Clock = std::function<qint64()>;

    // Takes `content` and `toolbar` (either may be null) as children.
    VelmoraMorphContainer(VelmoraMorphState& morphState, QWidget* content, QWidget* toolbar,
                          QWidget* parent = nullptr, Clock clock = {});
    ~VelmoraMorphContainer() override;

    VelmoraMorphState& morphState() const { return m_morphState; }
    QWidget* content() const { return m_content; }
    QWidget* toolbar() const { return m_toolbar; }

    // The desktop's reduce-motion setting, as the environment of this view.
    void setAccessibilityReduceMotion(bool reduceMotion);
    bool accessibilityReduceMotion() const { return m_accessibilityReduceMotion; }

    Geometry geometryForCurrentSize() const { return Geometry::forSize(QSizeF(size())); }
    const Frame& frame() const { return m_frame; }
    bool isAnimating() const { return m_ticker.isActive(); }
    VelmoraMorphMask mask() const;
    // The mask's shape in the container: where the surface is drawn now.
    QPainterPath outline() const;
    // The pixels of the outline: what a window that can't blend is cut to.
    QRegion outlineRegion() const;

    // Draws this frame until the state changes again; for rendering a chosen moment.
    void showFrame(const Frame& frame);
    // Moves the running animations to the clock's present.
    void advance();

Q_SIGNALS:
    // The mask moved: a window that can't blend cuts its shape to `outline()` again.
    void outlineChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    struct Channel {
        double from = 0.0;
        double to = 0.0;
        qint64 start = 0;
        qint64 duration = 0;
        MorphAnimation::Curve curve = MorphAnimation::Curve::none;

        double value(qint64 now) const;
        bool isRunning(qint64 now) const { return now < start + duration; }
    };
    enum ChannelIndex { expansion, contentOpacity, contentOffset, toolbarOpacity, toolbarOffset, treeOpacity, count };

    void animate(ChannelIndex index, double target, const MorphAnimation& animation);
    void contentVisibilityChanged(const MorphAnimation& animation);
    void toolbarVisibilityChanged(const MorphAnimation& animation);
    void apply(const Frame& frame);
    void layoutChildren();
    void updateGroupMask();
    Frame targetFrame() const;
    const QImage& plateImage();

    VelmoraMorphState& m_morphState;
    QPointer<QWidget> m_content;
    QPointer<QWidget> m_toolbar;
    QWidget* m_group = nullptr;
    QGraphicsOpacityEffect* m_contentEffect = nullptr;
    QGraphicsOpacityEffect* m_toolbarEffect = nullptr;
    Clock m_clock;
    QTimer m_ticker;
    Channel m_channels[count];
    Frame m_frame;
    bool m_accessibilityReduceMotion = false;
    QRect m_contentRest;
    QRect m_toolbarRest;
    QImage m_plate; // shadow plate with both shadows, made again when the size changes
};
