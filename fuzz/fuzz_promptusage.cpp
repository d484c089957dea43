// Arbitrary bytes as prompt-usage.json: the decoder, the store loading the file, and the encoder
// round trip of whatever decoded. A file that doesn't decode loads no records and stays as it was.

#include "FuzzHome.h"
#include "PromptUsageStore.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString home = fuzzHome();
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const auto decoded = PromptUsageStore::decode(bytes);
    if (decoded) {
        for (auto record = decoded->cbegin(); record != decoded->cend(); ++record)
            require(record.key() == record->promptID && record->successfulCopyCount >= 0);
        const auto again = PromptUsageStore::decode(PromptUsageStore::encode(*decoded));
        require(again.has_value() && *again == *decoded);
    }

    const QString path = home + QStringLiteral("/.velmora/prompt-usage.json");
    writeFuzzFile(path, bytes);
    const PromptUsageStore store(home);
    require(store.fileURL() == path);
    require(store.records() == decoded.value_or(QHash<QString, PromptUsageRecord>()));
    require(readFuzzFile(path) == bytes);
    return 0;
}
