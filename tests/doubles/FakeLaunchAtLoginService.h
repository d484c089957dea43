// A login item whose status the test sets, and whose register and unregister calls can fail or
// move the status.
#pragma once

#include "LaunchAtLoginServicing.h"

#include <optional>

class FakeLaunchAtLoginService : public LaunchAtLoginServicing {
public:
    Expected<void> registerLoginItem() override
    {
        ++registerCalls;
        if (statusAfterRegister)
            rawStatus = *statusAfterRegister;
        if (registerError)
            return *registerError;
        return {};
    }

    Expected<void> unregisterLoginItem() override
    {
        ++unregisterCalls;
        if (statusAfterUnregister)
            rawStatus = *statusAfterUnregister;
        if (unregisterError)
            return *unregisterError;
        return {};
    }

    int statusRawValue() const override { return rawStatus; }
    void openSystemSettingsLoginItems() override { ++openSettingsCalls; }

    int rawStatus = 0;
    std::optional<int> statusAfterRegister;
    std::optional<int> statusAfterUnregister;
    std::optional<AppError> registerError;
    std::optional<AppError> unregisterError;
    int registerCalls = 0;
    int unregisterCalls = 0;
    int openSettingsCalls = 0;
};
