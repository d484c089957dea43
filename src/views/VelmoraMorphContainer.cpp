#include "VelmoraMorphContainer.h"

#include "SoftShadow.h"
#include "VelmoraGlassSurface.h"

#include <QEasingCurve>
#include <QGraphicsOpacityEffect>
#include <QPainter>
#include <algorithm>
#include <chrono>

namespace {

QEasingCurve bezier(QPointF first, QPointF second)
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(first, second, QPointF(1.0, 1.0));
    return curve;
}

const QEasingCurve& morphCurve()
{
    static const QEasingCurve curve = bezier(QPointF(0.4, 0.0), QPointF(0.2, 1.0));
    return curve;
}

const QEasingCurve& easeOutCurve()
{
    static const QEasingCurve curve = bezier(QPointF(0.0, 0.0), QPointF(0.58, 1.0));
    return curve;
}

} // namespace

VelmoraMorphContainer::Geometry VelmoraMorphContainer::Geometry::forSize(const QSizeF& size)
{
    Geometry geometry;
    geometry.expandedWidth = std::max(collapsedMinimumWidth, size.width() - 2.0 * expandedHorizontalInset);
    geometry.expandedHeight = std::max(collapsedHeight, size.height() - 2.0 * expandedVerticalInset);
    geometry.collapsedWidth = std::max(collapsedMinimumWidth, size.width() * 0.3);
    geometry.surfaceRect = QRectF((size.width() - geometry.expandedWidth) / 2.0, expandedVerticalInset,
                                  geometry.expandedWidth, geometry.expandedHeight);
    return geometry;
}

double VelmoraMorphContainer::Channel::value(qint64 now) const
{
    if (now < start)
        return from;
    if (duration <= 0 || now >= start + duration)
        return to;
    const double progress = double(now - start) / double(duration);
    const QEasingCurve& easing = curve == MorphAnimation::Curve::morph ? morphCurve() : easeOutCurve();
    return from + (to - from) * easing.valueForProgress(progress);
}

VelmoraMorphContainer::VelmoraMorphContainer(VelmoraMorphState& morphState, QWidget* content,
                                             QWidget* toolbar, QWidget* parent, Clock clock)
    : QWidget(parent), m_morphState(morphState), m_content(content), m_toolbar(toolbar),
      m_clock(std::move(clock))
{
    if (!m_clock) {
        m_clock = [] {
            using namespace std::chrono;
            return qint64(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
        };
    }
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_TranslucentBackground);
    // The surface and everything on it, cut to the mask as one group.
    m_group = new QWidget(this);
    m_group->setAttribute(Qt::WA_NoSystemBackground);
    if (m_content) {
        m_content->setParent(m_group);
        m_contentEffect = new QGraphicsOpacityEffect(m_content);
        m_content->setGraphicsEffect(m_contentEffect);
    }
    if (m_toolbar) {
        m_toolbar->setParent(m_group);
        m_toolbarEffect = new QGraphicsOpacityEffect(m_toolbar);
        m_toolbar->setGraphicsEffect(m_toolbarEffect);
    }

    m_ticker.setTimerType(Qt::PreciseTimer);
    m_ticker.setInterval(8);
    connect(&m_ticker, &QTimer::timeout, this, &VelmoraMorphContainer::advance);

    connect(&m_morphState, &VelmoraMorphState::isExpandedChanged, this,
            [this](bool expanded, const MorphAnimation& animation) {
                animate(expansion, expanded ? 1.0 : 0.0, animation);
            });
    connect(&m_morphState, &VelmoraMorphState::contentVisibleChanged, this,
            [this](bool, const MorphAnimation& animation) { contentVisibilityChanged(animation); });
    connect(&m_morphState, &VelmoraMorphState::toolbarVisibleChanged, this,
            [this](bool, const MorphAnimation& animation) { toolbarVisibilityChanged(animation); });

    showFrame(targetFrame());
    contentVisibilityChanged({});
    toolbarVisibilityChanged({});
}

VelmoraMorphContainer::~VelmoraMorphContainer() = default;

