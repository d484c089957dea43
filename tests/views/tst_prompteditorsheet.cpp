#include "EditorSheetHome.h"
#include "PromptEditorSheet.h"
#include "VelmoraButton.h"
#include "VelmoraSymbolButton.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

const QByteArray alphaFile = "workspace:\n  name: Alpha\nprompts:\n"
                             "  - id: p1\n    title: First\n    group: a\n    tags:\n      - keep\n"
                             "    pinned: true\n    agent: cursor\n    text: |\n      One\n"
                             "  - id: p2\n    title: Second\n    group: \" a \"\n    text: |\n      Two\n"
                             "  - id: p3\n    title: Third\n    group: b\n    text: |\n      Three\n";

QString english(const char* key)
{
    return L10n::text(QString::fromLatin1(key), AppLanguage::english);
}

} // namespace

class TestPromptEditorSheet : public QObject {
    Q_OBJECT

    std::unique_ptr<EditorSheetHome> m_home;

    EditorSheetHome& home() { return *m_home; }

    PromptItem loaded(const QString& workspaceID, const QString& promptID)
    {
        home().reload();
        for (const PromptItem& prompt : home().workspace(workspaceID)->prompts) {
            if (prompt.id == promptID)
                return prompt;
        }
        return {};
    }

    PromptEditorSheet* editor(const QString& target, std::optional<PromptItem> editing = std::nullopt)
    {
        return new PromptEditorSheet(*home().store, {AgentContext::unknown(), target, std::move(editing)});
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<EditorSheetHome>();
        home().write(u"workspaces/alpha.yaml"_s, alphaFile);
        home().write(u"workspaces/empty.yaml"_s, "workspace:\n  name: Empty\nprompts: []\n");
        home().write(u"global.yaml"_s, "prompts:\n  - id: g\n    title: G\n    text: |\n      G\n");
        home().reload();
        QCOMPARE(home().store->workspaces().size(), 2);
    }
    void cleanup() { m_home.reset(); }

    void aNewPromptIsStoredByTheRecordTable()
    {
        PromptEditorSheet* sheet = editor(u"alpha"_s);
        QVERIFY(home().present(sheet));
        QVERIFY(sheet->targetPopUp()->isEnabled());
        QCOMPARE(sheet->selectedAgent(), AgentType::unknown);
        QTest::keyClicks(sheet->titleField(), u"  Tidy up  "_s);
        sheet->bodyEditor()->setPlainText(u"\n  Remove dead code.  \n"_s);
        QSignalSpy saved(sheet, &PromptEditorSheet::saved);
        QTest::mouseClick(sheet->saveButton(), Qt::LeftButton);
        QCOMPARE(saved.size(), 1);

        const PromptItem stored = home().workspace(u"alpha"_s)->prompts.constLast();
        QVERIFY(QRegularExpression(u"^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"_s).match(stored.id).hasMatch());
        QCOMPARE(loaded(u"alpha"_s, stored.id), stored);
        QCOMPARE(stored.title, u"Tidy up"_s);
        QCOMPARE(stored.text, u"Remove dead code."_s);
        QCOMPARE(stored.group, english("prompt.default.group"));
        QCOMPARE(stored.agent, std::nullopt);
        QVERIFY(stored.tags.isEmpty() && !stored.isPinned);
    }

    void editingKeepsIdentityTagsAndPin()
    {
        const PromptItem original = loaded(u"alpha"_s, u"p1"_s);
        PromptEditorSheet* sheet = editor(u"alpha"_s, original);
        QVERIFY(home().present(sheet));
        QVERIFY(!sheet->targetPopUp()->isEnabled());
        QCOMPARE(sheet->selectedAgent(), AgentType::cursor);
        QCOMPARE(sheet->title(), u"First"_s);
        sheet->agentPopUp()->setCurrentIndex(0); // agent.any
        sheet->titleField()->setText(u"Renamed"_s);
        QVERIFY(sheet->save());

        PromptItem expected = original;
        expected.title = u"Renamed"_s;
        expected.agent = std::nullopt;
        QCOMPARE(loaded(u"alpha"_s, u"p1"_s), expected);
        // Reopened without an agent, it shows agent.any.
        PromptEditorSheet again(*home().store, {AgentContext::unknown(), u"alpha"_s, expected});
        QCOMPARE(again.agentPopUp()->currentText(), english("agent.any"));
    }

