// The settings window: made on the first request, centred once, and kept with its view and state
// across closings; retitled when the interface language changes, shown or not. Main thread only.
#pragma once

#include "AuxiliaryWindow.h"

#include <QObject>
#include <QPointer>
#include <functional>

class AppLanguageStore;
class SettingsView;

class SettingsWindowController : public QObject {
    Q_OBJECT

public:
    using MakeView = std::function<SettingsView*()>;

    SettingsWindowController(AppLanguageStore& languageStore, MakeView makeView, AuxiliaryWindow::Activate activate,
                             QObject* parent = nullptr);
    ~SettingsWindowController() override;

    void openSettingsWindow();
    // Absent before the first request.
    SettingsView* settingsWindow() const;

private:
    AppLanguageStore& m_languageStore;
    MakeView m_makeView;
    AuxiliaryWindow::Activate m_activate;
    QPointer<SettingsView> m_window;
};
