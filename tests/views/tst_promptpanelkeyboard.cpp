// The panel's keyboard, driven with key events addressed to its widgets as the window would deliver
// them: the key table with and without the search field's focus, the tile and per-prompt shortcuts,
// selection rules, keys passed on while something modal stands on the panel, Escape, the initial
// selection, and the search text's life across context changes.
#include "FakeClipboard.h"
#include "ContextHeaderView.h"
#include "FakeScheduler.h"
#include "PromptGridStageView.h"
#include "PromptPanelHarness.h"
#include "PromptStoreFixture.h"
#include "SearchVelmoraView.h"
#include "VelmoraSheetHost.h"

#include <QInputMethodEvent>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

class TestPromptPanelKeyboard : public QObject {
    Q_OBJECT

    Fixture f;
    FakeScheduler scheduler;
    std::shared_ptr<FakeClipboard> clipboard;
    std::unique_ptr<PromptPanelHarness> h;
    std::unique_ptr<PromptPanelView> panel;

    QLineEdit* field() const { return panel->searchView()->field(); }
    std::optional<QString> selected() const { return panel->selectedPromptID(); }
    void select(const QString& id) { panel->validateSelection({id}); }

    static AgentContext app(const QString& bundle, const QString& folder = {})
    {
        AgentContext context;
        context.frontmostAppName = u"Editor"_s;
        context.frontmostBundleIdentifier = bundle;
        context.agent = AgentType::vscode;
        if (!folder.isEmpty())
            context.workspacePath = folder;
        return context;
    }

private Q_SLOTS:
    void init()
    {
        f.setUp();
        PromptLoadResult library;
        for (int index = 1; index <= 7; ++index)
            library.globalPrompts.append(prompt(u"p%1"_s.arg(index)));
        // p5 answers Ctrl+2 itself, which is also the second tile's shortcut.
        library.globalPrompts[4].shortcut = PromptKeyboardShortcut{*ShortcutKeys::keyCode(Qt::Key_2, false),
                                                                   ShortcutModifiers::command};
        f.load(library);
        scheduler = FakeScheduler();
        clipboard = std::make_shared<FakeClipboard>();
        h = std::make_unique<PromptPanelHarness>(
            *f.store, f.settings.get(), clipboard, [](const QString&) { return nullptr; },
            [](double, std::function<void()> work) { work(); });
        panel = std::make_unique<PromptPanelView>(h->dependencies(),
                                                  PromptPanelView::Environment{scheduler.scheduler(), {}});
        panel->resize(484, 640);
        panel->show();
        h->morph->open(true);
        QVERIFY(QTest::qWaitForWindowExposed(panel.get()));
        QVERIFY(panel->isKeyboardMonitorInstalled());
        scheduler.advance(1.0); // the initial selection and the search focus
    }

    void cleanup()
    {
        panel.reset();
        h.reset();
        f.tearDown();
    }

    void theKeyTable_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<QString>("selectedBefore"); // empty: nothing selected
        QTest::addColumn<QString>("selectedAfter");
        QTest::addColumn<QString>("copied"); // empty: nothing

