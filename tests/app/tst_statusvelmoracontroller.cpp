// The panel controller over the real stores, with the desktop (timers, clock, pointer, screens, window
// manager, hot key facility) replaced by doubles: sizes and placement, the open and close states,
// hover and grace, frame refreshes, the toggle shortcut, and the status button and menu.
#include "AppLanguageStore.h"
#include "AppNotifications.h"
#include "ContextDetector.h"
#include "FakeClipboard.h"
#include "FakeFloatingWindowService.h"
#include "FakeHotKeyRegistrar.h"
#include "FakeScheduler.h"
#include "HotKeyService.h"
#include "PromptActionService.h"
#include "PromptStoreFixture.h"
#include "ShortcutSettingsStore.h"
#include "StatusItemCapsuleView.h"
#include "StatusVelmoraController.h"
#include "VelmoraHostingView.h"
#include "VelmoraMorphContainer.h"
#include "VelmoraMorphMask.h"
#include "VelmoraPanel.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

Q_DECLARE_METATYPE(QList<ScreenGeometry>)

namespace {

const ScreenGeometry mainScreen{u"main"_s, QRectF(0, 0, 1280, 800), QRectF(0, 0, 1280, 800)};
const ScreenGeometry secondScreen{u"second"_s, QRectF(1280, 0, 1920, 1080), QRectF(1280, 0, 1920, 1080)};

} // namespace

class TestStatusVelmoraController : public QObject {
    Q_OBJECT

    Fixture m_fixture;
    FakeScheduler m_scheduler;
    FakeFloatingWindowService m_windowSystem;
    FakeHotKeyRegistrar m_registrar;
    FakeClipboard m_clipboard;
    std::optional<QPointF> m_pointer;
    QList<ScreenGeometry> m_screens;
    bool m_reduceMotion = false;
    bool m_pointerFreezes = false;
    int m_terminations = 0;
    std::unique_ptr<ContextDetector> m_detector;
    std::unique_ptr<ShortcutSettingsStore> m_shortcuts;
    std::unique_ptr<HotKeyService> m_hotKeys;
    std::unique_ptr<AppLanguageStore> m_languages;
    std::unique_ptr<PromptActionService> m_actions;
    std::unique_ptr<AppNotifications> m_notifications;
    std::unique_ptr<StatusVelmoraController> m_controller;
    PanelRootViewContext m_rootContext;

    // Prompts in the given groups, one section per distinct group.
    void loadPrompts(int count, int sections = 1)
    {
        PromptLoadResult result;
        for (int index = 0; index < count; ++index)
            result.globalPrompts.append(prompt(u"p%1"_s.arg(index), u"Group %1"_s.arg(index % sections)));
        m_fixture.load(result);
    }

    // A controller at start-up: the status item shown, the subscriptions made, the panel ready.
    StatusVelmoraController& start(bool showsStatusItem = true)
    {
        StatusVelmoraController::Dependencies dependencies;
        dependencies.promptStore = m_fixture.store.get();
        dependencies.contextDetector = m_detector.get();
        dependencies.shortcutStore = m_shortcuts.get();
        dependencies.hotKeyService = m_hotKeys.get();
        dependencies.languageStore = m_languages.get();
        dependencies.promptActionService = m_actions.get();
        dependencies.notifications = m_notifications.get();
        dependencies.defaults = m_fixture.settings.get();
        StatusVelmoraController::Environment environment;
        environment.schedule = m_scheduler.scheduler();
        environment.now = [this] { return m_scheduler.now; };
        environment.mouseLocation = [this] { return m_pointer; };
        environment.screens = [this] { return m_screens; };
        environment.reduceMotion = [this] { return m_reduceMotion; };
        environment.hotKeyPressTimestamp = [] { return quint32(777); };
        environment.terminate = [this] { ++m_terminations; };
        environment.windowSystem = &m_windowSystem;
        environment.pointerFreezesOutsideOwnWindows = m_pointerFreezes;
        environment.makeRootView = [this](const PanelRootViewContext& context) {
            m_rootContext = context;
            return new VelmoraMorphContainer(*context.morphState, new QWidget, nullptr);
        };
        m_controller = std::make_unique<StatusVelmoraController>(dependencies, environment);
        if (showsStatusItem)
            m_controller->refreshStatusItem();
        m_controller->bindVelmoraUpdates();
        m_controller->makePanelIfNeeded();
        return *m_controller;
    }

    // Opens the panel and lets its opening guard pass.
    void openAndSettle()
    {
        m_controller->showPanel();
        m_scheduler.advance(1.0);
    }

