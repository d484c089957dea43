// The interface language: the user's choice and its resolution against the system's languages.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

enum class AppLanguage { system, zhHans, english };

inline constexpr AppLanguage allAppLanguages[] = {AppLanguage::system, AppLanguage::zhHans,
                                                  AppLanguage::english};

QString toRawValue(AppLanguage language);
std::optional<AppLanguage> appLanguageFromRawValue(const QString& raw);

// Never `system`: only the first preferred language counts, and only Simplified Chinese maps to zhHans.
AppLanguage systemResolved(const QStringList& preferredLanguages);

// The catalog code of a language; `system` resolves against the system's languages first.
QString catalogCode(AppLanguage language);

// The system's preferred languages, as the desktop reports them.
QStringList systemPreferredLanguages();

namespace L10n {
inline constexpr auto interfaceLanguageKey = "Velmora.interfaceLanguage.v1";

// For code with no store in reach: the override if one is set, else the preference. Never `system`.
AppLanguage currentLanguage();
// A language that wins over the preference for the whole process, such as a command-line tool's
// choice for one run. Set it before any other thread asks for texts.
void setLanguageOverride(std::optional<AppLanguage> language);

// The text of a key in the current language.
QString text(const QString& key);
QString text(const QString& key, AppLanguage language);
} // namespace L10n
