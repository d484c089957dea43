// The editing sheets on a private X server with openbox: each sheet, presented over a test window,
// gets the keyboard focus from the window manager and takes text typed on the server (xdotool);
// with the panel shortcut grabbed, its combination pressed while the prompt's shortcut is recorded
// is recorded and toggles nothing, and toggles again afterwards. Screenshots of the three sheets in
// English and Chinese, and of the conflict state, are saved for a look.
#include "X11TestSupport.h"
#include "XvfbServer.h"

#include "../views/EditorSheetHome.h"
#include "HotKeyService.h"
#include "PromptEditorSheet.h"
#include "ShortcutRecorderButton.h"
#include "VelmoraButton.h"
#include "WorkspaceEditSheet.h"
#include "WorkspaceEditorSheet.h"
#include "X11HotKeyRegistrar.h"

#include <QApplication>
#include <QLineEdit>
#include <QPointer>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class TestX11Editors : public QObject {
    Q_OBJECT

public:
    TestX11Editors(bool hasTools, bool serverStarted, XvfbServer& server)
        : m_hasTools(hasTools), m_serverStarted(serverStarted), m_server(server)
    {}

private:
    bool xdotool(const QStringList& arguments) { return runOnDisplay(m_server, u"xdotool"_s, arguments); }

    void saveShot(QWidget* widget, const QString& name)
    {
        const QString path = m_shots + u'/' + name + u".png"_s;
        QVERIFY(widget->grab().save(path));
        qInfo("screenshot: %s", qPrintable(path));
    }

    // Presents the sheet, waits for the window manager to give it the focus, types into `field`.
    QPointer<VelmoraSheetHost> presentAndType(QWidget* sheet, QLineEdit* field, const QString& typed)
    {
        QPointer<VelmoraSheetHost> host = m_home->present(sheet);
        if (!host)
            return host;
        if (!QTest::qWaitFor([&] { return QGuiApplication::focusWindow() == host->windowHandle(); }, 10000))
            qWarning() << "no focus window" << QGuiApplication::focusWindow();
        else if (!QTest::qWaitFor([&] { return field->hasFocus(); }, 10000))
            qWarning() << "no focus field" << QApplication::focusWidget();
        else if (!xdotool({u"type"_s, u"--delay"_s, u"20"_s, typed}) ||
                 !QTest::qWaitFor([&] { return field->text().endsWith(typed); }, 10000))
            qWarning() << "not typed" << field->text();
        else
            return host;
        return nullptr;
    }

    bool m_hasTools;
    bool m_serverStarted;
    XvfbServer& m_server;
    QProcess m_windowManager;
    QString m_shots = QDir::tempPath() + u"/velmora-editors"_s;
    std::unique_ptr<EditorSheetHome> m_home;

