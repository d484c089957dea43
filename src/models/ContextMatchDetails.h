// The outcome of matching one context to a workspace: which workspace is active, how it was reached,
// and which binding or project file decided.
#pragma once

#include "AgentContext.h"
#include "ContextBinding.h"
#include "PromptModels.h"

#include <optional>

struct ContextMatchDetails {
    // Absent: only the global prompts show.
    std::optional<PromptWorkspace> workspace;
    ContextDetectionSource detectionSource = ContextDetectionSource::unknown;
    std::optional<QString> projectConfigPath;
    // A project file exists and its trust is missing or out of date.
    bool projectConfigRequiresTrust = false;
    std::optional<AgentWorkspaceBinding> agentBinding;
    std::optional<ContextBinding> legacyBinding;

    bool operator==(const ContextMatchDetails&) const = default;
};
