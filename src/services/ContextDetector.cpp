#include "ContextDetector.h"

#include "ContextPaths.h"
#include "FrontmostApplicationProviding.h"
#include "IDEWorkspaceDetector.h"
#include "Preferences.h"
#include "TerminalContextDetector.h"

#include <QDir>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QPromise>
#include <QSettings>
#include <QThread>
#include <QTimer>
#include <QtConcurrent>

#include <pwd.h>
#include <unistd.h>

#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr auto advancedMatchingKey = "Velmora.advancedAutomaticMatchingEnabled.v1";

// "~" and "~/x" name the user's home, "~name/x" that user's home; an unknown user leaves the text as it is.
QString expandingTilde(const QString& path)
{
    if (!path.startsWith(u'~'))
        return path;
    const qsizetype slash = path.indexOf(u'/');
    const QString user = path.mid(1, slash < 0 ? -1 : slash - 1);
    const QString rest = slash < 0 ? QString() : path.mid(slash);
    if (user.isEmpty())
        return QDir::homePath() + rest;

    const QByteArray name = user.toLocal8Bit();
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwnam_r(name.constData(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr || found->pw_dir == nullptr)
        return path;
    return QString::fromLocal8Bit(found->pw_dir) + rest;
}

QString nameOfPath(const QString& path)
{
    return path.isEmpty() ? unidentifiedWorkspaceName : ContextPaths::lastPathComponent(path);
}

void sleepUnlessCanceled(quint64 nanoseconds, const QPromise<AgentContext>& promise)
{
    using namespace std::chrono;
    const auto deadline = steady_clock::now() + duration<qint64, std::nano>(static_cast<qint64>(nanoseconds));
    while (!promise.isCanceled()) {
        const qint64 remaining = duration_cast<microseconds>(deadline - steady_clock::now()).count();
        if (remaining <= 0)
            return;
        // Short slices, so that a cancelled detection leaves its thread soon.
        QThread::usleep(static_cast<unsigned long>(std::min<qint64>(remaining, 5000)));
    }
}

} // namespace

ContextDetector::ContextDetector(Configuration configuration, QObject* parent)
    : QObject(parent), m_configuration(std::move(configuration))
{
    if (!m_configuration.clock)
        m_configuration.clock = [] {
            return std::chrono::steady_clock::now();
        };
    if (!m_configuration.environmentWorkspaceProvider)
        m_configuration.environmentWorkspaceProvider = &ContextDetector::processEnvironmentWorkspace;
}

ContextDetector::~ContextDetector()
{
    m_detectionTask.cancel();
}

void ContextDetector::start()
{
    if (m_isRunning)
        return;
    ++m_lifecycleGeneration;
    m_isRunning = true;
    const quint64 generation = m_lifecycleGeneration;

    // Callbacks of an earlier start carry a stale generation and do nothing.
    if (m_configuration.startsTimer) {
        m_timer = new QTimer(this);
        m_timer->setTimerType(Qt::PreciseTimer);
        m_timer->setInterval(timerInterval);
        connect(m_timer, &QTimer::timeout, this, [this, generation] {
            if (m_isRunning && m_lifecycleGeneration == generation)
                refresh(false);
        });
        m_timer->start();
    }
    if (m_configuration.frontmostApplicationProvider) {
        m_activationObserver = connect(
            m_configuration.frontmostApplicationProvider,
            &FrontmostApplicationProviding::applicationActivated, this,
            [this, generation] {
                if (m_isRunning && m_lifecycleGeneration == generation)
                    refresh(true);
            },
            Qt::QueuedConnection);
    }
    refresh(true);
}

void ContextDetector::stop()
{
    ++m_lifecycleGeneration;
    m_isRunning = false;
    m_detectionTask.cancel();
    m_detectionTask = {};
    m_isDetecting = false;
    if (m_timer) {
        m_timer->stop();
        m_timer->deleteLater();
        m_timer = nullptr;
    }
    disconnect(m_activationObserver);
    m_activationObserver = {};
}

void ContextDetector::refresh(bool force)
{
    if (!m_isRunning)
        return;

    std::optional<FrontmostApplication> application;
    if (m_configuration.frontmostApplicationProvider)
        application = m_configuration.frontmostApplicationProvider->frontmostApplication();
    const QString appName = application && !application->name.isEmpty() ? application->name : u"Unknown"_s;
    const std::optional<QString> bundleIdentifier =
        application ? application->bundleIdentifier : std::nullopt;
    const QStringList knownWorkspacePaths = m_configuration.knownWorkspacePathsProvider
                                                ? m_configuration.knownWorkspacePathsProvider()
                                                : QStringList();

    const TimePoint now = m_configuration.clock();
    if (!force) {
        const std::chrono::duration<double> interval(m_configuration.minimumDetectionInterval);
        if (m_lastDetectionAt && now - *m_lastDetectionAt < interval)
            return;
        if (m_isDetecting)
            return;
    } else if (m_isDetecting) {
        m_detectionTask.cancel();
    }

    m_isDetecting = true;
    m_lastDetectionAt = now;
    ++m_detectionGeneration;
    const quint64 detectionGeneration = m_detectionGeneration;
    const quint64 lifecycleGeneration = m_lifecycleGeneration;

    const bool automaticMatching = m_configuration.automaticMatchingEnabledProvider &&
                                   m_configuration.automaticMatchingEnabledProvider();
    const WindowTitleReadResult titleResult =
        automaticMatching ? readFrontWindowTitle() : WindowTitleReadResult{};
    const std::optional<QString> environmentPath = m_configuration.environmentWorkspaceProvider();
    const quint64 delay = m_configuration.detectionDelayNanoseconds;
    const QString title = titleResult.title;

    // The task works on copies only: it never touches the detector.
    m_detectionTask = QtConcurrent::run([appName, bundleIdentifier, title, environmentPath,
                                         knownWorkspacePaths, delay](QPromise<AgentContext>& promise) {
        if (delay != 0)
            sleepUnlessCanceled(delay, promise);
        if (promise.isCanceled())
            return;
        const AgentContext context =
            makeContext(appName, bundleIdentifier, title, environmentPath, knownWorkspacePaths);
        if (promise.isCanceled())
            return;
        promise.addResult(context);
    });
    // The watcher is this object's child: the result reaches the main thread only while the detector exists.
    auto* watcher = new QFutureWatcher<AgentContext>(this);
    connect(watcher, &QFutureWatcherBase::finished, this,
            [this, watcher, titleResult, detectionGeneration, lifecycleGeneration] {
                watcher->deleteLater();
                const QFuture<AgentContext> finished = watcher->future();
                if (finished.isCanceled() || finished.resultCount() == 0)
                    return;
                if (!m_isRunning || m_lifecycleGeneration != lifecycleGeneration ||
                    m_detectionGeneration != detectionGeneration)
                    return;
                publish(titleResult, finished.result());
            });
    watcher->setFuture(m_detectionTask);
}

