// What one load of the library gives the store.
#pragma once

#include "PromptConfigIssue.h"
#include "PromptModels.h"

#include <QDateTime>
#include <QHash>

struct WorkspaceFileMetadata {
    std::optional<QDateTime> modificationDate;
    qint64 fileSize = 0;

    bool operator==(const WorkspaceFileMetadata&) const = default;
};

// The key of the global file's metadata; also the id of the global pseudo-workspace.
inline constexpr auto globalWorkspaceID = "__velmora_global__";

struct PromptLoadResult {
    QList<PromptItem> globalPrompts;
    QList<PromptWorkspace> workspaces;
    QString statusMessage;
    QList<PromptConfigIssue> configIssues;
    QHash<QString, WorkspaceFileMetadata> workspaceMetadata;
    bool showsTransientSamples = false;

    bool operator==(const PromptLoadResult&) const = default;
};
