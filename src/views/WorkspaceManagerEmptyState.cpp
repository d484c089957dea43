#include "WorkspaceManagerEmptyState.h"

using namespace Qt::StringLiterals;

std::optional<WorkspaceManagerEmptyState>
WorkspaceManagerEmptyState::resolve(const WorkspaceManagerEmptyStateInput& input)
{
    using Selection = WorkspaceManagerEmptyStateInput::Selection;
    if (input.totalCount == 0)
        return noData();
    if (input.isSearching && input.filteredCount == 0)
        return filteredToEmpty();
    switch (input.selection) {
    case Selection::none:
        return std::nullopt;
    case Selection::readOnly:
        return readOnly(input.canExport);
    case Selection::editable:
        break;
    }
    if (input.promptCount == 0)
        return editableEmpty();
    return std::nullopt;
}

QString WorkspaceManagerEmptyState::systemImage() const
{
    switch (kind) {
    case Kind::noData:
        return u"folder.badge.plus"_s;
    case Kind::filteredToEmpty:
        return u"line.3.horizontal.decrease.circle"_s;
    case Kind::editableEmpty:
        return u"plus.square"_s;
    case Kind::readOnly:
        break;
    }
    return u"lock"_s;
}

QString WorkspaceManagerEmptyState::titleKey() const
{
    switch (kind) {
    case Kind::noData:
        return u"workspace.manager.empty.title"_s;
    case Kind::filteredToEmpty:
        return u"workspace.manager.filtered.empty.title"_s;
    case Kind::editableEmpty:
        return u"workspace.manager.editable.empty.title"_s;
    case Kind::readOnly:
        break;
    }
    return u"workspace.manager.readonly.title"_s;
}

QString WorkspaceManagerEmptyState::helpKey() const
{
    switch (kind) {
    case Kind::noData:
        return u"workspace.manager.empty.help"_s;
    case Kind::filteredToEmpty:
        return u"workspace.manager.filtered.empty.help"_s;
    case Kind::editableEmpty:
        return u"workspace.manager.editable.empty.help"_s;
    case Kind::readOnly:
        break;
    }
    return u"workspace.manager.readonly.help"_s;
}

QList<WorkspaceManagerEmptyAction> WorkspaceManagerEmptyState::actions() const
{
    using Action = WorkspaceManagerEmptyAction;
    switch (kind) {
    case Kind::noData:
        return {Action::createWorkspace, Action::importPromptPack};
    case Kind::filteredToEmpty:
        return {Action::clearWorkspaceFilter};
    case Kind::editableEmpty:
        return {Action::createPrompt, Action::importPromptPack};
    case Kind::readOnly:
        break;
    }
    return canExport ? QList<Action>{Action::exportPromptPack} : QList<Action>{};
}

QString titleKey(WorkspaceManagerEmptyAction action)
{
    switch (action) {
    case WorkspaceManagerEmptyAction::createWorkspace:
        return u"action.create.workspace"_s;
    case WorkspaceManagerEmptyAction::importPromptPack:
        return u"action.import.prompt.pack"_s;
    case WorkspaceManagerEmptyAction::clearWorkspaceFilter:
        return u"action.clear.search"_s;
    case WorkspaceManagerEmptyAction::createPrompt:
        return u"action.create.prompt"_s;
    case WorkspaceManagerEmptyAction::exportPromptPack:
        break;
    }
    return u"action.export.pack"_s;
}
