// The value last typed for each variable name, so the next form of a variable of that name starts
// with it. At most 50 names, kept in one preference.
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

class QSettings;

struct PromptVariableRecentValue {
    QString normalizedName;
    QString value; // never empty
    QDateTime updatedAt;

    bool operator==(const PromptVariableRecentValue&) const = default;
};

class PromptVariableValueStore {
public:
    static constexpr auto defaultsKey = "Velmora.promptVariableRecentValues.v1";
    static constexpr qsizetype recordLimit = 50;

    // Reads the preference at once; an unreadable one gives no values, silently.
    explicit PromptVariableValueStore(QSettings* defaults);

    std::optional<QString> value(const QString& name) const;
    // An empty value or a blank name changes nothing.
    void record(const QString& value, const QString& name, const QDateTime& updatedAt);
    // Forgets every value and removes the preference.
    void removeAll();

    const QList<PromptVariableRecentValue>& records() const { return m_records; }

    static QList<PromptVariableRecentValue> decode(const QByteArray& json);
    static QByteArray encode(const QList<PromptVariableRecentValue>& records);

private:
    void removeOldestRecordsIfNeeded();

    QSettings* m_defaults;
    QList<PromptVariableRecentValue> m_records; // oldest recording first
};
