// Velmora's whole application in this process on a private X server with openbox: Settings opened
// from the status menu takes the focus at 760 by 640; the panel shortcut recorder takes real key
// presses (xdotool), the new combination then toggles the panel and the old one doesn't, and the
// combination in force, pressed while recording, is recorded rather than acted on. Screenshots of
// every category in English and Chinese, of the welcome guide and of the panel with its first-run
// card, are saved for a look.
#include "X11TestSupport.h"
#include "XvfbServer.h"

#include "AppLanguageStore.h"
#include "FirstRunChecklistStore.h"
#include "SettingsView.h"
#include "SettingsWindowController.h"
#include "ShortcutRecorderButton.h"
#include "ShortcutSettingsStore.h"
#include "StatusItemButton.h"
#include "StatusVelmoraController.h"
#include "VelmoraAppDelegate.h"
#include "VelmoraAppearance.h"
#include "VelmoraHostingView.h"
#include "VelmoraMorphContainer.h"
#include "VelmoraPanel.h"
#include "VelmoraButton.h"
#include "VelmoraRuntime.h"
#include "WelcomeGuideController.h"

#include <QApplication>
#include <QDir>
#include <QListWidget>
#include <QMenu>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <xcb/xcb.h>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

} // namespace

class TestX11Settings : public QObject {
    Q_OBJECT

public:
    TestX11Settings(bool hasTools, bool serverStarted, XvfbServer& server)
        : m_hasTools(hasTools), m_serverStarted(serverStarted), m_server(server)
    {}

private:
    // Key presses reach this process's own event loop, which keeps running meanwhile.
    bool xdotool(const QStringList& arguments) { return runOnDisplay(m_server, u"xdotool"_s, arguments); }
    bool clickOn(QWidget* widget) { return clickOnDisplay(m_server, widget); }
    void saveShot(QWidget* widget, const QString& name)
    {
        QTest::qWait(0);
        const QString path = m_shots + u'/' + name + u".png"_s;
        QVERIFY(widget->grab().save(path));
        qInfo("screenshot: %s", qPrintable(path));
    }
    bool panelShown() const { return m_delegate->velmoraController()->panelState() != u"hidden"_s; }
    // Presses the keys on the X server and waits for the panel to reach `shown`, or to stay hidden.
    bool pressTogglesPanel(const QString& keys)
    {
        const bool before = panelShown();
        if (!xdotool({u"key"_s, keys}))
            return false;
        if (QTest::qWaitFor([&] { return panelShown() != before; }, 3000)) {
            xdotool({u"key"_s, keys}); // close it again for the next step
            return QTest::qWaitFor([&] { return panelShown() == before; }, 5000);
        }
        return false;
    }

