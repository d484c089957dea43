// Typed reads of the user's preferences. The INI file keeps no types, so a value read back is text:
// "true"/"false" count as booleans and decimal text as a number; anything else is of the wrong type
// and reads as absent, which callers turn into their default.
#pragma once

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>

class QSettings;

namespace Preferences {

// The application's own preferences: ~/.config/Velmora/Velmora.conf. A new object per call, so that
// background threads never share one.
std::unique_ptr<QSettings> openStandard();

std::optional<bool> boolean(const QSettings& settings, const QString& key);
std::optional<qint64> integer(const QSettings& settings, const QString& key);
std::optional<quint64> unsignedInteger(const QSettings& settings, const QString& key);
std::optional<QString> string(const QSettings& settings, const QString& key);
std::optional<QByteArray> data(const QSettings& settings, const QString& key);

} // namespace Preferences
