// The agents, IDEs, terminals and browsers the system tells apart, stored by raw value.
#pragma once

#include "AppLanguage.h"

#include <QList>
#include <QString>
#include <array>
#include <optional>

enum class AgentType {
    antigravity,
    antigravityIDE,
    codex,
    claudeDesktop,
    claudeCode,
    cursor,
    vscode,
    ghostty,
    terminal,
    hermes,
    windsurf,
    trae,
    zed,
    jetbrains,
    kiro,
    kimi,
    openCode,
    zcode,
    chrome,
    arc,
    safari,
    edge,
    firefox,
    brave,
    unknown,
};

// Iteration order: the declaration order above.
extern const std::array<AgentType, 25> allAgentTypes;

QString toRawValue(AgentType agent);
// A text that is no raw value gives nothing: decoding a value that holds it fails as a whole.
std::optional<AgentType> agentTypeFromRawValue(const QString& raw);

// The name shown for the agent; none of these names is translated, so every language gets the same.
QString displayName(AgentType agent, AppLanguage language);
// The application name and bundle identifier written into a binding made for the agent alone.
QString defaultAppName(AgentType agent);
std::optional<QString> defaultBundleIdentifier(AgentType agent);
bool isBrowser(AgentType agent);

// A stable sort by display name, ascending, compared case-insensitively under the user's locale.
QList<AgentType> sortedByDisplayName(QList<AgentType> agents);
// What the user can bind to a workspace: everything but claudeCode and unknown, by display name.
QList<AgentType> bindableAgentTypes();

// The terminal test on an application name (lower-cased, substring), shared by the classifier and the
// terminal-folder detection so that both agree on what a terminal is.
bool isTerminalApplicationName(const QString& appName);

// Classifies the frontmost application: by bundle identifier first, by name only when the identifier
// is not recognised. The window title is accepted for the caller's convenience and never consulted.
AgentType inferAgentType(const std::optional<QString>& bundleIdentifier, const QString& appName,
                         const QString& windowTitle = {});
