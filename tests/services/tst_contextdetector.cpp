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

    bool startAndSettle()
    {
        detector->start();
        return settle();
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

        QCOMPARE(ContextDetector::validDirectoryPath(u"~root"_s), QFileInfo(u"/root"_s).canonicalFilePath());
        QCOMPARE(ContextDetector::validDirectoryPath(u"~no-such-user-velmora"_s), std::nullopt);
    }

    // --- makeContext: the order of sources ---

    void makeContext_data()
    {
        QTest::addColumn<QString>("appName");
        QTest::addColumn<std::optional<QString>>("bundle");
        QTest::addColumn<QString>("title");
        QTest::addColumn<std::optional<QString>>("environment");
        QTest::addColumn<QStringList>("knownPaths");
        QTest::addColumn<AgentType>("agent");
        QTest::addColumn<std::optional<QString>>("path");
        QTest::addColumn<QString>("workspaceName");
        QTest::addColumn<ContextDetectionSource>("source");
        using Source = ContextDetectionSource;
        const std::optional<QString> none;
        const std::optional<QString> project = m_project;
        const QString unidentified = unidentifiedWorkspaceName;
        const QString inSrc = u"me@box: "_s + m_project + u"/src"_s;
        QTest::newRow("environment comes first")
            << u"Terminal"_s << std::optional(u"com.apple.Terminal"_s) << u"me@box: "_s + m_root.path()
            << project << QStringList() << AgentType::terminal << project << u"velmora"_s
            << Source::environment;
        for (const auto& [name, environment] :
             {std::pair{"environment a file", m_file},
              {"environment a missing folder", m_root.path() + u"/missing"_s},
              {"environment empty", QString()}})
            QTest::newRow(name) << u"Terminal"_s << none << inSrc << std::optional(environment)
                                << QStringList() << AgentType::terminal
                                << std::optional<QString>(m_project + u"/src"_s) << u"src"_s
                                << Source::terminalDirectory;
        QTest::newRow("terminal keeps a known agent")
            << u"Ghostty"_s << std::optional(u"com.mitchellh.ghostty"_s) << u"~ \u2014 "_s + m_project << none
            << QStringList() << AgentType::ghostty << project << u"velmora"_s << Source::terminalDirectory;

        // "Cursor Terminal" passes both the terminal and the IDE test: without a usable path it goes on
        // to the IDE steps. A plain terminal without one is just another application.
        const QString gone = u"me@box: "_s + m_root.path() + u"/gone"_s;
        const QString goneTitle = gone + u" \u2014 velmora"_s;
        QTest::newRow("terminal and IDE, name from the title")
            << u"Cursor Terminal"_s << none << goneTitle << none << QStringList() << AgentType::terminal
            << none << gone << Source::ideWorkspace;
        QTest::newRow("terminal and IDE, known path")
            << u"Cursor Terminal"_s << none << goneTitle << none << QStringList{m_project}
            << AgentType::terminal << project << u"velmora"_s << Source::ideWorkspace;
        QTest::newRow("plain terminal without a path")
            << u"Terminal"_s << none << goneTitle << none << QStringList{m_project} << AgentType::terminal
            << none << unidentified << Source::windowTitle;

        QTest::newRow("IDE in a known folder")
            << u"Visual Studio Code"_s << std::optional(u"code"_s)
            << u"main.cpp \u2014 velmora \u2014 Visual Studio Code"_s << none << QStringList{m_project}
            << AgentType::vscode << project << u"velmora"_s << Source::ideWorkspace;
        // A known folder that no longer exists: the name cut from the title stands in.
        QTest::newRow("IDE, known folder gone")
            << u"Visual Studio Code"_s << std::optional(u"code"_s) << u"x.rs \u2014 gone \u2014 Code"_s
            << none << QStringList{m_root.path() + u"/gone"_s} << AgentType::vscode << none << u"x.rs"_s
            << Source::ideWorkspace;
        QTest::newRow("IDE without a title") << u"Zed"_s << none << u"  "_s << none << QStringList{m_project}
                                             << AgentType::zed << none << unidentified << Source::unknown;
        QTest::newRow("other application with a title")
            << u"Google Chrome"_s << std::optional(u"google-chrome"_s) << u"ChatGPT"_s << none
            << QStringList() << AgentType::chrome << none << unidentified << Source::windowTitle;
        QTest::newRow("nothing known") << u"Unknown"_s << none << QString() << none << QStringList()
                                       << AgentType::unknown << none << unidentified << Source::unknown;
        QTest::newRow("the root folder is named by itself")
            << u"Notes"_s << none << QString() << std::optional(u"/"_s) << QStringList() << AgentType::unknown
            << std::optional(u"/"_s) << u"/"_s << Source::environment;
    }

    void makeContext()
    {
        QFETCH(QString, appName);
        QFETCH(std::optional<QString>, bundle);
        QFETCH(QString, title);
        QFETCH(std::optional<QString>, environment);
        QFETCH(QStringList, knownPaths);
        QFETCH(AgentType, agent);
        QFETCH(std::optional<QString>, path);
        QFETCH(QString, workspaceName);
        QFETCH(ContextDetectionSource, source);
        const AgentContext expected{appName, bundle, title, agent, path, workspaceName, source};
        QCOMPARE(ContextDetector::makeContext(appName, bundle, title, environment, knownPaths), expected);
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

    void ticksWithinTheIntervalAreDropped()
    {
        Harness harness;
        QVERIFY(harness.startAndSettle());
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
        QVERIFY(harness.startAndSettle());
        QVERIFY(!harness.detector->isDetecting());
        harness.provider.application = FrontmostApplication{u"Firefox"_s, u"firefox"_s, 5};
        harness.detector->refresh(true);
        QVERIFY(harness.settle());
        QCOMPARE(harness.events, (QStringList{u"context:Notes"_s, u"context:Firefox"_s}));
    }

    void activationForcesADetection()
    {
        Harness harness;
        QVERIFY(harness.startAndSettle());
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
        QVERIFY(harness.startAndSettle());
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

    void refreshWaitsForStartAndStartTwiceIsOneStart()
    {
        Harness harness;
        harness.detector->refresh(true);
        QVERIFY(!harness.detector->isDetecting());
        QCOMPARE(harness.titleReader.readCount, 0);
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
        QVERIFY(harness.startAndSettle());
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
        QVERIFY(harness.startAndSettle());
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
