// Times in the library's JSON files are seconds since 2001-01-01 00:00:00 UTC.
#pragma once

#include <QDateTime>
#include <QTimeZone>

#include <cmath>

namespace ReferenceDate {

inline constexpr qint64 epochOffsetSeconds = 978307200; // 2001-01-01 in Unix time

inline QDateTime fromSeconds(double seconds)
{
    return QDateTime::fromMSecsSinceEpoch(
        qint64(std::llround((seconds + double(epochOffsetSeconds)) * 1000.0)), Qt::UTC);
}

inline double toSeconds(const QDateTime& time)
{
    return double(time.toMSecsSinceEpoch()) / 1000.0 - double(epochOffsetSeconds);
}

} // namespace ReferenceDate
