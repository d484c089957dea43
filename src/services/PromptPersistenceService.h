// Every write of a workspace file: creating one under a free name, saving with a check that nobody
// changed the file meanwhile, and moving a file aside so that a deletion can be undone.
#pragma once

#include "AppError.h"
#include "PromptModels.h"
#include "WorkspaceSaveError.h"

#include <functional>
#include <optional>

struct WorkspaceFileIsolation {
    QString originalURL;
    QString isolatedURL;

    bool operator==(const WorkspaceFileIsolation&) const = default;
};

class PromptPersistenceService {
public:
    using Removal = std::function<Expected<void>(const QString& path)>;

    explicit PromptPersistenceService(QString homeDirectory);

    QString baseDirectory() const;       // ~/.velmora
    QString workspacesDirectory() const; // ~/.velmora/workspaces

    // Creates both folders if needed and puts their modes right; runs before every create and save.
    Expected<void> ensureBaseDirectory() const;
    Expected<PromptWorkspace> createWorkspace(const QString& name, const QStringList& matchPaths) const;
    // Checks the file against the expected version (or the record's), writes, and returns the record
    // with the version now on disk. A refused check is a WorkspaceSaveError.
    Expected<PromptWorkspace>
    saveWorkspace(const PromptWorkspace& workspace,
                  const std::optional<WorkspaceFileVersion>& expectedVersion = {}) const;
    Expected<std::optional<WorkspaceFileIsolation>>
    isolateWorkspaceFile(const PromptWorkspace& workspace) const;
    Expected<void> restoreIsolatedWorkspaceFile(const std::optional<WorkspaceFileIsolation>& isolation) const;

    bool isManagedWorkspaceFile(const QString& path) const;
    static QString makeWorkspaceID(const QString& name);
    // `<id>.yaml`, else `<id>-2.yaml`, `<id>-3.yaml`... the first name free in the workspaces folder.
    QString uniqueFileURL(const QString& id) const;

    // The last step of a deletion; replaceable so that a failing removal can be tested.
    Removal finalWorkspaceRemoval;

private:
    QString m_homeDirectory;
};
