// The login item's state for Settings: the status table, what can be toggled, and a change judged
// by the status read back afterwards.

#include "AppLog.h"
#include "FakeLaunchAtLoginService.h"
#include "LaunchAtLoginController.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const AppError failure{.typeName = u"LaunchAtLoginError"_s,
                       .domain = u"app.velmora.autostart"_s,
                       .code = 2,
                       .description = u"could not"_s};

} // namespace

class TestLaunchAtLoginController : public QObject {
    Q_OBJECT

    QList<QPair<AppLog::Category, QString>> m_log;

    std::pair<std::shared_ptr<FakeLaunchAtLoginService>, std::unique_ptr<LaunchAtLoginController>>
    make(int rawStatus)
    {
        auto service = std::make_shared<FakeLaunchAtLoginService>();
        service->rawStatus = rawStatus;
        return {service, std::make_unique<LaunchAtLoginController>(service)};
    }

private Q_SLOTS:
    void init()
    {
        m_log.clear();
        AppLog::setSinkForTesting([this](AppLog::Category category, const QString& line) {
            m_log.append({category, line});
        });
    }

    void cleanup() { AppLog::setSinkForTesting(nullptr); }

    void statusMapsFromTheRawValue_data()
    {
        QTest::addColumn<int>("raw");
        QTest::addColumn<LaunchAtLoginStatus>("status");
        QTest::addColumn<bool>("canToggle");
        QTest::newRow("0 not registered") << 0 << LaunchAtLoginStatus::disabled << true;
        QTest::newRow("1 enabled") << 1 << LaunchAtLoginStatus::enabled << true;
        QTest::newRow("2 requires approval") << 2 << LaunchAtLoginStatus::requiresApproval << false;
        QTest::newRow("3 not found") << 3 << LaunchAtLoginStatus::disabled << true;
        QTest::newRow("4 other") << 4 << LaunchAtLoginStatus::unavailable << false;
        QTest::newRow("-1 unreadable") << -1 << LaunchAtLoginStatus::unavailable << false;
    }

    void statusMapsFromTheRawValue()
    {
        QFETCH(int, raw);
        QFETCH(LaunchAtLoginStatus, status);
        QFETCH(bool, canToggle);
        auto [service, controller] = make(raw);
        QCOMPARE(controller->status(), status);
        QCOMPARE(controller->canToggle(), canToggle);
        QCOMPARE(controller->hasError(), false);
    }

    void refreshReadsAgainAndClearsTheError()
    {
        auto [service, controller] = make(0);
        service->registerError = failure;
        controller->setEnabled(true);
        QVERIFY(controller->hasError());
        QSignalSpy statusSpy(controller.get(), &LaunchAtLoginController::statusChanged);
        service->rawStatus = 1; // approved or changed outside Velmora
        controller->refresh();
        QCOMPARE(controller->status(), LaunchAtLoginStatus::enabled);
        QCOMPARE(controller->hasError(), false);
        QCOMPARE(statusSpy.count(), 1);
    }

    void noCallWhereTheItemCantOrNeedNotChange_data()
    {
        QTest::addColumn<int>("raw");
        QTest::addColumn<bool>("enable");
        QTest::newRow("awaiting approval, on") << 2 << true;
        QTest::newRow("awaiting approval, off") << 2 << false;
        QTest::newRow("unavailable, on") << -1 << true;
        QTest::newRow("already on") << 1 << true;
        QTest::newRow("not found reads as off") << 3 << false;
    }

    void noCallWhereTheItemCantOrNeedNotChange()
    {
        QFETCH(int, raw);
        QFETCH(bool, enable);
        auto [service, controller] = make(raw);
        controller->setEnabled(enable);
        QCOMPARE(service->registerCalls, 0);
        QCOMPARE(service->unregisterCalls, 0);
    }

    void aFailedRegisterWithTheStatusUnchangedIsAnError()
    {
        auto [service, controller] = make(0);
        service->registerError = failure;
        QSignalSpy errorSpy(controller.get(), &LaunchAtLoginController::hasErrorChanged);
        controller->setEnabled(true);
        QCOMPARE(service->registerCalls, 1);
        QCOMPARE(controller->status(), LaunchAtLoginStatus::disabled);
        QCOMPARE(controller->hasError(), true);
        QCOMPARE(errorSpy.count(), 1);
        QCOMPARE(m_log.size(), 1);
        QCOMPARE(m_log.first().first, AppLog::Category::ui);
        QCOMPARE(
            m_log.first().second,
            u"Update launch at login failed error=LaunchAtLoginError domain=app.velmora.autostart code=2"_s);
    }

    void successIsJudgedByTheStatusReadBack()
    {
        // The call failed, but the item is enabled now: no error, still one log line.
        auto [service, controller] = make(0);
        service->registerError = failure;
        service->statusAfterRegister = 1;
        controller->setEnabled(true);
        QCOMPARE(controller->status(), LaunchAtLoginStatus::enabled);
        QCOMPARE(controller->hasError(), false);
        QCOMPARE(m_log.size(), 1);

        // The call succeeded, but nothing changed: an error, and no log line.
        auto [quiet, quietController] = make(0);
        quietController->setEnabled(true);
        QCOMPARE(quiet->registerCalls, 1);
        QCOMPARE(quietController->hasError(), true);
        QCOMPARE(m_log.size(), 1);
    }

    void successLeftAwaitingApprovalIsNoError()
    {
        auto [service, controller] = make(0);
        service->statusAfterRegister = 2;
        controller->setEnabled(true);
        QCOMPARE(controller->status(), LaunchAtLoginStatus::requiresApproval);
        QCOMPARE(controller->hasError(), false);
        QVERIFY(m_log.isEmpty());
    }

    void aFailedChangeKeepsItsErrorUntilTheNext()
    {
        auto [service, controller] = make(1);
        service->unregisterError = failure;
        controller->setEnabled(false); // fails: still enabled, so an error
        QVERIFY(controller->hasError());
        QCOMPARE(service->unregisterCalls, 1);
        controller->setEnabled(true);
        QCOMPARE(service->registerCalls, 0);
        QCOMPARE(controller->hasError(), true); // keeps its value
    }

    void aSuccessfulChangeMovesTheStatus()
    {
        auto [service, controller] = make(0);
        service->statusAfterRegister = 1;
        service->statusAfterUnregister = 0;
        QSignalSpy statusSpy(controller.get(), &LaunchAtLoginController::statusChanged);
        controller->setEnabled(true);
        QCOMPARE(controller->status(), LaunchAtLoginStatus::enabled);
        controller->setEnabled(false);
        QCOMPARE(controller->status(), LaunchAtLoginStatus::disabled);
        QCOMPARE(statusSpy.count(), 2);
        QCOMPARE(controller->hasError(), false);
        QVERIFY(m_log.isEmpty());
    }

    void openingTheLoginItemsGoesToTheService()
    {
        auto [service, controller] = make(0);
        controller->openSystemSettingsLoginItems();
        QCOMPARE(service->openSettingsCalls, 1);
    }
};

QTEST_GUILESS_MAIN(TestLaunchAtLoginController)
#include "tst_launchatlogincontroller.moc"
