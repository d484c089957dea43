// Installing packs into the store and exporting workspaces as packs: free file names, the binding of
// the context, what a failure leaves behind, the refusals of export, and the modes of what it writes.

#include "PromptConfigLoader.h"
#include "PromptPackService.h"
#include "PromptStoreFixture.h"

#include <sys/stat.h>

using namespace PromptStoreFixture;

class TestPromptStorePacks : public QObject {
    Q_OBJECT

    Fixture f;

    PromptLoadResult loadFromDisk() const
    {
        return PromptConfigLoader(f.homePath(), [] { return AppLanguage::english; }).loadAllConfigs();
    }

    // Publishes one saved user workspace "work", written to its own file, beside the extra ones.
    void publishWork(const QList<PromptWorkspace>& extra = {})
    {
        PromptWorkspace work = workspace(u"work"_s, {prompt(u"a"_s), prompt(u"b"_s, u"Other"_s)});
        work.fileURL = f.writeFile(u".velmora/workspaces/work.yaml"_s, "workspace:\n  name: \"work\"\n");
        PromptLoadResult result;
        result.workspaces = QList<PromptWorkspace>{work} + extra;
        f.load(result);
        f.logs.clear();
    }

    static int modeOf(const QString& path)
    {
        struct stat info = {};
        return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 07777) : -1;
    }

