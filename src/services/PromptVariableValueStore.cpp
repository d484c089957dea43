#include "PromptVariableValueStore.h"

#include "CharacterClasses.h"
#include "Preferences.h"
#include "ReferenceDate.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString normalizedName(const QString& name)
{
    return CharacterClasses::trimmedWhitespaceAndNewlines(name).toString().toLower();
}

} // namespace

PromptVariableValueStore::PromptVariableValueStore(QSettings* defaults) : m_defaults(defaults)
{
    const auto data = Preferences::data(*m_defaults, QString::fromLatin1(defaultsKey));
    if (!data)
        return;
    for (PromptVariableRecentValue record : decode(*data)) {
        if (record.value.isEmpty())
            continue;
        record.normalizedName = normalizedName(record.normalizedName);
        if (record.normalizedName.isEmpty())
            continue;
        const auto existing = std::find_if(m_records.begin(), m_records.end(), [&](const auto& r) {
            return r.normalizedName == record.normalizedName;
        });
        if (existing == m_records.end()) {
            m_records.append(record);
        } else if (existing->updatedAt <= record.updatedAt) {
            m_records.erase(existing);
            m_records.append(record);
        }
    }
    removeOldestRecordsIfNeeded();
}

std::optional<QString> PromptVariableValueStore::value(const QString& name) const
{
    const QString normalized = normalizedName(name);
    if (normalized.isEmpty())
        return std::nullopt;
    for (const PromptVariableRecentValue& record : m_records) {
        if (record.normalizedName == normalized)
            return record.value;
    }
    return std::nullopt;
}

void PromptVariableValueStore::record(const QString& value, const QString& name, const QDateTime& updatedAt)
{
    const QString normalized = normalizedName(name);
    if (value.isEmpty() || normalized.isEmpty())
        return;
    m_records.removeIf([&](const PromptVariableRecentValue& r) { return r.normalizedName == normalized; });
    m_records.append(PromptVariableRecentValue{normalized, value, updatedAt});
    removeOldestRecordsIfNeeded();
    m_defaults->setValue(QString::fromLatin1(defaultsKey), encode(m_records));
}

void PromptVariableValueStore::removeAll()
{
    m_records.clear();
    m_defaults->remove(QString::fromLatin1(defaultsKey));
}

void PromptVariableValueStore::removeOldestRecordsIfNeeded()
{
    while (m_records.size() > recordLimit) {
        // min_element keeps the first among equal times.
        const auto oldest =
            std::min_element(m_records.begin(), m_records.end(),
                             [](const auto& a, const auto& b) { return a.updatedAt < b.updatedAt; });
        m_records.erase(oldest);
    }
}

QList<PromptVariableRecentValue> PromptVariableValueStore::decode(const QByteArray& json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return {};
    QList<PromptVariableRecentValue> records;
    for (const QJsonValue& value : document.array()) {
        const QJsonObject object = value.toObject();
        const QJsonValue name = object.value(u"normalizedName");
        const QJsonValue text = object.value(u"value");
        const QJsonValue updatedAt = object.value(u"updatedAt");
        if (!value.isObject() || !name.isString() || !text.isString() || !updatedAt.isDouble())
            return {}; // one bad record fails the whole array
        records.append({name.toString(), text.toString(), ReferenceDate::fromSeconds(updatedAt.toDouble())});
    }
    return records;
}

QByteArray PromptVariableValueStore::encode(const QList<PromptVariableRecentValue>& records)
{
    QJsonArray array;
    for (const PromptVariableRecentValue& record : records) {
        array.append(QJsonObject{{u"normalizedName"_s, record.normalizedName},
                                 {u"value"_s, record.value},
                                 {u"updatedAt"_s, ReferenceDate::toSeconds(record.updatedAt)}});
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}
