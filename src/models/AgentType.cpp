#include "AgentType.h"

using namespace Qt::StringLiterals;

const std::array<AgentType, 25> allAgentTypes = {
    AgentType::antigravity, AgentType::antigravityIDE, AgentType::codex,    AgentType::claudeDesktop,
    AgentType::claudeCode,  AgentType::cursor,         AgentType::vscode,   AgentType::ghostty,
    AgentType::terminal,    AgentType::hermes,         AgentType::windsurf, AgentType::trae,
    AgentType::zed,         AgentType::jetbrains,      AgentType::kiro,     AgentType::kimi,
    AgentType::openCode,    AgentType::zcode,          AgentType::chrome,   AgentType::arc,
    AgentType::safari,      AgentType::edge,           AgentType::firefox,  AgentType::brave,
    AgentType::unknown,
};

QString toRawValue(AgentType agent)
{
    switch (agent) {
    case AgentType::antigravity:
        return u"antigravity"_s;
    case AgentType::antigravityIDE:
        return u"antigravity-ide"_s;
    case AgentType::codex:
        return u"codex"_s;
    case AgentType::claudeDesktop:
        return u"claude-desktop"_s;
    case AgentType::claudeCode:
        return u"claude-code"_s;
    case AgentType::cursor:
        return u"cursor"_s;
    case AgentType::vscode:
        return u"vscode"_s;
    case AgentType::ghostty:
        return u"ghostty"_s;
    case AgentType::terminal:
        return u"terminal"_s;
    case AgentType::hermes:
        return u"hermes"_s;
    case AgentType::windsurf:
        return u"windsurf"_s;
    case AgentType::trae:
        return u"trae"_s;
    case AgentType::zed:
        return u"zed"_s;
    case AgentType::jetbrains:
        return u"jetbrains"_s;
    case AgentType::kiro:
        return u"kiro"_s;
    case AgentType::kimi:
        return u"kimi"_s;
    case AgentType::openCode:
        return u"opencode"_s;
    case AgentType::zcode:
        return u"zcode"_s;
    case AgentType::chrome:
        return u"chrome"_s;
    case AgentType::arc:
        return u"arc"_s;
    case AgentType::safari:
        return u"safari"_s;
    case AgentType::edge:
        return u"edge"_s;
    case AgentType::firefox:
        return u"firefox"_s;
    case AgentType::brave:
        return u"brave"_s;
    case AgentType::unknown:
        return u"unknown"_s;
    }
    return u"unknown"_s;
}

std::optional<AgentType> agentTypeFromRawValue(const QString& raw)
{
    for (AgentType agent : allAgentTypes) {
        if (toRawValue(agent) == raw)
            return agent;
    }
    return std::nullopt;
}