VelmoraMorphContainer::Frame VelmoraMorphContainer::targetFrame() const
{
    const bool reduced = m_accessibilityReduceMotion;
    const bool content = m_morphState.contentVisible();
    const bool toolbar = m_morphState.toolbarVisible();
    Frame frame;
    frame.expansion = m_morphState.isExpanded() ? 1.0 : 0.0;
    frame.contentOpacity = reduced || content ? 1.0 : 0.0;
    frame.contentOffset = reduced || content ? 0.0 : -8.0;
    frame.toolbarOpacity = reduced || toolbar ? 1.0 : 0.0;
    frame.toolbarOffset = reduced || toolbar ? 0.0 : 8.0;
    // Under reduced motion the whole tree fades instead of moving.
    frame.treeOpacity = !reduced || content ? 1.0 : 0.0;
    return frame;
}

void VelmoraMorphContainer::setAccessibilityReduceMotion(bool reduceMotion)
{
    if (m_accessibilityReduceMotion == reduceMotion)
        return;
    m_accessibilityReduceMotion = reduceMotion;
    m_morphState.setAccessibilityReduceMotion(reduceMotion);
    // The fades follow the new setting at once; a running morph of the mask goes on.
    const Frame target = targetFrame();
    animate(contentOpacity, target.contentOpacity, {});
    animate(contentOffset, target.contentOffset, {});
    animate(toolbarOpacity, target.toolbarOpacity, {});
    animate(toolbarOffset, target.toolbarOffset, {});
    animate(treeOpacity, target.treeOpacity, {});
}

void VelmoraMorphContainer::animate(ChannelIndex index, double target, const MorphAnimation& animation)
{
    const qint64 now = m_clock();
    Channel& channel = m_channels[index];
    channel.from = channel.value(now);
    channel.to = target;
    channel.curve = animation.curve;
    channel.start = now + qint64(animation.delay * 1000.0);
    channel.duration = animation.curve == MorphAnimation::Curve::none ? 0 : qint64(animation.duration * 1000.0);
    if (channel.duration == 0)
        channel.from = target;
    advance();
    if (channel.isRunning(now) && !m_ticker.isActive())
        m_ticker.start();
}

void VelmoraMorphContainer::contentVisibilityChanged(const MorphAnimation& animation)
{
    const Frame target = targetFrame();
    animate(contentOpacity, target.contentOpacity, animation);
    animate(contentOffset, target.contentOffset, animation);
    animate(treeOpacity, target.treeOpacity, animation);
    if (m_content)
        m_content->setAttribute(Qt::WA_TransparentForMouseEvents, !m_morphState.contentVisible());
}

void VelmoraMorphContainer::toolbarVisibilityChanged(const MorphAnimation& animation)
{
    const Frame target = targetFrame();
    animate(toolbarOpacity, target.toolbarOpacity, animation);
    animate(toolbarOffset, target.toolbarOffset, animation);
    if (m_toolbar)
        m_toolbar->setAttribute(Qt::WA_TransparentForMouseEvents, !m_morphState.toolbarVisible());
}

void VelmoraMorphContainer::showFrame(const Frame& frame)
{
    const double values[count] = {frame.expansion,      frame.contentOpacity, frame.contentOffset,
                                  frame.toolbarOpacity, frame.toolbarOffset,  frame.treeOpacity};
    for (int index = 0; index < count; ++index)
        m_channels[index] = Channel{values[index], values[index], 0, 0, MorphAnimation::Curve::none};
    m_ticker.stop();
    apply(frame);
}

void VelmoraMorphContainer::advance()
{
    const qint64 now = m_clock();
    Frame frame;
    frame.expansion = m_channels[expansion].value(now);
    frame.contentOpacity = m_channels[contentOpacity].value(now);
    frame.contentOffset = m_channels[contentOffset].value(now);
    frame.toolbarOpacity = m_channels[toolbarOpacity].value(now);
    frame.toolbarOffset = m_channels[toolbarOffset].value(now);
    frame.treeOpacity = m_channels[treeOpacity].value(now);
    apply(frame);
    const bool running =
        std::any_of(std::begin(m_channels), std::end(m_channels), [now](const Channel& c) { return c.isRunning(now); });
    if (!running)
        m_ticker.stop();
}

