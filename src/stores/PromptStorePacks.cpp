// PromptStore: installing a pack as a new workspace, and exporting a saved workspace as a pack file
// to a place of the user's choosing.
#include "PromptStore.h"

#include "AppLog.h"
#include "PromptPackService.h"
#include "PromptPersistenceService.h"
#include "PromptYAMLEncoder.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace {

// The path with every symbolic link resolved; for a file that doesn't exist yet, its folder's.
QString resolvedPath(const QString& path)
{
    const QFileInfo info(path);
    if (const QString canonical = info.canonicalFilePath(); !canonical.isEmpty())
        return canonical;
    const QString folder = QDir(info.absolutePath()).canonicalPath();
    return folder.isEmpty() ? info.absoluteFilePath() : folder + u'/' + info.fileName();
}

AppError fileDeviceError(const QFileDevice& file)
{
    return AppError{u"QFileDevice"_s, u"QFileDevice::FileError"_s, qint64(file.error()), file.errorString()};
}

// A new file gets the user's umask; a replaced one keeps its mode. A reader sees the old content or
// the new one, never a part.
Expected<void> writeAtomically(const QByteArray& data, const QString& path)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return fileDeviceError(file);
    if (file.write(data) != data.size()) {
        const AppError error = fileDeviceError(file);
        file.cancelWriting();
        return error;
    }
    if (!file.commit())
        return fileDeviceError(file);
    return {};
}

} // namespace

bool PromptStore::installPromptPack(const PromptPack& pack, const std::optional<AgentContext>& bindingContext)
{
    const PromptPackService service(*m_persistence, m_languageProvider);
    const Expected<PromptWorkspace> installed = service.install(pack);
    if (!installed) {
        AppLog::prompts(u"Install prompt pack failed packID=%1 promptCount=%2 error=%3"_s.arg(
            pack.metadata.id, QString::number(pack.workspace.prompts.size()),
            AppLog::errorSummary(installed.error())));
        return reportFailure(installed.error(), "status.install.pack.failed");
    }
    publishPersistedWorkspace(*installed);
    setLastEditedWorkspaceID(installed->id);
    setLastErrorMessage(std::nullopt);
    setStatusMessage(text(u"status.installed.pack"_s).arg(pack.metadata.name));
    if (bindingContext && bindingContext->agent != AgentType::unknown)
        bindContext(*bindingContext, installed->id);
    reload(m_statusMessage);
    return true;
}

bool PromptStore::exportPromptPack(const QString& workspaceID, const QString& destination)
{
    const std::optional<PromptWorkspace> workspace = findWorkspace(workspaceID);
    // A link to the workspace's own file would replace the file the library reads.
    if (!workspace || workspace->source != PromptWorkspaceSource::userWorkspace || !workspace->fileURL ||
        resolvedPath(destination) == resolvedPath(*workspace->fileURL))
        return reportFailure(text(u"error.export.saved.user.workspace.only"_s), "status.export.failed");

    PromptPackMetadata metadata;
    metadata.id = workspace->id;
    metadata.name = workspace->name;
    metadata.description = text(u"pack.export.description"_s);
    metadata.version = u"1.0.0"_s;
    metadata.author = u"Velmora User"_s;
    const Expected<void> written =
        writeAtomically(PromptYAMLEncoder::encodePack(*workspace, metadata).toUtf8(), destination);
    if (!written) {
        AppLog::prompts(u"Export prompt pack failed workspaceID=%1 file=%2 promptCount=%3 error=%4"_s.arg(
            workspace->id, AppLog::fileContext(destination), QString::number(workspace->prompts.size()),
            AppLog::errorSummary(written.error())));
        return reportFailure(written.error(), "status.export.failed");
    }
    setLastErrorMessage(std::nullopt);
    setStatusMessage(text(u"status.exported.pack"_s).arg(QFileInfo(destination).fileName()));
    return true;
}
