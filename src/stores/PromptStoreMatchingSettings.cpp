// The two matching switches of the settings: written at once, and published, so that every open view
// and the detector match by the new rule without a restart.
#include "PromptStore.h"

#include <QSettings>

void PromptStore::setAdvancedAutomaticMatchingEnabled(bool enabled)
{
    m_userDefaults->setValue(QString::fromLatin1(advancedMatchingKey), enabled);
    if (std::exchange(m_advancedAutomaticMatchingEnabled, enabled) != enabled)
        Q_EMIT advancedAutomaticMatchingEnabledChanged();
}

void PromptStore::setProjectConfigsEnabled(bool enabled)
{
    m_userDefaults->setValue(QString::fromLatin1(projectConfigsKey), enabled);
    if (std::exchange(m_projectConfigsEnabled, enabled) != enabled)
        Q_EMIT projectConfigsEnabledChanged();
}
