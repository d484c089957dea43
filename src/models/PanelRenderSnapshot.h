// What the panel shows at one moment, built afresh for each render so that the view and its keyboard
// handling always agree: the matched workspace, the prompts in display order with their sections,
// which of them may be edited, the digit shortcuts, and why an empty list is empty.
#pragma once

#include "ContextMatchDetails.h"
#include "PromptModels.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <optional>

struct PanelEmptyStateReason {
    enum class Kind {
        recognizedUnbound,
        noSearchResults,
        noWorkspaces,
        editableWorkspaceEmpty,
        automationPermission,
        unavailable,
    };

    Kind kind = Kind::unavailable;
    QString agentName; // recognizedUnbound only

    bool operator==(const PanelEmptyStateReason&) const = default;

    static PanelEmptyStateReason recognizedUnbound(const QString& agentName)
    {
        return {Kind::recognizedUnbound, agentName};
    }
};

enum class EmptyPromptAction {
    clearSearch,
    createWorkspace,
    installOrImport,
    createPrompt,
    importPrompts,
    bindWorkspace,
    openAutomationSettings,
    manageWorkspaces,
};

// What the decision of the empty state looks at.
struct PanelEmptyStateInput {
    bool hasSearchText = false; // the trimmed search text isn't empty
    bool hasWorkspaces = false;
    bool isActiveWorkspaceEditable = false;
    std::optional<bool> activeWorkspaceHasPrompts = std::nullopt; // absent without an active workspace
    std::optional<QString> recognizedAgentName = std::nullopt;    // absent for the unknown agent
    bool hasActiveWorkspace = false;
    bool advancedAutomaticMatchingEnabled = false;
    bool needsAutomationPermission = false;
};

struct PanelEmptyState {
    PanelEmptyStateReason reason;
    QList<EmptyPromptAction> actions; // in display order

    bool operator==(const PanelEmptyState&) const = default;

    // The first rule that holds decides; a search always explains itself first.
    static PanelEmptyState resolve(const PanelEmptyStateInput& input);
};

struct PanelRenderSnapshot {
    ContextMatchDetails matchDetails;
    std::optional<PromptWorkspace> activeWorkspace; // matchDetails.workspace
    QList<PromptItem> visiblePrompts;               // in display order
    QList<PromptSection> sections;
    QSet<QString> editablePromptIDs;
    QHash<QString, qint64> shortcutNumbers; // prompt id to its digit, 1 to 9
    PanelEmptyStateReason emptyReason;      // looked at only when visiblePrompts is empty
    QList<EmptyPromptAction> emptyActions;
    bool allowsPromptOrdering = false;

    bool operator==(const PanelRenderSnapshot&) const = default;

    QStringList visiblePromptIDs() const;
};
