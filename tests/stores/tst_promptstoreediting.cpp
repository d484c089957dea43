#include "PromptStoreFixture.h"

#include "PromptConfigLoader.h"
#include "PromptPersistenceService.h"
#include "PromptYAMLEncoder.h"

#include <QProcess>
#include <QRandomGenerator>

#include <cstdio>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

namespace {

constexpr auto saveLoopHomeVariable = "VELMORA_TEST_SAVE_LOOP_HOME";
using Edit = std::function<bool(PromptStore&)>;

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<absent>");
}

struct stat statOf(const QString& path)
{
    struct stat info = {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info;
}

// The name, the match paths and the titles in order, a star on the pinned ones.
QString summary(const PromptWorkspace& workspace)
{
    QStringList titles;
    for (const PromptItem& item : workspace.prompts)
        titles.append(item.title + (item.isPinned ? u"*"_s : QString()));
    return workspace.name + u" ["_s + workspace.matchPaths.join(u' ') + u"]: "_s + titles.join(u", "_s);
}

// The child of the crash test: toggles a pin through a store of its own and reports each save, until
// it is killed.
int runSaveLoop(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QString home = qEnvironmentVariable(saveLoopHomeVariable);
    QSettings settings(home + u"/settings.ini"_s, QSettings::IniFormat);
    PromptStore store(
        home, [] { return AppLanguage::english; }, &settings, {}, false);
    const QFuture<void> loaded = store.reloadAndWait();
    while (!loaded.isFinished())
        QCoreApplication::processEvents();
    for (;;) {
        store.togglePinned(u"a"_s, u"work"_s);
        if (store.lastErrorMessage())
            return 1;
        std::fputs("saved\n", stdout);
        std::fflush(stdout);
    }
}

} // namespace

Q_DECLARE_METATYPE(Edit)

class TestPromptStoreEditing : public QObject {
    Q_OBJECT

    Fixture f;
    QString m_failingBindingFile;

    PromptPersistenceService& persistence() { return *f.store->persistence(); }
    QString fileOf(const QString& id) { return persistence().workspacesDirectory() + u'/' + id + u".yaml"_s; }

    PromptWorkspace current(const QString& id)
    {
        const auto& all = f.store->workspaces();
        const auto found =
            std::find_if(all.cbegin(), all.cend(), [&](const auto& each) { return each.id == id; });
        return found == all.cend() ? PromptWorkspace{} : *found;
    }

    // Writes the workspaces and publishes them, with the others, as a load would.
    void publish(const QList<PromptWorkspace>& onDisk, const QList<PromptWorkspace>& others = {})
    {
        PromptLoadResult result;
        for (const PromptWorkspace& workspace : onDisk) {
            const auto saved = persistence().saveWorkspace(workspace);
            QVERIFY(saved);
            result.workspaces.append(*saved);
        }
        result.workspaces.append(others);
        f.load(result);
    }

    bool loggedLineStarting(AppLog::Category category, const QString& prefix)
    {
        return std::any_of(f.logs.cbegin(), f.logs.cend(), [&](const LogLine& each) {
            return each.category == category && each.line.startsWith(prefix);
        });
    }

    // Memory holds what the file holds, with the version of those bytes; the file is 600 in a 700 folder.
    void verifyMemoryMatchesDisk(const QString& id)
    {
        const PromptWorkspace record = current(id);
        const QByteArray bytes = contentOf(fileOf(id));
        QCOMPARE(bytes, PromptYAMLEncoder::encodeWorkspace(record, true).toUtf8());
        QCOMPARE(record.fileVersion, std::optional(PromptConfigLoader::fileVersion(bytes, fileOf(id))));
        QCOMPARE(statOf(fileOf(id)).st_mode & 0777, 0600u);
        QCOMPARE(statOf(persistence().workspacesDirectory()).st_mode & 0777, 0700u);
    }

private Q_SLOTS:
    void init()
    {
        f.setUp();
        // A binding writer that fails for one file only, so an undo can be seen to write the other.
        m_failingBindingFile.clear();
        ContextBindingStore::Dependencies dependencies;
        dependencies.writeData = [this](const QByteArray& data, const QString& path) -> Expected<void> {
            if (!m_failingBindingFile.isEmpty() && path.endsWith(m_failingBindingFile))
                return AppError::posix(EIO);
            return SecureFileWriter::writeData(data, path);
        };
        dependencies.languageProvider = [] {
            return AppLanguage::english;
        };
        f.bindings = std::make_shared<ContextBindingStore>(f.homePath(), dependencies);
        f.makeStore();
    }
    void cleanup() { f.tearDown(); }