private Q_SLOTS:
    void init() { f.setUp(); }
    void cleanup() { f.tearDown(); }

    void installingTwiceGivesTwoWorkspacesThatLoadAgain()
    {
        const PromptPack pack = PromptPackService::builtInPacks(AppLanguage::english).first();
        f.writeFile(u".velmora/workspaces/chatgpt-project-audit-2.yaml"_s, "workspace:\n  name: \"taken\"\n");
        for (const QString& id : {u"chatgpt-project-audit"_s, u"chatgpt-project-audit-3"_s}) {
            QVERIFY(f.store->installPromptPack(pack, std::nullopt));
            QCOMPARE(f.store->lastEditedWorkspaceID(), std::optional(id));
            QCOMPARE(f.store->workspaces().last().id, id);
            QVERIFY(f.store->isReloading());
            f.loader->finish(f.loader->pending.size() - 1, loadFromDisk());
            QTRY_VERIFY(!f.store->isReloading());
        }
        const QString status = text("status.installed.pack").arg(pack.metadata.name);
        QCOMPARE(f.store->statusMessage(), status);
        QCOMPARE(f.store->lastErrorMessage(), std::nullopt);
        QStringList ids = idsOf(f.store->workspaces());
        ids.sort();
        QCOMPARE(ids, QStringList({u"chatgpt-project-audit"_s, u"chatgpt-project-audit-2"_s,
                                   u"chatgpt-project-audit-3"_s}));
        // The load renumbers the repeated prompt ids of the later copies, and refuses no file.
        const PromptLoadResult loaded = loadFromDisk();
        QCOMPARE(loaded.configIssues.size(), qsizetype(0));
        QCOMPARE(loaded.workspaces.size(), qsizetype(3));
        for (const PromptWorkspace& each : loaded.workspaces) {
            QCOMPARE(each.prompts.size(), each.name == u"taken" ? 0 : pack.workspace.prompts.size());
            for (qsizetype i = 0; i < each.prompts.size(); ++i) {
                PromptItem loadedPrompt = each.prompts[i];
                loadedPrompt.id = pack.workspace.prompts[i].id; // the copy read later was renumbered
                QCOMPARE(loadedPrompt, pack.workspace.prompts[i]);
            }
        }
        QVERIFY(f.logs.isEmpty());
    }

    void installBindsAKnownAgentOnly_data()
    {
        QTest::addColumn<AgentType>("agent");
        QTest::addColumn<bool>("bound");
        QTest::newRow("codex") << AgentType::codex << true;
        QTest::newRow("unknown agent") << AgentType::unknown << false;
    }

    void installBindsAKnownAgentOnly()
    {
        QFETCH(AgentType, agent);
        QFETCH(bool, bound);
        AgentContext context = AgentContext::unknown();
        context.agent = agent;
        context.frontmostAppName = u"Codex"_s;
        QVERIFY(f.store->installPromptPack(PromptPackService::builtInPacks(AppLanguage::zhHans)[1], context));
        QCOMPARE(f.bindings->agentWorkspaceBindings().size(), qsizetype(bound ? 1 : 0));
        if (bound)
            QCOMPARE(f.bindings->agentWorkspaceBindings().first().workspaceID, f.store->workspaces().last().id);
        // The reload keeps the report that stands, the binding's when there was one.
        const QString status = f.store->statusMessage();
        QCOMPARE(bound, status != text("status.installed.pack").arg(u"Agent 维护 Loop 包"_s));
        f.loader->finish(f.loader->pending.size() - 1, loadFromDisk());
        QTRY_VERIFY(!f.store->isReloading());
        QCOMPARE(f.store->statusMessage(), status);
    }

    void aFailedInstallWritesNothingAndSaysWhy()
    {
        PromptLoadResult result;
        result.workspaces = {workspace(u"work"_s, {prompt(u"a"_s)})};
        f.load(result);
        f.writeFile(u".velmora/workspaces"_s, "a file where the folder should be");
        const QList<PromptWorkspace> before = f.store->workspaces();
        const PromptPack pack = PromptPackService::builtInPacks(AppLanguage::english).last();
        QVERIFY(!f.store->installPromptPack(pack, std::nullopt));
        QCOMPARE(f.store->statusMessage(), text("status.install.pack.failed"));
        QVERIFY(!f.store->lastErrorMessage().value_or(QString()).isEmpty());
        QCOMPARE(f.store->workspaces(), before);
        QVERIFY(!f.store->isReloading());
        QCOMPARE(f.logs.size(), qsizetype(1));
        QCOMPARE(f.logs.first().category, AppLog::Category::prompts);
        QVERIFY(f.logs.first().line.startsWith(
            u"Install prompt pack failed packID=content-workflow promptCount=4 error="_s));
    }

    void exportRefusesAllButASavedUserWorkspacesOtherFile_data()
    {
        QTest::addColumn<QString>("workspaceID");
        QTest::addColumn<QString>("destination"); // under the home folder
        QTest::newRow("unknown id") << u"ghost"_s << u"out.yaml"_s;
        QTest::newRow("project workspace") << u"project"_s << u"out.yaml"_s;
        QTest::newRow("sample") << u"sample"_s << u"out.yaml"_s;
        QTest::newRow("never saved") << u"unsaved"_s << u"out.yaml"_s;
        QTest::newRow("its own file") << u"work"_s << u".velmora/workspaces/work.yaml"_s;
        QTest::newRow("a link to its own file") << u"work"_s << u"link.yaml"_s;
        QTest::newRow("through a linked folder") << u"work"_s << u"folder-link/work.yaml"_s;
    }

    void exportRefusesAllButASavedUserWorkspacesOtherFile()
    {
        QFETCH(QString, workspaceID);
        QFETCH(QString, destination);
        PromptWorkspace project = workspace(u"project"_s, {prompt(u"p"_s)});
        project.source = PromptWorkspaceSource::projectConfig;
        project.fileURL = f.writeFile(u"repo/.velmora.yaml"_s, "prompts:\n");
        PromptWorkspace sample = workspace(u"sample"_s, {prompt(u"s"_s)});
        sample.source = PromptWorkspaceSource::transientSample;
        publishWork({project, sample, workspace(u"unsaved"_s, {prompt(u"u"_s)})});
        const QString own = f.homePath() + u"/.velmora/workspaces/work.yaml"_s;
        QVERIFY(QFile::link(own, f.homePath() + u"/link.yaml"_s));
        QVERIFY(QFile::link(f.homePath() + u"/.velmora/workspaces"_s, f.homePath() + u"/folder-link"_s));
        QFile ownFile(own);
        QVERIFY(ownFile.open(QIODevice::ReadOnly));
        const QByteArray before = ownFile.readAll();

        QVERIFY(!f.store->exportPromptPack(workspaceID, f.homePath() + u'/' + destination));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(text("error.export.saved.user.workspace.only")));
        QCOMPARE(f.store->statusMessage(), text("status.export.failed"));
        ownFile.seek(0);
        QCOMPARE(ownFile.readAll(), before);
        QVERIFY(!QFile::exists(f.homePath() + u"/out.yaml"_s));
        QVERIFY(f.logs.isEmpty());
    }

    void anExportedPackPreviewsBackTheSamePrompts()
    {
        publishWork();
        const QString destination = f.homePath() + u"/work.velmora-pack.yaml"_s;
        QVERIFY(f.store->exportPromptPack(u"work"_s, destination));
        QCOMPARE(f.store->statusMessage(), text("status.exported.pack").arg(u"work.velmora-pack.yaml"_s));
        QCOMPARE(f.store->lastErrorMessage(), std::nullopt);
        const PromptPackService service(*f.store->persistence(), [] { return AppLanguage::english; });
        const Expected<PromptPackImportPreview> preview = service.parseImportPreviewAt(destination);
        QVERIFY2(preview, qPrintable(preview.error().description));
        const PromptPackMetadata expected{u"work"_s, u"work"_s, text("pack.export.description"), u"1.0.0"_s,
                                          u"Velmora User"_s};
        QCOMPARE(preview->pack.metadata, expected);
        QCOMPARE(preview->pack.workspace.prompts, f.store->workspaces().first().prompts);
    }

    void anExportKeepsTheModeOfAReplacedFileAndTheUmaskForANewOne()
    {
        publishWork();
        const mode_t previous = ::umask(027);
        const QString fresh = f.homePath() + u"/fresh.yaml"_s;
        const QString replaced = f.writeFile(u"replaced.yaml"_s, "old");
        QVERIFY(QFile::setPermissions(replaced, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
        const bool exported = f.store->exportPromptPack(u"work"_s, fresh) &&
                              f.store->exportPromptPack(u"work"_s, replaced);
        ::umask(previous);
        QVERIFY(exported);
        QCOMPARE(modeOf(fresh), 0640);
        QCOMPARE(modeOf(replaced), 0604);
        QFile file(replaced);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().startsWith("pack:\n"));
    }

    void anExportUnderARegularFileFailsWithThePlatformsText()
    {
        publishWork();
        f.writeFile(u"blocker"_s, "a file, not a folder");
        QVERIFY(!f.store->exportPromptPack(u"work"_s, f.homePath() + u"/blocker/work.velmora-pack.yaml"_s));
        QCOMPARE(f.store->statusMessage(), text("status.export.failed"));
        QVERIFY(!f.store->lastErrorMessage().value_or(QString()).isEmpty());
        QCOMPARE(f.logs.size(), qsizetype(1));
        QCOMPARE(f.logs.first().category, AppLog::Category::prompts);
        QVERIFY(f.logs.first().line.startsWith(u"Export prompt pack failed workspaceID=work "
                                               u"file=blocker/work.velmora-pack.yaml promptCount=2 error="_s));
    }
};

QTEST_GUILESS_MAIN(TestPromptStorePacks)
#include "tst_promptstorepacks.moc"