    VelmoraPanel& panel() const { return *m_controller->panel(); }

private Q_SLOTS:
    void init()
    {
        m_fixture.setUp();
        m_scheduler = FakeScheduler();
        m_windowSystem = FakeFloatingWindowService();
        m_windowSystem.active = 42; // a terminal has the focus
        m_registrar.registerStatuses.clear();
        m_pointer = QPointF(600, 400);
        m_screens = {mainScreen};
        m_reduceMotion = false;
        m_pointerFreezes = false;
        m_terminations = 0;
        ContextDetector::Configuration detection;
        detection.startsTimer = false;
        m_detector = std::make_unique<ContextDetector>(detection);
        m_shortcuts = std::make_unique<ShortcutSettingsStore>(m_fixture.settings.get(), [] { return AppLanguage::english; });
        m_hotKeys = std::make_unique<HotKeyService>(&m_registrar, true);
        m_languages = std::make_unique<AppLanguageStore>(m_fixture.settings.get(), [] { return QStringList{u"en"_s}; });
        m_actions = std::make_unique<PromptActionService>(std::shared_ptr<FakeClipboard>(&m_clipboard, [](auto*) {}));
        m_notifications = std::make_unique<AppNotifications>();
    }

    void cleanup()
    {
        m_controller.reset();
        m_hotKeys.reset();
        m_detector.reset();
        m_fixture.tearDown();
    }

    void panelHeightFollowsTheContent_data()
    {
        QTest::addColumn<int>("prompts");
        QTest::addColumn<int>("sections");
        QTest::addColumn<QString>("layout");
        QTest::addColumn<double>("visibleHeight");
        QTest::addColumn<double>("height");
        QTest::newRow("nothing, grid") << 0 << 1 << u"grid"_s << 800.0 << 480.0;
        QTest::newRow("nothing, list") << 0 << 1 << u"list"_s << 800.0 << 480.0;
        QTest::newRow("three, list") << 3 << 1 << u"list"_s << 800.0 << 630.0; // 34 + 246 + 20 + 330
        QTest::newRow("seven in two sections, grid, cut to the maximum") << 7 << 2 << u"grid"_s << 800.0 << 720.0;
        QTest::newRow("seven in two sections, grid, on a low screen") << 7 << 2 << u"grid"_s << 600.0 << 584.0;
        QTest::newRow("a very low screen goes below the minimum") << 0 << 1 << u"grid"_s << 250.0 << 300.0;
    }

    void panelHeightFollowsTheContent()
    {
        QFETCH(int, prompts);
        QFETCH(int, sections);
        QFETCH(QString, layout);
        QFETCH(double, visibleHeight);
        QFETCH(double, height);
        m_fixture.settings->setValue(QString::fromLatin1(StatusVelmoraController::panelLayoutModeKey), layout);
        m_screens = {{u"main"_s, QRectF(0, 0, 1280, visibleHeight), QRectF(0, 0, 1280, visibleHeight)}};
        loadPrompts(prompts, sections);
        QCOMPARE(start().currentPanelSize(), QSizeF(520, height));
    }

    void panelHangsUnderTheCapsule_data()
    {
        QTest::addColumn<QList<ScreenGeometry>>("screens");
        QTest::addColumn<QPointF>("pointerAtStart");
        QTest::addColumn<bool>("showsStatusItem");
        QTest::addColumn<QRectF>("capsule");
        QTest::addColumn<QRectF>("frame");
        QTest::newRow("main screen") << QList{mainScreen} << QPointF(10, 10) << true << QRectF(621, 0, 38, 24)
                                     << QRectF(380, 28, 520, 480);
        QTest::newRow("under a top bar")
            << QList<ScreenGeometry>{{u"main"_s, QRectF(0, 0, 1280, 800), QRectF(0, 30, 1280, 770)}} << QPointF(10, 10)
            << true << QRectF(621, 30, 38, 24) << QRectF(380, 58, 520, 480);
        QTest::newRow("second screen, where the pointer was")
            << QList{mainScreen, secondScreen} << QPointF(2000, 500) << true << QRectF(2221, 0, 38, 24)
            << QRectF(1980, 28, 520, 480);
        QTest::newRow("no capsule: the zero rectangle centres on the screen")
            << QList{mainScreen} << QPointF(10, 10) << false << QRectF() << QRectF(380, 8, 520, 480);
        QTest::newRow("a low screen: moved up, then the top edge wins")
            << QList<ScreenGeometry>{{u"main"_s, QRectF(0, 0, 1280, 400), QRectF(0, 0, 1280, 400)}} << QPointF(10, 10)
            << true << QRectF(621, 0, 38, 24) << QRectF(380, 8, 520, 384);
        QTest::newRow("a narrow screen keeps 8 points from the right edge")
            << QList<ScreenGeometry>{{u"main"_s, QRectF(0, 0, 500, 800), QRectF(0, 0, 500, 800)}} << QPointF(10, 10)
            << true << QRectF(231, 0, 38, 24) << QRectF(-28, 28, 520, 480);
        QTest::newRow("no screen at all") << QList<ScreenGeometry>{} << QPointF(10, 10) << false << QRectF()
                                          << QRectF(-528, 8, 520, 480);
    }

