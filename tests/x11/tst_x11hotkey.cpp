// The global hot key against a real X server: Xvfb of our own, key presses sent by another client
// (xdotool), a competing client holding the same grab, and a keyboard mapping change.
#include "HotKeyService.h"
#include "X11HotKeyRegistrar.h"

#include <QProcess>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <X11/keysym.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 fenceSignature = 0x54455354; // "TEST"
constexpr int waitLimit = 30000;

const PromptKeyboardShortcut superShiftP{35, ShortcutModifiers::control | ShortcutModifiers::shift};
const PromptKeyboardShortcut superShiftO{31, ShortcutModifiers::control | ShortcutModifiers::shift};

} // namespace

class TestX11HotKey : public QObject {
    Q_OBJECT

    QProcess m_server;
    QByteArray m_display;
    QString m_xdotool;

    // Presses keys as another client would; returns when xdotool has sent them.
    void run(const QString& command, const QStringList& keys)
    {
        QProcess xdotool;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DISPLAY"_s, QString::fromLatin1(m_display));
        xdotool.setProcessEnvironment(environment);
        xdotool.start(m_xdotool, QStringList{command} + keys);
        QVERIFY(xdotool.waitForFinished(waitLimit));
        QCOMPARE(xdotool.exitCode(), 0);
    }
    void press(const QStringList& keys) { run(u"key"_s, keys); }

    // A second registration on the same connection, pressed after the keys under test: when its
    // press has arrived, so has every press sent before it, and each has made its hop.
    struct Fence {
        int count = 0;
        HotKeyHandlerReference handler = 0;
        HotKeyReference key = 0;
    };

