// The agents, IDEs, terminals and browsers the system tells apart, stored by raw value.
#pragma once

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
