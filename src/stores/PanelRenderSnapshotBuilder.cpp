#include "PanelRenderSnapshotBuilder.h"

#include "CharacterClasses.h"
#include "PromptStore.h"

#include <algorithm>

namespace PanelRenderSnapshotBuilder {

namespace {

constexpr qint64 shortcutDigitCount = 9;

} // namespace

PanelRenderSnapshot make(const PromptStore& store, const AgentContext& context, const QString& searchText,
                         bool needsAutomationPermission, const MatchDetailsProvider& matchDetails)
{
    PanelRenderSnapshot snapshot;
    snapshot.matchDetails = matchDetails(context);
    snapshot.activeWorkspace = snapshot.matchDetails.workspace;
    snapshot.visiblePrompts = store.visiblePrompts(context, snapshot.matchDetails, searchText);
    snapshot.sections = store.promptSections(snapshot.visiblePrompts);

    const std::optional<PromptWorkspace>& active = snapshot.activeWorkspace;
    const bool hasSearchText = !CharacterClasses::trimmedWhitespaceAndNewlines(searchText).isEmpty();
    PanelEmptyStateInput input;
    input.hasSearchText = hasSearchText;
    input.hasWorkspaces = !store.workspaces().isEmpty();
    input.isActiveWorkspaceEditable = active && active->isEditable();
    if (active)
        input.activeWorkspaceHasPrompts = !active->prompts.isEmpty();
    if (context.agent != AgentType::unknown)
        input.recognizedAgentName = displayName(context.agent, store.language());
    input.hasActiveWorkspace = active.has_value();
    input.advancedAutomaticMatchingEnabled = store.advancedAutomaticMatchingEnabled();
    input.needsAutomationPermission = needsAutomationPermission;
    const PanelEmptyState emptyState = PanelEmptyState::resolve(input);
    snapshot.emptyReason = emptyState.reason;
    snapshot.emptyActions = emptyState.actions;

    snapshot.editablePromptIDs = editablePromptIDs(active);

    // A project prompt may repeat an id among the first nine: it keeps the lowest digit, the one of
    // its first tile.
    const qint64 numbered = std::min<qint64>(snapshot.visiblePrompts.size(), shortcutDigitCount);
    for (qint64 index = 0; index < numbered; ++index) {
        const QString& id = snapshot.visiblePrompts[index].id;
        if (!snapshot.shortcutNumbers.contains(id))
            snapshot.shortcutNumbers.insert(id, index + 1);
    }

    snapshot.allowsPromptOrdering = !hasSearchText;
    return snapshot;
}

QSet<QString> editablePromptIDs(const std::optional<PromptWorkspace>& workspace)
{
    QSet<QString> ids;
    if (!workspace || !workspace->isEditable())
        return ids;
    ids.reserve(workspace->prompts.size());
    for (const PromptItem& prompt : workspace->prompts)
        ids.insert(prompt.id);
    return ids;
}

} // namespace PanelRenderSnapshotBuilder
