// The user's choice of interface language, kept in the preferences as the raw value.
#pragma once

#include "AppLanguage.h"

#include <QObject>
#include <functional>

class QSettings;

class AppLanguageStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(AppLanguage selection READ selection WRITE setSelection NOTIFY selectionChanged)

public:
    using PreferredLanguages = std::function<QStringList()>;

    AppLanguageStore(QSettings* defaults, PreferredLanguages preferredLanguages, QObject* parent = nullptr);

    AppLanguage selection() const { return m_selection; }
    // Writes the raw value at once, `system` included.
    void setSelection(AppLanguage selection);

    // The selection, with `system` resolved against the preferred languages. Never `system`.
    AppLanguage effectiveLanguage() const;

Q_SIGNALS:
    void selectionChanged(AppLanguage selection);

private:
    QSettings* m_defaults;
    PreferredLanguages m_preferredLanguages;
    AppLanguage m_selection = AppLanguage::system;
};
