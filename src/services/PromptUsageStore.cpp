#include "PromptUsageStore.h"

#include "AppLog.h"
#include "ReferenceDate.h"
#include "SecureFileWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

AppError decodingError()
{
    return AppError{u"DecodingError"_s, u"NSCocoaErrorDomain"_s, 4864, QString()};
}

} // namespace

PromptUsageStore::PromptUsageStore(const QString& homeDirectory)
    : m_fileURL(QDir(homeDirectory).filePath(u".velmora/prompt-usage.json"_s))
{
    QFile file(m_fileURL);
    if (!file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        AppLog::persistence(
            u"Load prompt usage failed error=%1"_s.arg(AppLog::errorSummary(AppError::posix(EACCES))));
        return;
    }
    const auto decoded = decode(file.readAll());
    if (!decoded) {
        AppLog::persistence(
            u"Load prompt usage failed error=%1"_s.arg(AppLog::errorSummary(decodingError())));
        return;
    }
    m_records = *decoded;
}

std::optional<QHash<QString, PromptUsageRecord>> PromptUsageStore::decode(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    QHash<QString, PromptUsageRecord> records;
    for (const QJsonValue& value : document.array()) {
        const QJsonObject object = value.toObject();
        const QJsonValue id = object.value(u"promptID");
        const QJsonValue lastUsedAt = object.value(u"lastUsedAt");
        const QJsonValue count = object.value(u"successfulCopyCount");
        if (!value.isObject() || !id.isString() || !lastUsedAt.isDouble() || !count.isDouble())
            return std::nullopt;
        // A count must be a whole number within 64 bits; toInteger() gives 0 for anything else.
        const qint64 countNumber = count.toInteger();
        if (countNumber == 0 && count.toDouble() != 0.0)
            return std::nullopt;
        PromptUsageRecord record{id.toString(), ReferenceDate::fromSeconds(lastUsedAt.toDouble()),
                                 std::max<qint64>(0, countNumber)};
        auto existing = records.find(record.promptID);
        if (existing != records.end()) {
            existing->lastUsedAt = std::max(existing->lastUsedAt, record.lastUsedAt);
            existing->successfulCopyCount =
                std::max(existing->successfulCopyCount, record.successfulCopyCount);
        } else {
            records.insert(record.promptID, record);
        }
    }
    return records;
}

QByteArray PromptUsageStore::encode(const QHash<QString, PromptUsageRecord>& records)
{
    QStringList ids = records.keys();
    std::sort(ids.begin(), ids.end());
    QJsonArray array;
    for (const QString& id : std::as_const(ids)) {
        const PromptUsageRecord& record = records[id];
        array.append(QJsonObject{{u"promptID"_s, record.promptID},
                                 {u"lastUsedAt"_s, ReferenceDate::toSeconds(record.lastUsedAt)},
                                 {u"successfulCopyCount"_s, record.successfulCopyCount}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

void PromptUsageStore::recordSuccessfulCopy(const QString& promptID, const QDateTime& at)
{
    const qint64 previous = std::max<qint64>(0, m_records.value(promptID).successfulCopyCount);
    const qint64 count = previous == std::numeric_limits<qint64>::max() ? previous : previous + 1;
    QHash<QString, PromptUsageRecord> records = m_records;
    records.insert(promptID, PromptUsageRecord{promptID, at, count});
    persist(records);
}

void PromptUsageStore::remove(const QString& promptID)
{
    if (!m_records.contains(promptID))
        return;
    QHash<QString, PromptUsageRecord> records = m_records;
    records.remove(promptID);
    persist(records);
}

void PromptUsageStore::retain(const QSet<QString>& promptIDs)
{
    QHash<QString, PromptUsageRecord> records = m_records;
    records.removeIf([&](const auto& entry) { return !promptIDs.contains(entry.key()); });
    if (records.size() != m_records.size())
        persist(records);
}

void PromptUsageStore::persist(const QHash<QString, PromptUsageRecord>& records)
{
    const QString folder = QFileInfo(m_fileURL).absolutePath();
    Expected<void> result;
    if (!QDir().mkpath(folder))
        result = AppError::posix(QFileInfo(folder).exists() ? ENOTDIR : EACCES);
    if (result)
        result = SecureFileWriter::restrictDirectoryToCurrentUser(folder);
    if (result)
        result = SecureFileWriter::writeData(encode(records), m_fileURL);
    if (!result) {
        AppLog::persistence(u"Save prompt usage failed recordCount=%1 error=%2"_s.arg(
            QString::number(records.size()), AppLog::errorSummary(result.error())));
        return;
    }
    m_records = records;
}
