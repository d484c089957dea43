// The import sheet on a private X server with openbox, presented by a test window: it opens with the
// keyboard in its editor; text put on the clipboard by xclip and pasted with Ctrl+V previews and is
// imported with Ctrl+Return; a pack chosen in the real file dialog (typed by xdotool) installs, and a
// broken one shows its error. Screenshots in English and Chinese are saved for a look.
#include "X11TestSupport.h"
#include "XvfbServer.h"

#include "../stores/PromptStoreFixture.h"
#include "AppLanguageStore.h"
#include "FileDialogChooser.h"
#include "PromptConfigLoader.h"
#include "PromptImportSheet.h"
#include "PromptImportTextEditor.h"
#include "PromptPanelPreferences.h"
#include "VelmoraButton.h"
#include "VelmoraSheetHost.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

class TestX11Import : public QObject {
    Q_OBJECT

public:
    TestX11Import(bool hasTools, bool serverStarted, XvfbServer& server)
        : m_hasTools(hasTools), m_serverStarted(serverStarted), m_server(server)
    {}

private:
    bool run(const QString& program, const QStringList& arguments)
    {
        return runOnDisplay(m_server, program, arguments, nullptr, 20000);
    }

    bool click(QWidget* widget) { return clickOnDisplay(m_server, widget); }

    PromptImportSheet* openSheet()
    {
        if (!click(m_openButton) || !QTest::qWaitFor([this] { return !m_host.isNull(); }, 10000))
            return nullptr;
        return qobject_cast<PromptImportSheet*>(m_host->content());
    }

    // Clicks the pack button; once the file dialog is up, types the path into it and presses Return.
    void choosePackInDialog(PromptImportSheet* sheet, const QString& path)
    {
        QTimer poll;
        bool typed = false;
        connect(&poll, &QTimer::timeout, this, [&] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (typed || !dialog || !dialog->isVisible() || !QApplication::focusWidget())
                return;
            typed = true;
            run(u"xdotool"_s, {u"type"_s, u"--delay"_s, u"5"_s, path});
            run(u"xdotool"_s, {u"key"_s, u"Return"_s});
        });
        poll.start(100);
        QVERIFY(click(sheet->choosePackButton()));
        QTRY_VERIFY_WITH_TIMEOUT(typed && !qobject_cast<QFileDialog*>(QApplication::activeModalWidget()), 20000);
    }

    void saveShot(QWidget* widget, const QString& name)
    {
        const QString path = m_shots + u'/' + name + u".png"_s;
        QApplication::processEvents(); // the layout that the last change asked for
        QVERIFY(widget->grab().save(path));
        qInfo("screenshot: %s", qPrintable(path));
    }

    bool m_hasTools;
    bool m_serverStarted;
    XvfbServer& m_server;
    QProcess m_windowManager;
    QString m_shots = QDir::tempPath() + u"/velmora-import"_s;
    Fixture f;
    std::unique_ptr<AppLanguageStore> m_language;
    std::unique_ptr<PromptPanelPreferences> m_preferences;
    FileDialogChooser m_chooser;
    std::unique_ptr<QWidget> m_window;
    QPushButton* m_openButton = nullptr;
    QPointer<VelmoraSheetHost> m_host;

