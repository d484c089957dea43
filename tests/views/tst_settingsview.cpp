// The settings window as the user sees and drives it: every category in both languages, each control
// writing its preference, the usage and recent-value clearing, packs, both shortcut recorders, the
// startup and update sections in each state, and the facts of this desktop.
#include "AppLinks.h"
#include "FirstRunChecklistStore.h"
#include "PromptPackService.h"
#include "PromptStoreFixture.h"
#include "SettingsHarness.h"
#include "ShortcutRecorderButton.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraSheetHost.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDesktopServices>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;
using Facility = DesktopSessionReport::HotKeyFacility;

class UrlCatcher : public QObject {
    Q_OBJECT

public:
    QList<QUrl> urls;

public Q_SLOTS:
    void open(const QUrl& url) { urls.append(url); }
};

class TestSettingsView : public QObject {
    Q_OBJECT

    Fixture f;
    std::unique_ptr<SettingsHarness> h;
    std::unique_ptr<SettingsView> view;

    void make(const UpdateBundleValues& updates = {}, AppUpdateController::UrlOpener openUrl = [](const QUrl&) {})
    {
        view.reset();
        h = std::make_unique<SettingsHarness>(*f.store, f.settings.get(), updates, std::move(openUrl));
        view = std::make_unique<SettingsView>(h->dependencies());
        view->show();
    }
    template <typename T = QWidget> T* control(SettingsCategory category, const QString& name)
    {
        view->setSelectedCategory(category);
        T* found = view->page(category)->findChild<T*>(name);
        if (!found)
            qWarning("no control %s", qPrintable(name));
        return found;
    }
    QString shown(SettingsCategory category, const QString& name) { return control<QLabel>(category, name)->text(); }
    static QString en(const char* key) { return L10n::text(QString::fromLatin1(key), AppLanguage::english); }
    static void choose(QComboBox* combo, int index)
    {
        combo->setFocus();
        while (combo->currentIndex() != index)
            QTest::keyClick(combo, combo->currentIndex() < index ? Qt::Key_Down : Qt::Key_Up);
    }
    QString stored(const char* key) const { return f.settings->value(QString::fromLatin1(key)).toString(); }

private Q_SLOTS:
    void init()
    {
        f.setUp(false);
        make();
    }
    void cleanup()
    {
        view.reset();
        h.reset();
        f.tearDown();
    }

    void everyCategoryInBothLanguages_data()
    {
        QTest::addColumn<AppLanguage>("language");
        QTest::newRow("English") << AppLanguage::english;
        QTest::newRow("Chinese") << AppLanguage::zhHans;
    }

    void everyCategoryInBothLanguages()
    {
        QFETCH(AppLanguage, language);
        h->languages->setSelection(language);
        QTRY_COMPARE(view->sidebar()->item(1)->text(), L10n::text(u"settings.category.general"_s, language));
        const QList<std::pair<SettingsCategory, QStringList>> sections{
            {SettingsCategory::gettingStarted, {u"first.checklist.settings.section"_s}},
            {SettingsCategory::general,
             {u"settings.display.feedback"_s, u"settings.startup.title"_s, u"linux.settings.matching.title"_s,
              u"linux.desktop.title"_s}},
            {SettingsCategory::prompts,
             {u"settings.environment.binding"_s, u"settings.usage.title"_s, u"settings.prompt.packs"_s}},
            {SettingsCategory::shortcuts, {u"settings.shortcut"_s}},
            {SettingsCategory::updates, {u"settings.updates.title"_s}}};
        for (const auto& [category, keys] : sections) {
            QTest::mouseClick(view->sidebar()->viewport(), Qt::LeftButton, {},
                              view->sidebar()->visualItemRect(view->sidebar()->item(int(category))).center());
            QCOMPARE(view->selectedCategory(), category);
            for (const QString& key : keys)
                QCOMPARE(shown(category, key), L10n::text(key, language));
        }
        // The sound named by a key is translated; a sound's own name isn't.
        auto* sounds = control<QComboBox>(SettingsCategory::general, u"settings.copy.sound"_s);
        QCOMPARE(sounds->itemText(0), L10n::text(u"copy.sound.off"_s, language));
        QCOMPARE(sounds->itemText(1), u"Glass"_s);
    }

