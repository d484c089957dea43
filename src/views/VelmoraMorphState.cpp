#include "VelmoraMorphState.h"

#include <QTimer>
#include <cmath>

VelmoraMorphState::VelmoraMorphState(Scheduler scheduler, QObject* parent)
    : QObject(parent), m_scheduler(std::move(scheduler))
{
    if (!m_scheduler) {
        m_scheduler = [this](double seconds, std::function<void()> work) {
            QTimer::singleShot(int(std::lround(seconds * 1000.0)), Qt::PreciseTimer, this, std::move(work));
        };
    }
}

void VelmoraMorphState::setExpanded(bool expanded, const MorphAnimation& animation)
{
    if (m_isExpanded == expanded)
        return;
    m_isExpanded = expanded;
    Q_EMIT isExpandedChanged(expanded, animation);
}

void VelmoraMorphState::setContentVisible(bool visible, const MorphAnimation& animation)
{
    if (m_contentVisible == visible)
        return;
    m_contentVisible = visible;
    Q_EMIT contentVisibleChanged(visible, animation);
}

void VelmoraMorphState::setToolbarVisible(bool visible, const MorphAnimation& animation)
{
    if (m_toolbarVisible == visible)
        return;
    m_toolbarVisible = visible;
    Q_EMIT toolbarVisibleChanged(visible, animation);
}

void VelmoraMorphState::setInteractionLocked(bool locked)
{
    if (m_isInteractionLocked == locked)
        return;
    m_isInteractionLocked = locked;
    Q_EMIT isInteractionLockedChanged(locked);
}

void VelmoraMorphState::setPinnedContext(const std::optional<AgentContext>& context)
{
    if (m_pinnedContext == context)
        return;
    m_pinnedContext = context;
    Q_EMIT pinnedContextChanged();
}

void VelmoraMorphState::setAccessibilityReduceMotion(bool reduceMotion)
{
    if (m_accessibilityReduceMotion == reduceMotion)
        return;
    m_accessibilityReduceMotion = reduceMotion;
    Q_EMIT accessibilityReduceMotionChanged(reduceMotion);
}

void VelmoraMorphState::open(bool reduceMotion)
{
    ++m_transitionGeneration;
    setAccessibilityReduceMotion(reduceMotion);
    if (reduceMotion) {
        setExpanded(true);
        setContentVisible(true, MorphAnimation::easeOut(0.1));
        setToolbarVisible(true, MorphAnimation::easeOut(0.1));
        return;
    }
    // All three at once; the delays belong to the drawing, the values change now.
    setExpanded(true, MorphAnimation::morph(0.32));
    setContentVisible(true, MorphAnimation::easeOut(0.1, 0.06));
    setToolbarVisible(true, MorphAnimation::easeOut(0.1, 0.12));
}

void VelmoraMorphState::close(bool reduceMotion, std::function<void()> completion)
{
    const qint64 generation = ++m_transitionGeneration;
    setAccessibilityReduceMotion(reduceMotion);
    setContentVisible(false, MorphAnimation::easeOut(0.1));
    setToolbarVisible(false, MorphAnimation::easeOut(0.1));
    if (!reduceMotion) {
        setExpanded(false, MorphAnimation::morph(0.24, 0.04));
        // The caller tests its own generation; this one runs the completion regardless.
        m_scheduler(0.3, [completion = std::move(completion)] {
            if (completion)
                completion();
        });
        return;
    }
    m_scheduler(0.1, [this, generation, completion = std::move(completion)] {
        if (m_transitionGeneration == generation)
            setExpanded(false);
        if (completion)
            completion();
    });
}