    void panelHangsUnderTheCapsule()
    {
        QFETCH(QList<ScreenGeometry>, screens);
        QFETCH(QPointF, pointerAtStart);
        QFETCH(bool, showsStatusItem);
        QFETCH(QRectF, capsule);
        QFETCH(QRectF, frame);
        m_screens = screens;
        m_pointer = pointerAtStart;
        StatusVelmoraController& controller = start(showsStatusItem);
        QCOMPARE(controller.statusItemScreenFrame(), capsule);
        QCOMPARE(controller.panelFrame(), frame);
        if (!showsStatusItem)
            return;
        // The capsule stays on its screen when the screens change and the pointer is elsewhere.
        m_pointer = QPointF(10, 10);
        controller.placeStatusItem();
        QCOMPARE(controller.statusItemScreenFrame(), capsule);
    }

    void showingTakesTheFocusAndClosingGivesItBack()
    {
        loadPrompts(3);
        StatusVelmoraController& controller = start();
        const quint64 panelWindow = quint64(panel().winId());
        QSignalSpy states(&controller, &StatusVelmoraController::panelStateChanged);

        controller.statusButtonPressed({StatusItemEventType::leftMouseUp, 555});
        QVERIFY(panel().isVisible());
        QVERIFY(!panel().ignoresMouseEvents());
        QCOMPARE(controller.panelState(), u"open"_s);
        QCOMPARE(panel().geometry(), controller.panelFrame().toRect());
        QCOMPARE(m_windowSystem.prepared.last(), (std::pair{panelWindow, u"velmora-panel"_s}));
        QCOMPARE(m_windowSystem.activations.last(), (FakeFloatingWindowService::Activation{panelWindow, 555, 42}));
        QCOMPARE(controller.morphState().pinnedContext(), std::optional(m_detector->currentContext()));
        QVERIFY(controller.morphState().isExpanded());

        // The hot key's press time goes with the close, and the terminal gets the focus back.
        m_scheduler.advance(1.0);
        m_registrar.press(m_registrar.heldID());
        QTRY_COMPARE(controller.panelState(), u"closing"_s);
        QVERIFY(panel().ignoresMouseEvents());
        QCOMPARE(m_windowSystem.activations.last(), (FakeFloatingWindowService::Activation{42, 777, panelWindow}));
        m_scheduler.advance(0.3);
        QCOMPARE(controller.panelState(), u"hidden"_s);
        QVERIFY(!panel().isVisible());
        QVERIFY(!controller.morphState().pinnedContext());
        QCOMPARE(states.count(), 3);
    }

    void toggleDuringACloseReopens()
    {
        StatusVelmoraController& controller = start();
        openAndSettle();
        controller.togglePanel();
        QCOMPARE(controller.panelState(), u"closing"_s);
        m_scheduler.advance(0.1);
        controller.togglePanel();
        QCOMPARE(controller.panelState(), u"open"_s);
        m_scheduler.advance(1.0); // the old completion comes and changes nothing
        QVERIFY(panel().isVisible());
        QVERIFY(controller.morphState().isExpanded());
        QCOMPARE(controller.panelTransitionState(), (PromptPanelTransitionState{false, 3}));
    }

    void aLockHoldsThePanelAndItsReleaseLooksAtThePointer()
    {
        StatusVelmoraController& controller = start();
        openAndSettle();
        controller.morphState().setInteractionLocked(true);
        m_pointer = QPointF(20, 700);
        controller.panelPointerExited();
        m_notifications->post(u"velmoraRequestClose"_s);
        controller.togglePanel();
        m_scheduler.advance(1.0);
        QCOMPARE(controller.panelState(), u"open"_s);

        controller.morphState().setInteractionLocked(false);
        QCOMPARE(m_scheduler.waiting().size(), 1);
        QVERIFY(qFuzzyCompare(m_scheduler.waiting().first(), StatusVelmoraController::hoverCloseGrace));
        m_scheduler.advance(0.24);
        QCOMPARE(controller.panelState(), u"closing"_s);
    }

