// The detection loop: the order of sources in makeContext against real folders, and the admission
// and generation rules with a fake desktop and a clock the test moves.

#include "ContextDetector.h"
#include "FakeFrontmostApplicationProvider.h"
#include "FakeWindowTitleReader.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>
#include <QTimer>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Harness {
    FakeFrontmostApplicationProvider provider;
    FakeWindowTitleReader titleReader;
    ContextDetector::TimePoint now{};
    bool automaticMatching = true;
    std::optional<QString> environment;
    QStringList knownPaths;
    std::unique_ptr<ContextDetector> detector;
    QStringList events;

    explicit Harness(quint64 delayNanoseconds = 0, bool startsTimer = false)
    {
        ContextDetector::Configuration configuration;
        configuration.frontmostApplicationProvider = &provider;
        configuration.windowTitleReader = &titleReader;
        configuration.knownWorkspacePathsProvider = [this] {
            return knownPaths;
        };
        configuration.automaticMatchingEnabledProvider = [this] {
            return automaticMatching;
        };
        configuration.environmentWorkspaceProvider = [this] {
            return environment;
        };
        configuration.clock = [this] {
            return now;
        };
        configuration.startsTimer = startsTimer;
        configuration.detectionDelayNanoseconds = delayNanoseconds;
        detector = std::make_unique<ContextDetector>(configuration);
        QObject::connect(detector.get(), &ContextDetector::needsAutomationPermissionChanged, detector.get(),
                         [this] { events.append(u"permission"_s); });
        QObject::connect(detector.get(), &ContextDetector::lastDetectionErrorChanged, detector.get(),
                         [this] { events.append(u"error"_s); });
        QObject::connect(detector.get(), &ContextDetector::currentContextChanged, detector.get(), [this] {
            events.append(u"context:"_s + detector->currentContext().frontmostAppName);
        });
        provider.application = FrontmostApplication{u"Notes"_s, u"org.example.notes"_s, 1};
    }

    // Waits for the detection under way to publish.
    bool settle()
    {
        return QTest::qWaitFor([this] { return !detector->isDetecting(); }, 5000);
    }
};

// Lets every background task end and every queued result reach the main thread.
void drainBackgroundWork()
{
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
}

} // namespace

