// Which project prompt files the user has trusted, each by the SHA-256 of the bytes it had when
// trusted: one changed byte withdraws the trust until it is granted again.
#pragma once

#include "AppError.h"

#include <QHash>
#include <QString>

class ProjectConfigTrustStore {
public:
    explicit ProjectConfigTrustStore(QString homeDirectory);

    // Replaces the map from the trust file; a missing or corrupt file gives an empty map, silently.
    void reload();
    // Hashes the file at every call, so an edit is seen at once.
    bool isTrusted(const QString& path) const;
    // Trusts the file's bytes as they are now. The entry stays in memory even when writing the trust
    // file fails, so the trust then holds for this run only.
    Expected<void> trust(const QString& path);

    const QHash<QString, QString>& trustedConfigHashesByPath() const { return m_hashesByPath; }
    QString fileURL() const;

    // The normal form of a path: "~" expanded, standardised, symbolic links resolved.
    static QString normalizedPath(const QString& path);
    static QString sha256Hex(const QByteArray& bytes);

private:
    QString m_homeDirectory;
    QHash<QString, QString> m_hashesByPath;
};
