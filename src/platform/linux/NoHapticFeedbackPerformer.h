// Linux desktops offer no haptic feedback: the tap is left out, while the preference is kept.
#pragma once

#include "HapticFeedbackPerforming.h"

class NoHapticFeedbackPerformer final : public HapticFeedbackPerforming {
public:
    void perform() override {}
};
