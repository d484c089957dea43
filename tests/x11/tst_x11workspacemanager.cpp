// The workspace manager in the whole application on a private X server with openbox: a request opens
// it as the active window at 980 by 680; a real click on a row shows that workspace; the edit sheet
// comes up over the manager with the keyboard focus; a file changed behind Velmora's back makes Save
// report the conflict, and "save as new" keeps the user's work in a copy while the changed file stays
// as the other program left it. Screenshots of the manager with a library (English and Chinese), of
// the conflict, and of an empty library are saved for a look.
#include "X11TestSupport.h"
#include "XvfbServer.h"

#include "AppLanguageStore.h"
#include "AppNotifications.h"
#include "FirstRunChecklistStore.h"
#include "PromptStore.h"
#include "VelmoraAppDelegate.h"
#include "VelmoraAppearance.h"
#include "VelmoraButton.h"
#include "VelmoraRuntime.h"
#include "VelmoraSheetHost.h"
#include "WorkspaceEditSheet.h"
#include "WorkspaceManagerEmptyStateView.h"
#include "WorkspaceManagerView.h"
#include "WorkspaceManagerWindowController.h"
#include "WorkspaceManagerWorkspaceList.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

quint32 activeWindow(const QString& display)
{
    return rootWindowProperty(display, "_NET_ACTIVE_WINDOW");
}

const QByteArray betaFile = "workspace:\n  name: Beta\nprompts:\n  - id: b1\n    title: Review the diff\n"
                            "    group: Review\n    text: |\n      Review the staged diff.\n";

} // namespace