private Q_SLOTS:
    void initTestCase()
    {
        if (!m_hasTools)
            QSKIP("Xvfb, openbox, xdotool and xclip are needed (scripts/setup installs them)");
        QVERIFY2(m_serverStarted, "Xvfb did not start");
        m_windowManager.setProcessEnvironment(m_server.environment());
        m_windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
        QVERIFY(m_windowManager.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(windowManagerRunning(m_server.display()), 10000);
        QDir().mkpath(m_shots);
    }

    void cleanupTestCase()
    {
        m_windowManager.terminate();
        m_windowManager.waitForFinished(5000);
    }

    void init()
    {
        f.setUp();
        f.writeFile(u".velmora/workspaces/work.yaml"_s, "workspace:\n  name: \"Work\"\n");
        f.load(PromptConfigLoader(f.homePath(), [] { return AppLanguage::english; }).loadAllConfigs());
        m_language = std::make_unique<AppLanguageStore>(f.settings.get(), [] { return QStringList{u"en"_s}; });
        m_preferences = std::make_unique<PromptPanelPreferences>(f.settings.get());
        m_window = std::make_unique<QWidget>();
        m_window->resize(760, 820);
        m_openButton = new QPushButton(u"Import…"_s, m_window.get());
        m_openButton->setGeometry(20, 20, 120, 32);
        connect(m_openButton, &QPushButton::clicked, this, [this] {
            PromptImportSheet::Dependencies dependencies;
            dependencies.promptStore = f.store.get();
            dependencies.languageStore = m_language.get();
            dependencies.preferences = m_preferences.get();
            dependencies.fileChooser = &m_chooser;
            dependencies.initialWorkspaceID = u"work"_s;
            m_host = PromptImportSheet::present(m_window.get(), dependencies);
        });
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get(), 20000));
    }

    void cleanup()
    {
        delete m_host.data();
        m_window.reset();
        f.tearDown();
    }

    void pastedTextAndChosenPacksComeIn_data()
    {
        QTest::addColumn<AppLanguage>("language");
        QTest::addColumn<QString>("suffix");
        QTest::newRow("English") << AppLanguage::english << u"en"_s;
        QTest::newRow("Chinese") << AppLanguage::zhHans << u"zh"_s;
    }

    void pastedTextAndChosenPacksComeIn()
    {
        QFETCH(AppLanguage, language);
        QFETCH(QString, suffix);
        m_language->setSelection(language);

        PromptImportSheet* sheet = openSheet();
        QVERIFY(sheet);
        QTRY_VERIFY_WITH_TIMEOUT(sheet->editor()->hasFocus(), 10000);
        const QString pasted = u"## Review the change\nLook at the diff, 请审查 🚀\n\n## Write tests\nCover the edges.\n"_s;
        QProcess clipboardOwner; // serves the clipboard until the paste has taken it
        clipboardOwner.setProcessEnvironment(m_server.environment());
        clipboardOwner.start(u"xclip"_s, {u"-quiet"_s, u"-selection"_s, u"clipboard"_s, u"-i"_s});
        clipboardOwner.write(pasted.toUtf8());
        clipboardOwner.closeWriteChannel();
        QTRY_COMPARE_WITH_TIMEOUT(QApplication::clipboard()->text(), pasted, 10000);
        QVERIFY(run(u"xdotool"_s, {u"key"_s, u"ctrl+v"_s}));
        QTRY_COMPARE_WITH_TIMEOUT(sheet->rawText(), pasted, 10000);
        clipboardOwner.terminate();
        clipboardOwner.waitForFinished(3000);
        QTRY_VERIFY_WITH_TIMEOUT(sheet->importButton()->isEnabled(), 10000);
        saveShot(m_host, u"previews-"_s + suffix);
        QVERIFY(run(u"xdotool"_s, {u"key"_s, u"ctrl+Return"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(!m_host, 10000);
        QCOMPARE(idsOf(f.store->workspaces().first().prompts),
                 QStringList({u"imported-review-the-change"_s, u"imported-write-tests"_s}));

        sheet = openSheet();
        QVERIFY(sheet);
        choosePackInDialog(sheet, QFINDTESTDATA("data/packs/unknown-agent.velmora-pack.yaml"));
        QVERIFY(sheet->packError());
        saveShot(m_host, u"error-"_s + suffix);
        choosePackInDialog(sheet, QFINDTESTDATA("data/packs/valid.velmora-pack.yaml"));
        QVERIFY(sheet->packPreview());
        saveShot(m_host, u"pack-"_s + suffix);
        QVERIFY(click(sheet->installButton()));
        QTRY_VERIFY_WITH_TIMEOUT(!m_host, 10000);
        QCOMPARE(f.store->workspaces().last().id, u"team-kit"_s);
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
    TestX11Import test(hasTools, started, server);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_x11import.moc"
