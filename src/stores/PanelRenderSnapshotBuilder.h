// Computes the panel's snapshot from the store, the context and the search text. Plain passes over the
// shown prompts; nothing is remembered between builds.
#pragma once

#include "AgentContext.h"
#include "ContextMatchDetails.h"
#include "PanelRenderSnapshot.h"

#include <functional>

class PromptStore;

namespace PanelRenderSnapshotBuilder {

using MatchDetailsProvider = std::function<ContextMatchDetails(const AgentContext&)>;

// `matchDetails` is normally the store's matching service; the first 9 visible prompts get digits.
PanelRenderSnapshot make(const PromptStore& store, const AgentContext& context, const QString& searchText,
                         bool needsAutomationPermission, const MatchDetailsProvider& matchDetails);

// The workspace's own prompts when it is a user workspace; nothing for any other source or none.
QSet<QString> editablePromptIDs(const std::optional<PromptWorkspace>& workspace);

} // namespace PanelRenderSnapshotBuilder