    void eachControlWritesItsPreference_data()
    {
        QTest::addColumn<SettingsCategory>("category");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("choice"); // -1: a click
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        const auto row = [](const char* tag, SettingsCategory category, const char* name, int choice, const char* key,
                            const char* value) {
            QTest::newRow(tag) << category << QString::fromLatin1(name) << choice << QString::fromLatin1(key)
                               << QString::fromLatin1(value);
        };
        row("hover", SettingsCategory::general, "settings.hover.open", -1, ShortcutSettingsStore::hoverOpenEnabledKey,
            "true");
        row("haptics", SettingsCategory::general, "settings.copy.haptics", -1,
            ShortcutSettingsStore::copyHapticsEnabledKey, "false");
        row("text size", SettingsCategory::general, "settings.text.size.large", -1, PromptPanelPreferences::textSizeKey,
            "large");
        row("language", SettingsCategory::general, "settings.language.title", 1, L10n::interfaceLanguageKey, "zhHans");
        row("sound", SettingsCategory::general, "settings.copy.sound", 4, ShortcutSettingsStore::copySoundNameKey,
            "Tink");
        row("advanced matching", SettingsCategory::general, "linux.settings.matching.advanced", -1,
            PromptStore::advancedMatchingKey, "true");
        row("project files", SettingsCategory::general, "linux.settings.matching.project", -1,
            PromptStore::projectConfigsKey, "false");
        row("sort", SettingsCategory::prompts, "settings.usage.sort", 2, PromptStore::sortModeKey, "frequent");
    }

    void eachControlWritesItsPreference()
    {
        QFETCH(SettingsCategory, category);
        QFETCH(QString, name);
        QFETCH(int, choice);
        QFETCH(QString, key);
        QWidget* widget = control(category, name);
        QVERIFY(widget);
        if (choice < 0)
            QTest::mouseClick(widget, Qt::LeftButton, {}, QPoint(8, widget->height() / 2));
        else
            choose(qobject_cast<QComboBox*>(widget), choice);
        QTEST(f.settings->value(key).toString(), "value");
    }

    void aSoundChoiceSelectsThePlayersSound()
    {
        choose(control<QComboBox>(SettingsCategory::general, u"settings.copy.sound"_s), 2);
        QCOMPARE(h->player->currentSoundName(), std::optional<QString>(u"Ping"_s));
        QCOMPARE(h->shortcuts->copySoundName(), u"Ping"_s);
    }

    void aMatchingSwitchTakesEffectAtOnce()
    {
        QSignalSpy changed(f.store.get(), &PromptStore::advancedAutomaticMatchingEnabledChanged);
        QTest::mouseClick(control(SettingsCategory::general, u"linux.settings.matching.advanced"_s), Qt::LeftButton,
                          {}, QPoint(8, 8));
        QCOMPARE(changed.size(), 1);
        QVERIFY(f.store->matchingService().advancedAutomaticMatchingEnabled);
        QTest::mouseClick(control(SettingsCategory::general, u"linux.settings.matching.project"_s), Qt::LeftButton,
                          {}, QPoint(8, 8));
        QVERIFY(!f.store->matchingService().projectConfigsEnabled);
    }

