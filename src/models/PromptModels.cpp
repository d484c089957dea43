#include "PromptModels.h"

#include "PromptConfigIssue.h"
#include "RawValues.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

QString toRawValue(PromptWorkspaceSource source)
{
    switch (source) {
    case PromptWorkspaceSource::global:
        return u"global"_s;
    case PromptWorkspaceSource::userWorkspace:
        return u"userWorkspace"_s;
    case PromptWorkspaceSource::projectConfig:
        return u"projectConfig"_s;
    case PromptWorkspaceSource::transientSample:
        return u"transientSample"_s;
    }
    return {};
}

std::optional<PromptWorkspaceSource> promptWorkspaceSourceFromRawValue(const QString& raw)
{
    return enumFromRawValue({PromptWorkspaceSource::global, PromptWorkspaceSource::userWorkspace,
                             PromptWorkspaceSource::projectConfig, PromptWorkspaceSource::transientSample},
                            raw);
}

QString displayName(PromptWorkspaceSource source, AppLanguage language)
{
    switch (source) {
    case PromptWorkspaceSource::global:
        return L10n::text(u"workspace.source.global"_s, language);
    case PromptWorkspaceSource::userWorkspace:
        return L10n::text(u"workspace.source.user"_s, language);
    case PromptWorkspaceSource::projectConfig:
        return L10n::text(u"workspace.source.project"_s, language);
    case PromptWorkspaceSource::transientSample:
        return L10n::text(u"workspace.source.sample"_s, language);
    }
    return {};
}

QString PromptWorkspace::displayNamePath() const
{
    if (!fileURL)
        return L10n::text(u"workspace.not.saved"_s);
    return QFileInfo(*fileURL).fileName();
}

namespace {

// Positions in `prompts` of the peers of the prompt at `index`, in list order.
QList<qsizetype> peerIndices(const QList<PromptItem>& prompts, qsizetype index)
{
    QList<qsizetype> peers;
    const PromptItem& prompt = prompts[index];
    for (qsizetype i = 0; i < prompts.size(); ++i) {
        if (prompts[i].group == prompt.group && prompts[i].isPinned == prompt.isPinned)
            peers.append(i);
    }
    return peers;
}

qsizetype indexOfPrompt(const QList<PromptItem>& prompts, const QString& id)
{
    const auto found =
        std::find_if(prompts.begin(), prompts.end(), [&](const PromptItem& p) { return p.id == id; });
    return found == prompts.end() ? -1 : found - prompts.begin();
}

} // namespace

bool PromptWorkspace::canMovePrompt(const QString& promptID, PromptMoveDirection direction) const
{
    const qsizetype index = indexOfPrompt(prompts, promptID);
    if (index < 0)
        return false;
    const QList<qsizetype> peers = peerIndices(prompts, index);
    if (peers.size() < 2)
        return false;
    const qsizetype position = peers.indexOf(index);
    switch (direction) {
    case PromptMoveDirection::up:
    case PromptMoveDirection::top:
        return position != 0;
    case PromptMoveDirection::down:
    case PromptMoveDirection::bottom:
        return position != peers.size() - 1;
    }
    return false;
}

bool PromptWorkspace::movePrompt(const QString& promptID, PromptMoveDirection direction)
{
    if (!canMovePrompt(promptID, direction))
        return false;
    const QString movedGroup = prompts[indexOfPrompt(prompts, promptID)].group;

    QStringList groupOrder;
    QHash<QString, QList<PromptItem>> byGroup;
    for (const PromptItem& prompt : std::as_const(prompts)) {
        if (!byGroup.contains(prompt.group))
            groupOrder.append(prompt.group);
        byGroup[prompt.group].append(prompt);
    }

    QList<PromptItem>& list = byGroup[movedGroup];
    const qsizetype index = indexOfPrompt(list, promptID);
    const QList<qsizetype> peers = peerIndices(list, index);
    const qsizetype position = peers.indexOf(index);
    switch (direction) {
    case PromptMoveDirection::up:
        list.swapItemsAt(index, peers[position - 1]);
        break;
    case PromptMoveDirection::down:
        list.swapItemsAt(index, peers[position + 1]);
        break;
    case PromptMoveDirection::top: {
        const PromptItem moved = list.takeAt(index);
        list.insert(peers.first(), moved);
        break;
    }
    case PromptMoveDirection::bottom: {
        const PromptItem moved = list.takeAt(index);
        list.insert(std::min(peers.last(), list.size()), moved);
        break;
    }
    }

    prompts.clear();
    for (const QString& group : std::as_const(groupOrder))
        prompts.append(byGroup.value(group));
    return true;
}

QStringList PromptPackImportPreview::groups() const
{
    QStringList result;
    for (const PromptItem& prompt : pack.workspace.prompts) {
        if (!result.contains(prompt.group))
            result.append(prompt.group);
    }
    return result;
}

QStringList PromptPackImportPreview::sampleTitles() const
{
    QStringList result;
    for (const PromptItem& prompt :
         pack.workspace.prompts.first(std::min<qsizetype>(5, pack.workspace.prompts.size())))
        result.append(prompt.title);
    return result;
}

QString toRawValue(PromptSortMode mode)
{
    switch (mode) {
    case PromptSortMode::manual:
        return u"manual"_s;
    case PromptSortMode::recent:
        return u"recent"_s;
    case PromptSortMode::frequent:
        return u"frequent"_s;
    }
    return u"manual"_s;
}

std::optional<PromptSortMode> promptSortModeFromRawValue(const QString& raw)
{
    return enumFromRawValue({PromptSortMode::manual, PromptSortMode::recent, PromptSortMode::frequent}, raw);
}

QString toRawValue(PromptConfigSourceKind kind)
{
    return kind == PromptConfigSourceKind::global ? u"global"_s : u"workspace"_s;
}

std::optional<PromptConfigSourceKind> promptConfigSourceKindFromRawValue(const QString& raw)
{
    if (raw == u"global")
        return PromptConfigSourceKind::global;
    if (raw == u"workspace")
        return PromptConfigSourceKind::workspace;
    return std::nullopt;
}

QString toRawValue(PromptConfigRecoveryAction action)
{
    switch (action) {
    case PromptConfigRecoveryAction::reload:
        return u"reload"_s;
    case PromptConfigRecoveryAction::showInFinder:
        return u"showInFinder"_s;
    case PromptConfigRecoveryAction::openWorkspaceManager:
        return u"openWorkspaceManager"_s;
    }
    return {};
}

std::optional<PromptConfigRecoveryAction> promptConfigRecoveryActionFromRawValue(const QString& raw)
{
    return enumFromRawValue({PromptConfigRecoveryAction::reload, PromptConfigRecoveryAction::showInFinder,
                             PromptConfigRecoveryAction::openWorkspaceManager},
                            raw);
}