    void graceCloseLooksAtThePointer_data()
    {
        QTest::addColumn<double>("leavesAfter");
        QTest::addColumn<QPointF>("pointerBelowPanel"); // from the panel's lower left corner
        QTest::addColumn<bool>("closes");
        QTest::newRow("far away") << 1.0 << QPointF(0, 300) << true;
        QTest::newRow("30 below keeps it") << 1.0 << QPointF(100, 30) << false;
        QTest::newRow("33 below closes it") << 1.0 << QPointF(100, 33) << true;
        QTest::newRow("19 beside keeps it") << 1.0 << QPointF(-19, -100) << false;
        QTest::newRow("left 0.3 seconds after opening: guarded") << 0.3 << QPointF(0, 300) << false;
    }

    void graceCloseLooksAtThePointer()
    {
        QFETCH(double, leavesAfter);
        QFETCH(QPointF, pointerBelowPanel);
        QFETCH(bool, closes);
        StatusVelmoraController& controller = start();
        controller.showPanel();
        m_scheduler.advance(leavesAfter);
        m_pointer = QPointF(panel().geometry().left(), panel().geometry().top() + panel().height()) + pointerBelowPanel;
        controller.panelPointerExited();
        m_scheduler.advance(0.24);
        QCOMPARE(controller.panelState(), closes ? u"closing"_s : u"open"_s);
        if (leavesAfter < StatusVelmoraController::closeGuard) {
            // The test runs again after another grace period, past the guard.
            m_scheduler.advance(0.24 * 2);
            QCOMPARE(controller.panelState(), u"closing"_s);
        }
    }

    void hoverOpensOnlyWhenEnabled()
    {
        StatusVelmoraController& controller = start();
        controller.mouseEntered();
        QVERIFY(controller.statusCapsuleView()->isHovered());
        m_scheduler.advance(1.0);
        QCOMPARE(controller.panelState(), u"hidden"_s);

        m_shortcuts->setHoverOpenEnabled(true);
        controller.mouseEntered();
        m_scheduler.advance(0.41);
        QCOMPARE(controller.panelState(), u"hidden"_s);
        m_shortcuts->setHoverOpenEnabled(false);
        controller.mouseEntered(); // drops the pending open
        m_shortcuts->setHoverOpenEnabled(true);
        m_scheduler.advance(0.1);
        QCOMPARE(controller.panelState(), u"hidden"_s);

        controller.mouseEntered();
        m_scheduler.advance(0.42);
        QCOMPARE(controller.panelState(), u"open"_s);
        controller.mouseExited();
        QVERIFY(!controller.statusCapsuleView()->isHovered());
    }

    void aFrozenPointerCountsAsOutside_data()
    {
        QTest::addColumn<bool>("freezes");
        QTest::newRow("X11: the pointer is where it says") << false;
        QTest::newRow("XWayland: unmoved since the exit means gone") << true;
    }

    void aFrozenPointerCountsAsOutside()
    {
        QFETCH(bool, freezes);
        m_pointerFreezes = freezes;
        StatusVelmoraController& controller = start();
        openAndSettle();
        // In the gap under the capsule: a live pointer there keeps the panel open.
        m_pointer = QPointF(640, 26);
        controller.panelPointerExited();
        m_scheduler.advance(0.24);
        QCOMPARE(controller.panelState(), freezes ? u"closing"_s : u"open"_s);
    }

    void frameRefreshesCostOneResizePerTenthOfASecond()
    {
        loadPrompts(1);
        StatusVelmoraController& controller = start();
        openAndSettle();
        int resizes = 0;
        struct Counter : QObject {
            int* count;
            bool eventFilter(QObject*, QEvent* event) override
            {
                if (event->type() == QEvent::Resize)
                    ++*count;
                return false;
            }
        } counter;
        counter.count = &resizes;
        panel().installEventFilter(&counter);
        m_rootContext.onLayoutModeChange(PromptPanelLayoutMode::list);
        loadPrompts(4); // the store's change asks for a refresh too
        QCoreApplication::processEvents();
        m_rootContext.onSearchQueryChange(u"p"_s);
        QCOMPARE(resizes, 0);
        m_scheduler.advance(0.1);
        QCOMPARE(resizes, 1);
        QCOMPARE(panel().height(), 720); // four rows of the list
        QCOMPARE(controller.panelSearchQueryState().query, u"p"_s);
    }

