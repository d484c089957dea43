// The workspace manager's window as requests open it: made once at its size, a string object as the
// workspace to open on, each request a new manager in the same window at its size and place, and the
// title in the language of the moment.
#include "AppNotifications.h"
#include "WorkspaceManagerHarness.h"
#include "WorkspaceManagerWindowController.h"

#include <QPointer>
#include <QTest>

using namespace Qt::StringLiterals;

class TestWorkspaceManagerWindow : public QObject {
    Q_OBJECT

    std::unique_ptr<WorkspaceManagerHarness> h;
    std::unique_ptr<WorkspaceManagerWindowController> controller;
    AppNotifications notifications;
    QList<std::optional<QString>> made;
    int activations = 0;

private Q_SLOTS:
    void init()
    {
        h = std::make_unique<WorkspaceManagerHarness>();
        h->write(u"workspaces/alpha.yaml"_s, "workspace:\n  name: Alpha\nprompts: []\n");
        made.clear();
        activations = 0;
        controller = std::make_unique<WorkspaceManagerWindowController>(
            h->languages,
            [this](const std::optional<QString>& initialWorkspaceID) {
                made.append(initialWorkspaceID);
                WorkspaceManagerView::Dependencies dependencies;
                dependencies.promptStore = h->store.get();
                dependencies.languageStore = &h->languages;
                dependencies.fileChooser = &h->chooser;
                return new WorkspaceManagerView(dependencies, initialWorkspaceID);
            },
            [this](QWidget*) { ++activations; });
        connect(&notifications, &AppNotifications::velmoraRequestOpenWorkspaceManager, controller.get(),
                &WorkspaceManagerWindowController::openWorkspaceManagerWindow);
    }
    void cleanup()
    {
        controller.reset();
        h.reset();
    }

    void theObjectNamesTheWorkspaceOnlyWhenItIsAString_data()
    {
        QTest::addColumn<QVariant>("object");
        QTest::addColumn<std::optional<QString>>("initial");
        QTest::newRow("string") << QVariant(u"alpha"_s) << std::optional(u"alpha"_s);
        QTest::newRow("none") << QVariant() << std::optional<QString>();
        QTest::newRow("number") << QVariant(7) << std::optional<QString>();
        QTest::newRow("bytes") << QVariant(QByteArray("alpha")) << std::optional<QString>();
    }
    void theObjectNamesTheWorkspaceOnlyWhenItIsAString()
    {
        QFETCH(QVariant, object);
        QFETCH(std::optional<QString>, initial);
        notifications.post(u"velmoraRequestOpenWorkspaceManager"_s, object);
        QCOMPARE(made, QList<std::optional<QString>>{initial});
        QCOMPARE(controller->view()->selectedWorkspaceID(), initial);
        QWidget* window = controller->workspaceManagerWindow();
        QVERIFY(window->isWindow() && window->isVisible());
        QCOMPARE(window->size(), QSize(980, 680));
        QVERIFY(window->minimumSizeHint().width() >= 940 && window->minimumSizeHint().height() >= 620);
        QCOMPARE(window->windowTitle(), u"Workspaces"_s);
        QCOMPARE(activations, 1);
    }

    void aSecondRequestStartsAfreshInTheSameWindow()
    {
        controller->openWorkspaceManagerWindow(u"alpha"_s);
        QWidget* window = controller->workspaceManagerWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QPointer<WorkspaceManagerView> first = controller->view();
        first->setWorkspaceSearch(u"alp"_s);
        first->setTicked(u"alpha"_s, true);
        window->setGeometry(QRect(QPoint(20, 10), QSize(1000, 700)));
        const QRect geometry = window->geometry();
        window->close();

        h->languages.setSelection(AppLanguage::zhHans);
        QTRY_COMPARE(window->windowTitle(), u"工作区管理"_s);
        controller->openWorkspaceManagerWindow({});
        QCOMPARE(controller->workspaceManagerWindow(), window);
        QTRY_VERIFY(!first);
        WorkspaceManagerView* second = controller->view();
        QVERIFY(!second->selectedWorkspaceID() && second->workspaceSearch().isEmpty() &&
                second->selectedForDeletion().isEmpty());
        QCOMPARE(window->geometry(), geometry);
        QCOMPARE(activations, 2);
    }
};

QTEST_MAIN(TestWorkspaceManagerWindow)
#include "tst_workspacemanagerwindow.moc"
