#include "WorkspaceSaveError.h"

#include "AppLanguage.h"

using namespace Qt::StringLiterals;

namespace {
const QString saveErrorType = u"WorkspaceSaveError"_s;
const QString saveErrorDomain = u"Velmora.WorkspaceSaveError"_s;
} // namespace

AppError WorkspaceSaveError::toAppError() const
{
    const bool deleted = kind == Kind::deleted;
    AppError error{
        saveErrorType, saveErrorDomain, deleted ? 0 : 1,
        L10n::text(deleted ? u"error.workspace.save.deleted"_s : u"error.workspace.save.conflict"_s)
            .arg(path)};
    error.subject = path;
    return error;
}

std::optional<WorkspaceSaveError> WorkspaceSaveError::from(const AppError& error)
{
    if (error.typeName != saveErrorType || error.domain != saveErrorDomain)
        return std::nullopt;
    return WorkspaceSaveError{error.code == 0 ? Kind::deleted : Kind::conflict, error.subject};
}

AppError unmanagedWorkspaceFileError(const QString& path)
{
    AppError error{u"WorkspaceFileDeletionError"_s, u"Velmora.WorkspaceFileDeletionError"_s, 0,
                   L10n::text(u"error.workspace.file.not.managed"_s).arg(path)};
    error.subject = path;
    return error;
}
