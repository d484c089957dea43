// The welcome guide: three numbered steps, a word on privacy, and the three ways out: later, open the
// panel, or create the first workspace (Return). The first step names the panel shortcut as it is now;
// where the desktop offers no global shortcut it says to bind "velmora-cli toggle" instead. Texts
// follow the interface language at once. Main thread only.
#pragma once

#include "DesktopSessionProbing.h"

#include <QWidget>
#include <functional>

class AppLanguageStore;
class FirstRunWelcomeStep;
class PromptPanelPreferences;
class ShortcutSettingsStore;
class VelmoraButton;

class FirstRunWelcomeView : public QWidget {
    Q_OBJECT

public:
    static constexpr int contentWidth = 720;
    static constexpr int contentHeight = 540;

    struct Actions {
        std::function<void()> onCreateWorkspace = nullptr;
        std::function<void()> onOpenPanel = nullptr;
        std::function<void()> onDismiss = nullptr;
    };

    // The stores and the desktop outlive the view; `desktop` may be null (a hot key is assumed).
    FirstRunWelcomeView(ShortcutSettingsStore& shortcutStore, AppLanguageStore& languageStore,
                        PromptPanelPreferences& preferences, DesktopSessionProbing* desktop, Actions actions,
                        QWidget* parent = nullptr);

    QList<FirstRunWelcomeStep*> steps() const;
    VelmoraButton* laterButton() const { return m_later; }
    VelmoraButton* openPanelButton() const { return m_openPanel; }
    VelmoraButton* createButton() const { return m_create; }

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void rebuild();

    ShortcutSettingsStore& m_shortcutStore;
    AppLanguageStore& m_languageStore;
    PromptPanelPreferences& m_preferences;
    DesktopSessionProbing* m_desktop;
    Actions m_actions;
    QWidget* m_content = nullptr;
    VelmoraButton* m_later = nullptr;
    VelmoraButton* m_openPanel = nullptr;
    VelmoraButton* m_create = nullptr;
};
