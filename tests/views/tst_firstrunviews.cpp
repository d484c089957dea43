// The first-run card and the welcome guide as the user sees them: ticks that follow the library, the
// card's actions, the guide's steps in the language and with the shortcut of the moment, its buttons.
#include "AppLanguageStore.h"
#include "FakeDesktopSessionProbe.h"
#include "FirstRunChecklistView.h"
#include "FirstRunWelcomeStep.h"
#include "FirstRunWelcomeView.h"
#include "PromptPanelPreferences.h"
#include "PromptStoreFixture.h"
#include "ShortcutSettingsStore.h"
#include "VelmoraButton.h"

#include <QLabel>
#include <QMenu>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

class TestFirstRunViews : public QObject {
    Q_OBJECT

    Fixture f;
    QStringList calls;

    FirstRunChecklistView::Actions checklistActions()
    {
        return {[this] { calls.append(u"manager"_s); }, [this](const QString& id) { calls.append(u"bind "_s + id); },
                [this] { calls.append(u"dismiss"_s); }};
    }
    static AgentContext cursor()
    {
        AgentContext context = AgentContext::unknown();
        context.agent = AgentType::cursor;
        context.frontmostAppName = u"Cursor"_s;
        return context;
    }

private Q_SLOTS:
    void init()
    {
        f.setUp();
        calls.clear();
    }
    void cleanup() { f.tearDown(); }

    void anEmptyLibraryTicksNothingAndCannotBind()
    {
        FirstRunChecklistStore firstRun(f.settings.get());
        FirstRunChecklistView card(*f.store, firstRun, &cursor, checklistActions());
        for (const FirstRunStep step : allFirstRunSteps)
            QCOMPARE(card.rowSymbol(step), u"circle"_s);
        QVERIFY(!card.actionButton(FirstRunStep::binding)->isEnabled());
        QVERIFY(!card.actionButton(FirstRunStep::successfulCopy));
        QTest::mouseClick(card.actionButton(FirstRunStep::workspace), Qt::LeftButton);
        QTest::mouseClick(card.doneButton(), Qt::LeftButton);
        QCOMPARE(calls, (QStringList{u"manager"_s, u"dismiss"_s}));
    }

    void theCardTicksWhatTheLibraryHolds()
    {
        PromptWorkspace saved = workspace(u"saved"_s);
        saved.fileURL = f.writeFile(u".velmora/workspaces/saved.yaml"_s, "workspace:\n  id: saved\n");
        PromptWorkspace sample = workspace(u"sample"_s);
        sample.source = PromptWorkspaceSource::transientSample;
        f.load({{}, {sample, saved}, {}, {}, {}, true});
        FirstRunChecklistStore firstRun(f.settings.get());
        FirstRunChecklistView card(*f.store, firstRun, &cursor, checklistActions());
        QCOMPARE(card.rowSymbol(FirstRunStep::workspace), u"checkmark.circle.fill"_s);
        QVERIFY(!card.actionButton(FirstRunStep::workspace));

        // Only the saved workspace may be bound; choosing it asks for the binding.
        VelmoraButton* bind = card.actionButton(FirstRunStep::binding);
        QVERIFY(bind->isEnabled());
        auto* menu = bind->findChild<QMenu*>();
        QCOMPARE(menu->actions().size(), 1);
        QCOMPARE(menu->actions().constFirst()->text(), u"saved"_s);
        menu->actions().constFirst()->trigger();
        QCOMPARE(calls, QStringList{u"bind saved"_s});

        QVERIFY(f.store->bindAgent(AgentType::cursor, u"saved"_s, false));
        QCOMPARE(card.rowSymbol(FirstRunStep::binding), u"checkmark.circle.fill"_s);
        firstRun.recordSuccessfulCopy();
        QCOMPARE(card.rowSymbol(FirstRunStep::successfulCopy), u"checkmark.circle.fill"_s);
        // All done, the card stays until it is dismissed.
        QVERIFY(card.doneButton()->isVisibleTo(&card));
    }

    void theGuideNamesTheShortcutOfTheMoment_data()
    {
        QTest::addColumn<AppLanguage>("language");
        QTest::newRow("English") << AppLanguage::english;
        QTest::newRow("Chinese") << AppLanguage::zhHans;
    }

    void theGuideNamesTheShortcutOfTheMoment()
    {
        QFETCH(AppLanguage, language);
        AppLanguageStore languages(f.settings.get(), [] { return QStringList{u"en"_s}; });
        languages.setSelection(language);
        ShortcutSettingsStore shortcuts(f.settings.get(), [language] { return language; });
        PromptPanelPreferences preferences(f.settings.get());
        FakeDesktopSessionProbe desktop;
        desktop.current.hotKeyFacility = DesktopSessionReport::HotKeyFacility::x11Grab;
        FirstRunWelcomeView guide(shortcuts, languages, preferences, &desktop, {});
        const auto text = [language](const char* key) { return L10n::text(QString::fromLatin1(key), language); };
        QCOMPARE(guide.findChild<QLabel*>(u"first.welcome.title"_s)->text(), text("first.welcome.title"));
        QList<FirstRunWelcomeStep*> steps = guide.steps();
        QCOMPARE(steps.size(), 3);
        QCOMPARE(steps[0]->detail(), text("first.welcome.step.open.detail").arg(u"Super+Shift+P"_s));
        QCOMPARE(steps[1]->systemImage(), u"folder.badge.plus"_s);
        QVERIFY(steps[1]->detail().endsWith(text("linux.first.welcome.step.workspace.matching")));

        shortcuts.setTogglePanelShortcut({35, ShortcutModifiers::command | ShortcutModifiers::option});
        QTRY_COMPARE(guide.steps().value(0)->detail(), text("first.welcome.step.open.detail").arg(u"Ctrl+Alt+P"_s));
        // Without a global shortcut the desktop's own settings bind the command instead.
        desktop.answer({});
        QTRY_COMPARE(guide.steps().value(0)->detail(), text("linux.first.welcome.step.open.detail.none"));
    }

    void returnCreatesAndTheOtherButtonsLeave()
    {
        AppLanguageStore languages(f.settings.get(), [] { return QStringList{u"en"_s}; });
        ShortcutSettingsStore shortcuts(f.settings.get(), [] { return AppLanguage::english; });
        PromptPanelPreferences preferences(f.settings.get());
        FirstRunWelcomeView guide(shortcuts, languages, preferences, nullptr,
                                  {[this] { calls.append(u"create"_s); }, [this] { calls.append(u"panel"_s); },
                                   [this] { calls.append(u"later"_s); }});
        guide.show();
        QVERIFY(QTest::qWaitForWindowActive(&guide));
        guide.laterButton()->setFocus();
        QTest::keyClick(guide.laterButton(), Qt::Key_Return);
        QTest::mouseClick(guide.laterButton(), Qt::LeftButton);
        QTest::mouseClick(guide.openPanelButton(), Qt::LeftButton);
        QCOMPARE(calls, (QStringList{u"create"_s, u"later"_s, u"panel"_s}));
    }
};

QTEST_MAIN(TestFirstRunViews)
#include "tst_firstrunviews.moc"
