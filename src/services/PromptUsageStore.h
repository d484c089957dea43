// How often and when each prompt was copied, kept in ~/.velmora/prompt-usage.json.
#pragma once

#include "PromptUsage.h"

#include <QHash>
#include <QSet>
#include <QString>

class PromptUsageStore {
public:
    // Loads the records at once; a missing or unreadable file gives none.
    explicit PromptUsageStore(const QString& homeDirectory);

    const QHash<QString, PromptUsageRecord>& records() const { return m_records; }
    const QString& fileURL() const { return m_fileURL; }

    void recordSuccessfulCopy(const QString& promptID, const QDateTime& at);
    void remove(const QString& promptID);
    // Keeps the records of these prompt ids; writes only when that changed something.
    void retain(const QSet<QString>& promptIDs);

    // Decoding and encoding of the file; exposed for tests and fuzzing.
    static std::optional<QHash<QString, PromptUsageRecord>> decode(const QByteArray& json);
    static QByteArray encode(const QHash<QString, PromptUsageRecord>& records);

private:
    // Writes the new map and only then takes it into memory; a failure keeps the old records.
    void persist(const QHash<QString, PromptUsageRecord>& records);

    QString m_fileURL;
    QHash<QString, PromptUsageRecord> m_records;
};