    bool m_hasTools;
    bool m_serverStarted;
    XvfbServer& m_server;
    QProcess m_windowManager;
    QTemporaryDir m_home;
    QString m_shots = QDir::tempPath() + u"/velmora-settings"_s;
    std::unique_ptr<VelmoraRuntime> m_runtime;
    std::unique_ptr<VelmoraAppDelegate> m_delegate;
    SettingsView* m_settings = nullptr;

private Q_SLOTS:
    void initTestCase()
    {
        if (!m_hasTools)
            QSKIP("Xvfb, openbox, xdotool and dbus-daemon are needed (scripts/setup installs them)");
        QVERIFY2(m_serverStarted, "Xvfb or the session bus did not start");
        QCOMPARE(QGuiApplication::platformName(), u"xcb"_s);
        m_windowManager.setProcessEnvironment(m_server.environment());
        m_windowManager.start(u"openbox"_s, {u"--sm-disable"_s});
        QVERIFY(m_windowManager.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(windowManagerRunning(m_server.display()), 10000);
        QDir().mkpath(m_shots);

        QVERIFY(QDir(m_home.path()).mkpath(u".velmora"_s));
        auto defaults = std::make_unique<QSettings>(m_home.filePath(u"Velmora.conf"_s), QSettings::IniFormat);
        // The guide was seen: it is opened from the menu below.
        defaults->setValue(QString::fromLatin1(FirstRunChecklistStore::welcomeCompletedKey), true);
        defaults->setValue(QString::fromLatin1(L10n::interfaceLanguageKey), u"english"_s);
        m_runtime = std::make_unique<VelmoraRuntime>(m_home.path(), std::move(defaults));
        m_delegate = std::make_unique<VelmoraAppDelegate>(*m_runtime);
        m_delegate->applicationDidFinishLaunching();
        QTRY_COMPARE_WITH_TIMEOUT(m_runtime->shortcutStore().hotKeyStatus().kind, HotKeyStatus::Kind::registered,
                                  10000);
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

    void settingsFromTheStatusMenuTakeTheFocus()
    {
        // The capsule's status menu, and its third entry.
        QWidget* capsule = m_delegate->velmoraController()->statusButton();
        QVERIFY(capsule && capsule->isVisible());
        QVERIFY(xdotool({u"mousemove"_s, u"--window"_s, QString::number(capsule->winId()), u"19"_s, u"12"_s,
                         u"click"_s, u"3"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(m_delegate->velmoraController()->statusMenu() &&
                                     m_delegate->velmoraController()->statusMenu()->isVisible(),
                                 10000);
        QVERIFY(xdotool({u"key"_s, u"Down"_s, u"Down"_s, u"Down"_s, u"Return"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(m_delegate->settingsWindow()->settingsWindow(), 10000);
        m_settings = m_delegate->settingsWindow()->settingsWindow();
        QTRY_COMPARE_WITH_TIMEOUT(rootWindowProperty(m_server.display(), "_NET_ACTIVE_WINDOW"),
                                  quint32(m_settings->winId()), 10000);
        QCOMPARE(m_settings->size(), QSize(760, 640));
        QCOMPARE(m_settings->windowTitle(), u"Velmora Settings"_s);
    }

    void theRecorderTakesRealKeysAndTheNewShortcutWorks()
    {
        QVERIFY(m_settings);
        ShortcutSettingsStore& shortcuts = m_runtime->shortcutStore();
        QVERIFY(pressTogglesPanel(u"super+shift+p"_s));
        m_settings->setSelectedCategory(SettingsCategory::shortcuts);
        ShortcutRecorderButton* recorder = m_settings->panelShortcutRecorder();
        QVERIFY(clickOn(recorder->button()));
        QTRY_VERIFY_WITH_TIMEOUT(recorder->isRecording(), 10000);
        QVERIFY(xdotool({u"key"_s, u"ctrl+alt+k"_s}));
        const PromptKeyboardShortcut recorded{40, ShortcutModifiers::command | ShortcutModifiers::option};
        QTRY_COMPARE_WITH_TIMEOUT(shortcuts.togglePanelShortcut(), recorded, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(shortcuts.hotKeyStatus(), HotKeyStatus::registered(recorded), 10000);
        QVERIFY(pressTogglesPanel(u"ctrl+alt+k"_s));
        QVERIFY(!pressTogglesPanel(u"super+shift+p"_s));
        saveShot(m_settings, u"settings-shortcut-recorded"_s);

        // The combination in force, pressed while recording, is recorded, not acted on.
        QVERIFY(clickOn(recorder->button()));
        QTRY_VERIFY_WITH_TIMEOUT(recorder->isRecording(), 10000);
        QVERIFY(xdotool({u"key"_s, u"ctrl+alt+k"_s}));
        QTRY_VERIFY_WITH_TIMEOUT(!recorder->isRecording(), 10000);
        QVERIFY(!QTest::qWaitFor([&] { return panelShown(); }, 1000));
        QCOMPARE(shortcuts.togglePanelShortcut(), recorded);
        // Back to the default for what follows.
        QVERIFY(clickOn(m_settings->page(SettingsCategory::shortcuts)->findChild<QWidget*>(u"resetPanelShortcut"_s)));
        QTRY_COMPARE_WITH_TIMEOUT(shortcuts.hotKeyStatus(),
                                  HotKeyStatus::registered(ShortcutSettingsStore::defaultTogglePanelShortcut), 10000);
    }

    void screenshotsOfEveryCategoryAndTheGuide()
    {
        QVERIFY(m_settings);
        for (const AppLanguage language : {AppLanguage::english, AppLanguage::zhHans}) {
            m_runtime->languageStore().setSelection(language);
            const QString title = L10n::text(u"settings.category.general"_s, language);
            QTRY_COMPARE(m_settings->sidebar()->item(1)->text(), title);
            for (const SettingsCategory category : allSettingsCategories) {
                QVERIFY(clickOn(m_settings->sidebar()));
                m_settings->setSelectedCategory(category);
                saveShot(m_settings, u"settings-%1-%2"_s.arg(toRawValue(category), catalogCode(language)));
            }
            m_delegate->welcomeGuide()->openWelcomeGuide();
            QWidget* guide = m_delegate->welcomeGuide()->welcomeWindow();
            QTRY_VERIFY_WITH_TIMEOUT(guide && guide->isVisible(), 10000);
            QTRY_COMPARE(guide->windowTitle(), L10n::text(u"first.welcome.window.title"_s, language));
            saveShot(guide, u"welcome-"_s + catalogCode(language));
            guide->close();
            // The panel with the first-run card atop its prompts.
            StatusVelmoraController* controller = m_delegate->velmoraController();
            controller->showPanel();
            QTRY_COMPARE_WITH_TIMEOUT(controller->panelState(), u"open"_s, 10000);
            QTRY_VERIFY(controller->panel()->findChild<QWidget*>(u"firstRunChecklist"_s)->isVisible());
            auto* morph = qobject_cast<VelmoraMorphContainer*>(controller->hostingView()->rootView());
            QTRY_VERIFY(morph && !morph->isAnimating());
            saveShot(controller->panel(), u"panel-first-run-"_s + catalogCode(language));
            controller->closePanel();
            QTRY_COMPARE_WITH_TIMEOUT(controller->panelState(), u"hidden"_s, 10000);
        }
        m_runtime->languageStore().setSelection(AppLanguage::english);
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
    TestX11Settings test(session.hasTools, session.started, server);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_x11settings.moc"
