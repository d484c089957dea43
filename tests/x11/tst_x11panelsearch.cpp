// The whole panel on a private X server with openbox, with the runtime inside this process so that
// the test reads the widgets while real keys arrive through the server (xdotool): the hot key opens
// it, typed text narrows the tiles, arrows and Return copy, Ctrl+2 copies the second tile (read back
// by xclip), Escape clears and a second Escape closes; a sheet keeps it open after the pointer left.
// Screenshots of list and grid, in English and in Simplified Chinese, and of an empty state.
#include "X11TestSupport.h"
#include "XvfbServer.h"

#include "AppLanguageStore.h"
#include "FirstRunChecklistStore.h"
#include "PromptPanelPreferences.h"
#include "PromptPanelView.h"
#include "PromptStore.h"
#include "SearchVelmoraView.h"
#include "StatusVelmoraController.h"
#include "VelmoraAppDelegate.h"
#include "VelmoraHostingView.h"
#include "VelmoraMorphContainer.h"
#include "VelmoraPanel.h"
#include "VelmoraRuntime.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QByteArray library = "prompts:\n"
                           "  - id: review\n    title: Review the change\n    group: Review\n"
                           "    text: Review this change for risks.\n"
                           "  - id: tests\n    title: Review the tests\n    group: Review\n"
                           "    text: 检查测试是否覆盖失败路径。\n"
                           "  - id: docs\n    title: 更新文档\n    group: Writing\n"
                           "    text: Update the README for this change.\n"
                           "  - id: plan\n    title: Plan the release\n    group: Writing\n"
                           "    text: List the steps of the release.\n";

} // namespace

class TestX11PanelSearch : public QObject {
    Q_OBJECT

public:
    TestX11PanelSearch(bool ready, XvfbServer& server, const QString& home)
        : m_ready(ready), m_server(server), m_home(home)
    {}

private:
    bool run(const QString& program, const QStringList& arguments, QByteArray* output = nullptr)
    {
        return runOnDisplay(m_server, program, arguments, output);
    }
    bool key(const QString& keys) { return run(u"xdotool"_s, {u"key"_s, u"--delay"_s, u"40"_s, keys}); }

    QByteArray clipboardText()
    {
        QByteArray text;
        return run(u"xclip"_s, {u"-o"_s, u"-selection"_s, u"clipboard"_s, u"-t"_s, u"UTF8_STRING"_s}, &text)
                   ? text
                   : QByteArray("(nothing)");
    }

    StatusVelmoraController* controller() const { return m_delegate->velmoraController(); }
    // The root view is made again when the language changes: always look it up.
    PromptPanelView* panelView() const
    {
        auto* container = qobject_cast<VelmoraMorphContainer*>(controller()->hostingView()->rootView());
        return container ? qobject_cast<PromptPanelView*>(container->content()) : nullptr;
    }

