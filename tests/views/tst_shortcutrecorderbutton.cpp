#include "FakeHotKeyRegistrar.h"
#include "HotKeyService.h"
#include "ShortcutRecorderButton.h"
#include "VelmoraButton.h"

#include <QLabel>
#include <QLineEdit>
#include <QShortcut>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

class TestShortcutRecorderButton : public QObject {
    Q_OBJECT

    // A window holding the recorder beside a field and a window shortcut that must not fire.
    struct Window {
        QWidget window;
        QLineEdit* field = new QLineEdit(&window);
        ShortcutRecorderButton* recorder = nullptr;
        QList<std::optional<PromptKeyboardShortcut>> changes;
        int shortcutFired = 0;

        explicit Window(std::optional<PromptKeyboardShortcut> initial = std::nullopt)
        {
            ShortcutRecorderOptions<PromptKeyboardShortcut> options;
            options.title = u"None"_s;
            options.shortcut = initial;
            options.minWidth = 160;
            options.allowsClear = true;
            options.recordHelp = u"Press"_s;
            options.invalidMessage = u"Invalid"_s;
            options.displayString = &PromptKeyboardShortcut::displayString;
            options.shortcutFromEvent = &PromptKeyboardShortcut::fromEvent;
            options.onChange = [this](const std::optional<PromptKeyboardShortcut>& value) { changes.append(value); };
            recorder = new ShortcutRecorderButton(options, &window);
            auto* layout = new QVBoxLayout(&window);
            layout->addWidget(field);
            layout->addWidget(recorder);
            auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_K), &window);
            QObject::connect(shortcut, &QShortcut::activated, &window, [this] { ++shortcutFired; });
            window.show();
            field->setFocus();
        }
        int monitors() const { return recorder->findChildren<QObject*>(u"shortcutRecorderKeyMonitor"_s).size(); }
    };

private Q_SLOTS:
    void aKeyWithoutModifierIsRefusedAndRecordingGoesOn()
    {
        Window w;
        QVERIFY(QTest::qWaitForWindowActive(&w.window));
        QCOMPARE(w.recorder->buttonTitle(), u"None"_s);
        QVERIFY(!w.recorder->clearButton()->isEnabled());
        QTest::mouseClick(w.recorder->button(), Qt::LeftButton);
        QVERIFY(w.recorder->isRecording());
        QCOMPARE(w.recorder->recorderMessage(), u"Press"_s);
        QTest::keyClick(w.field, Qt::Key_A);
        QCOMPARE(w.recorder->recorderMessage(), u"Invalid"_s);
        QVERIFY(w.recorder->messageLabel()->isVisible());
        QVERIFY(w.field->text().isEmpty()); // the press went to the recorder, not the field
        // A combination that is a shortcut of the window is recorded, and the shortcut doesn't fire.
        QTest::keyClick(w.field, Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(w.shortcutFired, 0);
        const PromptKeyboardShortcut ctrlK{40, ShortcutModifiers::command};
        QCOMPARE(w.changes, (QList<std::optional<PromptKeyboardShortcut>>{ctrlK}));
        QVERIFY(!w.recorder->isRecording());
        QCOMPARE(w.recorder->buttonTitle(), ctrlK.displayString());
        QVERIFY(w.recorder->recorderMessage().isEmpty());
        QCOMPARE(w.monitors(), 0);
        QTest::keyClick(w.field, Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(w.shortcutFired, 1);

        QTest::mouseClick(w.recorder->clearButton(), Qt::LeftButton);
        QCOMPARE(w.changes.constLast(), std::nullopt);
        QCOMPARE(w.recorder->buttonTitle(), u"None"_s);
    }

    void escapeKeepsTheValueSilentlyAndOneMonitorAtMost()
    {
        const PromptKeyboardShortcut old{35, ShortcutModifiers::control | ShortcutModifiers::shift};
        Window w(old);
        QVERIFY(QTest::qWaitForWindowActive(&w.window));
        w.recorder->startRecording();
        w.recorder->startRecording();
        QCOMPARE(w.monitors(), 1);
        QTest::keyClick(w.field, Qt::Key_Escape);
        QVERIFY(!w.recorder->isRecording());
        QVERIFY(w.changes.isEmpty());
        QVERIFY(w.recorder->recorderMessage().isEmpty());
        QCOMPARE(w.recorder->shortcut<PromptKeyboardShortcut>(), std::optional(old));
        QTest::keyClicks(w.field, u"x"_s);
        QCOMPARE(w.field->text(), u"x"_s);
    }

    void closingWhileRecordingRemovesTheMonitorAndResumesTheHotKey()
    {
        FakeHotKeyRegistrar registrar;
        HotKeyService service(&registrar);
        Window w;
        w.recorder->setHotKeyService(&service);
        w.recorder->startRecording();
        QCOMPARE(registrar.suspendCalls, 1);
        w.window.close();
        QCOMPARE(w.monitors(), 0);
        QVERIFY(!w.recorder->isRecording());
        QCOMPARE(registrar.resumeCalls, 1);
        QVERIFY(!service.isSuspendedForRecording());
    }

    void theTileShortcutIsRecordedThroughItsOwnRules()
    {
        QWidget window;
        std::optional<PromptTileShortcut> recorded;
        ShortcutRecorderOptions<PromptTileShortcut> options;
        options.title = u"None"_s;
        options.displayString = [](const PromptTileShortcut& value) -> QString { return value.modifierDisplay() + u"1..9"_s; };
        options.shortcutFromEvent = [](const ShortcutKeyEvent& event) -> std::optional<PromptTileShortcut> {
            if (!PromptTileShortcut::numberIndex(event))
                return std::nullopt;
            return PromptTileShortcut{event.modifierFlags() & 1966080};
        };
        options.onChange = [&](const std::optional<PromptTileShortcut>& value) { recorded = value; };
        auto* recorder = new ShortcutRecorderButton(options, &window);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        recorder->startRecording();
        QTest::keyClick(recorder, Qt::Key_A, Qt::AltModifier);
        QVERIFY(recorder->isRecording());
        QTest::keyClick(recorder, Qt::Key_3, Qt::AltModifier);
        QCOMPARE(recorded, std::optional(PromptTileShortcut{ShortcutModifiers::option}));
        QCOMPARE(recorder->buttonTitle(), PromptTileShortcut{ShortcutModifiers::option}.modifierDisplay() + u"1..9"_s);
        QVERIFY(!recorder->clearButton());
    }
};

QTEST_MAIN(TestShortcutRecorderButton)
#include "tst_shortcutrecorderbutton.moc"
