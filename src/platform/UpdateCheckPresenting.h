// The window of a check the user asked for: it shows that the check runs, then how it ended.
#pragma once

#include "UpdateCheckModels.h"

class UpdateCheckPresenting {
public:
    virtual ~UpdateCheckPresenting() = default;

    // Shows the window in its checking state, or brings it forward.
    virtual void presentChecking() = 0;
    // Shows how the check ended, if the window is still open.
    virtual void presentOutcome(const UpdateCheckOutcome& outcome) = 0;
};