    void targetAndGroupMenuRules()
    {
        QVERIFY(PromptEditorSheet::canCreatePrompt(home().store->workspaces()));
        QVERIFY(!PromptEditorSheet::canCreatePrompt({}));

        std::unique_ptr<PromptEditorSheet> sheet(editor(QString()));
        QCOMPARE(sheet->targetPopUp()->currentText(), english("common.select.placeholder"));
        QCOMPARE(sheet->targetPopUp()->count(), 3);
        sheet->titleField()->setText(u"T"_s);
        sheet->bodyEditor()->setPlainText(u"B"_s);
        QVERIFY(!sheet->saveButton()->isEnabled());
        QVERIFY(!sheet->groupMenuButton()->isEnabled());

        sheet->targetPopUp()->setCurrentIndex(sheet->targetPopUp()->findData(u"alpha"_s));
        Q_EMIT sheet->targetPopUp()->activated(sheet->targetPopUp()->currentIndex());
        QVERIFY(sheet->saveButton()->isEnabled());
        QCOMPARE(sheet->availableGroups(), (QStringList{u"a"_s, u"b"_s}));
        QVERIFY(sheet->groupMenuButton()->isEnabled());
        sheet->groupMenu()->actions().at(1)->trigger();
        QCOMPARE(sheet->group(), u"b"_s);
        sheet->titleField()->setText(u" \t "_s);
        QVERIFY(!sheet->saveButton()->isEnabled());

        // A target with no prompts has no groups to offer.
        std::unique_ptr<PromptEditorSheet> empty(editor(u"empty"_s));
        QVERIFY(!empty->groupMenuButton()->isEnabled());
    }

