// What the user is working in: the frontmost application, its window title, the agent it stands
// for and the project folder found for it, with how that folder was found.
#pragma once

#include "AgentType.h"
#include "AppLanguage.h"

#include <QString>
#include <array>
#include <optional>

// Stored and encoded as its raw value.
enum class ContextDetectionSource {
    manualBinding,
    projectConfig,
    terminalDirectory,
    ideWorkspace,
    environment,
    windowTitle,
    unknown,
};

// Iteration order: the declaration order above.
extern const std::array<ContextDetectionSource, 7> allContextDetectionSources;

QString toRawValue(ContextDetectionSource source);
std::optional<ContextDetectionSource> contextDetectionSourceFromRawValue(const QString& raw);
QString displayName(ContextDetectionSource source, AppLanguage language);

// "No workspace identified". Compared by exact equality, so it is the same text in every language.
inline const QString unidentifiedWorkspaceName = QString::fromUtf8("未识别工作区");

struct AgentContext {
    QString frontmostAppName;
    // As the platform gave it, case untouched.
    std::optional<QString> frontmostBundleIdentifier;
    // Empty when it was not read.
    QString frontWindowTitle;
    AgentType agent = AgentType::unknown;
    // An existing directory at the time it was found.
    std::optional<QString> workspacePath;
    QString workspaceName;
    ContextDetectionSource detectionSource = ContextDetectionSource::unknown;

    bool operator==(const AgentContext&) const = default;

    // The shared initial value: nothing detected yet.
    static AgentContext unknown();

    // Which AI web application a browser window shows, judged from its title.
    std::optional<QString> browserWebAIName() const;

    // Tells whether the title was read without ever showing it.
    QString sanitizedWindowTitle(AppLanguage language) const;
    QString sanitizedWindowTitle() const;
};
