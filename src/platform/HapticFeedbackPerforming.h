// The short tap a copy confirms itself with on hardware that can give one.
#pragma once

class HapticFeedbackPerforming {
public:
    virtual ~HapticFeedbackPerforming() = default;
    // The generic pattern, now.
    virtual void perform() = 0;
};
