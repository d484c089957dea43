// Arbitrary bytes as Localizable.xcstrings. A catalog that decodes answers every lookup with a text:
// the language's, else the English one, else the key; one that doesn't decode says why.

#include "FuzzRequire.h"
#include "Localization.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const Expected<AppLocalizationCatalog> catalog =
        AppLocalizationCatalog::decode(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (!catalog) {
        require(!catalog.error().description.isEmpty());
        return 0;
    }
    require(catalog->string(QStringLiteral("fuzz.key.absent.from.every.catalog"), AppLanguage::english) ==
            QStringLiteral("fuzz.key.absent.from.every.catalog"));
    for (auto entry = catalog->values.cbegin(); entry != catalog->values.cend(); ++entry) {
        for (const QString& text : *entry)
            require(!text.isEmpty());
        for (AppLanguage language : allAppLanguages) {
            const QString text = catalog->string(entry.key(), language);
            const QString own = entry->value(catalogCode(language));
            require(text == (!own.isEmpty() ? own : entry->value(QStringLiteral("en"), entry.key())));
        }
    }
    return 0;
}