        const int none = Qt::NoModifier;
        QTest::newRow("Right with nothing selected takes the first") << int(Qt::Key_Right) << none << u""_s << u"p1"_s << u""_s;
        QTest::newRow("Right") << int(Qt::Key_Right) << none << u"p1"_s << u"p2"_s << u""_s;
        QTest::newRow("Left stops at the first") << int(Qt::Key_Left) << none << u"p1"_s << u"p1"_s << u""_s;
        QTest::newRow("Down is three on") << int(Qt::Key_Down) << none << u"p1"_s << u"p4"_s << u""_s;
        QTest::newRow("Down clamps to the last") << int(Qt::Key_Down) << none << u"p6"_s << u"p7"_s << u""_s;
        QTest::newRow("Up clamps to the first") << int(Qt::Key_Up) << none << u"p2"_s << u"p1"_s << u""_s;
        QTest::newRow("Shift+Right still moves") << int(Qt::Key_Right) << int(Qt::ShiftModifier) << u"p3"_s << u"p4"_s << u""_s;
        QTest::newRow("Return copies the selection") << int(Qt::Key_Return) << none << u"p3"_s << u"p3"_s << u"p3"_s;
        QTest::newRow("Shift+Return copies") << int(Qt::Key_Return) << int(Qt::ShiftModifier) << u"p4"_s << u"p4"_s << u"p4"_s;
        QTest::newRow("keypad Enter copies") << int(Qt::Key_Enter) << int(Qt::KeypadModifier) << u"p2"_s << u"p2"_s << u"p2"_s;
        QTest::newRow("Return without a selection copies the first") << int(Qt::Key_Return) << none << u""_s << u"p1"_s << u"p1"_s;
        QTest::newRow("Ctrl+3 copies the third tile") << int(Qt::Key_3) << int(Qt::ControlModifier) << u""_s << u"p3"_s << u"p3"_s;
        QTest::newRow("the prompt's own Ctrl+2 beats the tile") << int(Qt::Key_2) << int(Qt::ControlModifier) << u""_s << u"p5"_s << u"p5"_s;
        QTest::newRow("Ctrl+Shift+3 isn't the tile set") << int(Qt::Key_3) << int(Qt::ControlModifier | Qt::ShiftModifier) << u""_s << u""_s << u""_s;
        QTest::newRow("Alt+3 isn't either") << int(Qt::Key_3) << int(Qt::AltModifier) << u""_s << u""_s << u""_s;
    }

    void theKeyTable()
    {
        QFETCH(int, key);
        QFETCH(int, modifiers);
        QFETCH(QString, selectedBefore);
        QFETCH(QString, selectedAfter);
        QFETCH(QString, copied);
        const auto expected = [](const QString& id) { return id.isEmpty() ? std::nullopt : std::optional(id); };
        // Once into the focused search field, once to a widget of the panel without that focus.
        for (const bool searchFocused : {true, false}) {
            panel->moveSelection(0, {}); // clears the selection
            field()->clear();
            if (!selectedBefore.isEmpty())
                select(selectedBefore);
            clipboard->writes.clear();
            QWidget* target = searchFocused ? static_cast<QWidget*>(field()) : panel->stage()->viewport();
            QTest::keyClick(target, Qt::Key(key), Qt::KeyboardModifiers(modifiers));
            QCOMPARE(selected(), expected(selectedAfter));
            QCOMPARE(clipboard->writes, copied.isEmpty() ? QStringList() : QStringList{u"Text of "_s + copied});
            // A key the panel took never reaches the field as text.
            if (!selectedAfter.isEmpty())
                QCOMPARE(field()->text(), QString());
        }
    }

    void arrowsNeverMoveTheCaretAndTextStillTypes()
    {
        QTest::keyClicks(field(), u"title"_s);
        QCOMPARE(field()->cursorPosition(), 5);
        QTest::keyClick(field(), Qt::Key_Left);
        QTest::keyClick(field(), Qt::Key_Home); // not a key of the panel's
        QCOMPARE(field()->cursorPosition(), 0);
        QTest::keyClick(field(), Qt::Key_Right);
        QCOMPARE(field()->cursorPosition(), 0);
        // An input method's text isn't a key press: it reaches the field untouched.
        QInputMethodEvent commit;
        commit.setCommitString(u"提示"_s);
        QCoreApplication::sendEvent(field(), &commit);
        QCOMPARE(field()->text(), u"提示title"_s);
    }

    void anEmptyListTakesReturnAndClearsTheSelectionOnArrows()
    {
        select(u"p2"_s);
        QTest::keyClicks(field(), u"nothing like it"_s);
        QVERIFY(panel->snapshot().visiblePrompts.isEmpty());
        QTest::keyClick(field(), Qt::Key_Return);
        QVERIFY(clipboard->writes.isEmpty());
        QTest::keyClick(field(), Qt::Key_Down);
        QCOMPARE(selected(), std::nullopt);
    }

    void ctrlCommaOpensTheSettingsFromTheSearchField()
    {
        QSignalSpy settings(panel.get(), &PromptPanelView::openSettingsRequested);
        QTest::keyClick(field(), Qt::Key_Comma, Qt::ControlModifier);
        QCOMPARE(settings.size(), 1);
        QCOMPARE(field()->text(), QString());
        QTest::keyClick(field(), Qt::Key_Comma, Qt::ControlModifier | Qt::AltModifier);
        QCOMPARE(settings.size(), 1);
    }

    void escapeClearsTheSearchAndOnlyThenCloses()
    {
        QSignalSpy close(panel.get(), &PromptPanelView::closeRequested);
        QTest::keyClicks(field(), u"p3"_s);
        QTest::keyClick(field(), Qt::Key_Escape);
        QCOMPARE(field()->text(), QString());
        QCOMPARE(panel->searchText(), QString());
        QCOMPARE(close.size(), 0);
        QTest::keyClick(field(), Qt::Key_Escape);
        QCOMPARE(close.size(), 1);
    }

    void everyKeyIsPassedOnWhilePanelIsLocked()
    {
        QSignalSpy close(panel.get(), &PromptPanelView::closeRequested);
        QSignalSpy settings(panel.get(), &PromptPanelView::openSettingsRequested);
        QTest::keyClicks(field(), u"title"_s);
        select(u"p1"_s);
        panel->requestDelete(prompt(u"p1"_s)); // a sheet now stands on the panel
        QVERIFY(h->morph->isInteractionLocked());
        QVERIFY(!panel->handleKeyboardEvent({int(Qt::Key_Escape), 0, {}, false}));
        for (const auto& [key, modifiers] : {std::pair{Qt::Key_Left, Qt::NoModifier}, {Qt::Key_Return, Qt::NoModifier},
                                             {Qt::Key_2, Qt::ControlModifier}, {Qt::Key_Comma, Qt::ControlModifier},
                                             {Qt::Key_Escape, Qt::NoModifier}})
            QTest::keyClick(field(), key, modifiers);
        QCOMPARE(field()->cursorPosition(), 4); // Left reached the field
        QVERIFY(clipboard->writes.isEmpty());
        QCOMPARE(settings.size(), 0);
        QCOMPARE(close.size(), 0);
        QCOMPARE(selected(), std::optional(u"p1"_s));
        panel->cancelDelete();
        QTest::keyClick(field(), Qt::Key_Right);
        QCOMPARE(selected(), std::optional(u"p2"_s));
    }

    void theInitialSelectionWaitsForTheOpening_data()
    {
        QTest::addColumn<bool>("reduceMotion");
        QTest::addColumn<double>("delay");
        QTest::newRow("animated") << false << 0.32;
        QTest::newRow("reduced motion") << true << 0.0;
    }

    void theInitialSelectionWaitsForTheOpening()
    {
        QFETCH(bool, reduceMotion);
        QFETCH(double, delay);
        h->morph->close(true, [] {});
        QCOMPARE(selected(), std::nullopt);
        scheduler.pending.clear();
        h->morph->open(reduceMotion);
        const QList<double> waiting = scheduler.waiting();
        QVERIFY(std::any_of(waiting.cbegin(), waiting.cend(), [delay](double each) { return qAbs(each - delay) < 1e-9; }));
        QCOMPARE(selected(), std::nullopt);
        scheduler.advance(delay);
        QCOMPARE(selected(), std::optional(u"p1"_s));
        QVERIFY(panel->stage()->tileFor(u"p1"_s)->model().isSelected);
        // Hidden again before it ran: it never selects.
        h->morph->close(true, [] {});
        h->morph->open(reduceMotion);
        h->morph->close(true, [] {});
        scheduler.advance(1.0);
        QCOMPARE(selected(), std::nullopt);
    }

    void theSearchEndsWithTheApplicationNotWithTheProject()
    {
        const QString one = f.makeFolder(u"one"_s), two = f.makeFolder(u"two"_s);
        // Each change of context is shown by the next render.
        const auto pin = [this](const AgentContext& context) {
            h->morph->setPinnedContext(context);
            QTRY_COMPARE(panel->header()->state().context, context);
        };
        pin(app(u"  Org.Editor "_s, one));
        QCOMPARE(PromptPanelView::panelContextIdentity(panel->context()), u"org.editor"_s);
        QTest::keyClicks(field(), u"p"_s);
        pin(app(u"org.editor"_s, two));
        QCOMPARE(field()->text(), u"p"_s);
        pin(app(u"org.terminal"_s, two));
        QCOMPARE(field()->text(), QString());
        QCOMPARE(panel->searchText(), QString());
        // Closing and reopening keeps it.
        QTest::keyClicks(field(), u"p4"_s);
        h->morph->close(true, [] {});
        panel->hide();
        QVERIFY(!panel->isKeyboardMonitorInstalled());
        panel->show();
        h->morph->open(true);
        QCOMPARE(field()->text(), u"p4"_s);
        QCOMPARE(panel->snapshot().visiblePrompts.size(), 1);
    }

    void feedbackExpiresEvenWhileASearchHidesItsTile()
    {
        select(u"p1"_s);
        QTest::keyClick(field(), Qt::Key_Return);
        QCOMPARE(panel->copyFeedback(), std::optional(PromptCopyFeedback::copied(u"p1"_s)));
        QTest::keyClicks(field(), u"p7"_s);
        QVERIFY(!panel->stage()->tileFor(u"p1"_s));
        scheduler.advance(1.6);
        QCOMPARE(panel->copyFeedback(), std::nullopt);
        // The search hid the selected prompt: the selection moved to what is shown.
        QCOMPARE(selected(), std::optional(u"p7"_s));
    }
};

QTEST_MAIN(TestPromptPanelKeyboard)
#include "tst_promptpanelkeyboard.moc"
