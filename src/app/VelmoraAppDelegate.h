// Runs start-up and shutdown, observes the application requests, and owns the panel's controller,
// which shows the status item (the capsule and the tray icon) and the panel.
#pragma once

#include <QObject>
#include <memory>

class FileChoosing;
class FloatingWindowServicing;
class LinuxDesktopSessionProbe;
class ReduceMotionSetting;
class SettingsWindowController;
class StatusVelmoraController;
class VelmoraRuntime;
class WelcomeGuideController;
class WorkspaceManagerWindowController;

class VelmoraAppDelegate : public QObject {
    Q_OBJECT

public:
    explicit VelmoraAppDelegate(VelmoraRuntime& runtime, QObject* parent = nullptr);
    ~VelmoraAppDelegate() override;

    void applicationDidFinishLaunching();
    void applicationWillTerminate();

    StatusVelmoraController* velmoraController() const { return m_velmoraController.get(); }
    SettingsWindowController* settingsWindow() const { return m_settingsWindow.get(); }
    WelcomeGuideController* welcomeGuide() const { return m_welcomeGuide.get(); }
    WorkspaceManagerWindowController* workspaceManagerWindow() const { return m_workspaceManagerWindow.get(); }

private:
    // The settings window, the workspace manager and the welcome guide, and the launch task that
    // decides on the guide.
    void makeAuxiliaryWindows();

    VelmoraRuntime& m_runtime;
    std::unique_ptr<FloatingWindowServicing> m_windowSystem;
    std::unique_ptr<ReduceMotionSetting> m_reduceMotion;
    std::unique_ptr<StatusVelmoraController> m_velmoraController;
    std::unique_ptr<LinuxDesktopSessionProbe> m_desktopProbe;
    std::unique_ptr<SettingsWindowController> m_settingsWindow;
    std::unique_ptr<WelcomeGuideController> m_welcomeGuide;
    std::unique_ptr<FileChoosing> m_managerFileChooser;
    std::unique_ptr<WorkspaceManagerWindowController> m_workspaceManagerWindow;
};
