// Keeps the answer to "what is the user working in" up to date: wakes on a 4-second timer and on
// every activation of another window, reads the frontmost application and (with advanced matching)
// its window title, and turns them into an AgentContext on a background task. Overlapping work is
// settled by two generation counters, never by locks: a result that is no longer the newest is dropped.
#pragma once

#include "AgentContext.h"
#include "WindowTitleReading.h"

#include <QFuture>
#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <chrono>
#include <functional>
#include <optional>

class FrontmostApplicationProviding;
class QSettings;
class QTimer;

class ContextDetector : public QObject {
    Q_OBJECT
    Q_PROPERTY(AgentContext currentContext READ currentContext NOTIFY currentContextChanged)
    Q_PROPERTY(
        bool needsAutomationPermission READ needsAutomationPermission NOTIFY needsAutomationPermissionChanged)
    Q_PROPERTY(
        std::optional<QString> lastDetectionError READ lastDetectionError NOTIFY lastDetectionErrorChanged)

public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    static constexpr std::chrono::milliseconds timerInterval{4000};
    static constexpr auto workspaceEnvironmentVariable = "VELMORA_WORKSPACE";

    struct Configuration {
        // The least time between unforced detections, in seconds.
        double minimumDetectionInterval = 4.0;
        // Read on the main thread at each detection. Absent reads as no known paths.
        std::function<QStringList()> knownWorkspacePathsProvider;
        // Not owned; must outlive the detector. Absent: the frontmost application is "Unknown" and
        // only the timer wakes the detector.
        FrontmostApplicationProviding* frontmostApplicationProvider = nullptr;
        // Not owned. Absent: titles read as empty, without an error.
        WindowTitleReading* windowTitleReader = nullptr;
        // Absent reads as off, and with it off no title is ever read.
        std::function<bool()> automaticMatchingEnabledProvider;
        // The folder that overrides detection. Absent: the process's VELMORA_WORKSPACE.
        std::function<std::optional<QString>()> environmentWorkspaceProvider;
        bool startsTimer = true;
        // A wait at the head of the background task.
        quint64 detectionDelayNanoseconds = 0;
        // Absent: the monotonic system clock.
        Clock clock;
    };

    explicit ContextDetector(Configuration configuration, QObject* parent = nullptr);
    ~ContextDetector() override;

    void start();
    void stop();
    // Forced detections replace a running one; unforced ones respect the minimum interval.
    void refresh(bool force);

    const AgentContext& currentContext() const { return m_currentContext; }
    bool needsAutomationPermission() const { return m_needsAutomationPermission; }
    std::optional<QString> lastDetectionError() const { return m_lastDetectionError; }

    bool isRunning() const { return m_isRunning; }
    bool isDetecting() const { return m_isDetecting; }
    quint64 lifecycleGeneration() const { return m_lifecycleGeneration; }
    quint64 detectionGeneration() const { return m_detectionGeneration; }
    std::optional<TimePoint> lastDetectionAt() const { return m_lastDetectionAt; }

    WindowTitleReadResult readFrontWindowTitle() const;

    // Pure but for the directory tests; runs on the background task.
    static AgentContext makeContext(const QString& appName, const std::optional<QString>& bundleIdentifier,
                                    const QString& windowTitle, const std::optional<QString>& environmentPath,
                                    const QStringList& knownWorkspacePaths);
    // The path with a leading tilde expanded, standardised and its links resolved, if that is an
    // existing directory.
    static std::optional<QString> validDirectoryPath(const QString& path);

    // VELMORA_WORKSPACE of this process; absent when not set.
    static std::optional<QString> processEnvironmentWorkspace();
    // True only for a stored boolean true under Velmora.advancedAutomaticMatchingEnabled.v1.
    static bool automaticMatchingEnabled(const QSettings& settings);

Q_SIGNALS:
    void currentContextChanged();
    void needsAutomationPermissionChanged();
    void lastDetectionErrorChanged();

private:
    void publish(const WindowTitleReadResult& titleResult, const AgentContext& context);

    Configuration m_configuration;
    AgentContext m_currentContext = AgentContext::unknown();
    bool m_needsAutomationPermission = false;
    std::optional<QString> m_lastDetectionError;

    QPointer<QTimer> m_timer;
    QMetaObject::Connection m_activationObserver;
    QFuture<AgentContext> m_detectionTask;
    bool m_isDetecting = false;
    bool m_isRunning = false;
    quint64 m_lifecycleGeneration = 0;
    quint64 m_detectionGeneration = 0;
    std::optional<TimePoint> m_lastDetectionAt;
};
