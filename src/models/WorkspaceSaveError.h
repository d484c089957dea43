// Why a workspace save was refused by the version check, and why a file may not be moved aside.
#pragma once

#include "AppError.h"

#include <QString>
#include <optional>

struct WorkspaceSaveError {
    enum class Kind { deleted, conflict };

    Kind kind = Kind::conflict;
    QString path;

    bool operator==(const WorkspaceSaveError&) const = default;

    // As an error value, with the localised description of the moment.
    AppError toAppError() const;
    // The save error an error value stands for, if it stands for one.
    static std::optional<WorkspaceSaveError> from(const AppError& error);
};

// A file outside ~/.velmora/workspaces, or not a workspace file there, is never moved or removed.
AppError unmanagedWorkspaceFileError(const QString& path);
