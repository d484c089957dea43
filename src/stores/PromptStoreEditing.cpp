// PromptStore: creating, changing, copying and deleting workspaces and their prompts, and turning a
// sample into a real workspace. A change is made on a copy, the copy is written, and only a written
// copy replaces the record; the file version catches changes made behind the program's back.
#include "PromptStore.h"

#include "AppLog.h"
#include "CharacterClasses.h"
#include "ContextBindingStore.h"
#include "PromptPersistenceService.h"
#include "PromptUsageStore.h"

#include <QFileInfo>
#include <QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString trimmed(const QString& text)
{
    return CharacterClasses::trimmedWhitespaceAndNewlines(text).toString();
}

// A workspace new to the disk, under a free file name whose base is also its id. Nothing to check
// the file against: the name was free a moment ago.
Expected<PromptWorkspace> writeNewWorkspace(const PromptPersistenceService& persistence,
                                            const QString& baseName, const QStringList& matchPaths,
                                            const QList<PromptItem>& prompts)
{
    if (const Expected<void> folders = persistence.ensureBaseDirectory(); !folders)
        return folders.error();
    QString name = trimmed(baseName);
    if (name.isEmpty())
        name = u"my-workspace"_s;
    const QString fileURL = persistence.uniqueFileURL(PromptPersistenceService::makeWorkspaceID(name));
    PromptWorkspace record;
    record.id = QFileInfo(fileURL).completeBaseName();
    record.name = name;
    record.matchPaths = matchPaths;
    record.prompts = prompts;
    record.fileURL = fileURL;
    record.source = PromptWorkspaceSource::userWorkspace;
    return persistence.saveWorkspace(record, std::nullopt);
}

} // namespace

bool PromptStore::reportFailure(const QString& message, const char* statusKey)
{
    setLastErrorMessage(message);
    setStatusMessage(text(QString::fromLatin1(statusKey)));
    return false;
}

QString PromptStore::readOnlyReason(const PromptWorkspace& workspace) const
{
    switch (workspace.source) {
    case PromptWorkspaceSource::userWorkspace:
        return {};
    case PromptWorkspaceSource::global:
        return text(u"workspace.manager.readonly.global"_s);
    case PromptWorkspaceSource::projectConfig:
        return text(u"workspace.manager.readonly.project"_s);
    case PromptWorkspaceSource::transientSample:
        return text(u"workspace.manager.readonly.sample"_s);
    }
    return {};
}

QStringList PromptStore::parseLines(const QString& text)
{
    QStringList lines;
    for (const QStringView line : CharacterClasses::splitLines(text)) {
        const QStringView kept = CharacterClasses::trimmedWhitespaceAndNewlines(line);
        if (!kept.isEmpty())
            lines.append(kept.toString());
    }
    return lines;
}

std::optional<PromptWorkspace> PromptStore::findWorkspace(const QString& id) const
{
    const auto found = std::find_if(m_workspaces.cbegin(), m_workspaces.cend(),
                                    [&](const PromptWorkspace& workspace) { return workspace.id == id; });
    if (found == m_workspaces.cend())
        return std::nullopt;
    return *found;
}

void PromptStore::publishPersistedWorkspace(const PromptWorkspace& workspace)
{
    QList<PromptWorkspace> updated = m_workspaces;
    const auto found = std::find_if(updated.begin(), updated.end(),
                                    [&](const PromptWorkspace& each) { return each.id == workspace.id; });
    if (found == updated.end())
        updated.append(workspace);
    else
        *found = workspace;
    setWorkspaces(updated);
}

bool PromptStore::saveMutatedWorkspace(const PromptWorkspace& workspace,
                                       const std::optional<WorkspaceFileVersion>& expectedVersion)
{
    const Expected<PromptWorkspace> saved = m_persistence->saveWorkspace(workspace, expectedVersion);
    if (!saved) {
        AppLog::persistence(u"Save workspace failed workspaceID=%1 file=%2 promptCount=%3 error=%4"_s.arg(
            workspace.id, AppLog::fileContext(workspace.fileURL), QString::number(workspace.prompts.size()),
            AppLog::errorSummary(saved.error())));
        // Only a refused version check lets the edit sheet offer a re-read or a new copy.
        setLastWorkspaceSaveIssue(WorkspaceSaveError::from(saved.error()));
        return reportFailure(saved.error(), "status.save.failed");
    }
    // The returned record carries the new version, so the next save checks against it.
    publishPersistedWorkspace(*saved);
    clearProjectWorkspaces();
    setLastWorkspaceSaveIssue(std::nullopt);
    setLastErrorMessage(std::nullopt);
    setStatusMessage(text(u"status.saved.workspace"_s).arg(saved->name));
    return true;
}