    void clearingUsageAsksFirstAndWritesOnlyRecords()
    {
        QSignalSpy changed(f.store.get(), &PromptStore::changed);
        // No records: nothing is written, observers hear all the same.
        view->clearUsage();
        QVERIFY(!QFile::exists(f.usage->fileURL()));
        QCOMPARE(changed.size(), 1);

        f.usage->recordSuccessfulCopy(u"a"_s, QDateTime::currentDateTimeUtc());
        auto* clear = control<VelmoraButton>(SettingsCategory::prompts, u"settings.usage.clear"_s);
        QTest::mouseClick(clear, Qt::LeftButton);
        QVERIFY(view->showsClearUsageConfirmation());
        auto* cancel = view->clearUsageConfirmation()->findChild<VelmoraButton*>(u"action.cancel"_s);
        QTest::mouseClick(cancel, Qt::LeftButton);
        QTRY_VERIFY(!view->showsClearUsageConfirmation());
        QCOMPARE(f.usage->records().size(), 1);

        QTest::mouseClick(clear, Qt::LeftButton);
        auto* confirm = view->clearUsageConfirmation()->findChild<VelmoraButton*>(u"settings.usage.clear"_s);
        QVERIFY(!confirm->isDefault());
        QTest::mouseClick(confirm, Qt::LeftButton);
        QVERIFY(f.usage->records().isEmpty());
        QCOMPARE(PromptUsageStore(f.homePath()).records().size(), 0);
        QCOMPARE(changed.size(), 2);
    }

    void clearingRecentValuesAsksNothing()
    {
        h->values->record(u"main"_s, u"branch"_s, QDateTime::currentDateTimeUtc());
        QTest::mouseClick(control(SettingsCategory::prompts, u"settings.variable.recent.clear"_s), Qt::LeftButton);
        QVERIFY(!view->showsClearUsageConfirmation());
        QVERIFY(h->values->records().isEmpty());
        QVERIFY(!f.settings->contains(QString::fromLatin1(PromptVariableValueStore::defaultsKey)));
    }

    void aPackInstallsFromTheMenu()
    {
        auto* install = control<VelmoraButton>(SettingsCategory::prompts, u"action.install.builtin.pack"_s);
        QTest::mouseClick(install, Qt::LeftButton);
        auto* menu = install->findChild<QMenu*>(u"builtInPacks"_s);
        QTRY_VERIFY(menu->isVisible());
        const PromptPack& pack = PromptPackService::builtInPacks(AppLanguage::english).constFirst();
        QCOMPARE(menu->actions().constFirst()->text(), pack.metadata.name);
        menu->actions().constFirst()->trigger();
        QCOMPARE(f.store->statusMessage(), en("status.installed.pack").arg(pack.metadata.name));
    }

