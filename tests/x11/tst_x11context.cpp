// The detector on a real X server: Xvfb, the openbox window manager and xterm windows with chosen
// WM_CLASS and titles, activated one after the other as a pager would. Also what happens without X11.
#include "XvfbServer.h"

#include "ContextDetector.h"
#include "X11FrontmostApplicationProvider.h"
#include "X11WindowTitleReader.h"

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

struct FreeDeleter {
    void operator()(void* pointer) const { std::free(pointer); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// The test's own view of the display, playing the part of a pager.
class TestDisplay {
public:
    explicit TestDisplay(const QString& display)
    {
        m_connection = xcb_connect(display.toLocal8Bit().constData(), nullptr);
        if (xcb_connection_has_error(m_connection))
            return;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        m_activeWindow = atom("_NET_ACTIVE_WINDOW");
        m_clientList = atom("_NET_CLIENT_LIST");
        m_wmCheck = atom("_NET_SUPPORTING_WM_CHECK");
        m_pid = atom("_NET_WM_PID");
        m_netWMName = atom("_NET_WM_NAME");
        m_utf8String = atom("UTF8_STRING");
    }
    ~TestDisplay() { xcb_disconnect(m_connection); }

    bool isConnected() const { return !xcb_connection_has_error(m_connection); }

    bool windowManagerRunning() { return !windows(m_root, m_wmCheck).isEmpty(); }

    xcb_window_t activeWindow()
    {
        const QList<xcb_window_t> active = windows(m_root, m_activeWindow);
        return active.isEmpty() ? XCB_NONE : active.first();
    }

    // The managed window whose WM_CLASS class is `wmClass`, or none yet.
    xcb_window_t clientOfClass(const QString& wmClass)
    {
        for (xcb_window_t window : windows(m_root, m_clientList)) {
            const xcb_get_property_cookie_t cookie =
                xcb_get_property(m_connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256);
            Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, cookie, nullptr));
            if (!reply)
                continue;
            const QList<QByteArray> parts =
                QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                           xcb_get_property_value_length(reply.get()))
                    .split('\0');
            if (parts.size() > 1 && QString::fromLatin1(parts.at(1)) == wmClass)
                return window;
        }
        return XCB_NONE;
    }

    // Asks the window manager to activate the window, as a pager does (source indication 2).
    void activate(xcb_window_t window)
    {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = m_activeWindow;
        event.data.data32[0] = 2;
        event.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(m_connection, 0, m_root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char*>(&event));
        xcb_flush(m_connection);
    }

    // A window that claims to belong to the process `pid`, with both kinds of title when given.
    xcb_window_t createWindow(qint64 pid, const QByteArray& wmClass, const QByteArray& legacyTitle = {},
                              const QString& utf8Title = {})
    {
        const xcb_window_t window = xcb_generate_id(m_connection);
        const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, 10, 10, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
        const quint32 pidValue = quint32(pid);
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, m_pid, XCB_ATOM_CARDINAL, 32, 1,
                            &pidValue);
        const QByteArray classValue = wmClass + '\0' + wmClass + '\0';
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
                            8, quint32(classValue.size()), classValue.constData());
        if (!legacyTitle.isEmpty())
            xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME,
                                XCB_ATOM_STRING, 8, quint32(legacyTitle.size()), legacyTitle.constData());
        if (!utf8Title.isEmpty()) {
            const QByteArray utf8 = utf8Title.toUtf8();
            xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, m_netWMName, m_utf8String, 8,
                                quint32(utf8.size()), utf8.constData());
        }
        xcb_map_window(m_connection, window);
        xcb_flush(m_connection);
        return window;
    }

private:
    xcb_atom_t atom(const char* name)
    {
        const auto cookie = xcb_intern_atom(m_connection, 0, quint16(std::strlen(name)), name);
        Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr));
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }

    QList<xcb_window_t> windows(xcb_window_t window, xcb_atom_t property)
    {
        const auto cookie = xcb_get_property(m_connection, 0, window, property, XCB_ATOM_WINDOW, 0, 1024);
        Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, cookie, nullptr));
        QList<xcb_window_t> result;
        if (!reply || reply->format != 32)
            return result;
        const auto* values = static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
        for (int index = 0; index < xcb_get_property_value_length(reply.get()) / 4; ++index)
            result.append(values[index]);
        return result;
    }

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_NONE;
    xcb_atom_t m_activeWindow = XCB_ATOM_NONE;
    xcb_atom_t m_clientList = XCB_ATOM_NONE;
    xcb_atom_t m_wmCheck = XCB_ATOM_NONE;
    xcb_atom_t m_pid = XCB_ATOM_NONE;
    xcb_atom_t m_netWMName = XCB_ATOM_NONE;
    xcb_atom_t m_utf8String = XCB_ATOM_NONE;
};