bool PromptStore::mutateWorkspace(const QString& id,
                                  const std::optional<WorkspaceFileVersion>& expectedVersion,
                                  const WorkspaceChange& change)
{
    std::optional<PromptWorkspace> copy = findWorkspace(id);
    if (!copy)
        return reportFailure(text(u"error.workspace.not.found"_s), "status.save.failed");
    if (!copy->isEditable())
        return reportFailure(readOnlyReason(*copy), "status.save.failed");
    change(*copy);
    return saveMutatedWorkspace(*copy, expectedVersion);
}

bool PromptStore::addPrompt(const PromptItem& prompt, const QString& workspaceID)
{
    return mutateWorkspace(workspaceID, std::nullopt,
                           [&](PromptWorkspace& workspace) { workspace.prompts.append(prompt); });
}

bool PromptStore::importPrompts(const QList<PromptItem>& prompts, const QString& workspaceID)
{
    return mutateWorkspace(workspaceID, std::nullopt,
                           [&](PromptWorkspace& workspace) { workspace.prompts.append(prompts); });
}

bool PromptStore::updatePrompt(const PromptItem& prompt, const QString& workspaceID)
{
    return mutateWorkspace(workspaceID, std::nullopt, [&](PromptWorkspace& workspace) {
        const auto found = std::find_if(workspace.prompts.begin(), workspace.prompts.end(),
                                        [&](const PromptItem& each) { return each.id == prompt.id; });
        if (found != workspace.prompts.end())
            *found = prompt;
    });
}

void PromptStore::togglePinned(const QString& promptID, const QString& workspaceID)
{
    mutateWorkspace(workspaceID, std::nullopt, [&](PromptWorkspace& workspace) {
        const auto found = std::find_if(workspace.prompts.begin(), workspace.prompts.end(),
                                        [&](const PromptItem& each) { return each.id == promptID; });
        if (found != workspace.prompts.end())
            found->isPinned = !found->isPinned;
    });
}

bool PromptStore::deletePrompt(const QString& id, const QString& workspaceID)
{
    return mutateWorkspace(workspaceID, std::nullopt, [&](PromptWorkspace& workspace) {
        workspace.prompts.removeIf([&](const PromptItem& each) { return each.id == id; });
    });
}

bool PromptStore::updateWorkspace(const QString& id, const QString& name, const QString& matchPathsText,
                                  const std::optional<WorkspaceFileVersion>& expectedVersion)
{
    return mutateWorkspace(id, expectedVersion, [&](PromptWorkspace& workspace) {
        if (const QString newName = trimmed(name); !newName.isEmpty())
            workspace.name = newName;
        workspace.matchPaths = parseLines(matchPathsText);
    });
}

void PromptStore::movePrompt(const QString& id, const QString& workspaceID, PromptMoveDirection direction)
{
    // No read-only test: the panel offers moves only for prompts it may edit.
    std::optional<PromptWorkspace> copy = findWorkspace(workspaceID);
    if (!copy) {
        reportFailure(text(u"error.workspace.not.found"_s), "status.save.failed");
        return;
    }
    if (copy->movePrompt(id, direction))
        saveMutatedWorkspace(*copy, std::nullopt);
}

bool PromptStore::canMovePrompt(const QString& id, const QString& workspaceID,
                                PromptMoveDirection direction) const
{
    const std::optional<PromptWorkspace> workspace = findWorkspace(workspaceID);
    return workspace && workspace->canMovePrompt(id, direction);
}

PromptWorkspace PromptStore::announceCreatedWorkspace(const PromptWorkspace& workspace)
{
    // In workspaces at once, so the caller can go on with it before the reload publishes.
    publishPersistedWorkspace(workspace);
    setLastEditedWorkspaceID(workspace.id);
    setLastErrorMessage(std::nullopt);
    const QString status = text(u"status.created.workspace"_s).arg(workspace.name);
    setStatusMessage(status);
    reload(status);
    return workspace;
}