    void editsAreWrittenBeforeTheyAreShown_data()
    {
        QTest::addColumn<Edit>("edit");
        QTest::addColumn<QString>("expected");
        PromptItem renamed = prompt(u"a"_s);
        renamed.title = u"New"_s;
        const QString work = u"work"_s;
        const auto add = [](const char* name, Edit edit, const QString& expected) {
            QTest::newRow(name) << edit << expected;
        };
        // clang-format off
        add("add", [=](PromptStore& s) { return s.addPrompt(prompt(u"c"_s), work); },
            u"work []: Title a, Title b, Title c"_s);
        add("import", [=](PromptStore& s) { return s.importPrompts({prompt(u"c"_s), prompt(u"d"_s)}, work); },
            u"work []: Title a, Title b, Title c, Title d"_s);
        add("update", [=](PromptStore& s) { return s.updatePrompt(renamed, work); }, u"work []: New, Title b"_s);
        add("update a missing prompt", [=](PromptStore& s) { return s.updatePrompt(prompt(u"zzz"_s), work); },
            u"work []: Title a, Title b"_s);
        add("pin", [=](PromptStore& s) { return s.togglePinned(u"a"_s, work), true; },
            u"work []: Title a*, Title b"_s);
        add("pin a missing prompt", [=](PromptStore& s) { return s.togglePinned(u"zzz"_s, work), true; },
            u"work []: Title a, Title b"_s);
        add("delete", [=](PromptStore& s) { return s.deletePrompt(u"a"_s, work); }, u"work []: Title b"_s);
        add("move", [=](PromptStore& s) { return s.movePrompt(u"b"_s, work, PromptMoveDirection::top), true; },
            u"work []: Title b, Title a"_s);
        add("rename, blank path lines dropped",
            [=](PromptStore& s) { return s.updateWorkspace(work, u" New \u3000"_s, u"/a\n\n  /b  "_s); },
            u"New [/a /b]: Title a, Title b"_s);
        add("blank name keeps the old, paths keep order and duplicates",
            [=](PromptStore& s) { return s.updateWorkspace(work, u" \t\n"_s, u"/b\r\n/a\u2028/b"_s); },
            u"work [/b /a /b]: Title a, Title b"_s);
        // clang-format on
    }

    void editsAreWrittenBeforeTheyAreShown()
    {
        QFETCH(Edit, edit);
        QFETCH(QString, expected);
        publish({workspace(u"work"_s, {prompt(u"a"_s), prompt(u"b"_s)})});
        const ino_t before = statOf(fileOf(u"work"_s)).st_ino;
        QVERIFY(edit(*f.store));
        QCOMPARE(summary(current(u"work"_s)), expected);
        QCOMPARE(f.store->statusMessage(), text("status.saved.workspace").arg(current(u"work"_s).name));
        QVERIFY(!f.store->lastErrorMessage());
        QVERIFY(statOf(fileOf(u"work"_s)).st_ino != before); // replaced whole, also when nothing changed
        verifyMemoryMatchesDisk(u"work"_s);
        QVERIFY(f.logs.isEmpty());
        QVERIFY(!f.store->isReloading());
    }