    void installFence(X11HotKeyRegistrar& registrar, Fence& fence)
    {
        const qint32 installed = registrar.installEventHandler(
            [this, &fence](HotKeyID id) {
                if (id.signature == fenceSignature)
                    QMetaObject::invokeMethod(
                        this, [&fence] { ++fence.count; }, Qt::QueuedConnection);
            },
            fence.handler);
        QCOMPARE(installed, 0);
        QCOMPARE(registrar.registerHotKey(superShiftO, {fenceSignature, 1}, fence.key), 0);
    }

private Q_SLOTS:
    void initTestCase()
    {
        const QString xvfb = QStandardPaths::findExecutable(u"Xvfb"_s);
        m_xdotool = QStandardPaths::findExecutable(u"xdotool"_s);
        if (xvfb.isEmpty() || m_xdotool.isEmpty())
            QSKIP("Xvfb and xdotool are needed (apt install xvfb xdotool)");
        // Xvfb picks a free display and writes its number to standard output once it serves it.
        m_server.start(xvfb, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1280x800x24"_s, u"-nolisten"_s,
                              u"tcp"_s});
        QVERIFY(m_server.waitForStarted(waitLimit));
        while (!m_server.canReadLine()) {
            QVERIFY2(m_server.waitForReadyRead(waitLimit),
                     qPrintable(QString::fromLocal8Bit(m_server.readAllStandardError())));
        }
        m_display = ':' + m_server.readLine().trimmed();
        QVERIFY(m_display.size() > 1);
    }

    void cleanupTestCase()
    {
        if (m_server.state() != QProcess::NotRunning) {
            m_server.terminate();
            m_server.waitForFinished(waitLimit);
        }
    }

    void readsTheModifierMap()
    {
        X11HotKeyRegistrar registrar(DesktopSessionType::x11, m_display);
        QVERIFY(registrar.isConnected());
        const X11KeyMapping::ModifierMasks masks = registrar.modifierMasks();
        QCOMPARE(masks.alt, quint16(0x0008));     // Mod1
        QCOMPARE(masks.super, quint16(0x0040));   // Mod4
        QCOMPARE(masks.numLock, quint16(0x0010)); // Mod2
    }

    void pressReachesTheCallbackExactlyOnce()
    {
        X11HotKeyRegistrar registrar(DesktopSessionType::x11, m_display);
        HotKeyService service(&registrar);
        int presses = 0;
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++presses; }), 0);
        Fence fence;
        installFence(registrar, fence);

        QCOMPARE(registrar.lastPressTimestamp(), 0u);
        press({u"super+shift+p"_s, u"super+shift+o"_s});
        QTRY_COMPARE_WITH_TIMEOUT(fence.count, 1, waitLimit);
        QCOMPARE(presses, 1);
        QVERIFY(registrar.lastPressTimestamp() != 0);

        // The combination without Super is not the hot key.
        press({u"shift+p"_s, u"ctrl+shift+p"_s, u"super+shift+o"_s});
        QTRY_COMPARE_WITH_TIMEOUT(fence.count, 2, waitLimit);
        QCOMPARE(presses, 1);
    }

    void aHeldKeyPressesOnce()
    {
        X11HotKeyRegistrar registrar(DesktopSessionType::x11, m_display);
        HotKeyService service(&registrar);
        int presses = 0;
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++presses; }), 0);
        Fence fence;
        installFence(registrar, fence);

        run(u"keydown"_s, {u"super+shift+p"_s});
        // The keyboard repeats a held key after a moment; wait until it has, twice.
        QTRY_VERIFY_WITH_TIMEOUT(registrar.ignoredRepeatCount() >= 2, waitLimit);
        run(u"keyup"_s, {u"super+shift+p"_s});
        press({u"super+shift+o"_s});
        QTRY_COMPARE_WITH_TIMEOUT(fence.count, 1, waitLimit);
        QCOMPARE(presses, 1);
    }

    void numLockAndCapsLockDontStopThePress_data()
    {
        QTest::addColumn<QString>("lock");
        QTest::newRow("Num Lock") << u"Num_Lock"_s;
        QTest::newRow("Caps Lock") << u"Caps_Lock"_s;
    }

    void numLockAndCapsLockDontStopThePress()
    {
        QFETCH(QString, lock);
        X11HotKeyRegistrar registrar(DesktopSessionType::x11, m_display);
        HotKeyService service(&registrar);
        int presses = 0;
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++presses; }), 0);
        Fence fence;
        installFence(registrar, fence);

        press({lock});
        press({u"super+shift+p"_s, u"super+shift+o"_s});
        press({lock}); // off again for the next test
        QTRY_COMPARE_WITH_TIMEOUT(fence.count, 1, waitLimit);
        QCOMPARE(presses, 1);
    }

    void aCombinationHeldByAnotherClientFails()
    {
        X11HotKeyRegistrar holderRegistrar(DesktopSessionType::x11, m_display);
        HotKeyService holder(&holderRegistrar);
        QCOMPARE(holder.registerHotKey(superShiftP, [] {}), 0);

        X11HotKeyRegistrar registrar(DesktopSessionType::x11, m_display);
        HotKeyService service(&registrar);
        int presses = 0;
        const qint32 status = service.registerHotKey(superShiftP, [&] { ++presses; });
        QCOMPARE(status, 10); // BadAccess
        QCOMPARE(service.isRunning(), false);
        const QString message = HotKeyStatus::failed(superShiftP, status).message(AppLanguage::english);
        QVERIFY2(message.contains(u"10"_s), qPrintable(message));

        // Nothing half-grabbed stays behind: once the holder lets go, the key is free for us.
        holder.stop();
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++presses; }), 0);
        Fence fence;
        installFence(registrar, fence);
        press({u"super+shift+p"_s, u"super+shift+o"_s});
        QTRY_COMPARE_WITH_TIMEOUT(fence.count, 1, waitLimit);
        QCOMPARE(presses, 1);
    }

    void suspendedGrabsLetTheKeyThrough()
    {
        X11HotKeyRegistrar registrar(DesktopSessionType::x11, m_display);
        HotKeyService service(&registrar);
        int presses = 0;
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++presses; }), 0);

        registrar.suspendGrabs();
        {
            // While suspended the combination is free: another client can take it.
            X11HotKeyRegistrar other(DesktopSessionType::x11, m_display);
            HotKeyReference reference = 0;
            QCOMPARE(other.registerHotKey(superShiftP, {fenceSignature, 7}, reference), 0);
            // And keeps it, so resuming fails with the server's refusal.
            QCOMPARE(registrar.resumeGrabs(), 10);
            registrar.suspendGrabs(); // nothing is held, nothing to let go
        }
        QCOMPARE(registrar.resumeGrabs(), 0);

        Fence fence;
        installFence(registrar, fence);
        press({u"super+shift+p"_s, u"super+shift+o"_s});
        QTRY_COMPARE_WITH_TIMEOUT(fence.count, 1, waitLimit);
        QCOMPARE(presses, 1);
    }

    void grabsFollowAKeyboardMappingChange()
    {
        X11HotKeyRegistrar registrar(DesktopSessionType::x11, m_display);
        HotKeyService service(&registrar);
        int presses = 0;
        QCOMPARE(service.registerHotKey(superShiftP, [&] { ++presses; }), 0);
        Fence fence;
        installFence(registrar, fence);
        QSignalSpy renewed(&registrar, &X11HotKeyRegistrar::grabsRenewed);

        // Another client moves P to a key that had no symbol.
        xcb_connection_t* connection = xcb_connect(m_display.constData(), nullptr);
        QVERIFY(!xcb_connection_has_error(connection));
        const xcb_setup_t* setup = xcb_get_setup(connection);
        const xcb_keycode_t first = setup->min_keycode;
        const int count = setup->max_keycode - setup->min_keycode + 1;
        xcb_get_keyboard_mapping_reply_t* reply = xcb_get_keyboard_mapping_reply(
            connection, xcb_get_keyboard_mapping(connection, first, count), nullptr);
        QVERIFY(reply);
        const int perKeycode = reply->keysyms_per_keycode;
        const xcb_keysym_t* current = xcb_get_keyboard_mapping_keysyms(reply);
        std::vector<xcb_keysym_t> original(current, current + count * perKeycode);
        std::free(reply);

        int oldKey = -1;
        int freeKey = -1;
        for (int index = 0; index < count; ++index) {
            bool empty = true;
            for (int column = 0; column < perKeycode; ++column) {
                const xcb_keysym_t symbol = original[index * perKeycode + column];
                if (symbol != XCB_NO_SYMBOL)
                    empty = false;
                if (column == 0 && symbol == XK_p)
                    oldKey = index;
            }
            if (empty && freeKey < 0 && index > 8)
                freeKey = index;
        }
        QVERIFY(oldKey >= 0 && freeKey >= 0);

        std::vector<xcb_keysym_t> moved = original;
        for (int column = 0; column < perKeycode; ++column) {
            moved[freeKey * perKeycode + column] = original[oldKey * perKeycode + column];
            moved[oldKey * perKeycode + column] = XCB_NO_SYMBOL;
        }
        const auto change = [&](const std::vector<xcb_keysym_t>& map) {
            const int low = std::min(oldKey, freeKey);
            const int high = std::max(oldKey, freeKey);
            xcb_change_keyboard_mapping(connection, high - low + 1, first + low, perKeycode,
                                        map.data() + low * perKeycode);
            // A round trip: the server has made the change, and sent its notice, before any key
            // that xdotool presses next.
            std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
        };
        bool restored = false;
        const auto restore = qScopeGuard([&] {
            if (!restored)
                change(original); // the next tests need P where it was
            xcb_disconnect(connection);
        });
        change(moved);
        QVERIFY(renewed.wait(waitLimit));

        press({u"super+shift+p"_s, u"super+shift+o"_s});
        QTRY_COMPARE_WITH_TIMEOUT(fence.count, 1, waitLimit);
        QCOMPARE(presses, 1);

        // And back: the grabs return to the key P started on.
        change(original);
        restored = true;
        QVERIFY(renewed.wait(waitLimit));
        press({u"super+shift+p"_s, u"super+shift+o"_s});
        QTRY_COMPARE_WITH_TIMEOUT(fence.count, 2, waitLimit);
        QCOMPARE(presses, 2);
    }
};

QTEST_GUILESS_MAIN(TestX11HotKey)
#include "tst_x11hotkey.moc"
