// Starting Velmora when the user logs in: the desktop's login item for this application.
#pragma once

#include "AppError.h"

enum class LaunchAtLoginStatus { disabled = 0, enabled = 1, requiresApproval = 2, unavailable = 3 };

// The desktop's raw status of the login item: 0 not registered, 1 enabled, 2 requires approval,
// 3 not found (the entry's program is gone); any other value means the state can't be known.
LaunchAtLoginStatus launchAtLoginStatusFromRawValue(int rawValue);

class LaunchAtLoginServicing {
public:
    virtual ~LaunchAtLoginServicing() = default;

    // `register` is a C++ keyword, hence the longer names.
    virtual Expected<void> registerLoginItem() = 0;
    virtual Expected<void> unregisterLoginItem() = 0;
    // Read back from the desktop each time; see launchAtLoginStatusFromRawValue for the values.
    virtual int statusRawValue() const = 0;
    // Shows the user where the desktop keeps its login items.
    virtual void openSystemSettingsLoginItems() = 0;
};
