// Why a workspace save was refused by the version check.
#pragma once

#include <QString>

struct WorkspaceSaveError {
    enum class Kind { deleted, conflict };

    Kind kind = Kind::conflict;
    QString path;

    bool operator==(const WorkspaceSaveError&) const = default;
};
