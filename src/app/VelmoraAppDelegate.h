// Runs start-up and shutdown, observes the application requests, and owns the panel's controller,
// which shows the status item (the capsule and the tray icon) and the panel.
#pragma once

#include <QObject>
#include <memory>

class FloatingWindowServicing;
class ReduceMotionSetting;
class StatusVelmoraController;
class VelmoraRuntime;

class VelmoraAppDelegate : public QObject {
    Q_OBJECT

public:
    explicit VelmoraAppDelegate(VelmoraRuntime& runtime, QObject* parent = nullptr);
    ~VelmoraAppDelegate() override;

    void applicationDidFinishLaunching();
    void applicationWillTerminate();

    StatusVelmoraController* velmoraController() const { return m_velmoraController.get(); }

private:
    VelmoraRuntime& m_runtime;
    std::unique_ptr<FloatingWindowServicing> m_windowSystem;
    std::unique_ptr<ReduceMotionSetting> m_reduceMotion;
    std::unique_ptr<StatusVelmoraController> m_velmoraController;
};
