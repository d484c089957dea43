#include "ProjectConfigTrustStore.h"

#include "ContentDigest.h"
#include "SecureFileWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

std::optional<QByteArray> readFile(const QString& path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

} // namespace

ProjectConfigTrustStore::ProjectConfigTrustStore(QString homeDirectory)
    : m_homeDirectory(std::move(homeDirectory))
{}

QString ProjectConfigTrustStore::fileURL() const
{
    return QDir(m_homeDirectory).filePath(u".velmora/trusted-project-configs.json"_s);
}

QString ProjectConfigTrustStore::normalizedPath(const QString& path)
{
    QString expanded = path;
    if (expanded == u"~" || expanded.startsWith(u"~/"))
        expanded = QDir::homePath() + expanded.mid(1);
    QString standardized = QDir::cleanPath(QDir(expanded).absolutePath());
    // Resolve links where the path exists; a missing path keeps its standardised form.
    const QString resolved = QFileInfo(standardized).canonicalFilePath();
    return resolved.isEmpty() ? standardized : resolved;
}

QString ProjectConfigTrustStore::sha256Hex(const QByteArray& bytes)
{
    return ContentDigest::sha256Hex(bytes);
}

void ProjectConfigTrustStore::reload()
{
    m_hashesByPath.clear();
    const auto bytes = readFile(fileURL());
    if (!bytes)
        return;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(*bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return;
    QHash<QString, QString> map;
    for (const QJsonValue& value : document.array()) {
        const QJsonValue path = value.toObject().value(u"path");
        const QJsonValue sha = value.toObject().value(u"sha256");
        if (!path.isString() || !sha.isString())
            return; // one bad record makes the whole file undecodable
        map.insert(normalizedPath(path.toString()), sha.toString());
    }
    m_hashesByPath = map;
}

bool ProjectConfigTrustStore::isTrusted(const QString& path) const
{
    const QString normalized = normalizedPath(path);
    const auto stored = m_hashesByPath.constFind(normalized);
    if (stored == m_hashesByPath.constEnd())
        return false;
    const auto bytes = readFile(normalized);
    return bytes && sha256Hex(*bytes) == *stored;
}

Expected<void> ProjectConfigTrustStore::trust(const QString& path)
{
    const QString normalized = normalizedPath(path);
    const auto bytes = readFile(normalized);
    if (!bytes)
        return AppError{u"CocoaError"_s, u"NSCocoaErrorDomain"_s, 260, QString()}; // file read: no such file
    m_hashesByPath.insert(normalized, sha256Hex(*bytes));

    const QString folder = QFileInfo(fileURL()).absolutePath();
    if (!QDir().mkpath(folder))
        return AppError::posix(QFileInfo(folder).exists() ? ENOTDIR : EACCES);
    if (auto restricted = SecureFileWriter::restrictDirectoryToCurrentUser(folder); !restricted)
        return restricted;
    QStringList paths = m_hashesByPath.keys();
    std::sort(paths.begin(), paths.end());
    QJsonArray records;
    for (const QString& trustedPath : std::as_const(paths))
        records.append(QJsonObject{{u"path"_s, trustedPath}, {u"sha256"_s, m_hashesByPath[trustedPath]}});
    return SecureFileWriter::writeData(QJsonDocument(records).toJson(QJsonDocument::Compact), fileURL());
}
