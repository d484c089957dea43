// Finds the project folder a terminal shows in its window title: an absolute or home-relative path,
// quoted or among the title's words. Text work only; whether the folder exists is the caller's test.
#pragma once

#include <QString>
#include <optional>

class TerminalContextDetector {
public:
    TerminalContextDetector() = delete;

    static bool isTerminalApp(const QString& appName);
    static std::optional<QString> workspacePath(const QString& windowTitle);

private:
    static std::optional<QString> cleanedCandidate(QString candidate);
};