class TestX11WorkspaceManager : public QObject {
    Q_OBJECT

public:
    TestX11WorkspaceManager(bool hasTools, bool serverStarted, XvfbServer& server)
        : m_hasTools(hasTools), m_serverStarted(serverStarted), m_server(server)
    {}

private:
    bool xdotool(const QStringList& arguments) { return runOnDisplay(m_server, u"xdotool"_s, arguments); }
    bool clickAt(QWidget* widget, const QPoint& point) { return clickOnDisplay(m_server, widget, point); }
    bool clickOn(QWidget* widget) { return clickOnDisplay(m_server, widget); }
    void saveShot(QWidget* widget, const QString& name)
    {
        QTest::qWait(0);
        const QString path = m_shots + u'/' + name + u".png"_s;
        QVERIFY(widget->grab().save(path));
        qInfo("screenshot: %s", qPrintable(path));
    }
    QString velmoraPath(const QString& relative) const { return m_home.filePath(u".velmora/"_s + relative); }
    void write(const QString& relative, const QByteArray& bytes)
    {
        QFile file(velmoraPath(relative));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    WorkspaceManagerView* manager() const { return m_delegate->workspaceManagerWindow()->view(); }
    QWidget* window() const { return m_delegate->workspaceManagerWindow()->workspaceManagerWindow(); }

    bool m_hasTools;
    bool m_serverStarted;
    XvfbServer& m_server;
    QProcess m_windowManager;
    QTemporaryDir m_home;
    QString m_shots = QDir::tempPath() + u"/velmora-workspace-manager"_s;
    std::unique_ptr<VelmoraRuntime> m_runtime;
    std::unique_ptr<VelmoraAppDelegate> m_delegate;

private Q_SLOTS:
    void initTestCase()
    {
        if (!m_hasTools)
            QSKIP("Xvfb, openbox, xdotool and dbus-daemon are needed (scripts/setup installs them)");
        QVERIFY2(m_serverStarted, "Xvfb or the session bus did not start");
        m_windowManager.setProcessEnvironment(m_server.environment());
        m_windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
        QVERIFY(m_windowManager.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(windowManagerRunning(m_server.display()), 10000);
        QDir().mkpath(m_shots);
        QVERIFY(QDir(m_home.path()).mkpath(u".velmora/workspaces"_s));
        write(u"global.yaml"_s,
              "prompts:\n  - id: g1\n    title: Explain this\n    text: |\n      Explain.\n");
        write(u"workspaces/alpha.yaml"_s, "workspace:\n  name: Alpha\nprompts:\n  - id: a1\n    title: Plan\n"
                                          "    text: |\n      Plan the work.\n");
        write(u"workspaces/beta.yaml"_s, betaFile);
        auto defaults = std::make_unique<QSettings>(m_home.filePath(u"Velmora.conf"_s), QSettings::IniFormat);
        defaults->setValue(QString::fromLatin1(FirstRunChecklistStore::welcomeCompletedKey), true);
        defaults->setValue(QString::fromLatin1(L10n::interfaceLanguageKey), u"english"_s);
        m_runtime = std::make_unique<VelmoraRuntime>(m_home.path(), std::move(defaults));
        m_delegate = std::make_unique<VelmoraAppDelegate>(*m_runtime);
        m_delegate->applicationDidFinishLaunching();
        QTRY_COMPARE_WITH_TIMEOUT(m_runtime->promptStore().workspaces().size(), 2, 10000);
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

    void aRequestOpensTheManagerAsTheActiveWindow()
    {
        m_runtime->notifications().post(u"velmoraRequestOpenWorkspaceManager"_s);
        QVERIFY(m_delegate->workspaceManagerWindow()->workspaceManagerWindow());
        QTRY_COMPARE_WITH_TIMEOUT(activeWindow(m_server.display()), quint32(window()->winId()), 10000);
        QCOMPARE(window()->size(), QSize(980, 680));
        QCOMPARE(window()->windowTitle(), u"Workspaces"_s);
        QTRY_VERIFY(!m_runtime->promptStore().isReloading());
    }

    void aClickOnARowShowsItsDetail()
    {
        WorkspaceManagerWorkspaceList* list = manager()->workspaceList();
        int row = 0;
        while (row < list->rows().size() && list->rows().at(row).id != u"beta"_s)
            ++row;
        QVERIFY(row < list->rows().size());
        QVERIFY(clickAt(list->viewport(), list->cardRect(row).center()));
        QTRY_COMPARE_WITH_TIMEOUT(manager()->selectedWorkspaceID(), std::optional(u"beta"_s), 10000);
        QCOMPARE(manager()->shownText(u"name"_s), u"Beta"_s);
        for (const AppLanguage language : {AppLanguage::zhHans, AppLanguage::english}) {
            m_runtime->languageStore().setSelection(language);
            QTRY_COMPARE(window()->windowTitle(), WorkspaceManagerView::titleFor(language));
            saveShot(window(), u"manager-"_s + catalogCode(language));
        }
    }

    void saveAsNewKeepsTheWorkWhenTheFileChangedBehindVelmora()
    {
        QVERIFY(clickOn(manager()->findChild<VelmoraButton*>(u"action.edit.workspace"_s)));
        QTRY_VERIFY_WITH_TIMEOUT(manager()->sheetHost() && manager()->sheetHost()->isVisible(), 10000);
        VelmoraSheetHost* host = manager()->sheetHost();
        auto* sheet = qobject_cast<WorkspaceEditSheet*>(host->content());
        QVERIFY(sheet);
        QTRY_COMPARE_WITH_TIMEOUT(activeWindow(m_server.display()), quint32(host->winId()), 10000);
        QTRY_COMPARE(QApplication::focusWidget(), sheet->nameField());
        QCOMPARE(host->windowHandle()->transientParent(), window()->windowHandle());

        QVERIFY(xdotool({u"key"_s, u"ctrl+a"_s}));
        QVERIFY(xdotool({u"type"_s, u"Beta renamed"_s}));
        QTRY_COMPARE(sheet->nameField()->text(), u"Beta renamed"_s);
        const QByteArray changed =
            betaFile + "  - id: b2\n    title: Added elsewhere\n    text: |\n      X\n";
        write(u"workspaces/beta.yaml"_s, changed);
        QVERIFY(clickOn(sheet->saveButton()));
        QTRY_VERIFY_WITH_TIMEOUT(sheet->showsConflictActions(), 10000);
        QVERIFY(sheet->saveAsNewButton()->isVisible());
        saveShot(host, u"conflict"_s);
        QVERIFY(clickOn(sheet->saveAsNewButton()));
        QTRY_VERIFY_WITH_TIMEOUT(!manager()->sheetHost(), 10000);
        QFile file(velmoraPath(u"workspaces/beta.yaml"_s));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), changed);
        QTRY_VERIFY_WITH_TIMEOUT(
            std::any_of(m_runtime->promptStore().workspaces().cbegin(),
                        m_runtime->promptStore().workspaces().cend(),
                        [](const PromptWorkspace& each) { return each.name == u"Beta renamed"_s; }),
            10000);
        QCOMPARE(QDir(velmoraPath(u"workspaces"_s)).entryList(QDir::Files).size(), 3);
    }

    void anEmptyLibrary()
    {
        for (const QString& name : QDir(velmoraPath(u"workspaces"_s)).entryList(QDir::Files))
            QVERIFY(QFile::remove(velmoraPath(u"workspaces/"_s + name)));
        QVERIFY(QFile::remove(velmoraPath(u"global.yaml"_s)));
        m_runtime->defaults().setValue(QString::fromLatin1(PromptStore::samplesDismissedKey), true);
        m_runtime->notifications().post(u"velmoraRequestOpenWorkspaceManager"_s);
        QTRY_VERIFY_WITH_TIMEOUT(manager()->workspaceList()->rows().isEmpty(), 10000);
        QTRY_VERIFY(manager()->sidebarEmptyState()->isVisible());
        QCOMPARE(window()->size(), QSize(980, 680));
        saveShot(window(), u"manager-empty"_s);
    }
};

int main(int argc, char** argv)
{
    XvfbServer server;
    const X11Session session = startX11Session(server, {u"openbox"_s, u"xdotool"_s, u"dbus-daemon"_s});
    QApplication app(argc, argv);
    QApplication::setOrganizationName(u"Velmora"_s);
    QApplication::setApplicationName(u"Velmora"_s);
    QApplication::setDesktopFileName(u"app.velmora.Velmora"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setStyle(u"Fusion"_s);
    QApplication::setPalette(VelmoraAppearance::dark());
    TestX11WorkspaceManager test(session.hasTools, session.started, server);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_x11workspacemanager.moc"
