#include "LaunchAtLoginServicing.h"

LaunchAtLoginStatus launchAtLoginStatusFromRawValue(int rawValue)
{
    switch (rawValue) {
    case 0:
    case 3: // "not found": nothing would start, so the switch reads off
        return LaunchAtLoginStatus::disabled;
    case 1:
        return LaunchAtLoginStatus::enabled;
    case 2:
        return LaunchAtLoginStatus::requiresApproval;
    default:
        return LaunchAtLoginStatus::unavailable;
    }
}