void VelmoraMorphContainer::apply(const Frame& frame)
{
    const Frame previous = m_frame;
    m_frame = frame;
    const auto place = [](QWidget* widget, QGraphicsOpacityEffect* effect, const QRect& rest, double offset,
                          double opacity) {
        if (!widget)
            return;
        effect->setOpacity(opacity);
        // A fully opaque widget is drawn directly, not through the effect's offscreen pass.
        effect->setEnabled(opacity < 1.0);
        widget->move(rest.topLeft() + QPoint(0, qRound(offset)));
    };
    place(m_content, m_contentEffect, m_contentRest, frame.contentOffset, frame.contentOpacity * frame.treeOpacity);
    place(m_toolbar, m_toolbarEffect, m_toolbarRest, frame.toolbarOffset, frame.toolbarOpacity * frame.treeOpacity);
    if (previous.expansion != frame.expansion) {
        updateGroupMask();
        Q_EMIT outlineChanged();
    }
    if (previous.expansion != frame.expansion || previous.treeOpacity != frame.treeOpacity)
        update();
}

VelmoraMorphMask VelmoraMorphContainer::mask() const
{
    const Geometry geometry = geometryForCurrentSize();
    return VelmoraMorphMask{geometry.expandedWidth, geometry.expandedHeight, geometry.collapsedWidth,
                            collapsedHeight, m_frame.expansion};
}

QPainterPath VelmoraMorphContainer::outline() const
{
    const Geometry geometry = geometryForCurrentSize();
    const QRectF local(0.0, 0.0, geometry.expandedWidth, geometry.expandedHeight);
    return mask().path(local).translated(geometry.surfaceRect.topLeft());
}

QRegion VelmoraMorphContainer::outlineRegion() const
{
    const Geometry geometry = geometryForCurrentSize();
    const QRectF local(0.0, 0.0, geometry.expandedWidth, geometry.expandedHeight);
    return mask().region(local).translated(geometry.surfaceRect.topLeft().toPoint());
}

void VelmoraMorphContainer::updateGroupMask()
{
    const Geometry geometry = geometryForCurrentSize();
    m_group->setMask(mask().region(QRectF(0.0, 0.0, geometry.expandedWidth, geometry.expandedHeight)));
}

void VelmoraMorphContainer::layoutChildren()
{
    const Geometry geometry = geometryForCurrentSize();
    const QRect surface = geometry.surfaceRect.toAlignedRect();
    m_group->setGeometry(surface);
    const int toolbarHeight = m_toolbar ? m_toolbar->sizeHint().height() : 0;
    m_contentRest = QRect(0, 0, surface.width(), std::max(0, surface.height() - toolbarHeight));
    m_toolbarRest = QRect(0, m_contentRest.bottom() + 1, surface.width(), toolbarHeight);
    if (m_content)
        m_content->resize(m_contentRest.size());
    if (m_toolbar)
        m_toolbar->resize(m_toolbarRest.size());
    m_plate = QImage();
    Frame frame = m_frame;
    m_frame.expansion = -1.0; // forces the mask and outline to follow the new size
    apply(frame);
}

void VelmoraMorphContainer::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layoutChildren();
}

void VelmoraMorphContainer::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_morphState.setAccessibilityReduceMotion(m_accessibilityReduceMotion);
}

const QImage& VelmoraMorphContainer::plateImage()
{
    const qreal ratio = devicePixelRatioF();
    if (!m_plate.isNull() && m_plate.devicePixelRatio() == ratio)
        return m_plate;
    const Geometry geometry = geometryForCurrentSize();
    QPainterPath plate;
    plate.addRoundedRect(geometry.surfaceRect, plateCornerRadius, plateCornerRadius);
    // A shadow is cast by what is drawn: the plate's fill is all but clear, and so are its shadows.
    const double fill = 0.01;
    m_plate = SoftShadow::render(plate, size(), QColor::fromRgbF(0, 0, 0, float(0.36 * fill)), 28.0,
                                 QPointF(0, 18), ratio);
    QPainter painter(&m_plate);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawImage(QPointF(0, 0), SoftShadow::render(plate, size(), QColor::fromRgbF(0, 0, 0, float(0.18 * fill)),
                                                        6.0, QPointF(0, 3), ratio));
    painter.fillPath(plate, QColor::fromRgbF(0, 0, 0, float(fill)));
    return m_plate;
}

void VelmoraMorphContainer::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const double progress = std::clamp(m_frame.expansion, 0.0, 1.0);
    if (progress * m_frame.treeOpacity > 0.0) {
        painter.setOpacity(progress * m_frame.treeOpacity);
        painter.drawImage(QPointF(0, 0), plateImage());
    }
    painter.setOpacity(m_frame.treeOpacity);
    VelmoraGlassSurface{surfaceCornerRadius}.paint(painter, geometryForCurrentSize().surfaceRect, outline());
}
