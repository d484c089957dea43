#include "HotKeyService.h"

#include "AppLog.h"
#include "FakeHotKeyRegistrar.h"

#include <QTest>
#include <QThread>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

const PromptKeyboardShortcut superShiftP{35, ShortcutModifiers::control | ShortcutModifiers::shift};
const PromptKeyboardShortcut ctrlAltK{40, ShortcutModifiers::command | ShortcutModifiers::option};

// Presses hop through the event loop; this delivers every hop queued so far.
void deliverQueuedPresses()
{
    QCoreApplication::sendPostedEvents();
}

// Presses the key held now and delivers the press.
void pressHeld(FakeHotKeyRegistrar& registrar)
{
    registrar.press(registrar.heldID());
    deliverQueuedPresses();
}

} // namespace

class TestHotKeyService : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void installsTheHandlerAtConstruction()
    {
        FakeHotKeyRegistrar registrar;
        {
            HotKeyService service(&registrar);
            QCOMPARE(registrar.installCalls, 1);
            QVERIFY(service.hasEventHandler());
            QCOMPARE(service.isRunning(), false);
            QCOMPARE(service.registrationGeneration(), 0u);
        }
        QCOMPARE(registrar.removeCalls, 1); // destruction stops the service
        QVERIFY(registrar.handlers.empty());

        FakeHotKeyRegistrar untouched;
        HotKeyService withoutHandler(&untouched, false);
        QCOMPARE(untouched.installCalls, 0);
        QCOMPARE(withoutHandler.registerHotKey(superShiftP, [] {}), 0);
        QCOMPARE(untouched.installCalls, 0);
    }

    void registrationCarriesSignatureAndGeneration()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        QCOMPARE(service.registerHotKey(superShiftP, [] {}), 0);
        QCOMPARE(registrar.registrations.size(), size_t(1));
        const auto& held = registrar.registrations.begin()->second;
        QCOMPARE(held.shortcut, superShiftP);
        QCOMPARE(held.id.signature, 0x564C4D41u); // "VLMA"
        // Invalidation moves the generation once, the registration once more.
        QCOMPARE(held.id.id, 2u);
        QCOMPARE(service.registrationGeneration(), 2u);
        QCOMPARE(service.activeEventID(), std::optional<quint32>(2));
        QCOMPARE(service.activeGeneration(), std::optional<quint64>(2));
        QVERIFY(service.isRunning());
    }

    void pressCallsTheCallbackOnTheMainThreadLater()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        int presses = 0;
        service.registerHotKey(superShiftP, [&] {
            QCOMPARE(QThread::currentThread(), service.thread());
            ++presses;
        });
        registrar.press(registrar.heldID());
        QCOMPARE(presses, 0); // the handler only queues the press
        deliverQueuedPresses();
        QCOMPARE(presses, 1);

        // From another thread, as the desktop's handler may run.
        std::unique_ptr<QThread> thread(QThread::create([&] { registrar.press(registrar.heldID()); }));
        thread->start();
        QVERIFY(thread->wait());
        QTRY_COMPARE(presses, 2);
    }

    void registeringTwiceLeavesOneRegistrationWithTheLaterCallback()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        int first = 0;
        int second = 0;
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++first; }), 0);
        QCOMPARE(service.registerHotKey(ctrlAltK, [&] { ++second; }), 0);
        QCOMPARE(registrar.registrations.size(), size_t(1));
        QCOMPARE(registrar.registrations.begin()->second.shortcut, ctrlAltK);
        QCOMPARE(registrar.unregisterCalls, 1);

        pressHeld(registrar);
        QCOMPARE(first, 0);
        QCOMPARE(second, 1);
    }

    void pressQueuedBeforeReregistrationIsDropped()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        int first = 0;
        int second = 0;
        service.registerHotKey(superShiftP, [&] { ++first; });
        const HotKeyID oldID = registrar.heldID();
        registrar.press(oldID); // queued, not yet delivered
        service.registerHotKey(superShiftP, [&] { ++second; });
        QVERIFY(registrar.heldID().id != oldID.id);

        deliverQueuedPresses();
        QCOMPARE(first, 0);
        QCOMPARE(second, 0);

        pressHeld(registrar);
        QCOMPARE(second, 1);
    }

    void failedRegistrationLeavesNoHotKey()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        int presses = 0;
        service.registerHotKey(superShiftP, [&] { ++presses; });
        const HotKeyID oldID = registrar.heldID();

        registrar.registerStatuses = {10};
        QCOMPARE(service.registerHotKey(ctrlAltK, [&] { ++presses; }), 10);
        QCOMPARE(service.isRunning(), false);
        QCOMPARE(service.activeEventID(), std::nullopt);
        QCOMPARE(service.activeGeneration(), std::nullopt);
        QVERIFY(registrar.registrations.empty()); // the old key was given up first

        registrar.press(oldID);
        service.handleHotKeyEvent(oldID.id, oldID.id);
        deliverQueuedPresses();
        QCOMPARE(presses, 0);

        // The caller restores the old shortcut, which works again.
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++presses; }), 0);
        pressHeld(registrar);
        QCOMPARE(presses, 1);
    }

    void failedHandlerInstallationIsRetriedByEachRegistration()
    {
        FakeHotKeyRegistrar registrar;
        registrar.installStatus = HotKeyRegistrationStatus::unavailable;
        HotKeyService service(&registrar);
        QVERIFY(!service.hasEventHandler());
        QCOMPARE(service.eventHandlerStatus(), HotKeyRegistrationStatus::unavailable);

        QCOMPARE(service.registerHotKey(superShiftP, [] {}), HotKeyRegistrationStatus::unavailable);
        QCOMPARE(registrar.installCalls, 2);
        QCOMPARE(registrar.registerCalls, 0);
        QCOMPARE(service.registrationGeneration(), 0u); // nothing else changed

        registrar.installStatus = 0;
        int presses = 0;
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++presses; }), 0);
        QCOMPARE(registrar.installCalls, 3);
        pressHeld(registrar);
        QCOMPARE(presses, 1);
    }

    void generationWrapsPastZero_data()
    {
        QTest::addColumn<quint32>("before");
        QTest::addColumn<quint32>("id");
        constexpr quint32 max = std::numeric_limits<quint32>::max();
        QTest::newRow("two below the top") << max - 2 << max;
        QTest::newRow("one below the top") << max - 1 << 1u;
        QTest::newRow("at the top") << max << 1u;
    }

    void generationWrapsPastZero()
    {
        QFETCH(quint32, before);
        QFETCH(quint32, id);
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        service.setRegistrationGenerationForTesting(before);
        int presses = 0;
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++presses; }), 0);
        QCOMPARE(registrar.heldID().id, id);
        QCOMPARE(service.activeEventID(), std::optional<quint32>(id));
        QCOMPARE(service.registrationGeneration(), id);
        pressHeld(registrar);
        QCOMPARE(presses, 1);
    }

    void pressNeedsIdAndGenerationOfTheRegistrationInForce()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        int presses = 0;
        service.registerHotKey(superShiftP, [&] { ++presses; });
        const quint32 id = registrar.heldID().id;
        service.handleHotKeyEvent(id, quint64(id) + 1);
        service.handleHotKeyEvent(id + 1, id);
        registrar.press(HotKeyID{0x54455354, id}); // another signature, "TEST"
        deliverQueuedPresses();
        QCOMPARE(presses, 0);
        service.handleHotKeyEvent(id, id);
        QCOMPARE(presses, 1);
    }

    void stopGivesUpKeyAndHandler()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        int presses = 0;
        service.registerHotKey(superShiftP, [&] { ++presses; });
        const HotKeyID held = registrar.heldID();
        registrar.press(held); // queued before the stop
        service.stop();
        QVERIFY(registrar.registrations.empty());
        QVERIFY(registrar.handlers.empty());
        QCOMPARE(service.isRunning(), false);
        QVERIFY(!service.hasEventHandler());
        deliverQueuedPresses();
        service.handleHotKeyEvent(held.id, held.id);
        QCOMPARE(presses, 0);

        service.stop(); // a second stop has nothing left to give up
        QCOMPARE(registrar.unregisterCalls, 1);
        QCOMPARE(registrar.removeCalls, 1);
    }

    void callbackMayRegisterAgain()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        int presses = 0;
        std::function<void()> reregister = [&] {
            ++presses;
            service.registerHotKey(ctrlAltK, reregister);
        };
        service.registerHotKey(superShiftP, reregister);
        pressHeld(registrar);
        QCOMPARE(presses, 1);
        QCOMPARE(registrar.registrations.begin()->second.shortcut, ctrlAltK);
    }

    void pressAfterServiceIsGoneDoesNothing()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyRegistering::PressHandler handler;
        {
            HotKeyService service(&registrar, true);
            service.registerHotKey(superShiftP, [] { QFAIL("a press reached a destroyed service"); });
            handler = registrar.handlers.begin()->second;
            handler(registrar.heldID()); // queued for a service about to go
        }
        handler(HotKeyID{HotKeyService::signature, 2});
        deliverQueuedPresses();
        QVERIFY(registrar.handlers.empty());
    }

    void recordingSuspendsTheGrabOnceAndKeepsTheRegistration()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        int pressed = 0;
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++pressed; }), 0);
        const quint32 generation = service.registrationGeneration();
        QStringList logged;
        AppLog::setSinkForTesting([&](AppLog::Category, const QString& line) { logged.append(line); });

        // Two recorders at once: the grab goes with the first and comes back with the last.
        service.suspendForRecording();
        service.suspendForRecording();
        QCOMPARE(registrar.suspendCalls, 1);
        QCOMPARE(service.resumeAfterRecording(), 0);
        QCOMPARE(registrar.resumeCalls, 0);
        QVERIFY(service.isSuspendedForRecording());
        registrar.resumeStatus = 10; // the key was taken meanwhile
        QCOMPARE(service.resumeAfterRecording(), 10);
        QCOMPARE(registrar.resumeCalls, 1);
        QCOMPARE(service.resumeAfterRecording(), 0); // unbalanced: nothing to take back
        QCOMPARE(registrar.resumeCalls, 1);
        QCOMPARE(logged, QStringList{u"Resume hot key after recording failed code=10"_s});
        AppLog::setSinkForTesting(nullptr);

        QCOMPARE(service.registrationGeneration(), generation);
        pressHeld(registrar);
        QCOMPARE(pressed, 1);
    }
};

QTEST_GUILESS_MAIN(TestHotKeyService)
#include "tst_hotkeyservice.moc"