    void keysSaveCancelAndBreakLines()
    {
        PromptEditorSheet* sheet = editor(u"alpha"_s);
        QPointer<VelmoraSheetHost> host = home().present(sheet);
        QVERIFY(host);
        // A disabled Save ignores Return and Ctrl+Return.
        QTest::keyClick(sheet->titleField(), Qt::Key_Return);
        QTest::keyClick(sheet->titleField(), Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(host->isVisible());

        QTest::keyClicks(sheet->titleField(), u"Keys"_s);
        QTest::keyClicks(sheet->bodyEditor(), u"one"_s);
        QTest::keyClick(sheet->bodyEditor(), Qt::Key_Return);
        QTest::keyClicks(sheet->bodyEditor(), u"two"_s);
        QCOMPARE(sheet->text(), u"one\ntwo"_s);
        QVERIFY(host->isVisible());
        QTest::keyClick(sheet->bodyEditor(), Qt::Key_Return, Qt::ControlModifier);
        QTRY_VERIFY(!host);
        QCOMPARE(home().workspace(u"alpha"_s)->prompts.constLast().text, u"one\ntwo"_s);

        PromptEditorSheet* second = editor(u"alpha"_s);
        host = home().present(second);
        QTest::keyClicks(second->titleField(), u"By Return"_s);
        second->bodyEditor()->setPlainText(u"x"_s);
        QTest::keyClick(second->titleField(), Qt::Key_Return);
        QTRY_VERIFY(!host);
        QCOMPARE(home().workspace(u"alpha"_s)->prompts.constLast().title, u"By Return"_s);

        const QByteArray before = home().read(u"workspaces/alpha.yaml"_s);
        PromptEditorSheet* third = editor(u"alpha"_s);
        host = home().present(third);
        QTest::keyClicks(third->titleField(), u"Dropped"_s);
        third->bodyEditor()->setPlainText(u"x"_s);
        QTest::keyClick(third->bodyEditor(), Qt::Key_Escape);
        QTRY_VERIFY(!host);
        QCOMPARE(home().read(u"workspaces/alpha.yaml"_s), before);
    }

    void tabsAndLineBreaksInSingleLineFieldsBecomeBlanks()
    {
        std::unique_ptr<PromptEditorSheet> sheet(editor(u"alpha"_s));
        sheet->titleField()->insert(u"Line\tone\ntwo\r\nthree\u2028"_s);
        sheet->groupField()->insert(u"g\nh"_s);
        QCOMPARE(sheet->title(), u"Line one two  three "_s);
        sheet->bodyEditor()->setPlainText(u"body"_s);
        QVERIFY(sheet->save());
        const PromptItem stored = home().workspace(u"alpha"_s)->prompts.constLast();
        home().reload();
        QVERIFY(home().store->configIssues().isEmpty());
        QCOMPARE(loaded(u"alpha"_s, stored.id).title, u"Line one two  three"_s);
        QCOMPARE(loaded(u"alpha"_s, stored.id).group, u"g h"_s);
    }

    void aRefusedSaveRereadsAndTheSecondSaveKeepsBothSides_data()
    {
        QTest::addColumn<bool>("editing");
        QTest::addColumn<bool>("removedMeanwhile");
        QTest::newRow("new prompt") << false << false;
        QTest::newRow("edited prompt") << true << false;
        QTest::newRow("edited prompt removed by the other program") << true << true;
    }

    void aRefusedSaveRereadsAndTheSecondSaveKeepsBothSides()
    {
        QFETCH(bool, editing);
        QFETCH(bool, removedMeanwhile);
        const PromptItem first = loaded(u"alpha"_s, u"p1"_s);
        std::unique_ptr<PromptEditorSheet> sheet(
            editor(u"alpha"_s, editing ? std::optional(first) : std::nullopt));
        sheet->titleField()->setText(u"Mine"_s);
        sheet->bodyEditor()->setPlainText(u"My text"_s);

        // Another program adds a prompt (and maybe drops the one being edited).
        QByteArray theirs = alphaFile + "  - id: theirs\n    title: Theirs\n    text: |\n      Their text\n";
        if (removedMeanwhile)
            theirs.replace(theirs.indexOf("  - id: p1"), theirs.indexOf("  - id: p2") - theirs.indexOf("  - id: p1"), "");
        home().write(u"workspaces/alpha.yaml"_s, theirs);

        QVERIFY(!sheet->save());
        QCOMPARE(home().read(u"workspaces/alpha.yaml"_s), theirs);
        QVERIFY(sheet->isRereading());
        QVERIFY(!sheet->saveButton()->isEnabled());
        QVERIFY(sheet->messageLabel()->text().contains(home().path(u"workspaces/alpha.yaml"_s)));
        QTRY_VERIFY(!sheet->isRereading());
        QVERIFY(sheet->messageLabel()->text().endsWith(english("linux.editor.prompt.reread")));
        QCOMPARE(home().store->statusMessage(), english("status.save.failed"));
        QCOMPARE(sheet->title(), u"Mine"_s);
        QVERIFY(sheet->saveButton()->isEnabled());

        QVERIFY(sheet->save());
        home().reload();
        QStringList titles;
        for (const PromptItem& prompt : home().workspace(u"alpha"_s)->prompts)
            titles.append(prompt.title);
        QVERIFY(titles.contains(u"Theirs"_s));
        QVERIFY(titles.contains(u"Mine"_s));
        QCOMPARE(titles.contains(u"First"_s), !editing);
        QCOMPARE(titles.size(), 5 - int(editing)); // three, theirs, and mine added or in place of First
    }

    void aDeletedFileIsNeverWrittenAgain()
    {
        std::unique_ptr<PromptEditorSheet> sheet(editor(u"alpha"_s));
        sheet->titleField()->setText(u"Mine"_s);
        sheet->bodyEditor()->setPlainText(u"My text"_s);
        QVERIFY(QFile::remove(home().path(u"workspaces/alpha.yaml"_s)));
        QVERIFY(!sheet->save());
        QTRY_VERIFY(!sheet->isRereading());
        QVERIFY(!sheet->save()); // the workspace is gone now: nothing to write into
        QVERIFY(!QFile::exists(home().path(u"workspaces/alpha.yaml"_s)));
        QCOMPARE(sheet->title(), u"Mine"_s);
        QVERIFY(sheet->messageLabel()->isVisibleTo(sheet.get()));
    }
};

QTEST_MAIN(TestPromptEditorSheet)
#include "tst_prompteditorsheet.moc"