class TestContextDetector : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;
    QString m_project; // <root>/velmora, a real folder
    QString m_file;    // <root>/notes.txt, a regular file

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        QVERIFY(QDir(m_root.path()).mkpath(u"velmora/src"_s));
        m_project = QFileInfo(m_root.path() + u"/velmora"_s).canonicalFilePath();
        m_file = m_root.path() + u"/notes.txt"_s;
        QFile file(m_file);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("x");
    }

    // --- validDirectoryPath ---

    void validDirectoryPath()
    {
        QCOMPARE(ContextDetector::validDirectoryPath(m_project), m_project);
        QCOMPARE(ContextDetector::validDirectoryPath(m_project + u"/src/../"_s), m_project);
        QCOMPARE(ContextDetector::validDirectoryPath(m_file), std::nullopt);
        QCOMPARE(ContextDetector::validDirectoryPath(m_root.path() + u"/missing"_s), std::nullopt);
        QCOMPARE(ContextDetector::validDirectoryPath(m_file + u"/below-a-file"_s), std::nullopt);
        QCOMPARE(ContextDetector::validDirectoryPath(u""_s), std::nullopt);
        QCOMPARE(ContextDetector::validDirectoryPath(u"~"_s),
                 QFileInfo(QDir::homePath()).canonicalFilePath());

        // Links are resolved to the folder they point at.
        const QString link = m_root.path() + u"/link-to-project"_s;
        QVERIFY(QFile::link(m_project, link));
        QCOMPARE(ContextDetector::validDirectoryPath(link), m_project);
    }

    void tildeOfANamedUser()
    {
        QCOMPARE(ContextDetector::validDirectoryPath(u"~root"_s), QFileInfo(u"/root"_s).canonicalFilePath());
        QCOMPARE(ContextDetector::validDirectoryPath(u"~no-such-user-velmora"_s), std::nullopt);
    }

    // --- makeContext: the order of sources ---

    void environmentComesFirst()
    {
        const AgentContext context = ContextDetector::makeContext(
            u"Terminal"_s, u"com.apple.Terminal"_s, u"me@box: "_s + m_root.path(), m_project, {});
        QCOMPARE(context.workspacePath, m_project);
        QCOMPARE(context.workspaceName, u"velmora"_s);
        QCOMPARE(context.detectionSource, ContextDetectionSource::environment);
        QCOMPARE(context.agent, AgentType::terminal);
        QCOMPARE(context.frontmostAppName, u"Terminal"_s);
        QCOMPARE(context.frontmostBundleIdentifier, u"com.apple.Terminal"_s);
        QCOMPARE(context.frontWindowTitle, u"me@box: "_s + m_root.path());
    }

    void unusableEnvironmentFallsThrough_data()
    {
        QTest::addColumn<QString>("environment");
        QTest::newRow("a file") << m_file;
        QTest::newRow("a missing folder") << m_root.path() + u"/missing"_s;
        QTest::newRow("empty") << QString();
    }

    void unusableEnvironmentFallsThrough()
    {
        QFETCH(QString, environment);
        const AgentContext context = ContextDetector::makeContext(
            u"Terminal"_s, std::nullopt, u"me@box: "_s + m_project + u"/src"_s, environment, {});
        QCOMPARE(context.workspacePath, m_project + u"/src"_s);
        QCOMPARE(context.workspaceName, u"src"_s);
        QCOMPARE(context.detectionSource, ContextDetectionSource::terminalDirectory);
    }

    void terminalKeepsAKnownAgent()
    {
        const AgentContext ghostty = ContextDetector::makeContext(
            u"Ghostty"_s, u"com.mitchellh.ghostty"_s, u"~ \u2014 "_s + m_project, std::nullopt, {});
        QCOMPARE(ghostty.agent, AgentType::ghostty);
        QCOMPARE(ghostty.detectionSource, ContextDetectionSource::terminalDirectory);
        QCOMPARE(ghostty.workspacePath, m_project);
    }

    void terminalWithoutAUsablePathGoesOnToTheIDESteps()
    {
        // "Cursor Terminal" passes both the terminal and the IDE test.
        const QString title = u"me@box: "_s + m_root.path() + u"/gone \u2014 velmora"_s;
        const AgentContext byName =
            ContextDetector::makeContext(u"Cursor Terminal"_s, std::nullopt, title, std::nullopt, {});
        QCOMPARE(byName.detectionSource, ContextDetectionSource::ideWorkspace);
        QCOMPARE(byName.workspacePath, std::nullopt);
        QCOMPARE(byName.workspaceName, u"me@box: "_s + m_root.path() + u"/gone"_s);

        const AgentContext byKnownPath = ContextDetector::makeContext(u"Cursor Terminal"_s, std::nullopt,
                                                                      title, std::nullopt, {m_project});
        QCOMPARE(byKnownPath.workspacePath, m_project);
        QCOMPARE(byKnownPath.detectionSource, ContextDetectionSource::ideWorkspace);

        // A plain terminal without a usable path is just another application.
        const AgentContext plain =
            ContextDetector::makeContext(u"Terminal"_s, std::nullopt, title, std::nullopt, {m_project});
        QCOMPARE(plain.detectionSource, ContextDetectionSource::windowTitle);
        QCOMPARE(plain.workspaceName, unidentifiedWorkspaceName);
        QCOMPARE(plain.agent, AgentType::terminal);
    }

    void ideSources()
    {
        const QString title = u"main.cpp \u2014 velmora \u2014 Visual Studio Code"_s;
        const AgentContext known = ContextDetector::makeContext(u"Visual Studio Code"_s, u"code"_s, title,
                                                                std::nullopt, {m_project});
        QCOMPARE(known.agent, AgentType::vscode);
        QCOMPARE(known.workspacePath, m_project);
        QCOMPARE(known.workspaceName, u"velmora"_s);
        QCOMPARE(known.detectionSource, ContextDetectionSource::ideWorkspace);

        // A known folder that no longer exists: the name cut from the title stands in.
        const AgentContext gone = ContextDetector::makeContext(u"Visual Studio Code"_s, u"code"_s,
                                                               u"x.rs \u2014 gone \u2014 Code"_s,
                                                               std::nullopt, {m_root.path() + u"/gone"_s});
        QCOMPARE(gone.workspacePath, std::nullopt);
        QCOMPARE(gone.workspaceName, u"x.rs"_s);
        QCOMPARE(gone.detectionSource, ContextDetectionSource::ideWorkspace);

        const AgentContext untitled =
            ContextDetector::makeContext(u"Zed"_s, std::nullopt, u"  "_s, std::nullopt, {m_project});
        QCOMPARE(untitled.workspaceName, unidentifiedWorkspaceName);
        QCOMPARE(untitled.detectionSource, ContextDetectionSource::unknown);
        QCOMPARE(untitled.agent, AgentType::zed);
    }

    void otherApplications()
    {
        const AgentContext titled = ContextDetector::makeContext(u"Google Chrome"_s, u"google-chrome"_s,
                                                                 u"ChatGPT"_s, std::nullopt, {});
        QCOMPARE(titled.agent, AgentType::chrome);
        QCOMPARE(titled.detectionSource, ContextDetectionSource::windowTitle);
        QCOMPARE(titled.workspaceName, unidentifiedWorkspaceName);
        QCOMPARE(titled.workspacePath, std::nullopt);

        const AgentContext untitled =
            ContextDetector::makeContext(u"Unknown"_s, std::nullopt, QString(), std::nullopt, {});
        QCOMPARE(untitled, AgentContext::unknown());
    }

    void rootFolderIsNamedByItself()
    {
        const AgentContext context =
            ContextDetector::makeContext(u"Notes"_s, std::nullopt, QString(), u"/"_s, {});
        QCOMPARE(context.workspacePath, u"/"_s);
        QCOMPARE(context.workspaceName, u"/"_s);
    }

    // --- the loop ---

    void startDetectsAtOnce()
    {
        Harness harness;
        harness.provider.application = FrontmostApplication{u"Cursor"_s, std::nullopt, 7};
        harness.titleReader.result.title = u"main.cpp \u2014 velmora \u2014 Cursor"_s;
        harness.knownPaths = {m_project};
        QCOMPARE(harness.detector->currentContext(), AgentContext::unknown());

        harness.detector->start();
        QVERIFY(harness.detector->isRunning());
        QVERIFY(harness.detector->isDetecting());
        QVERIFY(harness.settle());
        const AgentContext& context = harness.detector->currentContext();
        QCOMPARE(context.agent, AgentType::cursor);
        QCOMPARE(context.workspacePath, m_project);
        QCOMPARE(context.detectionSource, ContextDetectionSource::ideWorkspace);
        QCOMPARE(harness.detector->lastDetectionAt(), harness.now);
    }

    void withoutAProviderTheApplicationIsUnknown()
    {
        ContextDetector::Configuration configuration;
        configuration.startsTimer = false;
        ContextDetector detector(configuration);
        detector.start();
        QVERIFY(QTest::qWaitFor([&] { return !detector.isDetecting(); }, 5000));
        QCOMPARE(detector.currentContext().frontmostAppName, u"Unknown"_s);
    }

    void refreshDoesNothingWhileStopped()
    {
        Harness harness;
        harness.detector->refresh(true);
        QVERIFY(!harness.detector->isDetecting());
        QCOMPARE(harness.detector->detectionGeneration(), 0u);
        QCOMPARE(harness.titleReader.readCount, 0);
    }

    void ticksWithinTheIntervalAreDropped()
    {
        Harness harness;
        harness.detector->start();
        QVERIFY(harness.settle());
        const auto first = harness.now;
        QCOMPARE(harness.detector->detectionGeneration(), 1u);

        harness.now = first + 3999ms;
        harness.detector->refresh(false);
        QCOMPARE(harness.detector->detectionGeneration(), 1u);
        QCOMPARE(harness.detector->lastDetectionAt(), first);
        QVERIFY(!harness.detector->isDetecting());
        QCOMPARE(harness.titleReader.readCount, 1);

        // Exactly the interval passes.
        harness.now = first + 4000ms;
        harness.detector->refresh(false);
        QCOMPARE(harness.detector->detectionGeneration(), 2u);
        QCOMPARE(harness.detector->lastDetectionAt(), harness.now);
        QCOMPARE(harness.titleReader.readCount, 2);
        QVERIFY(harness.settle());

        // A forced detection ignores the interval.
        harness.now += 1ms;
        harness.detector->refresh(true);
        QCOMPARE(harness.detector->detectionGeneration(), 3u);
        QVERIFY(harness.settle());
    }

    void aTickWhileDetectingIsDropped()
    {
        Harness harness(50'000'000);
        harness.detector->start();
        const auto started = harness.now;
        QVERIFY(harness.detector->isDetecting());
        harness.now += 10s;
        harness.detector->refresh(false);
        QCOMPARE(harness.detector->detectionGeneration(), 1u);
        QCOMPARE(harness.detector->lastDetectionAt(), started);
        QVERIFY(harness.settle());
        QCOMPARE(harness.detector->detectionGeneration(), 1u);
    }

    void aForcedDetectionReplacesARunningOne()
    {
        Harness harness(50'000'000);
        harness.detector->start();
        QVERIFY(harness.detector->isDetecting());
        harness.provider.application = FrontmostApplication{u"Zed"_s, u"dev.zed.Zed"_s, 9};
        harness.detector->refresh(true);
        QCOMPARE(harness.detector->detectionGeneration(), 2u);
        QVERIFY(harness.settle());
        drainBackgroundWork();
        // Only the second detection is published; the first never shows.
        QCOMPARE(harness.events, QStringList{u"context:Zed"_s});
        QCOMPARE(harness.detector->currentContext().agent, AgentType::zed);
    }

    void anOvertakenResultIsDroppedEvenWhenItFinished()
    {
        // Without a delay the first task may well finish before the second begins; its result still
        // loses to the newer generation when it reaches the main thread.
        Harness harness;
        harness.detector->start();
        harness.provider.application = FrontmostApplication{u"Cursor"_s, std::nullopt, 3};
        QThreadPool::globalInstance()->waitForDone();
        harness.detector->refresh(true);
        QVERIFY(harness.settle());
        drainBackgroundWork();
        QCOMPARE(harness.events, QStringList{u"context:Cursor"_s});
    }

    void aForcedDetectionRightAfterAPublishRunsNormally()
    {
        Harness harness;
        harness.detector->start();
        QVERIFY(harness.settle());
        QVERIFY(!harness.detector->isDetecting());
        harness.provider.application = FrontmostApplication{u"Firefox"_s, u"firefox"_s, 5};
        harness.detector->refresh(true);
        QVERIFY(harness.settle());
        QCOMPARE(harness.events, (QStringList{u"context:Notes"_s, u"context:Firefox"_s}));
    }

    void activationForcesADetection()
    {
        Harness harness;
        harness.detector->start();
        QVERIFY(harness.settle());
        // No clock movement: an activation is never held back by the interval.
        harness.provider.activate(u"Visual Studio Code"_s, u"code"_s);
        QVERIFY(QTest::qWaitFor([&] { return harness.detector->currentContext().agent == AgentType::vscode; },
                                5000));
        QCOMPARE(harness.detector->detectionGeneration(), 2u);
    }

    void stopDropsTheRunningDetection()
    {
        Harness harness(50'000'000);
        harness.detector->start();
        QVERIFY(harness.detector->isDetecting());
        harness.detector->stop();
        QVERIFY(!harness.detector->isRunning());
        QVERIFY(!harness.detector->isDetecting());
        drainBackgroundWork();
        QCOMPARE(harness.detector->currentContext(), AgentContext::unknown());
        QVERIFY(harness.events.isEmpty());

        // Activations after stop do nothing.
        harness.provider.activate(u"Cursor"_s);
        QCoreApplication::processEvents();
        QCOMPARE(harness.detector->detectionGeneration(), 1u);
    }

    void staleCallbacksCantActAfterARestart()
    {
        Harness harness;
        harness.detector->start();
        QVERIFY(harness.settle());
        const quint64 lifecycle = harness.detector->lifecycleGeneration();

        // The activation is queued under the old start; stop and start come before it is delivered.
        harness.provider.activate(u"Cursor"_s);
        harness.detector->stop();
        harness.detector->start();
        QCOMPARE(harness.detector->lifecycleGeneration(), lifecycle + 2);
        QCOMPARE(harness.detector->detectionGeneration(), 2u);
        QVERIFY(harness.settle());
        QCoreApplication::processEvents();
        QCOMPARE(harness.detector->detectionGeneration(), 2u);

        // The new start's observer acts.
        harness.provider.activate(u"Zed"_s);
        QVERIFY(QTest::qWaitFor([&] { return harness.detector->currentContext().agent == AgentType::zed; },
                                5000));
        QCOMPARE(harness.detector->detectionGeneration(), 3u);
    }

    void startTwiceIsOneStart()
    {
        Harness harness;
        harness.detector->start();
        harness.detector->start();
        QCOMPARE(harness.detector->lifecycleGeneration(), 1u);
        QCOMPARE(harness.detector->detectionGeneration(), 1u);
        QVERIFY(harness.settle());
    }

    void theTimerRunsBetweenStartAndStop()
    {
        Harness harness(0, true);
        harness.detector->start();
        auto* timer = harness.detector->findChild<QTimer*>();
        QVERIFY(timer);
        QVERIFY(timer->isActive());
        QCOMPARE(timer->intervalAsDuration(), 4000ms);
        harness.detector->stop();
        QVERIFY(!timer->isActive());
        QVERIFY(harness.settle());

        Harness withoutTimer;
        withoutTimer.detector->start();
        QCOMPARE(withoutTimer.detector->findChild<QTimer*>(), nullptr);
        QVERIFY(withoutTimer.settle());
    }

    void titleReadingFollowsTheAdvancedSwitch()
    {
        Harness harness;
        harness.automaticMatching = false;
        harness.environment = m_project;
        harness.provider.application = FrontmostApplication{u"Terminal"_s, std::nullopt, 2};
        harness.titleReader.result.title = u"me@box: "_s + m_root.path();
        harness.detector->start();
        QVERIFY(harness.settle());
        QCOMPARE(harness.titleReader.readCount, 0);
        // The environment still works with the switch off.
        QCOMPARE(harness.detector->currentContext().detectionSource, ContextDetectionSource::environment);
        QVERIFY(harness.detector->currentContext().frontWindowTitle.isEmpty());

        // Off and no environment: a terminal yields no path, so the source is unknown.
        harness.environment.reset();
        harness.now += 5s;
        harness.detector->refresh(false);
        QVERIFY(harness.settle());
        QCOMPARE(harness.detector->currentContext().detectionSource, ContextDetectionSource::unknown);

        harness.automaticMatching = true;
        harness.now += 5s;
        harness.detector->refresh(false);
        QVERIFY(harness.settle());
        QCOMPARE(harness.titleReader.readCount, 1);
        QCOMPARE(harness.detector->currentContext().detectionSource,
                 ContextDetectionSource::terminalDirectory);
        QCOMPARE(harness.detector->currentContext().workspacePath,
                 QFileInfo(m_root.path()).canonicalFilePath());
    }

    void titleFailuresArePublishedAndCleared()
    {
        Harness harness;
        harness.titleReader.result = WindowTitleReadResult{QString(), true, u"refused"_s};
        harness.detector->start();
        QVERIFY(harness.settle());
        QVERIFY(harness.detector->needsAutomationPermission());
        QCOMPARE(harness.detector->lastDetectionError(), u"refused"_s);
        // Published in this order: the flag, the error, then the context.
        QCOMPARE(harness.events, (QStringList{u"permission"_s, u"error"_s, u"context:Notes"_s}));

        harness.titleReader.result = WindowTitleReadResult{u"Inbox"_s, false, std::nullopt};
        harness.now += 4s;
        harness.detector->refresh(false);
        QVERIFY(harness.settle());
        QVERIFY(!harness.detector->needsAutomationPermission());
        QCOMPARE(harness.detector->lastDetectionError(), std::nullopt);
        QCOMPARE(harness.detector->currentContext().frontWindowTitle, u"Inbox"_s);
        QCOMPARE(harness.detector->currentContext().detectionSource, ContextDetectionSource::windowTitle);
    }

    void destroyingTheDetectorMidDetectionIsSafe()
    {
        auto harness = std::make_unique<Harness>(20'000'000);
        harness->detector->start();
        QVERIFY(harness->detector->isDetecting());
        harness->detector.reset();
        drainBackgroundWork();
        QVERIFY(harness->events.isEmpty());
    }

    void automaticMatchingReadsOnlyAStoredTrue()
    {
        QTemporaryDir directory;
        QSettings settings(directory.filePath(u"settings.ini"_s), QSettings::IniFormat);
        const QString key = u"Velmora.advancedAutomaticMatchingEnabled.v1"_s;
        QVERIFY(!ContextDetector::automaticMatchingEnabled(settings));
        settings.setValue(key, u"yes"_s);
        QVERIFY(!ContextDetector::automaticMatchingEnabled(settings));
        settings.setValue(key, true);
        QVERIFY(ContextDetector::automaticMatchingEnabled(settings));
        settings.setValue(key, false);
        QVERIFY(!ContextDetector::automaticMatchingEnabled(settings));
    }

    void processEnvironment()
    {
        qunsetenv("VELMORA_WORKSPACE");
        QCOMPARE(ContextDetector::processEnvironmentWorkspace(), std::nullopt);
        qputenv("VELMORA_WORKSPACE", m_project.toUtf8());
        QCOMPARE(ContextDetector::processEnvironmentWorkspace(), m_project);
        qunsetenv("VELMORA_WORKSPACE");
    }
};

QTEST_GUILESS_MAIN(TestContextDetector)
#include "tst_contextdetector.moc"
