#include "KeyboardShortcutModels.h"

#include "Localization.h"

#include <QKeyEvent>
#include <QKeySequence>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 control = ShortcutModifiers::control;
constexpr quint64 option = ShortcutModifiers::option;
constexpr quint64 shift = ShortcutModifiers::shift;
constexpr quint64 command = ShortcutModifiers::command;

ShortcutKeyEvent keyEvent(int key, int modifiers = 0, const QString& text = {})
{
    return ShortcutKeyEvent{key, modifiers, text, false};
}

} // namespace

class TestKeyboardShortcutModels : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keyNameTable_data()
    {
        QTest::addColumn<quint32>("code");
        QTest::addColumn<QString>("name");
        // The named keys, in this desktop's names.
        const QList<std::pair<quint32, QString>> named{
            {36, u"Return"_s}, {48, u"Tab"_s},    {49, u"Space"_s},     {51, u"Backspace"_s},
            {53, u"Esc"_s},    {71, u"Clear"_s},  {76, u"Num+Enter"_s}, {96, u"F5"_s},
            {97, u"F6"_s},     {98, u"F7"_s},     {99, u"F3"_s},        {100, u"F8"_s},
            {101, u"F9"_s},    {103, u"F11"_s},   {109, u"F10"_s},      {111, u"F12"_s},
            {115, u"Home"_s},  {116, u"PgUp"_s},  {117, u"Del"_s},      {118, u"F4"_s},
            {119, u"End"_s},   {120, u"F2"_s},    {121, u"PgDown"_s},   {122, u"F1"_s},
            {123, u"Left"_s},  {124, u"Right"_s}, {125, u"Down"_s},     {126, u"Up"_s}};
        for (const auto& [code, name] : named)
            QTest::addRow("%u", code) << code << name;
        // The 47 printable keys.
        const QStringList rows[] = {
            {u"A"_s, u"S"_s, u"D"_s, u"F"_s, u"H"_s, u"G"_s, u"Z"_s, u"X"_s, u"C"_s, u"V"_s},
            {u"B"_s, u"Q"_s, u"W"_s, u"E"_s, u"R"_s, u"Y"_s, u"T"_s},
            {u"1"_s, u"2"_s, u"3"_s, u"4"_s, u"6"_s, u"5"_s, u"="_s, u"9"_s, u"7"_s, u"-"_s, u"8"_s, u"0"_s},
            {u"]"_s, u"O"_s, u"U"_s, u"["_s, u"I"_s, u"P"_s},
            {u"L"_s, u"J"_s, u"'"_s, u"K"_s, u";"_s, u"\\"_s, u","_s, u"/"_s, u"N"_s, u"M"_s, u"."_s},
            {u"`"_s},
        };
        const quint32 firstCodes[] = {0, 11, 18, 30, 37, 50};
        int count = 0;
        for (int row = 0; row < 6; ++row) {
            for (qsizetype index = 0; index < rows[row].size(); ++index) {
                const quint32 code = firstCodes[row] + quint32(index);
                QTest::addRow("%u", code) << code << rows[row][index];
                ++count;
            }
        }
        QCOMPARE(count, 47);
    }

    void keyNameTable()
    {
        QFETCH(quint32, code);
        QFETCH(QString, name);
        QCOMPARE(PromptKeyboardShortcut::keyName(code), name);
        QVERIFY(ShortcutKeys::translatableKeyCodes().contains(code)); // every named key can be grabbed
    }

    void keyNameFallback_data()
    {
        QTest::addColumn<quint32>("code");
        QTest::newRow("ISO section") << quint32(10);
        QTest::newRow("between printable") << quint32(52);
        QTest::newRow("right command") << quint32(54);
        QTest::newRow("function key") << quint32(63);
        QTest::newRow("volume") << quint32(72);
        QTest::newRow("JIS") << quint32(102);
        QTest::newRow("past the table") << quint32(127);
        QTest::newRow("largest") << quint32(4294967295u);
    }

    void keyNameFallback()
    {
        QFETCH(quint32, code);
        QCOMPARE(PromptKeyboardShortcut::keyName(code), u"Key "_s + QString::number(code));
    }

    // Shortcuts read as Qt writes them, so the panel, the settings and the desktop agree.
    void keyNamesAreQtNativeText()
    {
        const QList<quint32> codes = ShortcutKeys::translatableKeyCodes();
        QVERIFY(codes.size() >= 47 + 24);
        for (quint32 code : codes) {
            const auto combination = ShortcutKeys::qtKeyCombination({code, 0});
            QVERIFY(combination);
            const QString native = QKeySequence(*combination).toString(QKeySequence::NativeText);
            QCOMPARE(PromptKeyboardShortcut::keyName(code), native);
        }
        const PromptKeyboardShortcut all{35, control | option | shift | command};
        const QString native =
            QKeySequence(*ShortcutKeys::qtKeyCombination(all)).toString(QKeySequence::NativeText);
        QCOMPARE(all.displayString(), QString(native).replace(u"Meta"_s, u"Super"_s));
    }

    void carbonModifierFlags_data()
    {
        QTest::addColumn<quint64>("modifiers");
        QTest::addColumn<quint32>("flags");
        QTest::newRow("none") << quint64(0) << quint32(0);
        QTest::newRow("control") << control << quint32(4096);
        QTest::newRow("option") << option << quint32(2048);
        QTest::newRow("shift") << shift << quint32(512);
        QTest::newRow("command") << command << quint32(256);
        QTest::newRow("control shift") << (control | shift) << quint32(4608);
        QTest::newRow("all, with keypad and function bits")
            << (control | option | shift | command | ShortcutModifiers::numericPad |
                ShortcutModifiers::function)
            << quint32(6912);
    }

    void carbonModifierFlags()
    {
        QFETCH(quint64, modifiers);
        QFETCH(quint32, flags);
        QCOMPARE((PromptKeyboardShortcut{35, modifiers}.carbonModifierFlags()), flags);
    }

    // The shortcuts that capture from an event are shown in fromEventAccepts.
    void displayString()
    {
        QCOMPARE((PromptKeyboardShortcut{0, control | option | shift | command}.displayString()),
                 u"Super+Ctrl+Alt+Shift+A"_s);
        QCOMPARE((PromptKeyboardShortcut{83, command}.displayString()),
                 u"Ctrl+Num+1"_s); // keypad by its code
        QCOMPARE((PromptKeyboardShortcut{200, option}.displayString()), u"Alt+Key 200"_s);
    }

    void tileModifierDisplay()
    {
        QCOMPARE(PromptTileShortcut{command}.modifierDisplay() + u'1', u"Ctrl+1"_s);
        QCOMPARE((PromptTileShortcut{option | control}.modifierDisplay()), u"Super+Alt+"_s);
        QCOMPARE(PromptTileShortcut{0}.modifierDisplay(), QString());
    }

    void fromEventRefusesEscapeAndModifierKeys_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        const int all = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier | Qt::ShiftModifier;
        QTest::newRow("Escape alone") << int(Qt::Key_Escape) << 0;
        QTest::newRow("Escape with Ctrl") << int(Qt::Key_Escape) << int(Qt::ControlModifier);
        QTest::newRow("Escape with all") << int(Qt::Key_Escape) << all;
        QTest::newRow("Ctrl key") << int(Qt::Key_Control) << int(Qt::ControlModifier);
        QTest::newRow("Shift key") << int(Qt::Key_Shift) << int(Qt::ShiftModifier | Qt::ControlModifier);
        QTest::newRow("Alt key") << int(Qt::Key_Alt) << int(Qt::AltModifier);
        QTest::newRow("Meta key") << int(Qt::Key_Meta) << int(Qt::MetaModifier);
        QTest::newRow("Super key") << int(Qt::Key_Super_L) << int(Qt::MetaModifier);
        QTest::newRow("right Super key") << int(Qt::Key_Super_R) << all;
        QTest::newRow("Caps Lock") << int(Qt::Key_CapsLock) << int(Qt::ControlModifier);
        QTest::newRow("AltGr") << int(Qt::Key_AltGr) << int(Qt::ControlModifier);
        QTest::newRow("Hyper") << int(Qt::Key_Hyper_L) << int(Qt::ControlModifier);
        QTest::newRow("a key with no stored code") << int(Qt::Key_Eacute) << int(Qt::ControlModifier);
    }

    void fromEventRefusesEscapeAndModifierKeys()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        const ShortcutKeyEvent event = keyEvent(key, modifiers);
        if (const auto code = event.keyCode())
            QVERIFY2(*code >= 53 && *code <= 63, qPrintable(QString::number(*code)));
        QCOMPARE(PromptKeyboardShortcut::fromEvent(event), std::nullopt);
    }

    void fromEventNeedsRequiredModifier()
    {
        QCOMPARE(PromptKeyboardShortcut::fromEvent(keyEvent(Qt::Key_P)), std::nullopt);
        QCOMPARE(PromptKeyboardShortcut::fromEvent(keyEvent(Qt::Key_P, Qt::ShiftModifier)), std::nullopt);
        QCOMPARE(
            PromptKeyboardShortcut::fromEvent(keyEvent(Qt::Key_F5, Qt::ShiftModifier | Qt::KeypadModifier)),
            std::nullopt);
    }

    void fromEventAccepts_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<quint32>("code");
        QTest::addColumn<quint64>("stored");
        QTest::addColumn<QString>("display");
        QTest::newRow("Super+Shift+P") << int(Qt::Key_P) << int(Qt::MetaModifier | Qt::ShiftModifier)
                                       << quint32(35) << (control | shift) << u"Super+Shift+P"_s;
        QTest::newRow("Ctrl+Shift+P, shift before command")
            << int(Qt::Key_P) << int(Qt::ControlModifier | Qt::ShiftModifier) << quint32(35)
            << (command | shift) << u"Ctrl+Shift+P"_s;
        QTest::newRow("Alt+Space") << int(Qt::Key_Space) << int(Qt::AltModifier) << quint32(49) << option
                                   << u"Alt+Space"_s;
        QTest::newRow("Ctrl+F5 carries the function bit")
            << int(Qt::Key_F5) << int(Qt::ControlModifier) << quint32(96)
            << (command | ShortcutModifiers::function) << u"Ctrl+F5"_s;
        QTest::newRow("Ctrl+Left carries keypad and function bits")
            << int(Qt::Key_Left) << int(Qt::ControlModifier) << quint32(123)
            << (command | ShortcutModifiers::numericPad | ShortcutModifiers::function) << u"Ctrl+Left"_s;
        QTest::newRow("keypad 1") << int(Qt::Key_1) << int(Qt::ControlModifier | Qt::KeypadModifier)
                                  << quint32(83) << (command | ShortcutModifiers::numericPad)
                                  << u"Ctrl+Num+1"_s;
        QTest::newRow("keypad End with Num Lock off")
            << int(Qt::Key_End) << int(Qt::ControlModifier | Qt::KeypadModifier) << quint32(119)
            << (command | ShortcutModifiers::numericPad | ShortcutModifiers::function) << u"Ctrl+End"_s;
        QTest::newRow("Shift+Tab arrives as Backtab")
            << int(Qt::Key_Backtab) << int(Qt::AltModifier | Qt::ShiftModifier) << quint32(48)
            << (option | shift) << u"Alt+Shift+Tab"_s;
        QTest::newRow("Shift+1 arrives as !")
            << int(Qt::Key_Exclam) << int(Qt::ControlModifier | Qt::ShiftModifier) << quint32(18)
            << (command | shift) << u"Ctrl+Shift+1"_s;
        QTest::newRow("Shift+= arrives as +")
            << int(Qt::Key_Plus) << int(Qt::MetaModifier | Qt::ShiftModifier) << quint32(24)
            << (control | shift) << u"Super+Shift+="_s;
        QTest::newRow("group switch is no modifier")
            << int(Qt::Key_K) << int(Qt::AltModifier | Qt::GroupSwitchModifier) << quint32(40) << option
            << u"Alt+K"_s;
    }

    void fromEventAccepts()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(quint32, code);
        QFETCH(quint64, stored);
        QFETCH(QString, display);
        const auto shortcut = PromptKeyboardShortcut::fromEvent(keyEvent(key, modifiers));
        QCOMPARE(shortcut, std::optional(PromptKeyboardShortcut{code, stored}));
        QCOMPARE(shortcut->displayString(), display);
    }

    void numberIndex_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("index"); // -1: absent
        for (int digit = 1; digit <= 9; ++digit)
            QTest::addRow("Ctrl+%d", digit)
                << int(Qt::Key_0 + digit) << int(Qt::ControlModifier) << QString() << digit - 1;
        QTest::newRow("0") << int(Qt::Key_0) << int(Qt::ControlModifier) << u"0"_s << -1;
        QTest::newRow("keypad 5") << int(Qt::Key_5) << int(Qt::KeypadModifier) << u"5"_s << 4;
        QTest::newRow("Shift+1 types ! and is 1")
            << int(Qt::Key_Exclam) << int(Qt::ShiftModifier) << u"!"_s << 0;
        QTest::newRow("Ctrl+Shift+9 is (")
            << int(Qt::Key_ParenLeft) << int(Qt::ControlModifier | Qt::ShiftModifier) << QString() << 8;
        QTest::newRow("Shift+0 is )") << int(Qt::Key_ParenRight) << int(Qt::ShiftModifier) << u")"_s << -1;
        QTest::newRow("letter") << int(Qt::Key_A) << 0 << u"a"_s << -1;
        QTest::newRow("two characters from an input method") << 0 << 0 << u"12"_s << -1;
        QTest::newRow("a digit only in the text") << int(Qt::Key_unknown) << 0 << u"7"_s << 6;
        QTest::newRow("a full-width digit") << int(Qt::Key_unknown) << 0 << u"\uFF11"_s << -1;
        QTest::newRow("control character")
            << int(Qt::Key_unknown) << int(Qt::ControlModifier) << u"\u0011"_s << -1;
    }

    void numberIndex()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(QString, text);
        QFETCH(int, index);
        const auto found = PromptTileShortcut::numberIndex(keyEvent(key, modifiers, text));
        QCOMPARE(found, index < 0 ? std::nullopt : std::optional<int>(index));
    }

    void fromQKeyEvent()
    {
        const QKeyEvent toggle(QEvent::KeyPress, Qt::Key_P, Qt::MetaModifier | Qt::ShiftModifier, u"P"_s);
        const ShortcutKeyEvent event = ShortcutKeyEvent::from(toggle);
        QCOMPARE(event, keyEvent(Qt::Key_P, Qt::MetaModifier | Qt::ShiftModifier, u"P"_s));
        QCOMPARE(PromptKeyboardShortcut::fromEvent(event), (PromptKeyboardShortcut{35, 393216}));

        const QKeyEvent digit(QEvent::KeyPress, Qt::Key_3, Qt::ControlModifier, QString(), true);
        QVERIFY(ShortcutKeyEvent::from(digit).isAutoRepeat);
        QCOMPARE(PromptTileShortcut::numberIndex(ShortcutKeyEvent::from(digit)), 2);
    }

    void qtKeysBothDirections()
    {
        const QList<quint32> codes = ShortcutKeys::translatableKeyCodes();
        QVERIFY(std::is_sorted(codes.begin(), codes.end()));
        for (quint32 code : codes) {
            const auto qtKey = ShortcutKeys::qtKey(code);
            QVERIFY2(qtKey, qPrintable(QString::number(code)));
            QCOMPARE(ShortcutKeys::keyCode(qtKey->key, qtKey->keypad), code);
            QVERIFY(!PromptKeyboardShortcut::keyName(code).startsWith(u"Key "_s));
        }
        QCOMPARE(ShortcutKeys::qtKey(10), std::nullopt);
        QCOMPARE(ShortcutKeys::qtKey(54), std::nullopt);

        // Spot checks against Qt's own names.
        QCOMPARE(ShortcutKeys::qtKey(35), (ShortcutKeys::QtKey{Qt::Key_P, false}));
        QCOMPARE(ShortcutKeys::qtKey(50), (ShortcutKeys::QtKey{Qt::Key_QuoteLeft, false}));
        QCOMPARE(ShortcutKeys::qtKey(76), (ShortcutKeys::QtKey{Qt::Key_Enter, true}));
        QCOMPARE(ShortcutKeys::qtKey(92), (ShortcutKeys::QtKey{Qt::Key_9, true}));
        QCOMPARE(ShortcutKeys::keyCode(Qt::Key_Enter, false),
                 76u); // an Enter reported without the keypad bit
        QCOMPARE(ShortcutKeys::keyCode(Qt::Key_Asterisk, true), 67u);
        QCOMPARE(ShortcutKeys::keyCode(Qt::Key_Asterisk, false), 28u);
    }

    void qtModifiersBothDirections()
    {
        const std::pair<quint64, int> pairs[] = {
            {command, Qt::ControlModifier},
            {control, Qt::MetaModifier},
            {option, Qt::AltModifier},
            {shift, Qt::ShiftModifier},
        };
        for (const auto& [stored, qt] : pairs) {
            QCOMPARE(ShortcutModifiers::fromQtModifiers(qt), stored);
            QCOMPARE(ShortcutModifiers::toQtModifiers(stored), qt);
        }
        const int allQt = Qt::ControlModifier | Qt::MetaModifier | Qt::AltModifier | Qt::ShiftModifier;
        QCOMPARE(ShortcutModifiers::fromQtModifiers(allQt | Qt::KeypadModifier),
                 control | option | shift | command);
        QCOMPARE(ShortcutModifiers::toQtModifiers(control | option | shift | command |
                                                  ShortcutModifiers::function),
                 allQt);
    }

    void qtKeyCombination()
    {
        QCOMPARE(ShortcutKeys::qtKeyCombination({35, control | shift}),
                 int(Qt::Key_P) | int(Qt::MetaModifier) | int(Qt::ShiftModifier));
        QCOMPARE(ShortcutKeys::qtKeyCombination({18, command}), int(Qt::Key_1) | int(Qt::ControlModifier));
        QCOMPARE(ShortcutKeys::qtKeyCombination({83, command}),
                 int(Qt::Key_1) | int(Qt::ControlModifier) | int(Qt::KeypadModifier));
        QCOMPARE(ShortcutKeys::qtKeyCombination({200, command}), std::nullopt);
    }

    void replacedDefaults()
    {
        const auto replaced = PromptKeyboardShortcut::replacedDefaultTogglePanels();
        QCOMPARE(replaced.size(), 2);
        QVERIFY(replaced.contains((PromptKeyboardShortcut{49, 524288})));
        QVERIFY(replaced.contains((PromptKeyboardShortcut{49, 786432})));
        QVERIFY(!replaced.contains((PromptKeyboardShortcut{49, 1048576})));
    }

    void jsonRoundTrip()
    {
        const PromptKeyboardShortcut shortcut{35, 393216};
        QCOMPARE(shortcut.encodedJson(), QByteArray(R"({"keyCode":35,"modifiersRawValue":393216})"));
        QCOMPARE(PromptKeyboardShortcut::decodeJson(shortcut.encodedJson()), shortcut);
        const PromptKeyboardShortcut large{4294967295u, 0x7FFFFFFFFFFFFFFFull};
        QCOMPARE(PromptKeyboardShortcut::decodeJson(large.encodedJson()), large);
        QCOMPARE(PromptTileShortcut{1048576}.encodedJson(), QByteArray(R"({"modifiersRawValue":1048576})"));
        QCOMPARE(PromptTileShortcut::decodeJson(R"({"modifiersRawValue":1048576,"other":true})"),
                 PromptTileShortcut{1048576});
    }

    void jsonRefusesWrongShapes_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("35:393216");
        QTest::newRow("array") << QByteArray("[35, 393216]");
        QTest::newRow("missing modifiers") << QByteArray(R"({"keyCode":35})");
        QTest::newRow("missing key code") << QByteArray(R"({"modifiersRawValue":393216})");
        QTest::newRow("text key code") << QByteArray(R"({"keyCode":"35","modifiersRawValue":393216})");
        QTest::newRow("negative key code") << QByteArray(R"({"keyCode":-1,"modifiersRawValue":393216})");
        QTest::newRow("fractional modifiers") << QByteArray(R"({"keyCode":35,"modifiersRawValue":393216.5})");
        QTest::newRow("key code beyond 32 bits")
            << QByteArray(R"({"keyCode":4294967296,"modifiersRawValue":393216})");
        QTest::newRow("modifiers beyond 64 bits") << QByteArray(R"({"keyCode":35,"modifiersRawValue":1e20})");
        QTest::newRow("boolean modifiers") << QByteArray(R"({"keyCode":35,"modifiersRawValue":true})");
    }

    void jsonRefusesWrongShapes()
    {
        QFETCH(QByteArray, json);
        QCOMPARE(PromptKeyboardShortcut::decodeJson(json), std::nullopt);
    }

    void hotKeyStatusMessages()
    {
        const auto& catalog = AppLocalizationCatalog::shared();
        const PromptKeyboardShortcut shortcut{35, control | shift};
        for (AppLanguage language : {AppLanguage::english, AppLanguage::zhHans}) {
            const auto text = [&](const QString& key) {
                return catalog.string(key, language);
            };
            QCOMPARE(HotKeyStatus::idle().message(language), QString());
            QCOMPARE(HotKeyStatus::invalid().message(language), text(u"shortcut.error.needs.modifier"_s));
            QCOMPARE(HotKeyStatus::registering(shortcut).message(language),
                     text(u"shortcut.registering"_s).arg(u"Super+Shift+P"_s));
            QCOMPARE(HotKeyStatus::registered(shortcut).message(language),
                     text(u"shortcut.registered"_s).arg(u"Super+Shift+P"_s));
            QCOMPARE(HotKeyStatus::failed(shortcut, 10).message(language),
                     text(u"shortcut.register.failed"_s).arg(u"Super+Shift+P"_s, u"10"_s));
            QCOMPARE(HotKeyStatus::restoreFailed(10, -9878).message(language),
                     text(u"shortcut.restore.failed"_s).arg(u"10"_s, u"-9878"_s));
            QCOMPARE(HotKeyStatus::failed(shortcut, HotKeyRegistrationStatus::unavailable).message(language),
                     text(u"linux.shortcut.register.unavailable"_s).arg(u"Super+Shift+P"_s));
            QCOMPARE(
                HotKeyStatus::failed(shortcut, HotKeyRegistrationStatus::keyNotOnKeyboard).message(language),
                text(u"linux.shortcut.register.no.key"_s).arg(u"Super+Shift+P"_s));
        }
        // The texts carry their arguments.
        const QString english = HotKeyStatus::failed(shortcut, 10).message(AppLanguage::english);
        QVERIFY2(english.contains(u"Super+Shift+P"_s) && english.contains(u"10"_s), qPrintable(english));
    }
};

QTEST_GUILESS_MAIN(TestKeyboardShortcutModels)
#include "tst_keyboardshortcutmodels.moc"
