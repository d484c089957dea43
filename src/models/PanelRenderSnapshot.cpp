#include "PanelRenderSnapshot.h"

PanelEmptyState PanelEmptyState::resolve(const PanelEmptyStateInput& input)
{
    using Kind = PanelEmptyStateReason::Kind;
    using Action = EmptyPromptAction;
    if (input.hasSearchText && input.isActiveWorkspaceEditable)
        return {{Kind::noSearchResults, {}}, {Action::clearSearch, Action::createPrompt}};
    if (input.hasSearchText)
        return {{Kind::noSearchResults, {}}, {Action::clearSearch}};
    if (!input.hasWorkspaces)
        return {{Kind::noWorkspaces, {}}, {Action::createWorkspace, Action::installOrImport}};
    if (input.activeWorkspaceHasPrompts == false && input.isActiveWorkspaceEditable)
        return {{Kind::editableWorkspaceEmpty, {}}, {Action::createPrompt, Action::importPrompts}};
    if (input.recognizedAgentName && !input.hasActiveWorkspace)
        return {PanelEmptyStateReason::recognizedUnbound(*input.recognizedAgentName),
                {Action::bindWorkspace}};
    if (input.advancedAutomaticMatchingEnabled && input.needsAutomationPermission)
        return {{Kind::automationPermission, {}}, {Action::openAutomationSettings}};
    return {{Kind::unavailable, {}}, {Action::manageWorkspaces, Action::importPrompts}};
}

QStringList PanelRenderSnapshot::visiblePromptIDs() const
{
    QStringList ids;
    ids.reserve(visiblePrompts.size());
    for (const PromptItem& prompt : visiblePrompts)
        ids.append(prompt.id);
    return ids;
}
