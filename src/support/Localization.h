// The catalog of interface texts: key -> catalog code -> text, read once from Localizable.xcstrings.
#pragma once

#include "AppError.h"
#include "AppLanguage.h"

#include <QHash>
#include <QString>

struct AppLocalizationCatalog {
    QHash<QString, QHash<QString, QString>> values;

    bool operator==(const AppLocalizationCatalog&) const = default;

    // Built on first use; an unloadable catalog leaves it empty, so every lookup returns its key.
    static const AppLocalizationCatalog& shared();

    // The first place that holds the catalog: the compiled-in resource, beside the executable, then
    // the source tree above the current folder. A file found but unreadable fails; later places are
    // not tried.
    static Expected<AppLocalizationCatalog> load();
    static Expected<AppLocalizationCatalog> load(const QString& path);
    static Expected<AppLocalizationCatalog> loadFromSourceTree(const QString& startDirectory);
    static Expected<AppLocalizationCatalog> decode(const QByteArray& json);

    // Never fails: the language's text, else the English one, else the key itself.
    QString string(const QString& key, AppLanguage language) const;
};
