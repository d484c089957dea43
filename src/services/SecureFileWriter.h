// The one way to write under ~/.velmora: atomic replace, owner-only modes, a log line on failure.
#pragma once

#include "AppError.h"

#include <QByteArray>
#include <QString>

namespace SecureFileWriter {

inline constexpr int userReadWritePermissions = 0600;
inline constexpr int userOnlyDirectoryPermissions = 0700;

// A reader sees the old content or the new one, never a part, and the new file is never visible at
// a mode wider than 600. Creates no folders. An error after the replace means the content did change.
Expected<void> writeData(const QByteArray& data, const QString& path);
Expected<void> writeString(const QString& text, const QString& path);
Expected<void> restrictDirectoryToCurrentUser(const QString& directory);

} // namespace SecureFileWriter
