// Arbitrary bytes as the remembered variable values preference: the decoder, the store reading the
// preference, and the encoder round trip. The store keeps its limit, one non-empty value per
// normalised name, and a value it gives is what it holds.

#include "FuzzRequire.h"
#include "PromptVariableValueStore.h"

#include <QSet>
#include <QSettings>
#include <QTemporaryDir>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir folder;
    require(folder.isValid());
    static QSettings defaults(folder.filePath(QStringLiteral("defaults.ini")), QSettings::IniFormat);
    const QString key = QString::fromLatin1(PromptVariableValueStore::defaultsKey);

    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QList<PromptVariableRecentValue> decoded = PromptVariableValueStore::decode(bytes);
    require(PromptVariableValueStore::decode(PromptVariableValueStore::encode(decoded)) == decoded);

    defaults.setValue(key, bytes);
    PromptVariableValueStore store(&defaults);
    require(store.records().size() <= PromptVariableValueStore::recordLimit);
    QSet<QString> names;
    for (const PromptVariableRecentValue& record : store.records()) {
        require(!record.value.isEmpty() && !isBlank(record.normalizedName));
        require(record.normalizedName == record.normalizedName.toLower());
        require(store.value(record.normalizedName) == record.value);
        names.insert(record.normalizedName);
    }
    require(names.size() == store.records().size());
    // Reading changes nothing; the preference is written only by a recording.
    require(defaults.value(key).toByteArray() == bytes);
    return 0;
}
