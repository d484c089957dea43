// The prompt tiles on a private X server with openbox: a real click on a tile (xdotool) puts exactly
// its text on the clipboard, read back by another client (xclip); a prompt with variables raises
// the form, which the window manager gives the keyboard focus, and typed keys copy the rendered
// text. Screenshots of the tiles in grid and list and of the form are saved for a look.
#include "X11TestSupport.h"
#include "XvfbServer.h"

#include "../stores/PromptStoreFixture.h"
#include "../views/PromptPanelHarness.h"
#include "ClipboardService.h"
#include "PromptGridStageView.h"
#include "PromptVariableSheet.h"
#include "VelmoraMorphContainer.h"
#include "VelmoraPanel.h"
#include "VelmoraSheetHost.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

#include <xcb/xcb.h>

#include <cstdlib>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

class TestX11PromptTiles : public QObject {
    Q_OBJECT

public:
    TestX11PromptTiles(bool hasTools, bool serverStarted, XvfbServer& server)
        : m_hasTools(hasTools), m_serverStarted(serverStarted), m_server(server)
    {}

private:
    bool run(const QString& program, const QStringList& arguments, QByteArray* output = nullptr)
    {
        return runOnDisplay(m_server, program, arguments, output);
    }

    QByteArray clipboardText()
    {
        QByteArray text;
        return run(u"xclip"_s, {u"-o"_s, u"-selection"_s, u"clipboard"_s, u"-t"_s, u"UTF8_STRING"_s}, &text)
                   ? text
                   : QByteArray("(nothing)");
    }

    // A real click, through the X server and the window manager.
    bool clickTile(const QString& id)
    {
        PromptTileView* tile = m_panelView->stage()->tileFor(id);
        if (!tile)
            return false;
        return clickOnDisplay(m_server, tile, tile->tileRect().center().toPoint());
    }

    void saveShot(QWidget* widget, const QString& name)
    {
        const QString path = m_shots + u'/' + name + u".png"_s;
        QVERIFY(widget->grab().save(path));
        qInfo("screenshot: %s", qPrintable(path));
    }

