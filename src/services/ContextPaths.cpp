#include "ContextPaths.h"

#include <QDir>

namespace ContextPaths {

QString standardized(const QString& path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

QString lastPathComponent(const QString& path)
{
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(u'/'))
        trimmed.chop(1);
    if (trimmed == u"/")
        return trimmed;
    return trimmed.mid(trimmed.lastIndexOf(u'/') + 1);
}

} // namespace ContextPaths