std::optional<PromptWorkspace> PromptStore::createWorkspace(const QString& name,
                                                            const QString& matchPathsText)
{
    const Expected<PromptWorkspace> created =
        m_persistence->createWorkspace(name, parseLines(matchPathsText));
    if (!created) {
        AppLog::persistence(
            u"Create workspace failed promptCount=0 error=%1"_s.arg(AppLog::errorSummary(created.error())));
        reportFailure(created.error(), "status.create.workspace.failed");
        return std::nullopt;
    }
    return announceCreatedWorkspace(*created);
}

std::optional<PromptWorkspace> PromptStore::saveWorkspaceAsNewCopy(const QString& id, const QString& name,
                                                                   const QString& matchPathsText)
{
    const std::optional<PromptWorkspace> source = findWorkspace(id);
    if (!source) {
        reportFailure(text(u"error.workspace.not.found"_s), "status.create.workspace.failed");
        return std::nullopt;
    }
    QString baseName = trimmed(name);
    if (baseName.isEmpty())
        baseName = source->name;
    // The prompts keep their ids; the reload that follows makes them unique across the library.
    const Expected<PromptWorkspace> saved =
        writeNewWorkspace(*m_persistence, baseName, parseLines(matchPathsText), source->prompts);
    if (!saved) {
        AppLog::persistence(u"Create workspace copy failed workspaceID=%1 promptCount=%2 error=%3"_s.arg(
            id, QString::number(source->prompts.size()), AppLog::errorSummary(saved.error())));
        reportFailure(saved.error(), "status.create.workspace.failed");
        return std::nullopt;
    }
    setLastWorkspaceSaveIssue(std::nullopt);
    return announceCreatedWorkspace(*saved);
}

std::optional<PromptWorkspace> PromptStore::saveTransientSampleAsWorkspace(const PromptWorkspace& sample,
                                                                           const QString& name)
{
    if (sample.source != PromptWorkspaceSource::transientSample) {
        reportFailure(readOnlyReason(sample), "status.create.workspace.failed");
        return std::nullopt;
    }
    QString baseName = trimmed(name);
    if (baseName.isEmpty())
        baseName = sample.name;
    const Expected<PromptWorkspace> saved = writeNewWorkspace(*m_persistence, baseName, {}, sample.prompts);
    if (!saved) {
        AppLog::persistence(
            u"Create workspace from transient sample failed sampleID=%1 promptCount=%2 error=%3"_s.arg(
                sample.id, QString::number(sample.prompts.size()), AppLog::errorSummary(saved.error())));
        reportFailure(saved.error(), "status.create.workspace.failed");
        return std::nullopt;
    }
    // One sample made real ends the sample state for good: the others go with it.
    m_userDefaults->setValue(QString::fromLatin1(samplesDismissedKey), true);
    removeTransientSamplesFromCurrentState();
    setLastWorkspaceSaveIssue(std::nullopt);
    return announceCreatedWorkspace(*saved);
}

void PromptStore::removeTransientSamplesFromCurrentState()
{
    if (m_showsTransientSamples)
        setGlobalPrompts({});
    QList<PromptWorkspace> kept = m_workspaces;
    kept.removeIf([](const PromptWorkspace& workspace) {
        return workspace.source == PromptWorkspaceSource::transientSample;
    });
    setWorkspaces(kept);
    setShowsTransientSamples(false);
}

void PromptStore::dismissTransientSamples()
{
    m_userDefaults->setValue(QString::fromLatin1(samplesDismissedKey), true);
    removeTransientSamplesFromCurrentState();
    reload();
}