private Q_SLOTS:
    void initTestCase()
    {
        if (!m_hasTools)
            QSKIP("Xvfb, openbox and xdotool are needed (scripts/setup installs them)");
        QVERIFY2(m_serverStarted, "Xvfb did not start");
        m_windowManager.setProcessEnvironment(m_server.environment());
        m_windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
        QVERIFY(m_windowManager.waitForStarted(5000));
        // A window mapped before the window manager runs may never be managed, exposed or focused.
        QTRY_VERIFY_WITH_TIMEOUT(windowManagerRunning(m_server.display()), 20000);
        QDir().mkpath(m_shots);
        m_home = std::make_unique<EditorSheetHome>();
        m_home->write(u"workspaces/alpha.yaml"_s,
                      "workspace:\n  name: Alpha\nprompts:\n  - id: p1\n    title: First\n    group: Review\n"
                      "    text: |\n      One\n");
        m_home->reload();
        m_home->window.setWindowTitle(u"Presenter"_s);
        m_home->window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&m_home->window, 20000));
        // The window manager is up once it gives the window the focus it asks for.
        QVERIFY(QTest::qWaitFor(
            [&] {
                m_home->window.activateWindow();
                return QGuiApplication::focusWindow() == m_home->window.windowHandle();
            },
            10000));
    }

    void cleanupTestCase()
    {
        m_home.reset();
        if (m_windowManager.state() != QProcess::NotRunning) {
            m_windowManager.terminate();
            m_windowManager.waitForFinished(3000);
        }
    }

    void eachSheetTakesFocusAndTypedText_data()
    {
        QTest::addColumn<AppLanguage>("language");
        QTest::newRow("en") << AppLanguage::english;
        QTest::newRow("zh") << AppLanguage::zhHans;
    }

    void eachSheetTakesFocusAndTypedText()
    {
        QFETCH(AppLanguage, language);
        m_home->language = language;
        const QString suffix = language == AppLanguage::english ? u"-en"_s : u"-zh"_s;

        auto* prompt = new PromptEditorSheet(*m_home->store, {AgentContext::unknown(), u"alpha"_s});
        QPointer<VelmoraSheetHost> host = presentAndType(prompt, prompt->titleField(), u"Typed title"_s);
        QVERIFY(host);
        saveShot(host, u"prompt-editor"_s + suffix);
        QVERIFY(xdotool({u"key"_s, u"Escape"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(!host, 10000);

        auto* creation = new WorkspaceEditorSheet(*m_home->store, std::nullopt);
        host = presentAndType(creation, creation->nameField(), u"Web"_s);
        QVERIFY(host);
        saveShot(host, u"workspace-create"_s + suffix);
        QVERIFY(xdotool({u"key"_s, u"Escape"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(!host, 10000);

        auto* edit = new WorkspaceEditSheet(*m_home->store, *m_home->workspace(u"alpha"_s));
        host = presentAndType(edit, edit->nameField(), u" 2"_s);
        QVERIFY(host);
        saveShot(host, u"workspace-edit"_s + suffix);
        // Another program changes the file: the save is refused with both ways out.
        const QByteArray before = m_home->read(u"workspaces/alpha.yaml"_s);
        m_home->write(u"workspaces/alpha.yaml"_s, before + "  - id: other\n    title: Other\n    text: |\n      O\n");
        QVERIFY(xdotool({u"key"_s, u"Return"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(edit->showsConflictActions(), 10000);
        saveShot(host, u"workspace-conflict"_s + suffix);
        QVERIFY(xdotool({u"key"_s, u"Escape"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(!host, 10000);
        m_home->write(u"workspaces/alpha.yaml"_s, before);
        m_home->reload();
    }

    void thePanelShortcutIsRecordedWhileRecordingAndWorksAfter()
    {
        m_home->language = AppLanguage::english;
        X11HotKeyRegistrar registrar(DesktopSessionType::x11, m_server.display().toLocal8Bit());
        HotKeyService service(&registrar);
        int toggles = 0;
        const PromptKeyboardShortcut ctrlAltK{40, ShortcutModifiers::command | ShortcutModifiers::option};
        QCOMPARE(service.registerHotKey(ctrlAltK, [&] { ++toggles; }), 0);
        QVERIFY(xdotool({u"key"_s, u"ctrl+alt+k"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(toggles, 1, 10000);

        PromptEditorSheet::Configuration configuration{AgentContext::unknown(), u"alpha"_s};
        configuration.hotKeyService = &service;
        auto* sheet = new PromptEditorSheet(*m_home->store, configuration);
        QPointer<VelmoraSheetHost> host = presentAndType(sheet, sheet->titleField(), u"Hot"_s);
        QVERIFY(host);
        QTest::mouseClick(sheet->recorder()->button(), Qt::LeftButton);
        QVERIFY(sheet->recorder()->isRecording());
        saveShot(host, u"prompt-editor-recording"_s);
        QVERIFY(xdotool({u"key"_s, u"ctrl+alt+k"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(sheet->shortcut(), std::optional(ctrlAltK), 10000);
        QVERIFY(!sheet->recorder()->isRecording());
        QVERIFY(host->isVisible());
        QCOMPARE(toggles, 1);

        QVERIFY(xdotool({u"key"_s, u"ctrl+alt+k"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(toggles, 2, 10000);
        QVERIFY(xdotool({u"key"_s, u"Escape"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(!host, 10000);
    }
};

int main(int argc, char** argv)
{
    XvfbServer server;
    const auto has = [](const char16_t* program) {
        return !QStandardPaths::findExecutable(QString::fromUtf16(program)).isEmpty();
    };
    const bool hasTools = XvfbServer::available() && has(u"openbox") && has(u"xdotool");
    const bool started = hasTools && server.start();
    if (started) {
        qputenv("DISPLAY", server.display().toLocal8Bit());
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    QApplication app(argc, argv);
    TestX11Editors test(hasTools, started, server);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_x11editors.moc"