    void failedEditsLeaveDiskAndMemoryAsTheyWere_data()
    {
        QTest::addColumn<QString>("situation");
        QTest::addColumn<QString>("workspaceID");
        QTest::addColumn<int>("issue"); // -1 unchanged, 0 deleted, 1 conflict, 2 cleared
        QTest::newRow("file changed behind") << u"changed"_s << u"work"_s << 1;
        QTest::newRow("file removed behind") << u"removed"_s << u"work"_s << 0;
        QTest::newRow("unknown workspace") << u""_s << u"ghost"_s << -1;
        QTest::newRow("sample workspace") << u""_s << u"sample"_s << -1;
        QTest::newRow("write fails") << u""_s << u"blocked"_s << 2;
    }

    void failedEditsLeaveDiskAndMemoryAsTheyWere()
    {
        QFETCH(QString, situation);
        QFETCH(QString, workspaceID);
        QFETCH(int, issue);
        PromptWorkspace sample = workspace(u"sample"_s);
        sample.source = PromptWorkspaceSource::transientSample;
        PromptWorkspace blocked = workspace(u"blocked"_s);
        blocked.fileURL = f.writeFile(u"blocker"_s, "a file, not a folder") + u"/blocked.yaml"_s;
        publish({workspace(u"work"_s, {prompt(u"a"_s)}), workspace(u"other"_s)}, {sample, blocked});
        // An issue left by an earlier conflict, to see which failures keep it.
        f.writeFile(u".velmora/workspaces/other.yaml"_s, "workspace:\n  name: \"by hand\"\n");
        f.store->togglePinned(u"x"_s, u"other"_s);
        const auto earlierIssue = f.store->lastWorkspaceSaveIssue();
        QVERIFY(earlierIssue);
        if (situation == u"changed")
            f.writeFile(u".velmora/workspaces/work.yaml"_s, "workspace:\n  name: \"by hand\"\n\nprompts:\n");
        else if (situation == u"removed")
            QFile::remove(fileOf(u"work"_s));
        const QByteArray onDisk = contentOf(fileOf(u"work"_s));
        const QList<PromptWorkspace> before = f.store->workspaces();
        f.logs.clear();

        QVERIFY(!f.store->addPrompt(prompt(u"c"_s), workspaceID));
        QCOMPARE(f.store->statusMessage(), text("status.save.failed"));
        QCOMPARE(f.store->workspaces(), before);
        QCOMPARE(contentOf(fileOf(u"work"_s)), onDisk);
        if (issue == -1) {
            QCOMPARE(f.store->lastWorkspaceSaveIssue(), earlierIssue);
            QCOMPARE(f.store->lastErrorMessage(),
                     std::optional(text(workspaceID == u"ghost" ? "error.workspace.not.found"
                                                                : "workspace.manager.readonly.sample")));
            QVERIFY(f.logs.isEmpty());
            return;
        }
        if (issue == 2) {
            QVERIFY(!f.store->lastWorkspaceSaveIssue());
        } else {
            const WorkspaceSaveError expected{WorkspaceSaveError::Kind(issue), fileOf(u"work"_s)};
            QCOMPARE(f.store->lastWorkspaceSaveIssue(), std::optional(expected));
            QCOMPARE(f.store->lastErrorMessage(), std::optional(expected.toAppError().description));
        }
        const PromptWorkspace target = current(workspaceID);
        QCOMPARE(f.logs.last().category, AppLog::Category::persistence);
        QVERIFY(f.logs.last().line.startsWith(
            u"Save workspace failed workspaceID=%1 file=%2 promptCount=%3 error="_s.arg(
                workspaceID, AppLog::fileContext(target.fileURL),
                QString::number(target.prompts.size() + 1))));
    }

    void theEditSheetsVersionWinsOverTheRecords()
    {
        publish({workspace(u"work"_s, {prompt(u"a"_s)})});
        const auto seenBySheet = current(u"work"_s).fileVersion;
        QVERIFY(f.store->addPrompt(prompt(u"b"_s), u"work"_s));
        QVERIFY(!f.store->updateWorkspace(u"work"_s, u"Renamed"_s, {}, seenBySheet));
        QCOMPARE(f.store->lastWorkspaceSaveIssue()->kind, WorkspaceSaveError::Kind::conflict);
        QVERIFY(f.store->updateWorkspace(u"work"_s, u"Renamed"_s, {}, current(u"work"_s).fileVersion));
        QVERIFY(!f.store->lastWorkspaceSaveIssue());
    }

