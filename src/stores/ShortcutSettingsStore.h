// The user's shortcut and copy-feedback preferences, and the state of the global panel shortcut as
// the settings show it. Main thread only; each field is written to the preferences when it changes.
#pragma once

#include "AppLanguage.h"
#include "KeyboardShortcutModels.h"

#include <QList>
#include <QObject>
#include <QString>
#include <functional>

class QSettings;

class ShortcutSettingsStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(PromptKeyboardShortcut togglePanelShortcut READ togglePanelShortcut WRITE
                   setTogglePanelShortcut NOTIFY togglePanelShortcutChanged)
    Q_PROPERTY(PromptTileShortcut promptTileShortcut READ promptTileShortcut NOTIFY promptTileShortcutChanged)
    Q_PROPERTY(HotKeyStatus hotKeyStatus READ hotKeyStatus WRITE setHotKeyStatus NOTIFY hotKeyStatusChanged)
    Q_PROPERTY(
        bool hoverOpenEnabled READ hoverOpenEnabled WRITE setHoverOpenEnabled NOTIFY hoverOpenEnabledChanged)
    Q_PROPERTY(bool copyHapticsEnabled READ copyHapticsEnabled WRITE setCopyHapticsEnabled NOTIFY
                   copyHapticsEnabledChanged)
    Q_PROPERTY(QString copySoundName READ copySoundName WRITE setCopySoundName NOTIFY copySoundNameChanged)

public:
    using LanguageProvider = std::function<AppLanguage()>;

    static constexpr auto key = "Velmora.togglePanelShortcut.v1";
    static constexpr auto promptTileShortcutKey = "Velmora.promptTileShortcut.v1";
    static constexpr auto hoverOpenEnabledKey = "Velmora.hoverOpenEnabled.v1";
    static constexpr auto copyHapticsEnabledKey = "Velmora.copyHapticsEnabled.v1";
    static constexpr auto copySoundNameKey = "Velmora.copySoundName.v1";

    // Control, Shift and P.
    static constexpr PromptKeyboardShortcut defaultTogglePanelShortcut{35, ShortcutModifiers::control |
                                                                               ShortcutModifiers::shift};
    static constexpr PromptTileShortcut defaultPromptTileShortcut{ShortcutModifiers::command};
    static constexpr bool defaultHoverOpenEnabled = false;
    static constexpr bool defaultCopyHapticsEnabled = true;
    static QString defaultCopySoundName();

    struct CopySoundOption {
        QString title; // a catalog key when it begins with "copy.", else shown as it stands
        QString value; // the sound's name; empty for none
        bool operator==(const CopySoundOption&) const = default;
    };
    static QList<CopySoundOption> copySoundOptions();

    // Reads every field from `defaults`; an earlier default of the panel shortcut is rewritten there.
    ShortcutSettingsStore(QSettings* defaults, LanguageProvider languageProvider, QObject* parent = nullptr);

    const PromptKeyboardShortcut& togglePanelShortcut() const { return m_togglePanelShortcut; }
    // Publishes only; the caller saves once the shortcut holds the hot key.
    void setTogglePanelShortcut(const PromptKeyboardShortcut& shortcut);

    const PromptTileShortcut& promptTileShortcut() const { return m_promptTileShortcut; }

    const HotKeyStatus& hotKeyStatus() const { return m_hotKeyStatus; }
    void setHotKeyStatus(const HotKeyStatus& status);
    // The status's text in the language of the moment; empty while idle.
    QString hotKeyStatusMessage() const;

    bool hoverOpenEnabled() const { return m_hoverOpenEnabled; }
    void setHoverOpenEnabled(bool enabled);
    bool copyHapticsEnabled() const { return m_copyHapticsEnabled; }
    void setCopyHapticsEnabled(bool enabled);
    const QString& copySoundName() const { return m_copySoundName; }
    void setCopySoundName(const QString& name);

    AppLanguage language() const { return m_languageProvider(); }

    // Starts a change of the global shortcut: without a required modifier the status turns
    // `invalid` and the old registration stays; otherwise `registering`, and `shortcutRequests`
    // carries the shortcut to whoever registers it.
    void requestTogglePanelShortcut(const PromptKeyboardShortcut& shortcut);

    // Writes the panel shortcut to the preferences.
    void save(const PromptKeyboardShortcut& shortcut);
    // Publishes the tile shortcut and writes it: the settings change nothing else.
    void savePromptTileShortcut(const PromptTileShortcut& shortcut);

Q_SIGNALS:
    void togglePanelShortcutChanged();
    void promptTileShortcutChanged();
    void hotKeyStatusChanged();
    void hoverOpenEnabledChanged();
    void copyHapticsEnabledChanged();
    void copySoundNameChanged();
    // A requested panel shortcut, waiting to be registered.
    void shortcutRequests(const PromptKeyboardShortcut& shortcut);

private:
    QSettings* m_defaults;
    LanguageProvider m_languageProvider;
    PromptKeyboardShortcut m_togglePanelShortcut = defaultTogglePanelShortcut;
    PromptTileShortcut m_promptTileShortcut = defaultPromptTileShortcut;
    HotKeyStatus m_hotKeyStatus;
    bool m_hoverOpenEnabled = defaultHoverOpenEnabled;
    bool m_copyHapticsEnabled = defaultCopyHapticsEnabled;
    QString m_copySoundName = defaultCopySoundName();
};