    void theTileRecorderTakesDigitsWithAModifier()
    {
        ShortcutRecorderButton* recorder = view->tileShortcutRecorder();
        view->setSelectedCategory(SettingsCategory::shortcuts);
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        QVERIFY(control(SettingsCategory::shortcuts, u"tileUsingDefault"_s)->isVisible());
        QCOMPARE(recorder->buttonTitle(), u"Ctrl+1..9"_s);
        QTest::mouseClick(recorder->button(), Qt::LeftButton);
        QTest::keyClick(recorder, Qt::Key_Exclam, Qt::ShiftModifier);
        QCOMPARE(recorder->recorderMessage(), en("shortcut.tile.record.invalid"));
        // Ctrl+Shift+1 gives "!" on a US layout: the key still counts as 1.
        QTest::keyClick(recorder, Qt::Key_Exclam, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(!recorder->isRecording());
        QCOMPARE(h->shortcuts->promptTileShortcut().modifiersRawValue,
                 quint64(ShortcutModifiers::command | ShortcutModifiers::shift));
        QVERIFY(!control(SettingsCategory::shortcuts, u"tileUsingDefault"_s)->isVisible());
        QTest::mouseClick(control(SettingsCategory::shortcuts, u"resetTileShortcut"_s), Qt::LeftButton);
        QCOMPARE(h->shortcuts->promptTileShortcut(), ShortcutSettingsStore::defaultPromptTileShortcut);
        QVERIFY(control(SettingsCategory::shortcuts, u"tileUsingDefault"_s)->isVisible());
    }

    void thePanelShortcutShowsTheDefaultHoweverItCame()
    {
        const PromptKeyboardShortcut other{40, ShortcutModifiers::command | ShortcutModifiers::option};
        h->shortcuts->setTogglePanelShortcut(other);
        QVERIFY(!control(SettingsCategory::shortcuts, u"panelUsingDefault"_s)->isVisibleTo(view.get()));
        QCOMPARE(view->panelShortcutRecorder()->buttonTitle(), other.displayString());
        QSignalSpy requests(h->shortcuts.get(), &ShortcutSettingsStore::shortcutRequests);
        QTest::mouseClick(control(SettingsCategory::shortcuts, u"resetPanelShortcut"_s), Qt::LeftButton);
        QCOMPARE(requests.size(), 1);
        QCOMPARE(h->shortcuts->hotKeyStatus(), HotKeyStatus::registering(ShortcutSettingsStore::defaultTogglePanelShortcut));
        h->shortcuts->setTogglePanelShortcut(ShortcutSettingsStore::defaultTogglePanelShortcut);
        QVERIFY(control(SettingsCategory::shortcuts, u"panelUsingDefault"_s)->isVisibleTo(view.get()));
        QCOMPARE(shown(SettingsCategory::shortcuts, u"settings.default.shortcut.value"_s), u"Super+Shift+P"_s);
    }

    void theStatusLineSaysWhyInItsColour_data()
    {
        QTest::addColumn<HotKeyStatus>("status");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QColor>("colour");
        const PromptKeyboardShortcut taken{35, ShortcutModifiers::command};
        QTest::newRow("registered") << HotKeyStatus::registered(taken) << en("shortcut.registered").arg(u"Ctrl+P"_s)
                                    << VelmoraColors::green();
        QTest::newRow("registering") << HotKeyStatus::registering(taken)
                                     << en("shortcut.registering").arg(u"Ctrl+P"_s) << VelmoraColors::secondaryText();
        QTest::newRow("X11 grab held elsewhere") << HotKeyStatus::failed(taken, 10)
                                                 << en("linux.shortcut.x11.taken").arg(u"Ctrl+P"_s) << VelmoraColors::red();
        QTest::newRow("invalid") << HotKeyStatus::invalid() << HotKeyStatus::invalid().message(AppLanguage::english)
                                 << VelmoraColors::red();
    }

    void theStatusLineSaysWhyInItsColour()
    {
        QFETCH(HotKeyStatus, status);
        h->shortcuts->setHotKeyStatus(status);
        auto* line = control<QLabel>(SettingsCategory::shortcuts, u"shortcutStatus"_s);
        QTEST(line->text(), "text");
        QTEST(line->palette().color(QPalette::WindowText), "colour");
    }

    void theDesktopLinesFollowTheProbe_data()
    {
        QTest::addColumn<DesktopSessionReport>("report");
        QTest::addColumn<QStringList>("lines");
        DesktopSessionReport x11;
        x11.session = DesktopSessionReport::Session::x11;
        x11.currentDesktop = u"XFCE"_s;
        x11.hotKeyFacility = Facility::x11Grab;
        x11.hasTrayHost = false;
        x11.hasSoundServer = false;
        DesktopSessionReport portal = x11;
        portal.session = DesktopSessionReport::Session::wayland;
        portal.currentDesktop.clear();
        portal.hotKeyFacility = Facility::portal;
        portal.portalVersion = 2;
        portal.hasTrayHost = true;
        portal.hasSoundServer = std::nullopt;
        DesktopSessionReport bare = portal;
        bare.hotKeyFacility = Facility::none;
        const auto line = [](const char* key, const QString& value) { return en(key).arg(value); };
        QTest::newRow("X11, no tray, no sound server")
            << x11
            << QStringList{line("linux.desktop.session", en("linux.desktop.session.x11")),
                           line("linux.desktop.name", u"XFCE"_s),
                           line("linux.desktop.hotkey", en("linux.desktop.hotkey.x11")),
                           line("linux.desktop.tray", en("linux.desktop.tray.none")),
                           line("linux.desktop.sound", en("linux.desktop.sound.none")), en("linux.desktop.haptics")};
        QTest::newRow("Wayland with the portal, sound still checking")
            << portal
            << QStringList{line("linux.desktop.session", en("linux.desktop.session.wayland")),
                           line("linux.desktop.name", en("linux.desktop.name.unknown")),
                           line("linux.desktop.hotkey", en("linux.desktop.hotkey.portal").arg(2)),
                           line("linux.desktop.tray", en("linux.desktop.tray.available")),
                           line("linux.desktop.sound", en("linux.desktop.checking")), en("linux.desktop.haptics")};
        QTest::newRow("Wayland without the portal")
            << bare
            << QStringList{line("linux.desktop.session", en("linux.desktop.session.wayland")),
                           line("linux.desktop.name", en("linux.desktop.name.unknown")),
                           line("linux.desktop.hotkey", en("linux.desktop.hotkey.none")),
                           line("linux.desktop.tray", en("linux.desktop.tray.available")),
                           line("linux.desktop.sound", en("linux.desktop.checking")), en("linux.desktop.haptics")};
    }

    void theDesktopLinesFollowTheProbe()
    {
        QFETCH(DesktopSessionReport, report);
        QFETCH(QStringList, lines);
        h->desktop.answer(report);
        const QStringList names{u"linux.desktop.session"_s, u"linux.desktop.name"_s,  u"linux.desktop.hotkey"_s,
                                u"linux.desktop.tray"_s,    u"linux.desktop.sound"_s, u"linux.desktop.haptics"_s};
        for (qsizetype index = 0; index < names.size(); ++index)
            QCOMPARE(shown(SettingsCategory::general, names[index]), lines[index]);
        QVERIFY(control(SettingsCategory::general, u"linux.settings.haptics.unavailable"_s)->isVisibleTo(view.get()));

        // The shortcut section: a facility is named; without one the command to bind takes its place.
        const bool offered = report.hotKeyFacility != Facility::none;
        QCOMPARE(view->panelShortcutRecorder()->isEnabled(), offered);
        QCOMPARE(control(SettingsCategory::shortcuts, u"shortcutFacility"_s)->isVisibleTo(view.get()), offered);
        QWidget* unavailable = control(SettingsCategory::shortcuts, u"shortcutUnavailable"_s);
        QCOMPARE(unavailable->isVisibleTo(view.get()), !offered);
        if (!offered) {
            QTest::mouseClick(unavailable->findChild<VelmoraButton*>(u"linux.shortcut.copy.command"_s), Qt::LeftButton);
            QCOMPARE(h->clipboard->contents, u"velmora-cli toggle"_s);
        }
    }

    void startupFollowsTheLoginItem_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("checked");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QString>("help");
        QTest::addColumn<bool>("approval");
        QTest::newRow("disabled") << 0 << false << true << en("settings.startup.help") << false;
        QTest::newRow("enabled") << 1 << true << true << en("settings.startup.help") << false;
        QTest::newRow("needs approval") << 2 << false << false << en("settings.startup.requires.approval") << true;
        QTest::newRow("unreadable") << 99 << false << false << en("settings.startup.error") << false;
    }

