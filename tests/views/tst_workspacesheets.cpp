#include "AgentToggleList.h"
#include "EditorSheetHome.h"
#include "VelmoraButton.h"
#include "WorkspaceEditSheet.h"
#include "WorkspaceEditorSheet.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

const QByteArray alphaFile = "workspace:\n  name: Alpha\n  match_paths:\n    - /src/alpha\nprompts:\n"
                             "  - id: p1\n    title: First\n    text: |\n      One\n";

QString english(const char* key)
{
    return L10n::text(QString::fromLatin1(key), AppLanguage::english);
}

AgentContext cursorContext()
{
    AgentContext context = AgentContext::unknown();
    context.frontmostAppName = u"Cursor"_s;
    context.agent = AgentType::cursor;
    return context;
}

} // namespace

class TestWorkspaceSheets : public QObject {
    Q_OBJECT

    std::unique_ptr<EditorSheetHome> m_home;

    EditorSheetHome& home() { return *m_home; }

    QList<AgentType> boundAgents(const QString& workspaceID) const
    {
        QList<AgentType> agents;
        for (const AgentWorkspaceBinding& binding : m_home->bindings->agentWorkspaceBindings()) {
            if (binding.workspaceID == workspaceID)
                agents.append(binding.agentType);
        }
        return agents;
    }

    std::unique_ptr<WorkspaceEditSheet> editSheet()
    {
        return std::make_unique<WorkspaceEditSheet>(*home().store, *home().workspace(u"alpha"_s));
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<EditorSheetHome>();
        home().write(u"workspaces/alpha.yaml"_s, alphaFile);
        home().reload();
        QVERIFY(home().workspace(u"alpha"_s));
    }
    void cleanup() { m_home.reset(); }

    void creationBindsTheTickedAgentsAndSelectsForTheContext_data()
    {
        QTest::addColumn<bool>("untick");
        QTest::newRow("detected agent ticked") << false;
        QTest::newRow("detected agent unticked") << true;
    }

    void creationBindsTheTickedAgentsAndSelectsForTheContext()
    {
        QFETCH(bool, untick);
        auto* sheet = new WorkspaceEditorSheet(*home().store, cursorContext());
        QPointer<VelmoraSheetHost> host = home().present(sheet);
        QVERIFY(host);
        QCOMPARE(sheet->selectedAgents(), QSet<AgentType>{AgentType::cursor});
        QVERIFY(!sheet->createButton()->isEnabled());
        sheet->agentToggles()->toggle(AgentType::codex)->click();
        if (untick)
            sheet->agentToggles()->toggle(AgentType::cursor)->click();
        QTest::keyClicks(sheet->nameField(), u"Web app"_s);
        QTest::keyClick(sheet->nameField(), Qt::Key_Return);
        QTRY_VERIFY(!host);

        home().reload();
        const PromptWorkspace* created = home().workspace(u"web-app"_s);
        QVERIFY(created);
        QCOMPARE(created->name, u"Web app"_s);
        QCOMPARE(boundAgents(created->id).contains(AgentType::cursor), !untick);
        QVERIFY(boundAgents(created->id).contains(AgentType::codex));
        const ContextMatchDetails match = home().store->matchingService().matchDetails(cursorContext());
        QCOMPARE(match.workspace && match.workspace->id == created->id, !untick);
    }

    void aFailedBindingKeepsTheSheetAndRetriesWithoutASecondWorkspace()
    {
        WorkspaceEditorSheet sheet(*home().store, cursorContext());
        sheet.nameField()->setText(u"Web app"_s);
        home().failBindingWrites = true;
        QVERIFY(!sheet.create());
        QVERIFY(sheet.messageLabel()->isVisibleTo(&sheet));
        QVERIFY(!sheet.messageLabel()->text().isEmpty());
        QVERIFY(QFile::exists(home().path(u"workspaces/web-app.yaml"_s)));
        home().failBindingWrites = false;
        QVERIFY(sheet.create());
        home().reload();
        QCOMPARE(home().store->workspaces().size(), 2);
        QCOMPARE(boundAgents(u"web-app"_s), QList<AgentType>{AgentType::cursor});
    }

    void togglesGiveOneBindingPerAgent()
    {
        QVERIFY(home().store->bindAgent(AgentType::cursor, u"alpha"_s, false));
        QVERIFY(home().store->bindAgent(AgentType::codex, u"alpha"_s, false));
        auto sheet = editSheet();
        QCOMPARE(sheet->selectedAgents(), (QSet<AgentType>{AgentType::cursor, AgentType::codex}));
        QCOMPARE(sheet->configFileField()->text(), home().path(u"workspaces/alpha.yaml"_s));
        sheet->agentToggles()->toggle(AgentType::codex)->click();  // off
        sheet->agentToggles()->toggle(AgentType::windsurf)->click(); // on
        sheet->nameField()->setText(u"Alpha two"_s);
        QVERIFY(sheet->save());
        const QList<AgentType> bound = boundAgents(u"alpha"_s); // one binding each: no repeats
        QCOMPARE(QSet<AgentType>(bound.cbegin(), bound.cend()), (QSet<AgentType>{AgentType::cursor, AgentType::windsurf}));
        QCOMPARE(bound.size(), 2);
        home().reload();
        QCOMPARE(home().workspace(u"alpha"_s)->name, u"Alpha two"_s);
        QCOMPARE(home().workspace(u"alpha"_s)->matchPaths, QStringList{u"/src/alpha"_s});
    }