bool writeFile(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

bool haveBinaries()
{
    return XvfbServer::available() && !QStandardPaths::findExecutable(u"openbox"_s).isEmpty() &&
           !QStandardPaths::findExecutable(u"xterm"_s).isEmpty();
}

} // namespace

class TestX11Context : public QObject {
    Q_OBJECT

    XvfbServer m_server;
    std::unique_ptr<QProcess> m_windowManager;
    std::vector<std::unique_ptr<QProcess>> m_windows;
    std::unique_ptr<TestDisplay> m_display;
    QTemporaryDir m_root;
    QString m_applications;
    QString m_project;
    QString m_terminalFolder;

    std::unique_ptr<X11FrontmostApplicationProvider> m_provider;
    std::unique_ptr<X11WindowTitleReader> m_titleReader;
    std::unique_ptr<ContextDetector> m_detector;
    // When each detection was admitted; the clock is asked exactly then.
    std::vector<std::chrono::steady_clock::time_point> m_admissions;
    std::function<void()> m_onAdmission;

    bool openWindow(const QString& instance, const QString& wmClass, const QString& title)
    {
        auto xterm = std::make_unique<QProcess>();
        QProcessEnvironment environment = m_server.environment();
        // In a UTF-8 locale xterm writes its title as COMPOUND_TEXT with a UTF-8 segment.
        environment.insert(u"LC_ALL"_s, u"C.UTF-8"_s);
        xterm->setProcessEnvironment(environment);
        xterm->start(u"xterm"_s, {u"-name"_s, instance, u"-class"_s, wmClass, u"-T"_s, title, u"-e"_s,
                                  u"sleep"_s, u"600"_s});
        if (!xterm->waitForStarted(5000))
            return false;
        m_windows.push_back(std::move(xterm));
        return QTest::qWaitFor([&] { return m_display->clientOfClass(wmClass) != XCB_NONE; }, 10000);
    }

    // Activates the window of that class and returns how long the detector took to admit the
    // resulting forced detection.
    double activate(const QString& wmClass)
    {
        const xcb_window_t window = m_display->clientOfClass(wmClass);
        const size_t before = m_admissions.size();
        // A plain event loop, which sleeps until something arrives, unlike the polling waits of QTest.
        QEventLoop loop;
        QTimer::singleShot(5000, &loop, &QEventLoop::quit);
        m_onAdmission = [&loop] {
            loop.quit();
        };
        const auto sent = std::chrono::steady_clock::now();
        m_display->activate(window);
        loop.exec();
        m_onAdmission = nullptr;
        if (m_admissions.size() <= before)
            return -1;
        return std::chrono::duration<double, std::milli>(m_admissions.at(before) - sent).count();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        m_applications = m_root.filePath(u"applications"_s);
        QVERIFY(QDir().mkpath(m_applications));
        QVERIFY(QDir().mkpath(m_root.filePath(u"velmora/src"_s)));
        QVERIFY(QDir().mkpath(m_root.filePath(u"shell-work"_s)));
        m_project = QFileInfo(m_root.filePath(u"velmora"_s)).canonicalFilePath();
        m_terminalFolder = QFileInfo(m_root.filePath(u"shell-work"_s)).canonicalFilePath();
        QVERIFY(writeFile(m_applications + u"/code.desktop"_s,
                          "[Desktop Entry]\nType=Application\nName=Visual Studio Code\nStartupWMClass=Code\n"
                          "Exec=/usr/share/code/code %F\n"));
        QVERIFY(writeFile(
            m_applications + u"/google-chrome.desktop"_s,
            "[Desktop Entry]\nType=Application\nName=Google Chrome\nExec=/usr/bin/google-chrome\n"));
    }

    void withoutX11NothingIsFrontmost_data()
    {
        QTest::addColumn<int>("session");
        QTest::addColumn<QByteArray>("display");
        QTest::newRow("wayland session") << int(DesktopSessionType::wayland) << QByteArray(":0");
        QTest::newRow("no session") << int(DesktopSessionType::none) << QByteArray();
        QTest::newRow("x11 session, display unreachable")
            << int(DesktopSessionType::x11) << QByteArray(":4711");
    }

