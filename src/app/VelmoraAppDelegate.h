// Runs start-up and shutdown, observes the application requests, and owns what the user sees of
// the app while no panel is open: the tray icon with the status menu.
#pragma once

#include <QObject>

class QAction;
class QMenu;
class QSystemTrayIcon;
class VelmoraRuntime;

class VelmoraAppDelegate : public QObject {
    Q_OBJECT

public:
    explicit VelmoraAppDelegate(VelmoraRuntime& runtime, QObject* parent = nullptr);
    ~VelmoraAppDelegate() override;

    void applicationDidFinishLaunching();
    void applicationWillTerminate();

    QMenu* statusMenu() const { return m_menu; }

private:
    void reloadLibrary();
    void retitle();

    VelmoraRuntime& m_runtime;
    QMenu* m_menu = nullptr;
    QAction* m_reloadAction = nullptr;
    QAction* m_checkUpdatesAction = nullptr;
    QAction* m_quitAction = nullptr;
    QSystemTrayIcon* m_trayIcon = nullptr;
};
