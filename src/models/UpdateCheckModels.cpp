#include "UpdateCheckModels.h"

#include <algorithm>

using namespace Qt::StringLiterals;

QString toRawValue(UpdateCheckFailure failure)
{
    switch (failure) {
    case UpdateCheckFailure::offline:
        return u"offline"_s;
    case UpdateCheckFailure::server:
        return u"server"_s;
    case UpdateCheckFailure::signature:
        return u"signature"_s;
    case UpdateCheckFailure::feed:
        return u"feed"_s;
    }
    return u"feed"_s;
}

UpdateCheckOutcome UpdateCheckOutcome::upToDate(const QString& currentVersion)
{
    UpdateCheckOutcome outcome;
    outcome.kind = Kind::upToDate;
    outcome.currentVersion = currentVersion;
    return outcome;
}

UpdateCheckOutcome UpdateCheckOutcome::updateAvailable(const QString& currentVersion,
                                                       const UpdateAnnouncement& announcement)
{
    UpdateCheckOutcome outcome;
    outcome.kind = Kind::updateAvailable;
    outcome.currentVersion = currentVersion;
    outcome.announcement = announcement;
    return outcome;
}

UpdateCheckOutcome UpdateCheckOutcome::failed(const QString& currentVersion, UpdateCheckFailure failure,
                                              const AppError& error)
{
    UpdateCheckOutcome outcome;
    outcome.kind = Kind::failed;
    outcome.currentVersion = currentVersion;
    outcome.failure = failure;
    outcome.error = error;
    return outcome;
}

namespace DottedVersion {

std::optional<QList<quint64>> parse(const QString& text)
{
    // 18 digits always fit in 64 bits; longer components are no version anyone publishes.
    constexpr qsizetype maximumDigits = 18;
    constexpr qsizetype maximumComponents = 16;

    if (text.isEmpty())
        return std::nullopt;
    const QStringList parts = text.split(u'.');
    if (parts.size() > maximumComponents)
        return std::nullopt;
    QList<quint64> numbers;
    numbers.reserve(parts.size());
    for (const QString& part : parts) {
        if (part.isEmpty() || part.size() > maximumDigits)
            return std::nullopt;
        quint64 value = 0;
        for (const QChar c : part) {
            if (c < u'0' || c > u'9')
                return std::nullopt;
            value = value * 10 + quint64(c.unicode() - u'0');
        }
        numbers.append(value);
    }
    return numbers;
}

int compare(const QList<quint64>& lhs, const QList<quint64>& rhs)
{
    const qsizetype count = std::max(lhs.size(), rhs.size());
    for (qsizetype i = 0; i < count; ++i) {
        const quint64 left = i < lhs.size() ? lhs.at(i) : 0;
        const quint64 right = i < rhs.size() ? rhs.at(i) : 0;
        if (left != right)
            return left < right ? -1 : 1;
    }
    return 0;
}

} // namespace DottedVersion
