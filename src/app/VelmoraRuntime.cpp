#include "VelmoraRuntime.h"

#include "AppLanguageStore.h"
#include "AppNotifications.h"
#include "BackgroundPromptConfigLoader.h"
#include "PromptStore.h"

#include <QSettings>

VelmoraRuntime::VelmoraRuntime(const QString& homeDirectory, std::unique_ptr<QSettings> defaults,
                               QObject* parent)
    : QObject(parent), m_defaults(std::move(defaults)), m_notifications(new AppNotifications(this))
{
    m_languageStore = new AppLanguageStore(m_defaults.get(), systemPreferredLanguages, this);
    const auto languageProvider = [languages = m_languageStore] {
        return languages->effectiveLanguage();
    };

    // The first reload starts here, before the application has finished launching.
    PromptStore::Collaborators collaborators;
    collaborators.configLoader =
        std::make_shared<BackgroundPromptConfigLoader>(homeDirectory, PromptConfigLimits{});
    m_promptStore =
        new PromptStore(homeDirectory, languageProvider, m_defaults.get(), collaborators, true, this);
}

VelmoraRuntime::~VelmoraRuntime() = default;