    void toggleShortcutOutcomes_data()
    {
        QTest::addColumn<QList<qint32>>("statuses"); // of the new shortcut, then of the old one again
        QTest::addColumn<HotKeyStatus>("status");
        QTest::addColumn<bool>("stored");
        const PromptKeyboardShortcut requested{17, ShortcutModifiers::command | ShortcutModifiers::shift};
        QTest::newRow("registered") << QList<qint32>{0} << HotKeyStatus::registered(requested) << true;
        QTest::newRow("refused, the old one restored") << QList<qint32>{10, 0} << HotKeyStatus::failed(requested, 10)
                                                       << false;
        QTest::newRow("refused, the old one lost") << QList<qint32>{10, 11} << HotKeyStatus::restoreFailed(10, 11)
                                                   << false;
    }

    void toggleShortcutOutcomes()
    {
        QFETCH(QList<qint32>, statuses);
        QFETCH(HotKeyStatus, status);
        QFETCH(bool, stored);
        StatusVelmoraController& controller = start();
        const PromptKeyboardShortcut previous = m_shortcuts->togglePanelShortcut();
        QCOMPARE(m_shortcuts->hotKeyStatus(), HotKeyStatus::registered(previous));
        const PromptKeyboardShortcut requested{17, ShortcutModifiers::command | ShortcutModifiers::shift};
        m_registrar.registerStatuses = statuses;
        m_shortcuts->requestTogglePanelShortcut(requested);
        QCOMPARE(m_shortcuts->hotKeyStatus(), status);
        QCOMPARE(m_shortcuts->togglePanelShortcut(), stored ? requested : previous);
        QCOMPARE(ShortcutSettingsStore(m_fixture.settings.get(), [] { return AppLanguage::english; }).togglePanelShortcut(),
                 stored ? requested : previous);
        // Whatever is held toggles the panel; with nothing held, nothing does.
        m_registrar.press(m_registrar.heldID());
        QTRY_COMPARE(controller.panelState(), status.kind == HotKeyStatus::Kind::restoreFailed ? u"hidden"_s : u"open"_s);
    }

    void statusButtonReleasesAndMenu()
    {
        StatusVelmoraController& controller = start();
        StatusItemButton& button = *controller.statusButton();
        QCOMPARE(button.configuration().eventMask, quint64(20));
        QTest::mouseRelease(&button, Qt::LeftButton, {}, QPoint(19, 12));
        QCOMPARE(controller.panelState(), u"open"_s);

        QTest::mouseRelease(&button, Qt::RightButton, {}, QPoint(19, 12));
        QMenu* menu = controller.statusMenu();
        QVERIFY(menu && menu->isVisible());
        const auto actions = menu->actions();
        QStringList titles;
        for (const QAction* action : actions)
            titles.append(action->isSeparator() ? u"-"_s : action->text());
        QCOMPARE(titles, (QStringList{u"Open Velmora"_s, u"Manage workspaces…"_s, u"Settings…"_s, u"Welcome guide…"_s,
                                      u"Reload prompts"_s, u"-"_s, u"Quit Velmora"_s}));
        QCOMPARE(actions.at(2)->shortcut(), QKeySequence(u"Ctrl+,"_s));
        QSignalSpy settings(m_notifications.get(), &AppNotifications::velmoraRequestOpenSettings);
        actions.at(2)->trigger();
        actions.last()->trigger();
        QCOMPARE(settings.count(), 1);
        QCOMPARE(m_terminations, 1);
    }

    void anOpenPopupHoldsThePanelAndItsCloseLooksAtThePointer()
    {
        StatusVelmoraController& controller = start();
        openAndSettle();
        m_pointer = QPointF(panel().geometry().left(), panel().geometry().bottom() + 300);
        m_rootContext.onPopupVisibilityChange(true);
        controller.panelPointerExited();
        m_scheduler.advance(1.0);
        QCOMPARE(controller.panelState(), u"open"_s);
        m_rootContext.onPopupVisibilityChange(false);
        m_scheduler.advance(StatusVelmoraController::hoverCloseGrace);
        QCOMPARE(controller.panelState(), u"closing"_s);
    }

    void withoutACompositorTheWindowsAreCutToTheirOutline()
    {
        m_windowSystem.compositing = false;
        StatusVelmoraController& controller = start();
        QCOMPARE(controller.statusButton()->mask(), roundedRectRegion(QRectF(3, 4, 32, 16), 8));
        controller.showPanel();
        auto* container = controller.hostingView()->findChild<VelmoraMorphContainer*>();
        QCOMPARE(panel().mask(), container->outlineRegion());
        QCOMPARE(panel().mask().boundingRect(), QRect(182, 10, 156, 28)); // the capsule it starts from
    }
};

QTEST_MAIN(TestStatusVelmoraController)
#include "tst_statusvelmoracontroller.moc"