    void openByHotKey()
    {
        QVERIFY(key(u"super+shift+p"_s));
        QTRY_COMPARE_WITH_TIMEOUT(controller()->panelState(), u"open"_s, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(panelView()->searchView()->field()->hasFocus(), 10000);
    }

    // The window has taken the size of what it now shows.
    void settle()
    {
        QTRY_COMPARE_WITH_TIMEOUT(controller()->panel()->size(), controller()->currentPanelSize().toSize(), 10000);
    }

    void saveShot(const QString& name)
    {
        QCoreApplication::processEvents();
        const QString path = m_shots + u'/' + name + u".png"_s;
        QVERIFY(controller()->panel()->grab().save(path));
        qInfo("screenshot: %s", qPrintable(path));
    }

    bool m_ready;
    XvfbServer& m_server;
    QString m_home;
    QProcess m_windowManager;
    QString m_shots = QDir::tempPath() + u"/velmora-panel-search"_s;
    std::unique_ptr<VelmoraRuntime> m_runtime;
    std::unique_ptr<VelmoraAppDelegate> m_delegate;

private Q_SLOTS:
    void initTestCase()
    {
        if (!m_ready)
            QSKIP("Xvfb, openbox, dbus-daemon, xdotool and xclip are needed (scripts/setup installs them)");
        m_windowManager.setProcessEnvironment(m_server.environment());
        m_windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
        QVERIFY(m_windowManager.waitForStarted(5000));
        QDir().mkpath(m_shots);
        QDir(m_home).mkpath(u".velmora/workspaces"_s);
        QFile file(m_home + u"/.velmora/global.yaml"_s);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(library);
        file.close();

        auto defaults = std::make_unique<QSettings>(m_home + u"/settings.ini"_s, QSettings::IniFormat);
        // A first run's welcome guide would take the focus from the panel.
        defaults->setValue(QString::fromLatin1(FirstRunChecklistStore::welcomeCompletedKey), true);
        m_runtime = std::make_unique<VelmoraRuntime>(m_home, std::move(defaults));
        m_delegate = std::make_unique<VelmoraAppDelegate>(*m_runtime);
        m_delegate->applicationDidFinishLaunching();
        QVERIFY(panelView());
        QTRY_COMPARE_WITH_TIMEOUT(m_runtime->promptStore().globalPrompts().size(), 4, 10000);
    }

    void cleanupTestCase()
    {
        if (m_delegate)
            m_delegate->applicationWillTerminate();
        m_delegate.reset();
        m_runtime.reset();
        if (m_windowManager.state() != QProcess::NotRunning) {
            m_windowManager.terminate();
            m_windowManager.waitForFinished(3000);
        }
    }

    void typedKeysSearchCopyAndClose()
    {
        openByHotKey();
        saveShot(u"panel-grid-en"_s);
        QVERIFY(run(u"xdotool"_s, {u"type"_s, u"--delay"_s, u"40"_s, u"review"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(panelView()->searchText(), u"review"_s, 10000);
        QCOMPARE(panelView()->snapshot().visiblePromptIDs(), (QStringList{u"review"_s, u"tests"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(panelView()->selectedPromptID(), std::optional(u"review"_s), 10000);
        QVERIFY(key(u"Right"_s));
        QVERIFY(key(u"Return"_s));
        QTRY_COMPARE_WITH_TIMEOUT(clipboardText(), u"检查测试是否覆盖失败路径。"_s.toUtf8(), 10000);
        // The arrow never reached the field's caret.
        QCOMPARE(panelView()->searchView()->field()->cursorPosition(), 6);

        QVERIFY(key(u"Escape"_s));
        QTRY_COMPARE_WITH_TIMEOUT(panelView()->searchText(), QString(), 10000);
        QCOMPARE(controller()->panelState(), u"open"_s);
        QVERIFY(key(u"ctrl+3"_s));
        QTRY_COMPARE_WITH_TIMEOUT(clipboardText(), QByteArray("Update the README for this change."), 10000);
        QVERIFY(key(u"Escape"_s));
        QTRY_COMPARE_WITH_TIMEOUT(controller()->panelState(), u"hidden"_s, 10000);
    }

    void aSheetKeepsThePanelOpenWhenThePointerLeaves()
    {
        openByHotKey();
        panelView()->requestDelete(m_runtime->promptStore().globalPrompts().constFirst());
        QVERIFY(controller()->morphState().isInteractionLocked());
        QVERIFY(run(u"xdotool"_s, {u"mousemove"_s, u"5"_s, u"790"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(!controller()->isPointerOverPanel(), 10000);
        controller()->closePanelIfPointerLeftVelmora();
        QVERIFY(key(u"super+shift+p"_s)); // the hot key only brings it forward
        QCOMPARE(controller()->panelState(), u"open"_s);
        panelView()->cancelDelete();
        controller()->closePanel();
        QTRY_COMPARE_WITH_TIMEOUT(controller()->panelState(), u"hidden"_s, 10000);
    }

    void screenshotsInBothLanguagesAndLayouts()
    {
        openByHotKey();
        m_runtime->panelPreferences().setLayoutMode(PromptPanelLayoutMode::list);
        settle();
        saveShot(u"panel-list-en"_s);
        QVERIFY(run(u"xdotool"_s, {u"type"_s, u"--delay"_s, u"40"_s, u"zzz"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(panelView()->snapshot().visiblePrompts.isEmpty(), 10000);
        saveShot(u"panel-empty-search-en"_s);

        m_runtime->languageStore().setSelection(AppLanguage::zhHans);
        QTRY_VERIFY_WITH_TIMEOUT(panelView() && panelView()->searchText().isEmpty(), 10000);
        settle();
        saveShot(u"panel-list-zh"_s);
        m_runtime->panelPreferences().setLayoutMode(PromptPanelLayoutMode::grid);
        settle();
        saveShot(u"panel-grid-zh"_s);
    }
};

int main(int argc, char** argv)
{
    XvfbServer server;
    const auto has = [](const char16_t* program) {
        return !QStandardPaths::findExecutable(QString::fromUtf16(program)).isEmpty();
    };
    const bool hasTools = XvfbServer::available() && has(u"openbox") && has(u"xdotool") && has(u"xclip") &&
                          has(u"dbus-daemon");
    QTemporaryDir home;
    const bool ready = hasTools && server.start() && !server.startSessionBus().isEmpty();
    if (ready) {
        const QProcessEnvironment environment = server.environment();
        for (const QString& name : {u"DISPLAY"_s, u"QT_QPA_PLATFORM"_s, u"XDG_SESSION_TYPE"_s,
                                    u"DBUS_SESSION_BUS_ADDRESS"_s})
            qputenv(name.toLatin1().constData(), environment.value(name).toLocal8Bit());
        qunsetenv("WAYLAND_DISPLAY");
        qputenv("HOME", home.path().toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", (home.path() + u"/.config"_s).toLocal8Bit());
    }
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    TestX11PanelSearch test(ready, server, QDir(home.path()).canonicalPath());
    return QTest::qExec(&test, argc, argv);
}

#include "tst_x11panelsearch.moc"