void ContextDetector::publish(const WindowTitleReadResult& titleResult, const AgentContext& context)
{
    if (m_needsAutomationPermission != titleResult.needsAutomationPermission) {
        m_needsAutomationPermission = titleResult.needsAutomationPermission;
        Q_EMIT needsAutomationPermissionChanged();
    }
    if (m_lastDetectionError != titleResult.errorMessage) {
        m_lastDetectionError = titleResult.errorMessage;
        Q_EMIT lastDetectionErrorChanged();
    }
    if (m_currentContext != context) {
        m_currentContext = context;
        Q_EMIT currentContextChanged();
    }
    m_isDetecting = false;
    m_detectionTask = {};
}

WindowTitleReadResult ContextDetector::readFrontWindowTitle() const
{
    if (!m_configuration.windowTitleReader)
        return {};
    return m_configuration.windowTitleReader->readFrontWindowTitle();
}

AgentContext ContextDetector::makeContext(const QString& appName,
                                          const std::optional<QString>& bundleIdentifier,
                                          const QString& windowTitle,
                                          const std::optional<QString>& environmentPath,
                                          const QStringList& knownWorkspacePaths)
{
    AgentContext context;
    context.frontmostAppName = appName;
    context.frontmostBundleIdentifier = bundleIdentifier;
    context.frontWindowTitle = windowTitle;
    context.agent = inferAgentType(bundleIdentifier, appName, windowTitle);

    const auto found = [&context](const QString& path, ContextDetectionSource source) {
        context.workspacePath = path;
        context.workspaceName = nameOfPath(path);
        context.detectionSource = source;
        return context;
    };

    if (environmentPath) {
        if (const auto path = validDirectoryPath(*environmentPath))
            return found(*path, ContextDetectionSource::environment);
    }

    if (TerminalContextDetector::isTerminalApp(appName)) {
        if (const auto titlePath = TerminalContextDetector::workspacePath(windowTitle)) {
            if (const auto path = validDirectoryPath(*titlePath)) {
                // A known terminal keeps its own agent; only an unrecognised one becomes a terminal.
                if (context.agent == AgentType::unknown)
                    context.agent = AgentType::terminal;
                return found(*path, ContextDetectionSource::terminalDirectory);
            }
        }
    }

    if (IDEWorkspaceDetector::isIDEApp(appName)) {
        if (const auto titlePath = IDEWorkspaceDetector::workspacePath(windowTitle, knownWorkspacePaths)) {
            if (const auto path = validDirectoryPath(*titlePath))
                return found(*path, ContextDetectionSource::ideWorkspace);
        }
        if (const auto name = IDEWorkspaceDetector::workspaceName(windowTitle)) {
            context.workspaceName = *name;
            context.detectionSource = ContextDetectionSource::ideWorkspace;
            return context;
        }
        context.workspaceName = unidentifiedWorkspaceName;
        context.detectionSource = ContextDetectionSource::unknown;
        return context;
    }

    context.workspaceName = unidentifiedWorkspaceName;
    context.detectionSource =
        windowTitle.isEmpty() ? ContextDetectionSource::unknown : ContextDetectionSource::windowTitle;
    return context;
}

std::optional<QString> ContextDetector::validDirectoryPath(const QString& path)
{
    // An empty text names no folder (read as a path it would be the current directory).
    if (path.isEmpty())
        return std::nullopt;
    const QString standardized = ContextPaths::standardized(expandingTilde(path));
    const QString resolved = QFileInfo(standardized).canonicalFilePath();
    if (resolved.isEmpty() || !QFileInfo(resolved).isDir())
        return std::nullopt;
    return resolved;
}

std::optional<QString> ContextDetector::processEnvironmentWorkspace()
{
    if (!qEnvironmentVariableIsSet(workspaceEnvironmentVariable))
        return std::nullopt;
    return qEnvironmentVariable(workspaceEnvironmentVariable);
}

bool ContextDetector::automaticMatchingEnabled(const QSettings& settings)
{
    return Preferences::boolean(settings, QString::fromLatin1(advancedMatchingKey)).value_or(false);
}
