#include "AppLanguageStore.h"

#include "Preferences.h"

#include <QSettings>

AppLanguageStore::AppLanguageStore(QSettings* defaults, PreferredLanguages preferredLanguages,
                                   QObject* parent)
    : QObject(parent), m_defaults(defaults), m_preferredLanguages(std::move(preferredLanguages))
{
    // An unknown stored value reads as `system` and stays in the file until the user chooses.
    const auto stored = Preferences::string(*m_defaults, QString::fromLatin1(L10n::interfaceLanguageKey));
    m_selection = appLanguageFromRawValue(stored.value_or(QString())).value_or(AppLanguage::system);
}

void AppLanguageStore::setSelection(AppLanguage selection)
{
    m_defaults->setValue(QString::fromLatin1(L10n::interfaceLanguageKey), toRawValue(selection));
    if (selection == m_selection)
        return;
    m_selection = selection;
    Q_EMIT selectionChanged(selection);
}

AppLanguage AppLanguageStore::effectiveLanguage() const
{
    if (m_selection != AppLanguage::system)
        return m_selection;
    return systemResolved(m_preferredLanguages());
}