    void withoutX11NothingIsFrontmost()
    {
        QFETCH(int, session);
        QFETCH(QByteArray, display);
        X11FrontmostApplicationProvider provider({DesktopSessionType(session), display,
                                                  QStringList{m_applications},
                                                  QCoreApplication::applicationPid()});
        QVERIFY(!provider.isConnected());
        QCOMPARE(provider.frontmostApplication(), std::nullopt);

        X11WindowTitleReader reader(provider);
        const WindowTitleReadResult read = reader.readFrontWindowTitle();
        QVERIFY(read.title.isEmpty());
        QVERIFY(!read.needsAutomationPermission);
        QCOMPARE(read.errorMessage, L10n::text(u"error.window.title.script.init"_s));

        ContextDetector::Configuration configuration;
        configuration.frontmostApplicationProvider = &provider;
        configuration.windowTitleReader = &reader;
        configuration.automaticMatchingEnabledProvider = [] {
            return true;
        };
        configuration.environmentWorkspaceProvider = [] {
            return std::nullopt;
        };
        configuration.startsTimer = false;
        ContextDetector detector(configuration);
        detector.start();
        QTRY_VERIFY(!detector.isDetecting());
        QCOMPARE(detector.currentContext(), AgentContext::unknown());
        QCOMPARE(detector.lastDetectionError(), read.errorMessage);
        QVERIFY(!detector.needsAutomationPermission());
    }

