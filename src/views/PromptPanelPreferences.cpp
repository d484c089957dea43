#include "PromptPanelPreferences.h"

#include "Preferences.h"

#include <QSettings>

PromptPanelPreferences::PromptPanelPreferences(QSettings* defaults, QObject* parent)
    : QObject(parent), m_defaults(defaults)
{
    const auto stored = [defaults](const char* key) {
        return Preferences::string(*defaults, QString::fromLatin1(key)).value_or(QString());
    };
    m_layoutMode = promptPanelLayoutModeFromStored(stored(layoutModeKey));
    m_textSize = promptPanelTextSizeFromRawValue(stored(textSizeKey)).value_or(PromptPanelTextSize::system);
}

void PromptPanelPreferences::setLayoutMode(PromptPanelLayoutMode mode)
{
    if (mode == m_layoutMode)
        return;
    m_layoutMode = mode;
    m_defaults->setValue(QString::fromLatin1(layoutModeKey), toRawValue(mode));
    Q_EMIT layoutModeChanged(mode);
}

void PromptPanelPreferences::setTextSize(PromptPanelTextSize size)
{
    if (size == m_textSize)
        return;
    m_textSize = size;
    m_defaults->setValue(QString::fromLatin1(textSizeKey), toRawValue(size));
    Q_EMIT textSizeChanged(size);
}