    void startupFollowsTheLoginItem()
    {
        QFETCH(int, status);
        h->login->rawStatus = status;
        view->hide();
        view->show(); // appearing reads the status again
        auto* toggle = control<QCheckBox>(SettingsCategory::general, u"settings.startup.launch.at.login"_s);
        QTEST(toggle->isChecked(), "checked");
        QTEST(toggle->isEnabled(), "enabled");
        QTEST(shown(SettingsCategory::general, u"startupHelpText"_s), "help");
        QWidget* approve = control(SettingsCategory::general, u"settings.startup.open.system.settings"_s);
        QTEST(approve->isVisibleTo(view.get()), "approval");
        if (approve->isVisibleTo(view.get())) {
            QTest::mouseClick(approve, Qt::LeftButton);
            QCOMPARE(h->login->openSettingsCalls, 1);
        }
    }

    void anUnconfiguredCheckOpensTheDownloadPage()
    {
        UrlCatcher browser;
        QDesktopServices::setUrlHandler(u"https"_s, &browser, "open");
        make({}, [](const QUrl& url) { QDesktopServices::openUrl(url); });
        QCOMPARE(shown(SettingsCategory::updates, u"updateHelpText"_s), en("settings.updates.placeholder"));
        QVERIFY(!control(SettingsCategory::updates, u"settings.updates.auto.install"_s)->isEnabled());
        QTest::mouseClick(control(SettingsCategory::updates, u"action.check.updates"_s), Qt::LeftButton);
        QDesktopServices::unsetUrlHandler(u"https"_s);
        QCOMPARE(browser.urls, QList<QUrl>{AppLinks::download()});
    }

