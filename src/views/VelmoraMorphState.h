// The state that drives the panel's open and close: whether the surface is at full size, whether
// content and toolbar show and take input, whether a sheet holds the panel open, and the context it
// renders. Every change is published with the animation it is to be drawn with, so the timing tables
// hold without a view. Main thread only.
#pragma once

#include "AgentContext.h"

#include <QObject>
#include <functional>
#include <optional>

// How a published change is to be drawn: no animation, the morph curve, or ease-out, over a duration
// after a delay (seconds).
struct MorphAnimation {
    enum class Curve { none, morph, easeOut };

    Curve curve = Curve::none;
    double duration = 0.0;
    double delay = 0.0;

    bool operator==(const MorphAnimation&) const = default;

    static MorphAnimation none() { return {}; }
    static MorphAnimation morph(double duration, double delay = 0.0) { return {Curve::morph, duration, delay}; }
    static MorphAnimation easeOut(double duration, double delay = 0.0)
    {
        return {Curve::easeOut, duration, delay};
    }
};

class VelmoraMorphState : public QObject {
    Q_OBJECT

public:
    // Runs `work` on the main thread after `seconds`; it can't be cancelled.
    using Scheduler = std::function<void(double seconds, std::function<void()> work)>;

    // Absent: a single-shot timer on this object.
    explicit VelmoraMorphState(Scheduler scheduler = {}, QObject* parent = nullptr);

    bool isExpanded() const { return m_isExpanded; }
    bool contentVisible() const { return m_contentVisible; }
    bool toolbarVisible() const { return m_toolbarVisible; }
    bool isInteractionLocked() const { return m_isInteractionLocked; }
    const std::optional<AgentContext>& pinnedContext() const { return m_pinnedContext; }
    bool accessibilityReduceMotion() const { return m_accessibilityReduceMotion; }
    qint64 transitionGeneration() const { return m_transitionGeneration; }

    // Each publishes only a real change, with the animation given.
    void setExpanded(bool expanded, const MorphAnimation& animation = {});
    void setContentVisible(bool visible, const MorphAnimation& animation = {});
    void setToolbarVisible(bool visible, const MorphAnimation& animation = {});
    void setInteractionLocked(bool locked);
    void setPinnedContext(const std::optional<AgentContext>& context);
    void setAccessibilityReduceMotion(bool reduceMotion);
    // The panel controller's reset of a hidden panel counts as a transition too.
    void advanceTransitionGeneration() { ++m_transitionGeneration; }

    void open(bool reduceMotion);
    // `completion` runs on the main thread once the close has been drawn, whatever happened meanwhile.
    void close(bool reduceMotion, std::function<void()> completion);

Q_SIGNALS:
    void isExpandedChanged(bool expanded, const MorphAnimation& animation);
    void contentVisibleChanged(bool visible, const MorphAnimation& animation);
    void toolbarVisibleChanged(bool visible, const MorphAnimation& animation);
    void isInteractionLockedChanged(bool locked);
    void pinnedContextChanged();
    void accessibilityReduceMotionChanged(bool reduceMotion);

private:
    Scheduler m_scheduler;
    bool m_isExpanded = false;
    bool m_contentVisible = false;
    bool m_toolbarVisible = false;
    bool m_isInteractionLocked = false;
    std::optional<AgentContext> m_pinnedContext;
    bool m_accessibilityReduceMotion = false;
    qint64 m_transitionGeneration = 0;
};