WorkspaceBatchDeletionResult PromptStore::deleteWorkspaces(const QStringList& ids,
                                                           const QList<PromptWorkspace>& extraWorkspaces)
{
    // Taken once: a deletion doesn't change which workspaces the others are looked up among.
    const QList<PromptWorkspace> candidates = workspaceManagerWorkspaces(extraWorkspaces);
    QStringList order = ids;
    std::sort(order.begin(), order.end());
    order.erase(std::unique(order.begin(), order.end()), order.end());

    WorkspaceBatchDeletionResult batch;
    for (const QString& id : std::as_const(order)) {
        const auto candidate =
            std::find_if(candidates.cbegin(), candidates.cend(),
                         [&](const PromptWorkspace& workspace) { return workspace.id == id; });
        if (candidate == candidates.cend())
            batch.results.append({id, id, false, false, text(u"error.workspace.not.found"_s)});
        else
            batch.results.append(deleteWorkspaceForManager(*candidate));
    }
    std::stable_sort(
        batch.results.begin(), batch.results.end(),
        [](const WorkspaceDeletionResult& a, const WorkspaceDeletionResult& b) { return a.name < b.name; });

    QStringList failures;
    for (const WorkspaceDeletionResult& failure : batch.failures())
        failures.append(failure.name + u": "_s + failure.message);
    setLastErrorMessage(failures.isEmpty() ? std::nullopt
                                           : std::optional(failures.join(text(u"list.separator"_s))));
    setStatusMessage(text(u"workspace.manager.delete.result"_s)
                         .arg(QString::number(batch.successCount()), QString::number(batch.failureCount())));
    Q_EMIT changed();
    return batch;
}

WorkspaceDeletionResult PromptStore::deleteWorkspaceForManager(const PromptWorkspace& workspace)
{
    WorkspaceDeletionResult result{workspace.id, workspace.name, false, false, {}};
    if (!workspace.isEditable()) {
        result.message = readOnlyReason(workspace);
        return result;
    }

    const QList<PromptWorkspace> keptWorkspaces = m_workspaces;
    const std::optional<QString> keptLastEdited = m_lastEditedWorkspaceID;
    const ContextBindingStateSnapshot keptBindings = m_bindingStore->stateSnapshot();
    std::optional<WorkspaceFileIsolation> isolation;

    // The two restores are independent: what can't be put back is logged, and the user sees the
    // error that started the undo.
    const auto undo = [&](const AppError& error) {
        AppLog::persistence(u"Delete workspace failed workspaceID=%1 file=%2 error=%3"_s.arg(
            workspace.id, AppLog::fileContext(workspace.fileURL), AppLog::errorSummary(error)));
        if (const Expected<void> restored = m_persistence->restoreIsolatedWorkspaceFile(isolation); !restored)
            AppLog::persistence(u"Restore isolated workspace file failed workspaceID=%1 error=%2"_s.arg(
                workspace.id, AppLog::errorSummary(restored.error())));
        if (const Expected<void> restored = m_bindingStore->restoreState(keptBindings); !restored)
            AppLog::context(u"Restore binding state failed workspaceID=%1 error=%2"_s.arg(
                workspace.id, AppLog::errorSummary(restored.error())));
        setWorkspaces(keptWorkspaces);
        setLastEditedWorkspaceID(keptLastEdited);
        clearProjectWorkspaces();
        result.message = error.description;
        return result;
    };

    const Expected<std::optional<WorkspaceFileIsolation>> isolated =
        m_persistence->isolateWorkspaceFile(workspace);
    if (!isolated)
        return undo(isolated.error());
    isolation = *isolated;
    // A bindings file that can't be read would keep references to a workspace that is gone.
    if (const Expected<void> readable = m_bindingStore->throwIfBindingsFileUnreadable(); !readable)
        return undo(readable.error());
    if (const Expected<void> unbound = m_bindingStore->deleteWorkspaceReferences(workspace.id); !unbound)
        return undo(unbound.error());

    QList<PromptWorkspace> remaining = m_workspaces;
    remaining.removeIf([&](const PromptWorkspace& each) { return each.id == workspace.id; });
    setWorkspaces(remaining);
    clearProjectWorkspaces();
    if (m_lastEditedWorkspaceID == workspace.id)
        setLastEditedWorkspaceID(std::nullopt);

    // Once the file is removed, nothing is undone.
    if (isolation) {
        if (const Expected<void> removed = m_persistence->finalWorkspaceRemoval(isolation->isolatedURL);
            !removed)
            return undo(removed.error());
    }
    for (const PromptItem& prompt : workspace.prompts)
        m_usageStore->remove(prompt.id);
    result.succeeded = true;
    result.message = text(u"workspace.manager.deleted.directly"_s);
    return result;
}
