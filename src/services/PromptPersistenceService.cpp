#include "PromptPersistenceService.h"

#include "AppLog.h"
#include "CharacterClasses.h"
#include "PromptConfigLoader.h"
#include "PromptYAMLEncoder.h"
#include "SecureFileWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

bool entryExists(const QString& path)
{
    // A dangling link is an entry too.
    return QFileInfo(path).exists() || QFileInfo(path).isSymLink();
}

Expected<void> makeRestrictedDirectory(const QString& path)
{
    if (!QDir().mkpath(path))
        return AppError::posix(entryExists(path) ? ENOTDIR : EACCES);
    return SecureFileWriter::restrictDirectoryToCurrentUser(path);
}

Expected<QByteArray> readFile(const QString& path)
{
    QFile file(path);
    if (QFileInfo(path).isDir())
        return AppError::posix(EISDIR);
    if (!file.open(QIODevice::ReadOnly))
        return AppError::posix(file.exists() ? EACCES : ENOENT);
    return file.readAll();
}

Expected<void> removeEntry(const QString& path)
{
    const QFileInfo info(path);
    if (info.isDir() && !info.isSymLink())
        return QDir(path).removeRecursively() ? Expected<void>() : AppError::posix(EACCES);
    // The system's own reason, so that a missing file isn't reported as a refusal.
    if (::unlink(QFile::encodeName(path).constData()) != 0)
        return AppError::posix(errno);
    return {};
}

Expected<void> moveEntry(const QString& from, const QString& to)
{
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
        return AppError::posix(errno);
    return {};
}

} // namespace

PromptPersistenceService::PromptPersistenceService(QString homeDirectory)
    : finalWorkspaceRemoval(removeEntry), m_homeDirectory(std::move(homeDirectory))
{}

QString PromptPersistenceService::baseDirectory() const
{
    return QDir(m_homeDirectory).filePath(QString::fromLatin1(PromptConfigLoader::baseFolderName));
}

QString PromptPersistenceService::workspacesDirectory() const
{
    return QDir(baseDirectory()).filePath(QString::fromLatin1(PromptConfigLoader::workspacesFolderName));
}

Expected<void> PromptPersistenceService::ensureBaseDirectory() const
{
    if (auto base = makeRestrictedDirectory(baseDirectory()); !base)
        return base;
    return makeRestrictedDirectory(workspacesDirectory());
}

QString PromptPersistenceService::makeWorkspaceID(const QString& name)
{
    return PromptConfigLoader::slug(name);
}

QString PromptPersistenceService::uniqueFileURL(const QString& id) const
{
    const QDir folder(workspacesDirectory());
    QString candidate = folder.filePath(id + u".yaml"_s);
    for (int suffix = 2; entryExists(candidate); ++suffix)
        candidate = folder.filePath(id + u'-' + QString::number(suffix) + u".yaml"_s);
    return candidate;
}

Expected<PromptWorkspace> PromptPersistenceService::createWorkspace(const QString& name,
                                                                    const QStringList& matchPaths) const
{
    if (auto base = ensureBaseDirectory(); !base)
        return base.error();
    QString trimmed = CharacterClasses::trimmedWhitespaceAndNewlines(name).toString();
    if (trimmed.isEmpty())
        trimmed = u"my-workspace"_s;
    const QString fileURL = uniqueFileURL(makeWorkspaceID(trimmed));
    PromptWorkspace workspace;
    workspace.id = QFileInfo(fileURL).completeBaseName();
    workspace.name = trimmed;
    workspace.matchPaths = matchPaths;
    workspace.fileURL = fileURL;
    workspace.source = PromptWorkspaceSource::userWorkspace;
    return saveWorkspace(workspace);
}

Expected<PromptWorkspace>
PromptPersistenceService::saveWorkspace(const PromptWorkspace& workspace,
                                        const std::optional<WorkspaceFileVersion>& expectedVersion) const
{
    if (auto base = ensureBaseDirectory(); !base)
        return base.error();
    const QString target =
        workspace.fileURL.value_or(QDir(workspacesDirectory()).filePath(workspace.id + u".yaml"_s));
    const std::optional<WorkspaceFileVersion> expected =
        expectedVersion ? expectedVersion : workspace.fileVersion;
    if (expected) {
        if (!entryExists(target))
            return WorkspaceSaveError{WorkspaceSaveError::Kind::deleted, target}.toAppError();
        const Expected<QByteArray> bytes = readFile(target);
        if (!bytes)
            return bytes.error();
        const WorkspaceFileVersion onDisk = PromptConfigLoader::fileVersion(*bytes, target);
        if (onDisk.path != expected->path || onDisk.contentHash != expected->contentHash)
            return WorkspaceSaveError{WorkspaceSaveError::Kind::conflict, target}.toAppError();
    }
    if (auto written =
            SecureFileWriter::writeString(PromptYAMLEncoder::encodeWorkspace(workspace, true), target);
        !written)
        return written.error();

    PromptWorkspace saved = workspace;
    saved.fileURL = target;
    saved.fileVersion.reset();
    if (entryExists(target)) {
        const Expected<QByteArray> bytes = readFile(target);
        if (!bytes)
            return bytes.error();
        saved.fileVersion = PromptConfigLoader::fileVersion(*bytes, target);
    }
    return saved;
}

bool PromptPersistenceService::isManagedWorkspaceFile(const QString& path) const
{
    const QString standardized = QDir::cleanPath(QDir(path).absolutePath());
    const QString folder = QDir::cleanPath(QDir(workspacesDirectory()).absolutePath()) + u'/';
    const QFileInfo info(standardized);
    const QString extension = info.suffix().toLower();
    return standardized.startsWith(folder) && (extension == u"yaml" || extension == u"yml") &&
           !info.fileName().startsWith(u'.');
}

Expected<std::optional<WorkspaceFileIsolation>>
PromptPersistenceService::isolateWorkspaceFile(const PromptWorkspace& workspace) const
{
    if (!workspace.fileURL)
        return std::optional<WorkspaceFileIsolation>();
    const QString original = *workspace.fileURL;
    if (!isManagedWorkspaceFile(original)) {
        AppLog::persistence(
            u"Reject unmanaged workspace file isolation file=%1"_s.arg(AppLog::fileContext(original)));
        return unmanagedWorkspaceFileError(original);
    }
    if (!entryExists(original))
        return std::optional<WorkspaceFileIsolation>();
    const QString isolated = QFileInfo(original).dir().filePath(
        u".velmora-deleting-"_s + workspace.id + u'-' +
        QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + u".tmp"_s);
    if (auto moved = moveEntry(original, isolated); !moved)
        return moved.error();
    return std::optional(WorkspaceFileIsolation{original, isolated});
}

Expected<void> PromptPersistenceService::restoreIsolatedWorkspaceFile(
    const std::optional<WorkspaceFileIsolation>& isolation) const
{
    if (!isolation || !entryExists(isolation->isolatedURL))
        return {};
    if (entryExists(isolation->originalURL)) {
        if (auto removed = removeEntry(isolation->originalURL); !removed)
            return removed;
    }
    return moveEntry(isolation->isolatedURL, isolation->originalURL);
}
