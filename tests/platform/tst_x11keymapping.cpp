#include "HotKeyService.h"
#include "X11HotKeyRegistrar.h"
#include "X11KeyMapping.h"

#include <QTest>

#include <X11/keysym.h>

using namespace Qt::StringLiterals;

class TestX11KeyMapping : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyKeyBothDirections()
    {
        const QList<quint32> codes = X11KeyMapping::translatableKeyCodes();
        // The keysym side knows exactly the keys the Qt side knows.
        QCOMPARE(codes, ShortcutKeys::translatableKeyCodes());
        QList<quint32> keysyms;
        for (quint32 code : codes) {
            const auto keysym = X11KeyMapping::keysym(code);
            QVERIFY2(keysym, qPrintable(QString::number(code)));
            QVERIFY2(!keysyms.contains(*keysym), qPrintable(QString::number(code)));
            keysyms.append(*keysym);
            QCOMPARE(X11KeyMapping::keyCode(*keysym), code);
        }
        QCOMPARE(X11KeyMapping::keysym(10), std::nullopt);
        QCOMPARE(X11KeyMapping::keysym(54), std::nullopt);
        QCOMPARE(X11KeyMapping::keysym(4294967295u), std::nullopt);
        QCOMPARE(X11KeyMapping::keyCode(XK_Cyrillic_a), std::nullopt);
    }

    void keysyms_data()
    {
        QTest::addColumn<quint32>("code");
        QTest::addColumn<quint32>("keysym");
        QTest::newRow("A") << 0u << quint32(XK_a);
        QTest::newRow("P") << 35u << quint32(XK_p);
        QTest::newRow("1") << 18u << quint32(XK_1);
        QTest::newRow("6 before 5") << 22u << quint32(XK_6);
        QTest::newRow("=") << 24u << quint32(XK_equal);
        QTest::newRow("]") << 30u << quint32(XK_bracketright);
        QTest::newRow("'") << 39u << quint32(XK_apostrophe);
        QTest::newRow("backslash") << 42u << quint32(XK_backslash);
        QTest::newRow("`") << 50u << quint32(XK_grave);
        QTest::newRow("Return") << 36u << quint32(XK_Return);
        QTest::newRow("Tab") << 48u << quint32(XK_Tab);
        QTest::newRow("Space") << 49u << quint32(XK_space);
        QTest::newRow("Backspace") << 51u << quint32(XK_BackSpace);
        QTest::newRow("Escape") << 53u << quint32(XK_Escape);
        QTest::newRow("keypad Clear") << 71u << quint32(XK_Clear);
        QTest::newRow("keypad Enter") << 76u << quint32(XK_KP_Enter);
        QTest::newRow("keypad 0") << 82u << quint32(XK_KP_0);
        QTest::newRow("keypad 9") << 92u << quint32(XK_KP_9);
        QTest::newRow("F3") << 99u << quint32(XK_F3);
        QTest::newRow("F10") << 109u << quint32(XK_F10);
        QTest::newRow("Help is Insert") << 114u << quint32(XK_Insert);
        QTest::newRow("forward delete") << 117u << quint32(XK_Delete);
        QTest::newRow("Page Down") << 121u << quint32(XK_Page_Down);
        QTest::newRow("Left") << 123u << quint32(XK_Left);
        QTest::newRow("Up") << 126u << quint32(XK_Up);
    }

    void keysyms()
    {
        QFETCH(quint32, code);
        QFETCH(quint32, keysym);
        QCOMPARE(X11KeyMapping::keysym(code), keysym);
        QCOMPARE(X11KeyMapping::keyCode(keysym), code);
    }

    void shiftedKeysymsGiveTheirKey()
    {
        QCOMPARE(X11KeyMapping::keyCode(XK_P), 35u);
        QCOMPARE(X11KeyMapping::keyCode(XK_A), 0u);
        QCOMPARE(X11KeyMapping::keyCode(XK_exclam), 18u);
        QCOMPARE(X11KeyMapping::keyCode(XK_plus), 24u);
        QCOMPARE(X11KeyMapping::keyCode(XK_asciitilde), 50u);
        QCOMPARE(X11KeyMapping::keyCode(XK_ISO_Left_Tab), 48u);
    }

    void modifiersBothDirections()
    {
        using namespace ShortcutModifiers;
        const X11KeyMapping::ModifierMasks usual;
        QCOMPARE(X11KeyMapping::x11Modifiers(control | shift, usual),
                 quint16(0x0040 | 0x0001));                                     // Super+Shift
        QCOMPARE(X11KeyMapping::x11Modifiers(command, usual), quint16(0x0004)); // Ctrl
        QCOMPARE(X11KeyMapping::x11Modifiers(option, usual), quint16(0x0008));  // Alt on Mod1
        QCOMPARE(X11KeyMapping::x11Modifiers(command | numericPad | function, usual), quint16(0x0004));

        const X11KeyMapping::ModifierMasks moved{0x0020, 0x0080, 0x0010}; // Alt on Mod3, Super on Mod5
        for (quint64 modifiers : {quint64(0), quint64(shift), quint64(control), quint64(option),
                                  quint64(command), quint64(control | option | shift | command)}) {
            QCOMPARE(X11KeyMapping::storedModifiers(X11KeyMapping::x11Modifiers(modifiers, moved), moved),
                     modifiers);
            QCOMPARE(X11KeyMapping::storedModifiers(X11KeyMapping::x11Modifiers(modifiers, usual), usual),
                     modifiers);
        }
        QCOMPARE(X11KeyMapping::x11Modifiers(control | option, moved), quint16(0x0080 | 0x0020));
        // Num Lock and Caps Lock are no modifiers of a shortcut.
        QCOMPARE(X11KeyMapping::storedModifiers(0x0010 | 0x0002 | 0x0004, moved), quint64(command));
    }

    void noDisplayMeansAClearStatus_data()
    {
        QTest::addColumn<DesktopSessionType>("session");
        QTest::addColumn<QByteArray>("display");
        QTest::newRow("no session") << DesktopSessionType::none << QByteArray();
        QTest::newRow("Wayland, even with XWayland") << DesktopSessionType::wayland << QByteArray(":0");
        QTest::newRow("a display nobody serves") << DesktopSessionType::x11 << QByteArray(":31999");
    }

    void noDisplayMeansAClearStatus()
    {
        QFETCH(DesktopSessionType, session);
        QFETCH(QByteArray, display);
        X11HotKeyRegistrar registrar(session, display);
        QVERIFY(!registrar.isConnected());

        HotKeyReference reference = 0;
        QCOMPARE(registrar.registerHotKey({35, ShortcutModifiers::control}, {HotKeyService::signature, 1},
                                          reference),
                 HotKeyRegistrationStatus::unavailable);
        QCOMPARE(registrar.unregisterHotKey(reference), HotKeyRegistrationStatus::unknownRegistration);

        HotKeyService service(&registrar);
        QVERIFY(!service.hasEventHandler());
        const PromptKeyboardShortcut shortcut{35, ShortcutModifiers::control | ShortcutModifiers::shift};
        const qint32 status = service.registerHotKey(shortcut, [] {});
        QCOMPARE(status, HotKeyRegistrationStatus::unavailable);
        QCOMPARE(service.isRunning(), false);
        const QString message = HotKeyStatus::failed(shortcut, status).message(AppLanguage::english);
        QVERIFY(!message.isEmpty());
        QVERIFY(message != HotKeyStatus::failed(shortcut, 10).message(AppLanguage::english));
        service.stop();
    }
};

QTEST_GUILESS_MAIN(TestX11KeyMapping)
#include "tst_x11keymapping.moc"