    void compoundText_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("ascii") << QByteArray("plain title") << u"plain title"_s;
        QTest::newRow("latin-1 right half") << QByteArray("caf\xe9") << u"caf\u00e9"_s;
        QTest::newRow("utf-8 segment") << QByteArray("a \x1b%G\xe2\x80\x94\x1b%@ b") << u"a \u2014 b"_s;
        QTest::newRow("unterminated utf-8 segment") << QByteArray("\x1b%G\xc3\xbc") << u"\u00fc"_s;
        QTest::newRow("other designations are skipped") << QByteArray("x\x1b-Ay\x1b(Bz") << u"xyz"_s;
        QTest::newRow("lone escape at the end") << QByteArray("x\x1b") << u"x"_s;
    }

    void compoundText()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        QCOMPARE(X11WindowTitleReader::decodeCompoundText(bytes), text);
    }

    void followsTheActiveWindow()
    {
        if (!haveBinaries())
            QSKIP("Xvfb, openbox or xterm is not installed (scripts/setup installs them)");
        QVERIFY(m_server.start());
        m_display = std::make_unique<TestDisplay>(m_server.display());
        QVERIFY(m_display->isConnected());
        m_windowManager = std::make_unique<QProcess>();
        m_windowManager->setProcessEnvironment(m_server.environment());
        m_windowManager->start(u"openbox"_s, {u"--sm-disable"_s});
        QVERIFY(m_windowManager->waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(m_display->windowManagerRunning(), 10000);

        QVERIFY(openWindow(u"code"_s, u"Code"_s, u"main.cpp \u2014 velmora \u2014 Visual Studio Code"_s));
        QVERIFY(openWindow(u"konsole"_s, u"Konsole"_s, u"me@box: "_s + m_terminalFolder));
        QVERIFY(openWindow(u"google-chrome"_s, u"Google-chrome"_s, u"ChatGPT \u2014 Google Chrome"_s));

        m_provider = std::make_unique<X11FrontmostApplicationProvider>(
            X11FrontmostApplicationOptions{DesktopSessionType::x11, m_server.display().toLocal8Bit(),
                                           QStringList{m_applications}, QCoreApplication::applicationPid()});
        QVERIFY(m_provider->isConnected());
        m_titleReader = std::make_unique<X11WindowTitleReader>(*m_provider);

        ContextDetector::Configuration configuration;
        configuration.frontmostApplicationProvider = m_provider.get();
        configuration.windowTitleReader = m_titleReader.get();
        configuration.automaticMatchingEnabledProvider = [] {
            return true;
        };
        configuration.environmentWorkspaceProvider = [] {
            return std::nullopt;
        };
        configuration.knownWorkspacePathsProvider = [this] {
            return QStringList{m_project};
        };
        configuration.clock = [this] {
            const auto now = std::chrono::steady_clock::now();
            m_admissions.push_back(now);
            if (m_onAdmission)
                m_onAdmission();
            return now;
        };
        m_detector = std::make_unique<ContextDetector>(configuration);
        m_detector->start();

        QList<double> latencies;
        latencies.append(activate(u"Code"_s));
        QTRY_COMPARE(m_detector->currentContext().agent, AgentType::vscode);
        AgentContext context = m_detector->currentContext();
        QCOMPARE(context.frontmostAppName, u"Visual Studio Code"_s);
        QCOMPARE(context.frontmostBundleIdentifier, u"code"_s);
        QCOMPARE(context.frontWindowTitle, u"main.cpp \u2014 velmora \u2014 Visual Studio Code"_s);
        QCOMPARE(context.workspacePath, m_project);
        QCOMPARE(context.detectionSource, ContextDetectionSource::ideWorkspace);

        latencies.append(activate(u"Konsole"_s));
        QTRY_COMPARE(m_detector->currentContext().frontmostAppName, u"Konsole"_s);
        context = m_detector->currentContext();
        QCOMPARE(context.agent, AgentType::terminal);
        QCOMPARE(context.frontmostBundleIdentifier, u"Konsole"_s);
        QCOMPARE(context.frontWindowTitle, u"me@box: "_s + m_terminalFolder);
        QCOMPARE(context.workspacePath, m_terminalFolder);
        QCOMPARE(context.workspaceName, u"shell-work"_s);
        QCOMPARE(context.detectionSource, ContextDetectionSource::terminalDirectory);

        latencies.append(activate(u"Google-chrome"_s));
        QTRY_COMPARE(m_detector->currentContext().agent, AgentType::chrome);
        context = m_detector->currentContext();
        QCOMPARE(context.frontmostAppName, u"Google Chrome"_s);
        QCOMPARE(context.frontmostBundleIdentifier, u"google-chrome"_s);
        QCOMPARE(context.browserWebAIName(), u"ChatGPT"_s);
        QCOMPARE(context.detectionSource, ContextDetectionSource::windowTitle);
        QVERIFY(!m_detector->needsAutomationPermission());
        QCOMPARE(m_detector->lastDetectionError(), std::nullopt);

        for (double latency : std::as_const(latencies))
            QVERIFY2(latency >= 0, "an activation never reached the detector");
        qInfo("activation to forced detection, ms: %.2f %.2f %.2f", latencies.at(0), latencies.at(1),
              latencies.at(2));
    }

    void ownWindowsNeverCount()
    {
        if (!m_detector)
            QSKIP("needs the running display of followsTheActiveWindow");
        const AgentContext before = m_detector->currentContext();
        const quint32 windowBefore = m_provider->activeWindow();
        QSignalSpy activations(m_provider.get(), &FrontmostApplicationProviding::applicationActivated);

        const xcb_window_t own = m_display->createWindow(QCoreApplication::applicationPid(), "velmora");
        QTRY_VERIFY(m_display->clientOfClass(u"velmora"_s) != XCB_NONE);
        m_display->activate(own);
        QTRY_COMPARE(m_display->activeWindow(), own);
        // The provider has seen the change by the time a round trip on its connection returns.
        m_titleReader->readFrontWindowTitle();
        QCoreApplication::processEvents();
        QCOMPARE(activations.count(), 0);
        QCOMPARE(m_provider->activeWindow(), windowBefore);
        // The title read is still the frontmost application's, not ours.
        QCOMPARE(m_titleReader->readFrontWindowTitle().title, before.frontWindowTitle);

        m_detector->refresh(true);
        QTRY_VERIFY(!m_detector->isDetecting());
        QCOMPARE(m_detector->currentContext(), before);

        // Going back to another application is seen again.
        activate(u"Code"_s);
        QTRY_COMPARE(m_detector->currentContext().agent, AgentType::vscode);
    }

    void theUtf8TitleIsPreferred()
    {
        if (!m_detector)
            QSKIP("needs the running display of followsTheActiveWindow");
        // Another process's window, without a desktop entry: named by its WM_CLASS class.
        const xcb_window_t window =
            m_display->createWindow(1, "Raw", "legacy title", u"modern title \u2014 \u00fc"_s);
        QTRY_VERIFY(m_display->clientOfClass(u"Raw"_s) != XCB_NONE);
        m_display->activate(window);
        QTRY_COMPARE(m_detector->currentContext().frontmostAppName, u"Raw"_s);
        const AgentContext context = m_detector->currentContext();
        QCOMPARE(context.frontmostBundleIdentifier, u"Raw"_s);
        QCOMPARE(context.frontWindowTitle, u"modern title \u2014 \u00fc"_s);
        QCOMPARE(context.agent, AgentType::unknown);
        QCOMPARE(context.detectionSource, ContextDetectionSource::windowTitle);
    }

    void losingTheDisplayStopsQuietly()
    {
        if (!m_detector)
            QSKIP("needs the running display of followsTheActiveWindow");
        QSignalSpy activations(m_provider.get(), &FrontmostApplicationProviding::applicationActivated);
        for (auto& window : m_windows)
            window->kill();
        m_windowManager->kill();
        m_display.reset();
        m_server.stop();
        QTRY_VERIFY(!m_provider->isConnected());
        QCOMPARE(m_provider->frontmostApplication(), std::nullopt);
        QCOMPARE(activations.count(), 1);
        const WindowTitleReadResult read = m_titleReader->readFrontWindowTitle();
        QVERIFY(read.errorMessage.has_value());
        QTRY_COMPARE(m_detector->currentContext().frontmostAppName, u"Unknown"_s);
    }

    void cleanupTestCase()
    {
        m_detector.reset();
        m_titleReader.reset();
        m_provider.reset();
        for (auto& window : m_windows) {
            window->kill();
            window->waitForFinished(3000);
        }
        if (m_windowManager) {
            m_windowManager->kill();
            m_windowManager->waitForFinished(3000);
        }
        m_display.reset();
        m_server.stop();
    }
};

QTEST_GUILESS_MAIN(TestX11Context)
#include "tst_x11context.moc"
