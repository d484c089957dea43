#include "AppLanguage.h"
#include "RawValues.h"

#include "Localization.h"
#include "Preferences.h"

#include <QLocale>
#include <QSettings>

using namespace Qt::StringLiterals;

QString toRawValue(AppLanguage language)
{
    switch (language) {
    case AppLanguage::system:
        return u"system"_s;
    case AppLanguage::zhHans:
        return u"zhHans"_s;
    case AppLanguage::english:
        return u"english"_s;
    }
    return u"system"_s;
}

std::optional<AppLanguage> appLanguageFromRawValue(const QString& raw)
{
    return enumFromRawValue<AppLanguage>(allAppLanguages, raw);
}

AppLanguage systemResolved(const QStringList& preferredLanguages)
{
    if (preferredLanguages.isEmpty())
        return AppLanguage::english;
    const QString first = preferredLanguages.first().toLower();
    // Locale names may come with underscores (zh_CN) from the environment.
    const QString normalized = QString(first).replace(u'_', u'-');
    for (const auto prefix : {u"zh-hans", u"zh-cn", u"zh-sg"}) {
        if (normalized.startsWith(prefix))
            return AppLanguage::zhHans;
    }
    return AppLanguage::english;
}

QString catalogCode(AppLanguage language)
{
    switch (language) {
    case AppLanguage::zhHans:
        return u"zh-Hans"_s;
    case AppLanguage::english:
        return u"en"_s;
    case AppLanguage::system:
        return catalogCode(systemResolved(systemPreferredLanguages()));
    }
    return u"en"_s;
}

QStringList systemPreferredLanguages()
{
    return QLocale::system().uiLanguages();
}

namespace L10n {

namespace {
std::optional<AppLanguage> languageOverride;
}

void setLanguageOverride(std::optional<AppLanguage> language)
{
    if (language == AppLanguage::system)
        language = systemResolved(systemPreferredLanguages());
    languageOverride = language;
}

AppLanguage currentLanguage()
{
    if (languageOverride)
        return *languageOverride;
    const QString stored =
        Preferences::string(*Preferences::openStandard(), QString::fromLatin1(interfaceLanguageKey))
            .value_or(QString());
    if (stored == u"zhHans")
        return AppLanguage::zhHans;
    if (stored == u"english")
        return AppLanguage::english;
    return systemResolved(systemPreferredLanguages());
}

QString text(const QString& key)
{
    return AppLocalizationCatalog::shared().string(key, currentLanguage());
}

QString text(const QString& key, AppLanguage language)
{
    return AppLocalizationCatalog::shared().string(key, language);
}

} // namespace L10n
