#include "PromptMatchingService.h"

#include "ContextBindingStore.h"
#include "WorkspaceMatcher.h"

#include <algorithm>

const PromptWorkspace* PromptMatchingService::workspace(const QString& id) const
{
    const auto found = std::find_if(workspaces.cbegin(), workspaces.cend(),
                                    [&](const PromptWorkspace& candidate) { return candidate.id == id; });
    return found == workspaces.cend() ? nullptr : &*found;
}

QList<AgentWorkspaceBinding> PromptMatchingService::validAgentBindings(const AgentContext& context) const
{
    if (!bindingStore)
        return {};
    QList<AgentWorkspaceBinding> valid = bindingStore->agentWorkspaceBindings(context);
    // A binding to a deleted workspace is passed over here and stays in the file.
    valid.removeIf([&](const AgentWorkspaceBinding& binding) { return !workspace(binding.workspaceID); });
    return valid;
}

std::optional<AgentWorkspaceBinding>
PromptMatchingService::selectedAgentBinding(const AgentContext& context,
                                            const QList<AgentWorkspaceBinding>& bindings) const
{
    if (bindings.isEmpty())
        return std::nullopt;
    // What the user last chose by hand beats the default.
    if (bindingStore) {
        if (const std::optional<QString> lastSelected = bindingStore->lastSelectedWorkspaceID(context)) {
            for (const AgentWorkspaceBinding& binding : bindings) {
                if (binding.workspaceID == *lastSelected)
                    return binding;
            }
        }
    }
    for (const AgentWorkspaceBinding& binding : bindings) {
        if (binding.isDefault)
            return binding;
    }
    return bindings.first();
}

ContextMatchDetails PromptMatchingService::matchDetails(const AgentContext& context) const
{
    ContextMatchDetails details;

    if (const auto selected = selectedAgentBinding(context, validAgentBindings(context))) {
        if (const PromptWorkspace* bound = workspace(selected->workspaceID)) {
            details.workspace = *bound;
            details.detectionSource = ContextDetectionSource::manualBinding;
            details.agentBinding = selected;
            return details;
        }
    }

    // Everything below is advanced matching: with the switch off only agent bindings select.
    if (!advancedAutomaticMatchingEnabled)
        return details;

    if (bindingStore) {
        if (const std::optional<ContextBinding> legacy = bindingStore->binding(context)) {
            if (const PromptWorkspace* bound = workspace(legacy->workspaceID)) {
                details.workspace = *bound;
                details.detectionSource = ContextDetectionSource::manualBinding;
                details.legacyBinding = legacy;
                return details;
            }
        }
    }

    if (projectConfigsEnabled && projectConfigPath) {
        if (const std::optional<QString> configPath = projectConfigPath(context)) {
            // An untrusted project file ends the search: it shadows path and title matches, so the
            // user is asked rather than silently given another workspace.
            if (!isProjectConfigTrusted || !isProjectConfigTrusted(*configPath)) {
                details.detectionSource = ContextDetectionSource::projectConfig;
                details.projectConfigPath = configPath;
                details.projectConfigRequiresTrust = true;
                return details;
            }
            if (projectWorkspace) {
                if (std::optional<PromptWorkspace> project = projectWorkspace(context, *configPath)) {
                    details.projectConfigPath = project->fileURL;
                    details.workspace = std::move(project);
                    details.detectionSource = ContextDetectionSource::projectConfig;
                    return details;
                }
            }
        }
    }

    const WorkspaceMatcher matcher(workspaces);
    if (auto explicitMatch = matcher.explicitPathWorkspace(context)) {
        details.workspace = std::move(explicitMatch);
        details.detectionSource = context.detectionSource;
        return details;
    }
    if (auto inferred = matcher.inferredWorkspace(context)) {
        details.workspace = std::move(inferred);
        details.detectionSource = context.detectionSource == ContextDetectionSource::unknown
                                      ? ContextDetectionSource::windowTitle
                                      : context.detectionSource;
        return details;
    }
    return details;
}
