// What the deletion of workspaces reports to the workspace manager: one result per workspace, and the
// batch they form.
#pragma once

#include <QList>
#include <QString>

#include <algorithm>
#include <iterator>

struct WorkspaceDeletionResult {
    QString id = {};   // the workspace's, or the requested identifier if no workspace had it
    QString name = {}; // the workspace's name, or the requested identifier
    bool succeeded = false;
    bool usedTrash = false; // always false: files are removed directly, never moved to a trash
    QString message = {};   // localised, for the user

    bool operator==(const WorkspaceDeletionResult&) const = default;
};

struct WorkspaceBatchDeletionResult {
    QList<WorkspaceDeletionResult> results = {};

    bool operator==(const WorkspaceBatchDeletionResult&) const = default;

    qsizetype successCount() const
    {
        return std::count_if(results.cbegin(), results.cend(),
                             [](const WorkspaceDeletionResult& result) { return result.succeeded; });
    }
    qsizetype failureCount() const { return results.size() - successCount(); }
    // In the order of `results`.
    QList<WorkspaceDeletionResult> failures() const
    {
        QList<WorkspaceDeletionResult> failed;
        std::copy_if(results.cbegin(), results.cend(), std::back_inserter(failed),
                     [](const WorkspaceDeletionResult& result) { return !result.succeeded; });
        return failed;
    }
};
