// Decides which workspace a context selects, in a fixed order of precedence: an agent binding; then,
// with advanced matching on, a legacy binding, a project file, the detected folder, and what the title
// mentions. A value assembled afresh from the store's state for each question; it keeps nothing.
#pragma once

#include "AgentContext.h"
#include "ContextBinding.h"
#include "ContextMatchDetails.h"
#include "PromptModels.h"

#include <QList>
#include <functional>
#include <optional>

class ContextBindingStore;

struct PromptMatchingService {
    // The store's user workspaces, in the store's order.
    QList<PromptWorkspace> workspaces;
    // Must outlive the value; null counts as a store without bindings.
    const ContextBindingStore* bindingStore = nullptr;
    bool advancedAutomaticMatchingEnabled = false;
    bool projectConfigsEnabled = true;
    // The file is in the trust list and its bytes today have the recorded hash.
    std::function<bool(const QString& configPath)> isProjectConfigTrusted;
    std::function<std::optional<QString>(const AgentContext&)> projectConfigPath;
    std::function<std::optional<PromptWorkspace>(const AgentContext&, const QString& configPath)>
        projectWorkspace;

    ContextMatchDetails matchDetails(const AgentContext& context) const;
    // The agent's bindings, in stored order, that point at an existing workspace.
    QList<AgentWorkspaceBinding> validAgentBindings(const AgentContext& context) const;
    // The user's last choice by hand, else the default, else the oldest binding.
    std::optional<AgentWorkspaceBinding>
    selectedAgentBinding(const AgentContext& context, const QList<AgentWorkspaceBinding>& bindings) const;

private:
    const PromptWorkspace* workspace(const QString& id) const;
};
