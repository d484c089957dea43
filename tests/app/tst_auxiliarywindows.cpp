// The settings window and the welcome guide as the application opens them: made once, centred once,
// kept across closings, retitled when the language changes while closed; the guide decided at launch
// after the first load, and finished by any of its ways out.
#include "AppNotifications.h"
#include "FirstRunChecklistStore.h"
#include "PromptStoreFixture.h"
#include "SettingsHarness.h"
#include "SettingsWindowController.h"
#include "VelmoraButton.h"
#include "WelcomeGuideController.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

class TestAuxiliaryWindows : public QObject {
    Q_OBJECT

    Fixture f;
    std::unique_ptr<SettingsHarness> h;
    AppNotifications notifications;
    int activations = 0;

    std::unique_ptr<WelcomeGuideController> makeGuide()
    {
        return std::make_unique<WelcomeGuideController>(
            *h->languages, *h->firstRun, notifications,
            [this](FirstRunWelcomeView::Actions actions) {
                return new FirstRunWelcomeView(*h->shortcuts, *h->languages, *h->preferences, &h->desktop,
                                               std::move(actions));
            },
            [this](QWidget*) { ++activations; });
    }
    // The launch task over a load the test publishes.
    void launch(WelcomeGuideController& guide, const QList<PromptWorkspace>& workspaces)
    {
        guide.decideAtLaunch(*f.store);
        f.loader->finish(f.loader->pending.size() - 1, {{}, workspaces, {}, {}, {}, false});
        QTRY_VERIFY(!f.store->isReloading());
    }

private Q_SLOTS:
    void init()
    {
        f.setUp();
        h = std::make_unique<SettingsHarness>(*f.store, f.settings.get());
        activations = 0;
    }
    void cleanup()
    {
        h.reset();
        f.tearDown();
    }

    void settingsAreMadeOnceCentredOnceAndRetitledWhileClosed()
    {
        int made = 0;
        SettingsWindowController settings(*h->languages, [this, &made] {
            ++made;
            return new SettingsView(h->dependencies());
        }, [this](QWidget*) { ++activations; });
        settings.openSettingsWindow();
        SettingsView* window = settings.settingsWindow();
        QVERIFY(window->isWindow() && window->isVisible());
        QCOMPARE(window->size(), QSize(760, 640));
        QCOMPARE(window->windowTitle(), SettingsView::titleFor(AppLanguage::english));
        window->setSelectedCategory(SettingsCategory::shortcuts);
        window->move(window->pos() + QPoint(40, 30));
        const QPoint moved = window->pos();
        window->close();

        h->languages->setSelection(AppLanguage::zhHans);
        QTRY_COMPARE(window->windowTitle(), SettingsView::titleFor(AppLanguage::zhHans));
        settings.openSettingsWindow();
        QCOMPARE(settings.settingsWindow(), window);
        QCOMPARE(made, 1);
        QCOMPARE(window->pos(), moved);
        QCOMPARE(window->selectedCategory(), SettingsCategory::shortcuts);
        QCOMPARE(activations, 2);
    }

    void aFreshLibraryGetsTheGuide()
    {
        auto guide = makeGuide();
        launch(*guide, {});
        QTRY_VERIFY(guide->welcomeWindow() && guide->welcomeWindow()->isVisible());
        QCOMPARE(guide->welcomeWindow()->windowTitle(), en("first.welcome.window.title"));
    }

    void aWorkspaceOnDiskWithoutAFlagCountsAsWelcomed()
    {
        PromptWorkspace saved = workspace(u"saved"_s);
        saved.fileURL = f.writeFile(u".velmora/workspaces/saved.yaml"_s, "workspace:\n  id: saved\n");
        auto guide = makeGuide();
        launch(*guide, {saved});
        QTRY_COMPARE(f.settings->value(QString::fromLatin1(FirstRunChecklistStore::welcomeCompletedKey)).toBool(), true);
        QVERIFY(!h->firstRun->shouldPresentWelcome());
        QVERIFY(!guide->welcomeWindow());
    }

    void everyWayOutFinishesTheGuide_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<int>("managerRequests");
        QTest::addColumn<int>("panelRequests");
        QTest::newRow("later") << u"first.welcome.later"_s << 0 << 0;
        QTest::newRow("open panel") << u"first.welcome.open.panel"_s << 0 << 1;
        QTest::newRow("create") << u"action.create.first.workspace"_s << 1 << 0;
        QTest::newRow("close button") << QString() << 0 << 0;
    }

    void everyWayOutFinishesTheGuide()
    {
        QFETCH(QString, way);
        QSignalSpy manager(&notifications, &AppNotifications::velmoraRequestOpenWorkspaceManager);
        QSignalSpy panel(&notifications, &AppNotifications::velmoraRequestOpenFromMenu);
        auto guide = makeGuide();
        Q_EMIT notifications.velmoraRequestOpenWelcomeGuide();
        QWidget* window = guide->welcomeWindow();
        QVERIFY(window->isVisible());
        if (way.isEmpty())
            window->close();
        else
            QTest::mouseClick(window->findChild<VelmoraButton*>(way), Qt::LeftButton);
        QVERIFY(!window->isVisible());
        QVERIFY(!h->firstRun->shouldPresentWelcome());
        QCOMPARE(f.settings->value(QString::fromLatin1(FirstRunChecklistStore::welcomeCompletedKey)).toBool(), true);
        QTEST(int(manager.size()), "managerRequests");
        QTEST(int(panel.size()), "panelRequests");

        // Asked for again from the menu, the same window comes back.
        guide->openWelcomeGuide();
        QCOMPARE(guide->welcomeWindow(), window);
        QVERIFY(window->isVisible());
    }

private:
    static QString en(const char* key) { return L10n::text(QString::fromLatin1(key), AppLanguage::english); }
};

QTEST_MAIN(TestAuxiliaryWindows)
#include "tst_auxiliarywindows.moc"