    bool m_hasTools;
    bool m_serverStarted;
    XvfbServer& m_server;
    QProcess m_windowManager;
    QString m_shots = QDir::tempPath() + u"/velmora-prompt-tiles"_s;
    Fixture f;
    std::unique_ptr<PromptPanelHarness> m_harness;
    std::unique_ptr<VelmoraPanel> m_panel;
    PromptPanelView* m_panelView = nullptr;

private Q_SLOTS:
    void initTestCase()
    {
        if (!m_hasTools)
            QSKIP("Xvfb, openbox, xdotool and xclip are needed (scripts/setup installs them)");
        QVERIFY2(m_serverStarted, "Xvfb did not start");
        QCOMPARE(QGuiApplication::platformName(), u"xcb"_s);
        m_windowManager.setProcessEnvironment(m_server.environment());
        m_windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
        QVERIFY(m_windowManager.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(windowManagerRunning(m_server.display()), 10000);
        QDir().mkpath(m_shots);

        f.setUp();
        PromptItem plain = prompt(u"plain"_s);
        plain.title = u"Review the change"_s;
        plain.text = u"请审查这段代码 🚀\n  Keep the café's indentation.\n"_s;
        PromptItem form = prompt(u"form"_s);
        form.title = u"Deploy a service"_s;
        form.text = u"Deploy {{service}} to {{env|staging}}"_s;
        PromptLoadResult library;
        library.globalPrompts = {plain, form, prompt(u"c"_s), prompt(u"d"_s)};
        f.load(library);

        m_harness = std::make_unique<PromptPanelHarness>(*f.store, f.settings.get(),
                                                         std::make_shared<ClipboardService>(),
                                                         [](const QString&) { return nullptr; });

        // The first-run card would push the tiles down; it has tests of its own.
        m_harness->firstRun->setDismissed(true);
        // As the panel window holds it: inside the morph container, on its glass.
        m_panel = std::make_unique<VelmoraPanel>();
        auto* layout = new QVBoxLayout(m_panel.get());
        layout->setContentsMargins(0, 0, 0, 0);
        m_panelView = new PromptPanelView(m_harness->dependencies(), {});
        auto* container = new VelmoraMorphContainer(*m_harness->morph, m_panelView, nullptr);
        layout->addWidget(container);
        m_panel->setGeometry(380, 60, 520, 600);
        m_panel->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_panel.get()));
        m_harness->morph->open(true);
        QTRY_VERIFY(!container->isAnimating());
    }

    void cleanupTestCase()
    {
        m_panel.reset();
        m_harness.reset();
        if (m_windowManager.state() != QProcess::NotRunning) {
            m_windowManager.terminate();
            m_windowManager.waitForFinished(3000);
        }
        f.tearDown();
    }

    void aClickPutsExactlyTheTileTextOnTheClipboard()
    {
        saveShot(m_panel.get(), u"tiles-grid"_s);
        QVERIFY(clickTile(u"plain"_s));
        QTRY_COMPARE_WITH_TIMEOUT(clipboardText(),
                                  u"请审查这段代码 🚀\n  Keep the café's indentation.\n"_s.toUtf8(), 10000);
        QCOMPARE(m_panelView->selectedPromptID(), std::optional(u"plain"_s));

        m_harness->preferences->setLayoutMode(PromptPanelLayoutMode::list);
        QTRY_VERIFY(m_panelView->stage()->tileFor(u"plain"_s)->tileRect().width() == 410);
        saveShot(m_panel.get(), u"tiles-list"_s);
        QVERIFY(clickTile(u"c"_s));
        QTRY_COMPARE_WITH_TIMEOUT(clipboardText(), QByteArray("Text of c"), 10000);
        m_harness->preferences->setLayoutMode(PromptPanelLayoutMode::grid);
    }

    void theFormTakesTheFocusAndTypedValuesCopyTheRenderedText()
    {
        QVERIFY(clickTile(u"form"_s));
        QTRY_VERIFY_WITH_TIMEOUT(m_panelView->variableSheet(), 10000);
        PromptVariableSheet* sheet = m_panelView->variableSheet();
        VelmoraSheetHost* host = m_panelView->sheetHost();
        // The window manager gave the sheet the focus: Qt learns it from the X server's focus events.
        QTRY_COMPARE_WITH_TIMEOUT(QGuiApplication::focusWindow(), host->windowHandle(), 10000);
        QTRY_VERIFY_WITH_TIMEOUT(sheet->field(u"service"_s)->hasFocus(), 10000);
        QVERIFY(host->geometry().top() >= m_panel->geometry().top());
        saveShot(host, u"form"_s);

        // Keys typed on the X server, as a keyboard would.
        QVERIFY(run(u"xdotool"_s, {u"type"_s, u"--delay"_s, u"30"_s, u"api"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(sheet->field(u"service"_s)->text(), u"api"_s, 10000);
        QVERIFY(run(u"xdotool"_s, {u"key"_s, u"Return"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(clipboardText(), QByteArray("Deploy api to staging"), 10000);
        QTRY_VERIFY(!m_panelView->sheetHost());
        QCOMPARE(m_harness->values->value(u"service"_s), std::optional(u"api"_s));
    }
};

int main(int argc, char** argv)
{
    XvfbServer server;
    const auto has = [](const char16_t* program) {
        return !QStandardPaths::findExecutable(QString::fromUtf16(program)).isEmpty();
    };
    const bool hasTools = XvfbServer::available() && has(u"openbox") && has(u"xdotool") && has(u"xclip");
    const bool started = hasTools && server.start();
    if (started) {
        qputenv("DISPLAY", server.display().toLocal8Bit());
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    QApplication app(argc, argv);
    TestX11PromptTiles test(hasTools, started, server);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_x11prompttiles.moc"
