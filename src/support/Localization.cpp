#include "Localization.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

const QString catalogFileName = u"Localizable.xcstrings"_s;

AppError catalogError(qint64 code, const QString& detail)
{
    return AppError{u"CatalogError"_s, u"app.velmora.catalog"_s, code, detail};
}

} // namespace

const AppLocalizationCatalog& AppLocalizationCatalog::shared()
{
    static const AppLocalizationCatalog catalog = [] {
        Expected<AppLocalizationCatalog> loaded = load();
        return loaded ? *loaded : AppLocalizationCatalog{};
    }();
    return catalog;
}

Expected<AppLocalizationCatalog> AppLocalizationCatalog::load()
{
    const QString resource = u":/"_s + catalogFileName;
    if (QFile::exists(resource))
        return load(resource);
    if (QCoreApplication::instance()) {
        const QString beside = QDir(QCoreApplication::applicationDirPath()).filePath(catalogFileName);
        if (QFile::exists(beside))
            return load(beside);
    }
    return loadFromSourceTree(QDir::currentPath());
}

Expected<AppLocalizationCatalog> AppLocalizationCatalog::loadFromSourceTree(const QString& startDirectory)
{
    QDir directory(startDirectory);
    for (int level = 0; level < 8; ++level) {
        const QString candidate = directory.filePath(u"resources/"_s + catalogFileName);
        if (QFileInfo::exists(candidate))
            return load(candidate);
        if (!directory.cdUp())
            break;
    }
    return AppError::posix(ENOENT);
}

Expected<AppLocalizationCatalog> AppLocalizationCatalog::load(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return AppError::posix(file.error() == QFileDevice::OpenError ? EACCES : EIO, file.errorString());
    return decode(file.readAll());
}

Expected<AppLocalizationCatalog> AppLocalizationCatalog::decode(const QByteArray& json)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject())
        return catalogError(1, u"The catalog is not a JSON object."_s);
    const QJsonValue strings = document.object().value(u"strings");
    if (!strings.isObject())
        return catalogError(2, u"The catalog has no strings."_s);

    AppLocalizationCatalog catalog;
    const QJsonObject entries = strings.toObject();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        if (!entry->isObject())
            return catalogError(3, u"A catalog entry is not an object."_s);
        QHash<QString, QString> texts;
        const QJsonValue localizations = entry->toObject().value(u"localizations");
        if (localizations.isObject()) {
            const QJsonObject byCode = localizations.toObject();
            for (auto localization = byCode.begin(); localization != byCode.end(); ++localization) {
                const QJsonValue unit = localization->toObject().value(u"stringUnit");
                if (!unit.isObject())
                    continue;
                const QJsonValue value = unit.toObject().value(u"value");
                if (!value.isString())
                    return catalogError(4, u"A string unit has no value."_s);
                if (!value.toString().isEmpty())
                    texts.insert(localization.key(), value.toString());
            }
        } else if (!localizations.isUndefined()) {
            return catalogError(3, u"A catalog entry's localizations are not an object."_s);
        }
        catalog.values.insert(entry.key(), texts);
    }
    return catalog;
}

QString AppLocalizationCatalog::string(const QString& key, AppLanguage language) const
{
    const auto entry = values.constFind(key);
    if (entry == values.constEnd())
        return key;
    const QString text = entry->value(catalogCode(language));
    if (!text.isEmpty())
        return text;
    return entry->value(u"en"_s, key);
}