    void aStaleVersionWritesNothingAndReloadThenSaveSucceeds()
    {
        auto sheet = editSheet();
        const QByteArray theirs = QByteArray(alphaFile).replace("Alpha", "Theirs");
        home().write(u"workspaces/alpha.yaml"_s, theirs);
        sheet->nameField()->setText(u"Mine"_s);
        QVERIFY(!sheet->save());
        QCOMPARE(home().read(u"workspaces/alpha.yaml"_s), theirs);
        QCOMPARE(sheet->errorMessage(),
                 english("error.workspace.save.conflict").arg(home().path(u"workspaces/alpha.yaml"_s)));
        QVERIFY(sheet->showsConflictActions());
        QVERIFY(sheet->reloadButton()->isVisibleTo(sheet.get()) && sheet->saveAsNewButton()->isVisibleTo(sheet.get()));
        QCOMPARE(sheet->name(), u"Mine"_s);

        QSignalSpy reloaded(sheet.get(), &WorkspaceEditSheet::reloadFinished);
        QTest::mouseClick(sheet->reloadButton(), Qt::LeftButton);
        QVERIFY(!sheet->reloadButton()->isEnabled());
        QVERIFY(reloaded.wait());
        QCOMPARE(sheet->name(), u"Theirs"_s);
        QVERIFY(!sheet->showsConflictActions() && !sheet->errorMessage());
        sheet->nameField()->setText(u"Mine after all"_s);
        QVERIFY(sheet->save());
        home().reload();
        QCOMPARE(home().workspace(u"alpha"_s)->name, u"Mine after all"_s);
    }

    void aReloadOverAFileThatDoesNotLoadKeepsRefusing()
    {
        auto sheet = editSheet();
        const QByteArray broken = "workspace:\n  name: Broken\nprompts:\n\t- id: x\n";
        home().write(u"workspaces/alpha.yaml"_s, broken);
        sheet->nameField()->setText(u"Mine"_s);
        QVERIFY(!sheet->save());
        QSignalSpy reloaded(sheet.get(), &WorkspaceEditSheet::reloadFinished);
        sheet->reloadDiskVersion();
        QVERIFY(reloaded.wait());
        QVERIFY(sheet->showsConflictActions());
        QCOMPARE(sheet->errorMessage(), std::optional(home().store->statusMessage()));
        QVERIFY(sheet->reloadButton()->isEnabled());
        QVERIFY(!sheet->save());
        QVERIFY(sheet->showsConflictActions());
        QCOMPARE(home().read(u"workspaces/alpha.yaml"_s), broken);
    }

    void saveAsNewKeepsTheTypedNameAndLeavesTheOldFile()
    {
        auto sheet = editSheet();
        const QByteArray theirs = QByteArray(alphaFile).replace("First", "Changed");
        home().write(u"workspaces/alpha.yaml"_s, theirs);
        sheet->nameField()->setText(u"Rescued"_s);
        QVERIFY(!sheet->save());
        QVERIFY(sheet->saveAsNewWorkspace());
        QCOMPARE(home().read(u"workspaces/alpha.yaml"_s), theirs);
        home().reload();
        const PromptWorkspace* copy = home().workspace(u"rescued"_s);
        QVERIFY(copy);
        QCOMPARE(copy->name, u"Rescued"_s);
        QCOMPARE(copy->prompts.size(), 1);
    }

    void aFailedBindingThenASecondSaveMeetsNoFalseConflict()
    {
        auto sheet = editSheet();
        sheet->agentToggles()->toggle(AgentType::cursor)->click();
        sheet->nameField()->setText(u"Renamed"_s);
        home().failBindingWrites = true;
        QVERIFY(!sheet->save());
        QVERIFY(!sheet->showsConflictActions());
        QVERIFY(sheet->errorMessage() && !sheet->errorMessage()->isEmpty());
        home().failBindingWrites = false;
        QVERIFY(sheet->save());
        QCOMPARE(boundAgents(u"alpha"_s), QList<AgentType>{AgentType::cursor});
    }

    void aDeletedFileOffersBothWaysAndReloadSaysItIsGone()
    {
        auto sheet = editSheet();
        QVERIFY(QFile::remove(home().path(u"workspaces/alpha.yaml"_s)));
        QVERIFY(!sheet->save());
        QVERIFY(sheet->showsConflictActions());
        QVERIFY(!QFile::exists(home().path(u"workspaces/alpha.yaml"_s)));
        QSignalSpy reloaded(sheet.get(), &WorkspaceEditSheet::reloadFinished);
        sheet->reloadDiskVersion();
        QVERIFY(reloaded.wait());
        QCOMPARE(sheet->errorMessage(),
                 english("error.workspace.save.deleted").arg(home().path(u"workspaces/alpha.yaml"_s)));
        QVERIFY(sheet->showsConflictActions());
    }
};

QTEST_MAIN(TestWorkspaceSheets)
#include "tst_workspacesheets.moc"
