// The workspace manager as the user meets it, over real files: its empty states, the ticks and the
// batch deletion (with failures injected into the bindings' writer), prompt deletion, the read-only
// rules of each source, samples, pack import and export through a fake file chooser, and the
// detail's modification time.
#include "PromptUsageStore.h"
#include "PromptYAMLEncoder.h"
#include "VelmoraButton.h"
#include "VelmoraSheetHost.h"
#include "WorkspaceEditorSheet.h"
#include "WorkspaceManagerEmptyStateView.h"
#include "WorkspaceManagerHarness.h"
#include "WorkspaceManagerPromptList.h"
#include "WorkspaceManagerWorkspaceList.h"

#include <QLabel>
#include <QLineEdit>
#include <QStackedWidget>

using namespace Qt::StringLiterals;
using Kind = WorkspaceManagerEmptyState::Kind;
using Action = WorkspaceManagerEmptyAction;
using Selection = WorkspaceManagerEmptyStateInput::Selection;

namespace {

QByteArray workspaceFile(const char* name, int prompts)
{
    QByteArray file = "workspace:\n  name: " + QByteArray(name) + "\nprompts:\n";
    for (int index = 1; index <= prompts; ++index) {
        const QByteArray id = QByteArray(name).toLower() + QByteArray::number(index);
        file += "  - id: " + id + "\n    title: " + QByteArray(name) + " prompt " +
                QByteArray::number(index) + "\n    group: Daily\n    text: |\n      Body of " + id + "\n";
    }
    return file;
}

QString en(const char* key)
{
    return L10n::text(QString::fromLatin1(key), AppLanguage::english);
}

template <typename T> T* child(QWidget* parent, const QString& name)
{
    return parent ? parent->findChild<T*>(name) : nullptr;
}

} // namespace

class TestWorkspaceManagerView : public QObject {
    Q_OBJECT

    std::unique_ptr<WorkspaceManagerHarness> m_h;
    WorkspaceManagerHarness& h() { return *m_h; }
    WorkspaceManagerView& view() { return *m_h->view; }

    // Alpha (2 prompts), Beta (1) and Gamma (0) as files, and global prompts.
    void writeLibrary()
    {
        h().write(u"global.yaml"_s, "prompts:\n  - id: g1\n    title: Global one\n    text: |\n      G\n");
        h().write(u"workspaces/alpha.yaml"_s, workspaceFile("Alpha", 2));
        h().write(u"workspaces/beta.yaml"_s, workspaceFile("Beta", 1));
        h().write(u"workspaces/gamma.yaml"_s, workspaceFile("Gamma", 0));
    }
    int rowOf(const QString& id)
    {
        const auto& rows = view().workspaceList()->rows();
        for (int row = 0; row < rows.size(); ++row) {
            if (rows.at(row).id == id)
                return row;
        }
        return -1;
    }
    void clickRow(const QString& id, bool onCheckBox)
    {
        const int row = rowOf(id);
        QVERIFY(row >= 0);
        WorkspaceManagerWorkspaceList* list = view().workspaceList();
        const QRect box = onCheckBox ? list->checkBoxRect(row) : list->cardRect(row);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, box.center());
    }
    VelmoraButton* button(const QString& key) { return child<VelmoraButton>(&view(), key); }
    void click(const QString& key)
    {
        VelmoraButton* found = button(key);
        QVERIFY2(found && found->isEnabled(), qPrintable(key));
        QTest::mouseClick(found, Qt::LeftButton);
    }
    void clickInSheet(const QString& key)
    {
        QVERIFY(view().sheetHost());
        QTest::mouseClick(child<VelmoraButton>(view().sheetHost(), key), Qt::LeftButton);
    }
    QString sheetMessage() { return child<QLabel>(view().sheetHost(), u"message"_s)->text(); }

