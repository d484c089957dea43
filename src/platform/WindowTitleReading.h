// Reads the title of the frontmost application's front window, on demand, on the main thread.
#pragma once

#include <QString>
#include <optional>

struct WindowTitleReadResult {
    // Empty when the application has no front window or the title could not be read.
    QString title;
    // The desktop refused for want of the user's permission to automate other applications.
    bool needsAutomationPermission = false;
    // Localised text of a failure to read; absent on success.
    std::optional<QString> errorMessage;

    bool operator==(const WindowTitleReadResult&) const = default;
};

class WindowTitleReading {
public:
    virtual ~WindowTitleReading() = default;

    virtual WindowTitleReadResult readFrontWindowTitle() = 0;
};
