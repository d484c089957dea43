#include "ShortcutSettingsStore.h"

#include "Preferences.h"

#include <QSettings>

using namespace Qt::StringLiterals;

namespace {

QString keyString(const char* key)
{
    return QString::fromLatin1(key);
}

} // namespace

QString ShortcutSettingsStore::defaultCopySoundName()
{
    return u"Glass"_s;
}

QList<ShortcutSettingsStore::CopySoundOption> ShortcutSettingsStore::copySoundOptions()
{
    QList<CopySoundOption> options{{u"copy.sound.off"_s, QString()}};
    for (const QString& name : {u"Glass"_s, u"Ping"_s, u"Pop"_s, u"Tink"_s, u"Hero"_s})
        options.append({name, name});
    return options;
}

ShortcutSettingsStore::ShortcutSettingsStore(QSettings* defaults, LanguageProvider languageProvider,
                                             QObject* parent)
    : QObject(parent), m_defaults(defaults), m_languageProvider(std::move(languageProvider))
{
    bool rewritesToggleShortcut = false;
    if (const auto data = Preferences::data(*m_defaults, keyString(key))) {
        const auto decoded = PromptKeyboardShortcut::decodeJson(*data);
        if (decoded && ShortcutModifiers::hasRequiredModifier(decoded->modifiersRawValue)) {
            if (PromptKeyboardShortcut::replacedDefaultTogglePanels().contains(*decoded))
                rewritesToggleShortcut = true;
            else
                m_togglePanelShortcut = *decoded;
        }
    }

    if (const auto data = Preferences::data(*m_defaults, keyString(promptTileShortcutKey))) {
        const auto decoded = PromptTileShortcut::decodeJson(*data);
        if (decoded && ShortcutModifiers::hasRequiredModifier(decoded->modifiersRawValue))
            m_promptTileShortcut = *decoded;
    }

    m_hoverOpenEnabled =
        Preferences::boolean(*m_defaults, keyString(hoverOpenEnabledKey)).value_or(defaultHoverOpenEnabled);
    m_copyHapticsEnabled = Preferences::boolean(*m_defaults, keyString(copyHapticsEnabledKey))
                               .value_or(defaultCopyHapticsEnabled);
    m_copySoundName =
        Preferences::string(*m_defaults, keyString(copySoundNameKey)).value_or(defaultCopySoundName());

    // An earlier default is left behind for good: the user never chose it.
    if (rewritesToggleShortcut)
        save(m_togglePanelShortcut);
}

void ShortcutSettingsStore::setTogglePanelShortcut(const PromptKeyboardShortcut& shortcut)
{
    if (shortcut == m_togglePanelShortcut)
        return;
    m_togglePanelShortcut = shortcut;
    Q_EMIT togglePanelShortcutChanged();
}

void ShortcutSettingsStore::setHotKeyStatus(const HotKeyStatus& status)
{
    if (status == m_hotKeyStatus)
        return;
    m_hotKeyStatus = status;
    Q_EMIT hotKeyStatusChanged();
}

QString ShortcutSettingsStore::hotKeyStatusMessage() const
{
    return m_hotKeyStatus.message(m_languageProvider());
}

void ShortcutSettingsStore::setHoverOpenEnabled(bool enabled)
{
    m_defaults->setValue(keyString(hoverOpenEnabledKey), enabled);
    if (enabled == m_hoverOpenEnabled)
        return;
    m_hoverOpenEnabled = enabled;
    Q_EMIT hoverOpenEnabledChanged();
}

void ShortcutSettingsStore::setCopyHapticsEnabled(bool enabled)
{
    m_defaults->setValue(keyString(copyHapticsEnabledKey), enabled);
    if (enabled == m_copyHapticsEnabled)
        return;
    m_copyHapticsEnabled = enabled;
    Q_EMIT copyHapticsEnabledChanged();
}

void ShortcutSettingsStore::setCopySoundName(const QString& name)
{
    m_defaults->setValue(keyString(copySoundNameKey), name);
    if (name == m_copySoundName)
        return;
    m_copySoundName = name;
    Q_EMIT copySoundNameChanged();
}

void ShortcutSettingsStore::requestTogglePanelShortcut(const PromptKeyboardShortcut& shortcut)
{
    if (!ShortcutModifiers::hasRequiredModifier(shortcut.modifiersRawValue)) {
        setHotKeyStatus(HotKeyStatus::invalid());
        return;
    }
    setHotKeyStatus(HotKeyStatus::registering(shortcut));
    Q_EMIT shortcutRequests(shortcut);
}

void ShortcutSettingsStore::save(const PromptKeyboardShortcut& shortcut)
{
    m_defaults->setValue(keyString(key), shortcut.encodedJson());
}

void ShortcutSettingsStore::savePromptTileShortcut(const PromptTileShortcut& shortcut)
{
    m_defaults->setValue(keyString(promptTileShortcutKey), shortcut.encodedJson());
    if (shortcut == m_promptTileShortcut)
        return;
    m_promptTileShortcut = shortcut;
    Q_EMIT promptTileShortcutChanged();
}