private Q_SLOTS:
    void init() { m_h = std::make_unique<WorkspaceManagerHarness>(); }
    void cleanup() { m_h.reset(); }

    void emptyStateResolves_data()
    {
        QTest::addColumn<WorkspaceManagerEmptyStateInput>("input");
        QTest::addColumn<std::optional<WorkspaceManagerEmptyState>>("expected");
        const auto input = [](qsizetype total, qsizetype filtered, bool searching, Selection selection,
                              qsizetype prompts = 0) {
            return WorkspaceManagerEmptyStateInput{total, filtered, searching, selection,
                                                   true,  prompts,  false};
        };
        using State = WorkspaceManagerEmptyState;
        QTest::newRow("no data wins over a search")
            << input(0, 0, true, Selection::editable) << std::optional(State::noData());
        QTest::newRow("search hides all")
            << input(3, 0, true, Selection::editable) << std::optional(State::filteredToEmpty());
        QTest::newRow("search with matches") << input(3, 1, true, Selection::none) << std::optional<State>();
        QTest::newRow("read-only") << input(3, 3, false, Selection::readOnly)
                                   << std::optional(State::readOnly(true));
        QTest::newRow("editable empty")
            << input(3, 3, false, Selection::editable) << std::optional(State::editableEmpty());
        QTest::newRow("editable with prompts")
            << input(3, 3, false, Selection::editable, 2) << std::optional<State>();
    }
    void emptyStateResolves()
    {
        QFETCH(WorkspaceManagerEmptyStateInput, input);
        QTEST(WorkspaceManagerEmptyState::resolve(input), "expected");
    }

    void emptyStateViewShowsItsRow_data()
    {
        QTest::addColumn<WorkspaceManagerEmptyState>("state");
        QTest::addColumn<QString>("titleKey");
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<QStringList>("called");
        using State = WorkspaceManagerEmptyState;
        QTest::newRow("noData") << State::noData() << u"workspace.manager.empty.title"_s
                                << QStringList{u"action.create.workspace"_s, u"action.import.prompt.pack"_s}
                                << QStringList{u"createWorkspace"_s, u"import"_s};
        QTest::newRow("filteredToEmpty")
            << State::filteredToEmpty() << u"workspace.manager.filtered.empty.title"_s
            << QStringList{u"action.clear.search"_s} << QStringList{u"clear"_s};
        QTest::newRow("editableEmpty")
            << State::editableEmpty() << u"workspace.manager.editable.empty.title"_s
            << QStringList{u"action.create.prompt"_s, u"action.import.prompt.pack"_s}
            << QStringList{u"createPrompt"_s, u"import"_s};
        QTest::newRow("readOnly exportable")
            << State::readOnly(true) << u"workspace.manager.readonly.title"_s
            << QStringList{u"action.export.pack"_s} << QStringList{u"export"_s};
        QTest::newRow("readOnly") << State::readOnly(false) << u"workspace.manager.readonly.title"_s
                                  << QStringList{} << QStringList{};
    }
    void emptyStateViewShowsItsRow()
    {
        QFETCH(WorkspaceManagerEmptyState, state);
        QStringList called;
        const auto note = [&called](const char* name) {
            return [&called, name] {
                called.append(QString::fromLatin1(name));
            };
        };
        WorkspaceManagerEmptyStateView empty(
            {note("createWorkspace"), note("import"), note("clear"), note("createPrompt"), note("export")});
        empty.setState(state, AppLanguage::english, PromptPanelTextSize::system);
        QFETCH(QString, titleKey);
        QCOMPARE(empty.title(), L10n::text(titleKey, AppLanguage::english));
        QStringList shown;
        for (VelmoraButton* each : empty.buttons()) {
            shown.append(each->objectName());
            QTest::mouseClick(each, Qt::LeftButton);
        }
        QTEST(shown, "buttons");
        QTEST(called, "called");
    }

    void anEmptyLibraryShowsNoDataInBothPanes()
    {
        h().settings.setValue(QString::fromLatin1(PromptStore::samplesDismissedKey), true);
        h().open();
        QCOMPARE(view().sidebarStack()->currentWidget(), view().sidebarEmptyState());
        QCOMPARE(view().sidebarEmptyState()->state(), WorkspaceManagerEmptyState::noData());
        QCOMPARE(view().detailStack()->currentWidget(), view().detailEmptyState());
        QCOMPARE(view().detailEmptyState()->state(), WorkspaceManagerEmptyState::noData());
        QVERIFY(!button(u"workspace.manager.select.filtered"_s)->isEnabled());
        QTest::mouseClick(view().sidebarEmptyState()->buttons().constFirst(), Qt::LeftButton);
        QVERIFY(view().showNewWorkspace());
        QVERIFY(qobject_cast<WorkspaceEditorSheet*>(view().sheetHost()->content()));
        QTest::keyClick(view().sheetHost(), Qt::Key_Escape);
        QTRY_VERIFY(!view().showNewWorkspace());
    }

    void filtersKeepTheSelectionAndClearFromTheEmptyState()
    {
        writeLibrary();
        h().open(u"alpha"_s);
        QCOMPARE(view().shownText(u"name"_s), u"Alpha"_s);
        QTest::keyClicks(view().workspaceFilter(), u"  BETA "_s);
        QCOMPARE(view().workspaceList()->rows().size(), 1);
        // The hidden selection stays shown.
        QCOMPARE(view().shownText(u"name"_s), u"Alpha"_s);
        QTest::keyClicks(view().promptFilter(), u"nothing like it"_s);
        QCOMPARE(view().promptStack()->currentIndex(), 1);
        QCOMPARE(view().shownText(u"noSearch"_s), en("workspace.manager.no.search"));
        view().setPromptSearch(u"prompt 2"_s);
        QCOMPARE(view().promptList()->prompts().size(), 1);

        view().setSelectedWorkspaceID(std::nullopt);
        QTest::keyClicks(view().workspaceFilter(), u"zz"_s);
        QCOMPARE(view().sidebarEmptyState()->state(), WorkspaceManagerEmptyState::filteredToEmpty());
        QCOMPARE(view().detailStack()->currentWidget(), view().detailEmptyState());
        QCOMPARE(view().detailEmptyState()->state(), WorkspaceManagerEmptyState::filteredToEmpty());
        QTest::mouseClick(view().detailEmptyState()->buttons().constFirst(), Qt::LeftButton);
        QCOMPARE(view().workspaceSearch(), QString());
        QCOMPARE(view().workspaceFilter()->text(), QString());
        QCOMPARE(view().workspaceList()->rows().size(), 4);
        QCOMPARE(view().shownText(u"noSelection"_s), en("workspace.manager.no.selection"));
    }

    void ticksCountHiddenOnesAndNeverReadOnlyOrVanishedOnes()
    {
        writeLibrary();
        h().open();
        clickRow(u"alpha"_s, true);
        clickRow(QString::fromLatin1(globalWorkspaceID), true);
        QCOMPARE(view().selectedForDeletion(), QSet<QString>{u"alpha"_s});
        QVERIFY(!view().selectedWorkspaceID()); // a tick doesn't select
        view().setWorkspaceSearch(u"a"_s);      // alpha, beta, gamma and the global prompts' name
        view().setTicked(u"gamma"_s, true);
        view().setTicked(u"gamma"_s, false);
        view().setWorkspaceSearch(u"beta"_s);
        click(u"workspace.manager.select.filtered"_s);
        QCOMPARE(view().deletableSelection(), (QStringList{u"alpha"_s, u"beta"_s}));
        view().setWorkspaceSearch(u"global"_s);
        QVERIFY(!button(u"workspace.manager.select.filtered"_s)->isEnabled());
        view().workspaceList()->setFocus();
        view().workspaceList()->setCurrentIndex(view().workspaceList()->model()->index(0, 0));
        QTest::keyClick(view().workspaceList(), Qt::Key_Space);
        QCOMPARE(view().selectedForDeletion().size(), 2);

        QVERIFY(QFile::remove(h().path(u"workspaces/alpha.yaml"_s)));
        h().reload();
        QCOMPARE(view().deletableSelection(), QStringList{u"beta"_s});
        QVERIFY(view().selectedForDeletion().contains(u"alpha"_s));
        click(u"workspace.manager.clear.selection"_s);
        QVERIFY(view().selectedForDeletion().isEmpty());
        QVERIFY(!button(u"workspace.manager.delete.selected"_s)->isEnabled());
    }

    void aBatchWithTwoFailuresKeepsThemTickedAndOnDisk()
    {
        writeLibrary();
        h().reload();
        for (const QString& id : {u"alpha"_s, u"beta"_s, u"gamma"_s})
            QVERIFY(h().store->bindAgent(AgentType::cursor, id, false));
        const QByteArray bindingsBefore = h().read(u"agent-workspace-bindings.json"_s);
        // A write that would drop beta's or gamma's binding fails.
        h().failBindingWrite = [](const QByteArray& data, const QString& path) {
            return path.endsWith(u"agent-workspace-bindings.json"_s) &&
                   (!data.contains("\"beta\"") || !data.contains("\"gamma\""));
        };
        h().open(u"alpha"_s);
        QCOMPARE(view().workspaceList()->rows().at(rowOf(u"alpha"_s)).sourceLine,
                 displayName(PromptWorkspaceSource::userWorkspace, AppLanguage::english) + u" · 1 "_s +
                     en("workspace.manager.bindings.short"));
        for (const QString& id : {u"gamma"_s, u"alpha"_s, u"beta"_s})
            clickRow(id, true);
        click(u"workspace.manager.delete.selected"_s);
        QVERIFY(view().pendingWorkspaceDelete());
        QCOMPARE(sheetMessage(),
                 en("workspace.manager.delete.confirm.message").arg(u"3"_s, u"Alpha\nBeta\nGamma"_s));
        QVERIFY(!child<VelmoraButton>(view().sheetHost(), u"action.delete"_s)->isDefault());
        clickInSheet(u"action.delete"_s);
        QTRY_VERIFY(!view().pendingWorkspaceDelete());

        QCOMPARE(view().selectedForDeletion(), (QSet<QString>{u"beta"_s, u"gamma"_s}));
        QVERIFY(!view().selectedWorkspaceID());
        QCOMPARE(view().shownText(u"noSelection"_s), en("workspace.manager.no.selection"));
        const QStringList lines = view().resultMessage()->split(u'\n');
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines.at(0), en("workspace.manager.delete.result").arg(u"1"_s, u"2"_s));
        QVERIFY(lines.at(1).startsWith(u"Beta: "_s) && lines.at(1).contains(u"Gamma: "_s));
        QCOMPARE(view().resultLabel()->text(), *view().resultMessage());
        QVERIFY(!QFile::exists(h().path(u"workspaces/alpha.yaml"_s)));
        QCOMPARE(h().read(u"workspaces/beta.yaml"_s), workspaceFile("Beta", 1));
        QCOMPARE(h().read(u"workspaces/gamma.yaml"_s), workspaceFile("Gamma", 0));
        QCOMPARE(h().bindings->boundAgentCount(u"beta"_s), 1);
        QCOMPARE(h().bindings->boundAgentCount(u"gamma"_s), 1);
        QVERIFY(h().read(u"agent-workspace-bindings.json"_s) != QByteArray() && !bindingsBefore.isEmpty());
    }

    void promptDeletion_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("deleted");
        QTest::newRow("delete") << u"action.delete"_s << true;
        QTest::newRow("cancel") << u"action.cancel"_s << false;
        QTest::newRow("escape") << QString() << false;
    }
    void promptDeletion()
    {
        QFETCH(QString, answer);
        QFETCH(bool, deleted);
        writeLibrary();
        h().open(u"alpha"_s);
        h().store->usageStore()->recordSuccessfulCopy(u"alpha1"_s, QDateTime::currentDateTimeUtc());
        WorkspaceManagerPromptList* list = view().promptList();
        QCOMPARE(list->prompts().size(), 2);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->deleteButtonRect(0).center());
        QCOMPARE(view().pendingPromptDelete()->id, u"alpha1"_s);
        QCOMPARE(sheetMessage(), u"Alpha prompt 1"_s);
        if (answer.isEmpty())
            QTest::keyClick(view().sheetHost(), Qt::Key_Escape);
        else
            clickInSheet(answer);
        QTRY_VERIFY(!view().sheetHost());
        QVERIFY(!view().pendingPromptDelete());
        QCOMPARE(view().promptList()->prompts().size(), deleted ? 1 : 2);
        QCOMPARE(h().read(u"workspaces/alpha.yaml"_s).contains("alpha1"), !deleted);
        QCOMPARE(h().store->usageStore()->records().contains(u"alpha1"_s), !deleted);
    }

    void readOnlyWorkspacesCanBeNeitherTickedNorEdited_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<PromptWorkspaceSource>("source");
        QTest::newRow("global") << QString::fromLatin1(globalWorkspaceID) << PromptWorkspaceSource::global;
        QTest::newRow("project") << QString() << PromptWorkspaceSource::projectConfig;
        QTest::newRow("sample") << QString::fromLatin1(globalWorkspaceID)
                                << PromptWorkspaceSource::transientSample;
    }
    void readOnlyWorkspacesCanBeNeitherTickedNorEdited()
    {
        QFETCH(QString, id);
        QFETCH(PromptWorkspaceSource, source);
        if (source != PromptWorkspaceSource::transientSample)
            writeLibrary();
        h().open(id.isEmpty() ? std::nullopt : std::optional(id));
        if (source == PromptWorkspaceSource::projectConfig) {
            // A trusted project file with no prompts, as a match leaves it in the store.
            const QString folder = h().homePath() + u"/project"_s;
            QDir().mkpath(folder);
            QFile file(folder + u"/.velmora.yaml"_s);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("workspace:\n  id: proj\n  name: Project\nprompts: []\n");
            file.close();
            AgentContext context = AgentContext::unknown();
            context.workspacePath = folder;
            const std::optional<QString> config = h().store->projectConfigPath(context);
            QVERIFY(config && h().store->trustProjectConfig(*config));
            const std::optional<PromptWorkspace> project = h().store->projectWorkspace(context, *config);
            QVERIFY(project);
            id = project->id;
            view().setSelectedWorkspaceID(id);
        }
        const std::optional<PromptWorkspace> shown = view().selectedWorkspace();
        QVERIFY(shown);
        QCOMPARE(shown->source, source);
        clickRow(id, true);
        view().setWorkspaceSearch(shown->name);
        view().selectFiltered();
        QVERIFY(view().selectedForDeletion().isEmpty());
        QCOMPARE(view().workspaceList()->rows().at(rowOf(id)).readOnlyReason,
                 h().store->readOnlyReason(*shown));
        QCOMPARE(view().shownText(u"readOnly"_s), h().store->readOnlyReason(*shown));
        QVERIFY(button(u"action.export.pack"_s)->isVisible());
        QVERIFY(!button(u"action.create.prompt"_s)->isEnabled());
        const bool sample = source == PromptWorkspaceSource::transientSample;
        QCOMPARE(button(u"action.edit.workspace"_s)->isVisible(), !sample);
        QVERIFY(!button(u"action.edit.workspace"_s)->isEnabled());
        QCOMPARE(button(u"action.copy.to.my.workspaces"_s)->isVisible(), sample);
        QCOMPARE(button(u"action.hide.samples"_s)->isVisible(), sample);
        WorkspaceManagerPromptList* list = view().promptList();
        if (shown->prompts.isEmpty()) {
            QCOMPARE(view().shownText(u"noPrompts"_s), en("empty.no.prompts.title"));
            QCOMPARE(view().promptStack()->currentIndex(), 3);
        } else {
            QVERIFY(!list->isEditable());
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->editButtonRect(0).center());
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->deleteButtonRect(0).center());
            QVERIFY(!view().sheetHost() && !view().showPromptEditor() && !view().pendingPromptDelete());
        }
    }

    void samplesAreCopiedOrHidden_data()
    {
        QTest::addColumn<bool>("copy");
        QTest::newRow("copy") << true;
        QTest::newRow("hide") << false;
    }
    void samplesAreCopiedOrHidden()
    {
        QFETCH(bool, copy);
        const QString global = QString::fromLatin1(globalWorkspaceID);
        h().open(global);
        QVERIFY(h().store->showsTransientSamples());
        click(copy ? u"action.copy.to.my.workspaces"_s : u"action.hide.samples"_s);
        QCOMPARE(view().resultMessage(), std::optional(h().store->statusMessage()));
        if (copy) {
            const std::optional<PromptWorkspace> saved = view().selectedWorkspace();
            QVERIFY(saved && saved->isEditable() && saved->fileURL && QFile::exists(*saved->fileURL));
            QVERIFY(button(u"action.edit.workspace"_s)->isEnabled());
        } else {
            QVERIFY(!view().selectedWorkspaceID());
            QTRY_COMPARE(view().sidebarEmptyState()->state(), WorkspaceManagerEmptyState::noData());
        }
    }

    void importSelectsTheNewWorkspaceAndClearsTheFilters()
    {
        writeLibrary();
        h().open();
        const QString pack = h().homePath() + u"/team.velmora-pack.yaml"_s;
        {
            PromptWorkspace workspace;
            workspace.id = u"team"_s;
            workspace.name = u"Team"_s;
            workspace.prompts = {PromptItem{
                u"t1"_s, u"Team prompt"_s, u"G"_s, std::nullopt, u"Body"_s, {}, false, std::nullopt}};
            QFile file(pack);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(
                PromptYAMLEncoder::encodePack(workspace, {u"team"_s, u"Team pack"_s, {}, u"1.0.0"_s, {}})
                    .toUtf8());
        }
        view().setWorkspaceSearch(u"alpha"_s);
        view().setPromptSearch(u"x"_s);
        h().chooser.answers = {pack};
        click(u"action.import.prompt.pack"_s);
        QCOMPARE(h().chooser.requests.constLast().suffixes, (QStringList{u"yaml"_s, u"yml"_s}));
        QCOMPARE(h().chooser.requests.constLast().title, en("action.select.pack.file"));
        QVERIFY(view().selectedWorkspaceID() &&
                view().selectedWorkspaceID() == h().store->lastEditedWorkspaceID());
        QCOMPARE(view().shownText(u"name"_s), u"Team"_s);
        QVERIFY(view().workspaceSearch().isEmpty() && view().promptSearch().isEmpty());
        QVERIFY(view().workspaceFilter()->text().isEmpty());
        QCOMPARE(view().resultMessage(), std::optional(h().store->statusMessage()));
    }

    void aBadOrCancelledImportChangesNothing_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("bad pack") << QByteArray("pack:\n  id: [unclosed\n");
        QTest::newRow("cancelled") << QByteArray();
    }
    void aBadOrCancelledImportChangesNothing()
    {
        QFETCH(QByteArray, content);
        writeLibrary();
        h().open();
        const QMap<QString, QByteArray> before = h().snapshot();
        if (!content.isEmpty()) {
            const QString pack = h().homePath() + u"/bad.yaml"_s;
            QFile file(pack);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content);
            h().chooser.answers = {pack};
        }
        click(u"action.import.prompt.pack"_s);
        QCOMPARE(h().snapshot(), before);
        QCOMPARE(view().resultMessage().has_value(), !content.isEmpty());
        if (!content.isEmpty())
            QVERIFY(!view().resultMessage()->isEmpty() && view().resultLabel()->isVisible());
        QCOMPARE(h().store->workspaces().size(), 3);
    }

    void exportProposesTheIdAndRoundTrips()
    {
        writeLibrary();
        h().open(u"alpha"_s);
        const QString destination = h().homePath() + u"/out/Alpha pack.velmora-pack.yaml"_s;
        QDir().mkpath(h().homePath() + u"/out"_s);
        h().chooser.answers = {destination};
        click(u"exportWorkspace"_s);
        QCOMPARE(h().chooser.requests.constLast().proposedName, u"alpha.velmora-pack.yaml"_s);
        QCOMPARE(view().resultMessage(), std::optional(h().store->statusMessage()));
        QVERIFY(!h().store->lastErrorMessage());

        h().chooser.answers = {destination};
        click(u"action.import.prompt.pack"_s);
        const std::optional<PromptWorkspace> imported = view().selectedWorkspace();
        QVERIFY(imported && imported->id != u"alpha"_s);
        QCOMPARE(imported->prompts.size(), 2);
        QCOMPARE(imported->prompts.at(1).title, u"Alpha prompt 2"_s);
        QCOMPARE(imported->prompts.at(1).text, h().store->workspaces().constFirst().prompts.at(1).text);
    }

    void anUnwritableExportShowsTheSystemsText()
    {
        writeLibrary();
        h().open(u"beta"_s);
        const QByteArray before = h().read(u"workspaces/beta.yaml"_s);
        // A folder that is a regular file stops even root.
        h().chooser.answers = {h().path(u"workspaces/beta.yaml/pack.yaml"_s)};
        click(u"exportWorkspace"_s);
        QVERIFY(h().store->lastErrorMessage());
        QCOMPARE(view().resultMessage(), h().store->lastErrorMessage());
        QVERIFY(view().resultMessage() != en("error.export.saved.user.workspace.only"));
        QCOMPARE(h().read(u"workspaces/beta.yaml"_s), before);
    }

    void anUnknownInitialWorkspaceShowsNoSelection()
    {
        writeLibrary();
        h().open(u"nowhere"_s);
        QCOMPARE(view().selectedWorkspaceID(), std::optional(u"nowhere"_s));
        QCOMPARE(view().detailStack()->currentIndex(), 1);
        QVERIFY(!view().managerEmptyState());
    }

    void aRowClickShowsItsDetail()
    {
        writeLibrary();
        h().open();
        clickRow(u"beta"_s, false);
        QCOMPARE(view().selectedWorkspaceID(), std::optional(u"beta"_s));
        QVERIFY(view().workspaceList()->rows().at(rowOf(u"beta"_s)).selected);
        QCOMPARE(view().shownText(u"field.prompt.count"_s), u"1"_s);
        QCOMPARE(view().shownText(u"field.config.file"_s),
                 h().path(u"workspaces/beta.yaml"_s).replace(h().homePath(), u"~"_s));
        QVERIFY(view().shownText(u"workspace.manager.modified"_s) != en("common.none"));
        QTest::mouseClick(view().promptList()->viewport(), Qt::LeftButton, {},
                          view().promptList()->editButtonRect(0).center());
        QVERIFY(view().showPromptEditor());
        QCOMPARE(view().editingPrompt()->id, u"beta1"_s);
    }

    void modifiedTimeFollowsTheLocale_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QString>("expected");
        QTest::newRow("en_US") << QLocale(QLocale::English, QLocale::UnitedStates)
                               << u"Mar 5, 2024 2:07 PM"_s;
        QTest::newRow("zh_CN") << QLocale(QLocale::Chinese, QLocale::China) << u"2024年3月5日 14:07"_s;
        QTest::newRow("de_DE") << QLocale(QLocale::German, QLocale::Germany) << u"5. März 2024 14:07"_s;
    }
    void modifiedTimeFollowsTheLocale()
    {
        QFETCH(QLocale, locale);
        const QDateTime date(QDate(2024, 3, 5), QTime(14, 7), Qt::LocalTime);
        QTEST(WorkspaceManagerView::formatModifiedTime(date, locale, u"none"_s), "expected");
        QCOMPARE(WorkspaceManagerView::formatModifiedTime(std::nullopt, locale, u"none"_s), u"none"_s);
    }
};

QTEST_MAIN(TestWorkspaceManagerView)
#include "tst_workspacemanagerview.moc"