    void savesAndDeletionsForgetLoadedProjectFiles_data()
    {
        QTest::addColumn<bool>("deletes");
        QTest::newRow("save") << false;
        QTest::newRow("deletion") << true;
    }

    void savesAndDeletionsForgetLoadedProjectFiles()
    {
        QFETCH(bool, deletes);
        publish({workspace(u"work"_s)});
        AgentContext context = AgentContext::unknown();
        context.workspacePath = f.makeFolder(u"shop"_s);
        const QString file = f.writeFile(u"shop/.velmora.yaml"_s, "workspace:\n  name: Shop\nprompts:\n");
        QVERIFY(f.store->trustProjectConfig(file));
        QVERIFY(f.store->projectWorkspace(context, file));
        QCOMPARE(f.store->workspaceManagerWorkspaces().size(), 2);
        if (deletes)
            f.store->deleteWorkspaces({u"work"_s});
        else
            f.store->togglePinned(u"a"_s, u"work"_s);
        QCOMPARE(f.store->workspaceManagerWorkspaces().size(), deletes ? 0 : 1);
    }

    void createWorkspaceShowsItAtOnceAndReloads()
    {
        f.writeFile(u".velmora/workspaces/测试-a.yaml"_s, "workspace:\n  name: \"x\"\n");
        const auto created = f.store->createWorkspace(u" 测试 A "_s, u"/src/a\n\n/src/b"_s);
        QVERIFY(created);
        QCOMPARE(created->id, u"测试-a-2"_s);
        QCOMPARE(created->name, u"测试 A"_s);
        QCOMPARE(created->matchPaths, (QStringList{u"/src/a"_s, u"/src/b"_s}));
        QCOMPARE(f.store->workspaces(), QList<PromptWorkspace>{*created});
        QCOMPARE(f.store->lastEditedWorkspaceID(), std::optional(created->id));
        verifyMemoryMatchesDisk(created->id);
        // The reload it started keeps its report over the load's own.
        const QString status = text("status.created.workspace").arg(created->name);
        PromptLoadResult reloaded;
        reloaded.workspaces = {*created};
        reloaded.statusMessage = u"loaded"_s;
        f.loader->finish(f.loader->pending.size() - 1, reloaded);
        QTRY_VERIFY(!f.store->isReloading());
        QCOMPARE(f.store->statusMessage(), status);

        QVERIFY(QDir(persistence().workspacesDirectory()).removeRecursively());
        f.writeFile(u".velmora/workspaces"_s, "a file, not a folder");
        QVERIFY(!f.store->createWorkspace(u"Work"_s, {}));
        QCOMPARE(f.store->statusMessage(), text("status.create.workspace.failed"));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(AppError::posix(ENOTDIR).description));
        QVERIFY(
            f.logged(AppLog::Category::persistence, u"Create workspace failed promptCount=0 error=%1"_s.arg(
                                                        AppLog::errorSummary(AppError::posix(ENOTDIR)))));
    }

    void saveAsNewCopyKeepsBothTexts_data()
    {
        QTest::addColumn<QString>("sourceName");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expectedName");
        QTest::addColumn<QString>("expectedID");
        QTest::newRow("new name") << u"work"_s << u" Work copy "_s << u"Work copy"_s << u"work-copy"_s;
        QTest::newRow("blank name takes the source's") << u"work"_s << u""_s << u"work"_s << u"work-2"_s;
        QTest::newRow("both blank") << u""_s << u"  "_s << u"my-workspace"_s << u"my-workspace"_s;
    }

    void saveAsNewCopyKeepsBothTexts()
    {
        QFETCH(QString, sourceName);
        QFETCH(QString, name);
        QFETCH(QString, expectedName);
        QFETCH(QString, expectedID);
        PromptWorkspace source = workspace(u"work"_s, {prompt(u"a"_s), prompt(u"b"_s)});
        source.name = sourceName;
        publish({source});
        const QByteArray handEdit = "workspace:\n  name: \"by hand\"\n\nprompts:\n";
        f.writeFile(u".velmora/workspaces/work.yaml"_s, handEdit);
        QVERIFY(!f.store->updateWorkspace(u"work"_s, name, u"/p"_s));

        const auto copy = f.store->saveWorkspaceAsNewCopy(u"work"_s, name, u"/p"_s);
        QVERIFY(copy);
        QCOMPARE(copy->id, expectedID);
        QCOMPARE(copy->name, expectedName);
        QCOMPARE(copy->matchPaths, QStringList{u"/p"_s});
        QCOMPARE(copy->prompts, source.prompts);
        QVERIFY(!f.store->lastWorkspaceSaveIssue() && !f.store->lastErrorMessage());
        QCOMPARE(f.store->lastEditedWorkspaceID(), std::optional(expectedID));
        QCOMPARE(f.store->statusMessage(), text("status.created.workspace").arg(expectedName));
        QCOMPARE(contentOf(fileOf(u"work"_s)), handEdit);
        verifyMemoryMatchesDisk(expectedID);

        QVERIFY(!f.store->saveWorkspaceAsNewCopy(u"ghost"_s, name, {}));
        QCOMPARE(f.store->statusMessage(), text("status.create.workspace.failed"));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(text("error.workspace.not.found")));
    }

    void aSampleBecomesRealOrAllGo_data()
    {
        QTest::addColumn<bool>("dismiss");
        QTest::newRow("one saved") << false;
        QTest::newRow("dismissed") << true;
    }

    void aSampleBecomesRealOrAllGo()
    {
        QFETCH(bool, dismiss);
        PromptWorkspace sample = workspace(u"sample-one"_s, {prompt(u"s1"_s)});
        sample.name = u"Sample One"_s;
        sample.source = PromptWorkspaceSource::transientSample;
        PromptWorkspace other = sample;
        other.id = u"sample-two"_s;
        PromptLoadResult samples;
        samples.globalPrompts = {prompt(u"g"_s)};
        samples.workspaces = {sample, other};
        samples.showsTransientSamples = true;
        f.load(samples);

        QList<PromptWorkspace> expected;
        if (dismiss) {
            f.store->dismissTransientSamples();
        } else {
            const auto saved = f.store->saveTransientSampleAsWorkspace(sample, u"  "_s);
            QVERIFY(saved);
            QCOMPARE(saved->id, u"sample-one"_s);
            QCOMPARE(saved->name, u"Sample One"_s);
            QCOMPARE(saved->prompts, sample.prompts);
            QCOMPARE(f.store->lastEditedWorkspaceID(), std::optional(saved->id));
            verifyMemoryMatchesDisk(saved->id);
            expected = {*saved};
        }
        QCOMPARE(f.settings->value(QString::fromLatin1(PromptStore::samplesDismissedKey)), QVariant(true));
        QVERIFY(f.store->globalPrompts().isEmpty() && !f.store->showsTransientSamples());
        QCOMPARE(f.store->workspaces(), expected);
        QVERIFY(f.store->isReloading());

        PromptWorkspace global = workspace(u"g"_s);
        global.source = PromptWorkspaceSource::global;
        QVERIFY(!f.store->saveTransientSampleAsWorkspace(global, u"x"_s));
        QCOMPARE(f.store->statusMessage(), text("status.create.workspace.failed"));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(text("workspace.manager.readonly.global")));
    }

    // --- Deletion ---

    // A workspace made through the store, with a prompt that has usage, an agent binding and a legacy
    // title binding; the store's last edited workspace.
    QString prepareDeletion(const QString& name)
    {
        const auto created = f.store->createWorkspace(name, {});
        if (!created)
            return {};
        const ContextBinding legacy{u"L"_s,       u"Terminal"_s,
                                    std::nullopt, u"title-hash:abc"_s,
                                    created->id,  QDateTime::fromSecsSinceEpoch(0, Qt::UTC)};
        f.writeFile(u".velmora/context-bindings.json"_s, ContextBindingStore::encodeLegacyBindings({legacy}));
        f.bindings->reload();
        f.store->bindAgent(AgentType::cursor, created->id, true);
        f.store->addPrompt(prompt(u"a"_s), created->id);
        f.usage->recordSuccessfulCopy(u"a"_s, QDateTime::currentDateTimeUtc());
        f.logs.clear();
        return created->id;
    }

    void aBatchDeletesWhatItMayAndReportsByName_data()
    {
        QTest::addColumn<bool>("fileAlreadyGone");
        QTest::newRow("file present") << false;
        QTest::newRow("file already gone") << true;
    }

    void aBatchDeletesWhatItMayAndReportsByName()
    {
        QFETCH(bool, fileAlreadyGone);
        const QString id = prepareDeletion(u"work"_s);
        QCOMPARE(f.bindings->boundAgentCount(id), 1);
        if (fileAlreadyGone)
            QFile::remove(fileOf(id));
        PromptWorkspace project = workspace(u"proj"_s);
        project.name = u"Proj"_s;
        project.source = PromptWorkspaceSource::projectConfig;

        const auto batch = f.store->deleteWorkspaces({id, u"ghost"_s, u"proj"_s}, {project});
        const QList<WorkspaceDeletionResult> expected{
            {u"proj"_s, u"Proj"_s, false, false, text("workspace.manager.readonly.project")},
            {u"ghost"_s, u"ghost"_s, false, false, text("error.workspace.not.found")},
            {id, u"work"_s, true, false, text("workspace.manager.deleted.directly")},
        };
        QCOMPARE(batch.results, expected);
        QCOMPARE(batch.failures(), expected.mid(0, 2));
        QCOMPARE(f.store->statusMessage(), text("workspace.manager.delete.result").arg(u"1"_s, u"2"_s));
        QCOMPARE(f.store->lastErrorMessage(),
                 std::optional(u"Proj: "_s + expected[0].message + text("list.separator") + u"ghost: "_s +
                               expected[1].message));
        QCOMPARE(QDir(persistence().workspacesDirectory()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{});
        QCOMPARE(f.bindings->boundAgentCount(id), 0);
        QVERIFY(f.bindings->bindings().isEmpty());
        QVERIFY(!f.usage->records().contains(u"a"_s));
        QVERIFY(f.store->workspaces().isEmpty());
        QVERIFY(!f.store->lastEditedWorkspaceID());
        QVERIFY(f.logs.isEmpty());
    }

    void aFailedDeletionPutsEverythingBack_data()
    {
        QTest::addColumn<QString>("step");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("bindingRestoreFails");
        // The aside name of this workspace's file is longer than the system allows.
        QTest::newRow("isolation") << u"isolation"_s << QString(230, u'x') << false;
        QTest::newRow("unreadable bindings") << u"unreadable"_s << u"work"_s << true;
        QTest::newRow("agent binding save") << u"agent-workspace-bindings.json"_s << u"work"_s << true;
        QTest::newRow("legacy binding save") << u"context-bindings.json"_s << u"work"_s << false;
        QTest::newRow("final removal") << u"removal"_s << u"work"_s << false;
    }

    void aFailedDeletionPutsEverythingBack()
    {
        QFETCH(QString, step);
        QFETCH(QString, name);
        QFETCH(bool, bindingRestoreFails);
        const QString id = prepareDeletion(name);
        QVERIFY(!id.isEmpty());
        if (step == u"unreadable") {
            f.writeFile(u".velmora/agent-workspace-bindings.json"_s, "{\"version\": 3, \"bindings\": [");
            f.bindings->reload();
        } else if (step == u"removal") {
            persistence().finalWorkspaceRemoval = [](const QString&) -> Expected<void> {
                return AppError::posix(EBUSY);
            };
        } else {
            m_failingBindingFile = step;
        }
        const QStringList files = {fileOf(id), f.bindings->agentWorkspaceBindingsFilePath(),
                                   f.bindings->legacyBindingsFilePath()};
        QList<QByteArray> bytesBefore;
        for (const QString& file : files)
            bytesBefore.append(contentOf(file));
        const ContextBindingStateSnapshot bindingsBefore = f.bindings->stateSnapshot();
        const QList<PromptWorkspace> workspacesBefore = f.store->workspaces();
        f.logs.clear();

        const WorkspaceBatchDeletionResult batch = f.store->deleteWorkspaces({id});
        QCOMPARE(batch.failureCount(), qsizetype(1));
        QVERIFY(!batch.results[0].message.isEmpty());
        QCOMPARE(f.store->lastErrorMessage(), std::optional(name + u": "_s + batch.results[0].message));
        for (qsizetype index = 0; index < files.size(); ++index)
            QCOMPARE(contentOf(files[index]), bytesBefore[index]);
        QCOMPARE(QDir(persistence().workspacesDirectory()).entryList(QDir::Files | QDir::Hidden).size(), 1);
        QCOMPARE(f.bindings->stateSnapshot(), bindingsBefore);
        QCOMPARE(f.store->workspaces(), workspacesBefore);
        QCOMPARE(f.store->lastEditedWorkspaceID(), std::optional(id));
        QVERIFY(f.usage->records().contains(u"a"_s));
        QVERIFY(loggedLineStarting(
            AppLog::Category::persistence,
            u"Delete workspace failed workspaceID=%1 file=workspaces/%1.yaml error="_s.arg(id)));
        QCOMPARE(loggedLineStarting(AppLog::Category::context,
                                    u"Restore binding state failed workspaceID=%1 error="_s.arg(id)),
                 bindingRestoreFails);
    }

    // --- A crash while saving ---

    void aKilledSaveNeverLeavesAPartialFile()
    {
        PromptWorkspace work = workspace(u"work"_s, {prompt(u"a"_s)});
        work.prompts.first().text = QString(20000, u'x'); // long enough to be caught midway
        QVERIFY(persistence().saveWorkspace(work));
        const QByteArray unpinned = PromptYAMLEncoder::encodeWorkspace(work, true).toUtf8();
        work.prompts.first().isPinned = true;
        const QByteArray pinned = PromptYAMLEncoder::encodeWorkspace(work, true).toUtf8();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(saveLoopHomeVariable), f.homePath());

        for (int round = 0; round < 25; ++round) {
            QProcess child;
            child.setProcessEnvironment(environment);
            child.start(QCoreApplication::applicationFilePath(), {});
            QVERIFY(child.waitForStarted());
            // Killed after a few saves while it goes on saving, so at any point of a save.
            const int saves = 1 + QRandomGenerator::global()->bounded(4);
            QByteArray output;
            while (output.count("saved\n") < saves && child.state() == QProcess::Running) {
                child.waitForReadyRead(10000);
                output += child.readAll();
            }
            QCOMPARE(child.state(), QProcess::Running);
            child.kill();
            QVERIFY(child.waitForFinished(10000));
            const QByteArray content = contentOf(fileOf(u"work"_s));
            QVERIFY2(content == unpinned || content == pinned, qPrintable(u"round %1"_s.arg(round)));
        }
        QCOMPARE(statOf(fileOf(u"work"_s)).st_mode & 0777, 0600u);
        // What a killed write leaves behind is hidden and no workspace file: no load ever reads it.
        for (const QString& entry :
             QDir(persistence().workspacesDirectory()).entryList(QDir::Files | QDir::Hidden))
            QVERIFY(entry == u"work.yaml" || (entry.startsWith(u'.') && !entry.endsWith(u".yaml")));
    }
};

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet(saveLoopHomeVariable))
        return runSaveLoop(argc, argv);
    QCoreApplication app(argc, argv);
    TestPromptStoreEditing test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_promptstoreediting.moc"