    void aConfiguredUpdaterShowsItsSwitchAndTheAnnouncedVersion()
    {
        make({QString::fromLatin1(QByteArray(32, 'k').toBase64()), u"https://updates.velmora.app/appcast.xml"_s});
        auto* toggle = control<QCheckBox>(SettingsCategory::updates, u"settings.updates.auto.install"_s);
        QVERIFY(toggle->isEnabled());
        QTest::mouseClick(toggle, Qt::LeftButton, {}, QPoint(8, 8));
        QVERIFY(h->updates->automaticUpdatesEnabled());
        QCOMPARE(shown(SettingsCategory::updates, u"updateHelpText"_s), en("settings.updates.auto.enabled.help"));
        QTest::mouseClick(control(SettingsCategory::updates, u"action.check.updates"_s), Qt::LeftButton);
        QCOMPARE(h->checker->windowChecks, 1);
        h->checker->announce({u"2.0.0"_s, u"2.0"_s, QUrl(u"https://velmora.app/download"_s)});
        QCOMPARE(shown(SettingsCategory::updates, u"announcedUpdate"_s), en("linux.update.settings.available").arg(u"2.0"_s));
    }

    void gettingStartedReopensTheChecklistAndAsksForTheGuide()
    {
        h->firstRun->recordSuccessfulCopy();
        h->firstRun->setDismissed(true);
        QSignalSpy guide(view.get(), &SettingsView::openWelcomeGuideRequested);
        QSignalSpy panel(view.get(), &SettingsView::openPanelRequested);
        QTest::mouseClick(control(SettingsCategory::gettingStarted, u"first.welcome.reopen"_s), Qt::LeftButton);
        QTest::mouseClick(control(SettingsCategory::gettingStarted, u"first.welcome.open.panel"_s), Qt::LeftButton);
        QCOMPARE(guide.size(), 1);
        QCOMPARE(panel.size(), 1);
        QWidget* reopen = control(SettingsCategory::gettingStarted, u"first.checklist.reopen"_s);
        QVERIFY(reopen->isVisibleTo(view.get()));
        QTest::mouseClick(reopen, Qt::LeftButton);
        QVERIFY(!h->firstRun->isDismissed());
        QVERIFY(!reopen->isVisibleTo(view.get()));
        QVERIFY(h->firstRun->hasSuccessfulCopy());
    }

    void theSelectedCategoryOutlivesClosing()
    {
        view->setSelectedCategory(SettingsCategory::updates);
        view->close();
        view->show();
        QCOMPARE(view->selectedCategory(), SettingsCategory::updates);
        QCOMPARE(view->sidebar()->currentRow(), int(SettingsCategory::updates));
    }
};

QTEST_MAIN(TestSettingsView)
#include "tst_settingsview.moc"
