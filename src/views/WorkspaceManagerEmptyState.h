// What the workspace manager shows where it has nothing to list: no library at all, a filter that
// hides every workspace, a workspace that can't be edited here, or an editable one without prompts;
// and the actions each of these offers.
#pragma once

#include <QList>
#include <QString>
#include <optional>

enum class WorkspaceManagerEmptyAction {
    createWorkspace,
    importPromptPack,
    clearWorkspaceFilter,
    createPrompt,
    exportPromptPack
};

struct WorkspaceManagerEmptyStateInput {
    enum class Selection { none, readOnly, editable };

    qsizetype totalCount = 0;
    qsizetype filteredCount = 0;
    bool isSearching = false; // the filter text is non-blank
    Selection selection = Selection::none;
    bool canExport = false;    // of a read-only selection
    qsizetype promptCount = 0; // of an editable selection
    bool hasFile = false;      // of an editable selection
};

struct WorkspaceManagerEmptyState {
    enum class Kind { readOnly, noData, filteredToEmpty, editableEmpty };

    Kind kind = Kind::noData;
    bool canExport = false; // readOnly only

    bool operator==(const WorkspaceManagerEmptyState&) const = default;

    static WorkspaceManagerEmptyState readOnly(bool canExport) { return {Kind::readOnly, canExport}; }
    static WorkspaceManagerEmptyState noData() { return {Kind::noData, false}; }
    static WorkspaceManagerEmptyState filteredToEmpty() { return {Kind::filteredToEmpty, false}; }
    static WorkspaceManagerEmptyState editableEmpty() { return {Kind::editableEmpty, false}; }

    // Absent where the manager has something to show.
    static std::optional<WorkspaceManagerEmptyState> resolve(const WorkspaceManagerEmptyStateInput& input);

    QString systemImage() const;
    QString titleKey() const;
    QString helpKey() const;
    QList<WorkspaceManagerEmptyAction> actions() const;
};

QString titleKey(WorkspaceManagerEmptyAction action);
