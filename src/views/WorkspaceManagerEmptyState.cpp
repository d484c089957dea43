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

namespace {

// Each state's icon, title and help line, in the order of the kinds.
struct StateTexts {
    const char16_t* systemImage;
    const char16_t* titleKey;
    const char16_t* helpKey;
};
constexpr StateTexts stateTexts[] = {
    {u"lock", u"workspace.manager.readonly.title", u"workspace.manager.readonly.help"},
    {u"folder.badge.plus", u"workspace.manager.empty.title", u"workspace.manager.empty.help"},
    {u"line.3.horizontal.decrease.circle", u"workspace.manager.filtered.empty.title",
     u"workspace.manager.filtered.empty.help"},
    {u"plus.square", u"workspace.manager.editable.empty.title", u"workspace.manager.editable.empty.help"},
};

} // namespace

QString WorkspaceManagerEmptyState::systemImage() const
{
    return QString::fromUtf16(stateTexts[int(kind)].systemImage);
}

QString WorkspaceManagerEmptyState::titleKey() const
{
    return QString::fromUtf16(stateTexts[int(kind)].titleKey);
}

QString WorkspaceManagerEmptyState::helpKey() const
{
    return QString::fromUtf16(stateTexts[int(kind)].helpKey);
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
