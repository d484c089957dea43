#include "ProjectPromptConfigLoader.h"

#include "ContextPaths.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

// The parent folder by text alone; the root is its own parent.
QString parentFolder(const QString& folder)
{
    const qsizetype slash = folder.lastIndexOf(u'/');
    if (slash <= 0)
        return u"/"_s;
    return folder.left(slash);
}

QString childPath(const QString& folder, QLatin1String name)
{
    if (folder.endsWith(u'/'))
        return folder + name;
    return folder + u'/' + name;
}

} // namespace

ProjectPromptConfigLoader::ProjectPromptConfigLoader(qint64 maximumParentLevels)
    : m_maximumParentLevels(maximumParentLevels),
      m_parser(
          QDir::homePath(), [] { return AppLanguage::system; }, PromptConfigLimits{})
{}

std::optional<QString> ProjectPromptConfigLoader::configURL(const QString& startingAt) const
{
    QString folder = ContextPaths::standardized(startingAt);
    const QFileInfo start(folder);
    if (start.exists() && !start.isDir())
        folder = parentFolder(folder);

    for (qint64 steps = 0;; ++steps) {
        for (const char* name : {yamlFileName, ymlFileName}) {
            const QString candidate = childPath(folder, QLatin1String(name));
            if (QFileInfo::exists(candidate))
                return candidate;
        }
        const QString parent = parentFolder(folder);
        if (steps >= m_maximumParentLevels || parent == folder)
            return std::nullopt;
        folder = parent;
    }
}

std::optional<PromptWorkspace> ProjectPromptConfigLoader::loadWorkspace(const QString& at,
                                                                        const QString& startingAt)
{
    Q_UNUSED(startingAt) // the file's own folder is the project root, wherever the search began
    const QString filePath = ContextPaths::standardized(at);
    const QString projectRoot = parentFolder(filePath);
    std::optional<PromptWorkspace> workspace =
        m_parser.parse(filePath, ContextPaths::lastPathComponent(projectRoot));
    if (!workspace)
        return std::nullopt;
    workspace->id = QLatin1String(idPrefix) + filePath;
    workspace->fileURL = filePath;
    workspace->source = PromptWorkspaceSource::projectConfig;
    workspace->matchPaths = normalizedMatchPaths(workspace->matchPaths, projectRoot);
    return workspace;
}

QStringList ProjectPromptConfigLoader::normalizedMatchPaths(const QStringList& matchPaths,
                                                            const QString& projectRoot)
{
    const QStringList entries = matchPaths.isEmpty() ? QStringList{u"."_s} : matchPaths;
    QStringList result;
    result.reserve(entries.size());
    for (const QString& entry : entries) {
        if (entry == u".")
            result.append(projectRoot);
        else if (entry.startsWith(u"./"))
            result.append(ContextPaths::standardized(projectRoot + u'/' + QStringView(entry).mid(2)));
        else if (entry.startsWith(u'/'))
            result.append(ContextPaths::standardized(entry));
        else
            result.append(ContextPaths::standardized(projectRoot + u'/' + entry));
    }
    return result;
}
