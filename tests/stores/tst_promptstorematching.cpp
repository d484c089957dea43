#include "PromptStoreFixture.h"

#include "ProjectConfigTrustStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

namespace {

const QByteArray projectFile =
    "workspace:\n  name: Shop\nprompts:\n  - id: project-review\n    title: Review\n"
    "    text: |\n      Review the shop.\n";

AgentContext inFolder(const QString& folder, AgentType agent = AgentType::terminal,
                      const QString& appName = u"Terminal"_s, const QString& title = {})
{
    AgentContext context = AgentContext::unknown();
    context.agent = agent;
    context.frontmostAppName = appName;
    context.frontWindowTitle = title;
    context.workspacePath = folder;
    context.detectionSource = ContextDetectionSource::terminalDirectory;
    return context;
}

ContextMatchDetails matched(const PromptWorkspace& workspace)
{
    ContextMatchDetails details;
    details.workspace = workspace;
    return details;
}

} // namespace

class TestPromptStoreMatching : public QObject {
    Q_OBJECT

    Fixture f;

    ContextMatchDetails match(const AgentContext& context) const
    {
        return f.store->matchingService().matchDetails(context);
    }

    std::optional<QString> matchedID(const AgentContext& context) const
    {
        const ContextMatchDetails details = match(context);
        if (!details.workspace)
            return std::nullopt;
        return details.workspace->id;
    }

    bool managerListsProject() const
    {
        const QList<PromptWorkspace> listed = f.store->workspaceManagerWorkspaces();
        return std::any_of(listed.cbegin(), listed.cend(), [](const PromptWorkspace& workspace) {
            return workspace.source == PromptWorkspaceSource::projectConfig;
        });
    }

    // A user workspace on the project's folder, whose name the title also mentions: it would win by
    // path or by inference if the project file didn't come first.
    PromptLoadResult libraryWithShopWorkspace(const QString& shopFolder)
    {
        PromptLoadResult result;
        result.globalPrompts = {prompt(u"g1"_s)};
        PromptWorkspace shop = workspace(u"shop"_s, {prompt(u"user-shop"_s)}, {shopFolder});
        result.workspaces = {shop, workspace(u"other"_s, {prompt(u"other-1"_s)})};
        result.statusMessage = u"Loaded"_s;
        return result;
    }

private Q_SLOTS:
    void init() { f.setUp(); }
    void cleanup() { f.tearDown(); }

    // --- the prompts of a match ---

    void globalAndWorkspacePromptsShareSectionsPinnedFirst()
    {
        PromptLoadResult result;
        result.globalPrompts = {prompt(u"g-a"_s, u"A"_s), prompt(u"g-b"_s, u"B"_s),
                                prompt(u"g-pin"_s, u"B"_s, true)};
        result.workspaces = {workspace(u"w"_s, {prompt(u"w-a-pin"_s, u"A"_s, true), prompt(u"w-b"_s, u"B"_s),
                                                prompt(u"w-c"_s, u"C"_s), prompt(u"w-a"_s, u"A"_s)})};
        f.load(result);
        QCOMPARE(idsOf(f.store->allPrompts(ContextMatchDetails{})),
                 (QStringList{u"g-a"_s, u"g-pin"_s, u"g-b"_s}));
        QCOMPARE(idsOf(f.store->allPrompts(matched(f.store->workspaces().first()))),
                 (QStringList{u"w-a-pin"_s, u"g-a"_s, u"w-a"_s, u"g-pin"_s, u"g-b"_s, u"w-b"_s, u"w-c"_s}));
        const QList<PromptSection> sections =
            f.store->promptSections(f.store->allPrompts(matched(f.store->workspaces().first())));
        QCOMPARE(sections.size(), 3);
    }

    void search_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("one word, blanks and capitals") << u"  DEPLOY \n"_s << QStringList{u"deploy"_s};
        QTest::newRow("two words only as a phrase") << u"deploy app"_s << QStringList();
        QTest::newRow("the phrase itself") << u"the app"_s << QStringList{u"deploy"_s};
        QTest::newRow("blanks only") << u" \t\u3000"_s << QStringList{u"deploy"_s, u"tagged"_s, u"grouped"_s};
        QTest::newRow("across adjacent tags") << u"end bac"_s << QStringList{u"tagged"_s};
        QTest::newRow("group") << u"release"_s << QStringList{u"grouped"_s};
        QTest::newRow("text") << u"rollback plan"_s << QStringList{u"grouped"_s};
        QTest::newRow("id is not searched") << u"secret-id"_s << QStringList();
        QTest::newRow("agent is not searched") << u"codex"_s << QStringList();
    }

    void search()
    {
        QFETCH(QString, query);
        QFETCH(QStringList, found);
        PromptItem deploy = prompt(u"deploy"_s);
        deploy.title = u"Deploy the App"_s;
        PromptItem tagged = prompt(u"tagged"_s);
        tagged.tags = {u"frontend"_s, u"backend"_s};
        PromptItem grouped = prompt(u"grouped"_s, u"Release"_s);
        grouped.id = u"secret-id"_s;
        grouped.text = u"Write a Rollback Plan."_s;
        grouped.agent = AgentType::codex;
        PromptLoadResult result;
        result.globalPrompts = {deploy, tagged, grouped};
        f.load(result);
        QStringList visible;
        for (const PromptItem& item : f.store->visiblePrompts(AgentContext::unknown(), {}, query))
            visible.append(item.id == u"secret-id" ? u"grouped"_s : item.id);
        QCOMPARE(visible, found);
        for (const PromptItem& item : result.globalPrompts) {
            const bool expected = found.contains(item.id == u"secret-id" ? u"grouped"_s : item.id);
            QCOMPARE(f.store->promptMatchesSearch(item, query), expected);
        }
    }

    void searchSeesEditedPromptsOfTheSameId()
    {
        PromptLoadResult result;
        result.globalPrompts = {prompt(u"p"_s)};
        f.load(result);
        QVERIFY(f.store->promptMatchesSearch(f.store->globalPrompts().first(), u"text of p"_s));
        PromptItem edited = f.store->globalPrompts().first();
        edited.text = u"Something else"_s;
        QVERIFY(!f.store->promptMatchesSearch(edited, u"text of p"_s));
        QVERIFY(f.store->promptMatchesSearch(edited, u"something"_s));

        result.globalPrompts = {edited};
        f.load(result);
        QVERIFY(f.store->visiblePrompts(AgentContext::unknown(), {}, u"text of p"_s).isEmpty());
        QCOMPARE(f.store->visiblePrompts(AgentContext::unknown(), {}, u"else"_s).size(), 1);
    }

    void usageOrdersTheSearchResult_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QStringList>("order");
        QTest::newRow("manual") << u"manual"_s << QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s};
        // b and d were copied at the very same time: their tie keeps the manual order.
        QTest::newRow("recent") << u"recent"_s << QStringList{u"c"_s, u"b"_s, u"d"_s, u"a"_s, u"e"_s};
        QTest::newRow("frequent") << u"frequent"_s << QStringList{u"a"_s, u"c"_s, u"b"_s, u"d"_s, u"e"_s};
    }

    void usageOrdersTheSearchResult()
    {
        QFETCH(QString, mode);
        QFETCH(QStringList, order);
        f.settings->setValue(QString::fromLatin1(PromptStore::sortModeKey), mode);
        f.makeStore();
        PromptLoadResult result;
        for (const QString& id : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s}) {
            PromptItem item = prompt(id);
            if (id != u"c")
                item.tags = {u"keep"_s};
            result.globalPrompts.append(item);
        }
        f.load(result);
        const QDateTime day = QDateTime(QDate(2024, 6, 1), QTime(12, 0), Qt::UTC);
        f.usage->recordSuccessfulCopy(u"a"_s, day.addDays(-2));
        f.usage->recordSuccessfulCopy(u"a"_s, day.addDays(-2));
        f.usage->recordSuccessfulCopy(u"a"_s, day.addDays(-2));
        f.usage->recordSuccessfulCopy(u"b"_s, day);
        f.usage->recordSuccessfulCopy(u"d"_s, day);
        f.usage->recordSuccessfulCopy(u"c"_s, day.addDays(1));
        f.usage->recordSuccessfulCopy(u"c"_s, day.addDays(1));
        QCOMPARE(idsOf(f.store->visiblePrompts(AgentContext::unknown(), {}, {})), order);
        // The search filters the sorted list and never reorders it.
        order.removeOne(u"c"_s);
        QCOMPARE(idsOf(f.store->visiblePrompts(AgentContext::unknown(), {}, u"keep"_s)), order);
    }

    // --- bound workspaces and the choice among them ---

    void boundWorkspacesFollowTheValidBindings()
    {
        PromptLoadResult result;
        result.workspaces = {workspace(u"a"_s), workspace(u"b"_s), workspace(u"c"_s)};
        f.load(result);
        QVERIFY(f.store->bindAgent(AgentType::cursor, u"c"_s, false));
        QVERIFY(f.store->bindAgent(AgentType::cursor, u"deleted"_s, false));
        QVERIFY(f.store->bindAgent(AgentType::cursor, u"a"_s, false));
        QVERIFY(f.store->bindAgent(AgentType::zed, u"b"_s, false));
        const AgentContext cursor = inFolder(QString(), AgentType::cursor, u"Cursor"_s);
        // Bindings made within one second are ordered by their random ids: compare the set.
        QStringList bound = idsOf(f.store->boundWorkspaces(cursor));
        bound.sort();
        QCOMPARE(bound, (QStringList{u"a"_s, u"c"_s}));
        QVERIFY(f.store->boundWorkspaces(inFolder(QString(), AgentType::unknown, u"Cursor"_s)).isEmpty());
    }

    void selectingAWorkspaceByHand()
    {
        PromptLoadResult result;
        result.workspaces = {workspace(u"a"_s), workspace(u"b"_s), workspace(u"free"_s)};
        f.load(result);
        QVERIFY(f.store->bindAgent(AgentType::cursor, u"a"_s, true));
        QVERIFY(f.store->bindAgent(AgentType::cursor, u"b"_s, false));
        const AgentContext cursor = inFolder(QString(), AgentType::cursor, u"Cursor"_s);
        QCOMPARE(matchedID(cursor), std::optional(u"a"_s)); // the default

        QSignalSpy changed(f.store.get(), &PromptStore::changed);
        f.store->selectWorkspace(u"free"_s, cursor); // not bound to this agent: nothing happens
        QCOMPARE(changed.count(), 0);
        QVERIFY(f.bindings->lastSelectedWorkspaceIDs().isEmpty());

        f.store->selectWorkspace(u"b"_s, cursor);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(matchedID(cursor), std::optional(u"b"_s)); // the last choice beats the default

        f.failBindingWrites = true;
        f.store->selectWorkspace(u"a"_s, cursor);
        QCOMPARE(changed.count(), 2); // told even when the save failed
        QCOMPARE(matchedID(cursor), std::optional(u"b"_s));
        QVERIFY(f.logged(AppLog::Category::context,
                         u"Save last selected workspace failed agent=cursor workspaceID=a error="_s +
                             AppLog::errorSummary(AppError::posix(EIO))));
        QCOMPARE(f.store->statusMessage(),
                 text("status.bound.agent")
                     .arg(displayName(AgentType::cursor, AppLanguage::english))); // the user sees nothing
    }

    // --- project files: trust before use ---

    void anUntrustedProjectFileIsNeverReadAndShadowsPathAndTitle()
    {
        const QString folder = f.makeFolder(u"code/shop"_s);
        const QString file = f.writeFile(u"code/shop/.velmora.yaml"_s, projectFile);
        f.load(libraryWithShopWorkspace(folder));
        const AgentContext context =
            inFolder(folder + u"/src"_s, AgentType::terminal, u"Terminal"_s, u"shop"_s);
        f.makeFolder(u"code/shop/src"_s);

        QCOMPARE(f.store->projectConfigPath(context), std::optional(file));
        const ContextMatchDetails details = match(context);
        QVERIFY(!details.workspace);
        QCOMPARE(details.detectionSource, ContextDetectionSource::projectConfig);
        QCOMPARE(details.projectConfigPath, std::optional(file));
        QVERIFY(details.projectConfigRequiresTrust);
        // Asked directly, the store still doesn't read it, and caches nothing of it.
        QCOMPARE(f.store->projectWorkspace(context, file), std::nullopt);
        QVERIFY(!managerListsProject());

        // Trusted: the project's prompts show, with the global ones.
        QVERIFY(f.store->trustProjectConfig(file));
        const ContextMatchDetails trusted = match(context);
        QVERIFY(trusted.workspace);
        QCOMPARE(trusted.workspace->id, u"project:"_s + file);
        QCOMPARE(trusted.workspace->source, PromptWorkspaceSource::projectConfig);
        QCOMPARE(trusted.projectConfigPath, std::optional(file));
        QVERIFY(!trusted.projectConfigRequiresTrust);
        QCOMPARE(idsOf(f.store->visiblePrompts(context, trusted, {})),
                 (QStringList{u"g1"_s, u"project-review"_s}));
        QVERIFY(managerListsProject());
    }

    void oneChangedByteWithdrawsTheTrustWithoutAnyEvent()
    {
        const QString folder = f.makeFolder(u"shop"_s);
        const QString file = f.writeFile(u"shop/.velmora.yaml"_s, projectFile);
        f.load(libraryWithShopWorkspace(folder));
        const AgentContext context = inFolder(folder);
        QVERIFY(f.store->trustProjectConfig(file));
        QCOMPARE(matchedID(context), std::optional(u"project:"_s + file));

        QSignalSpy anySignal(f.store.get(), &PromptStore::changed);
        QByteArray edited = projectFile;
        edited[edited.indexOf("shop.")] = 'S';
        f.writeFile(u"shop/.velmora.yaml"_s, edited);
        const ContextMatchDetails details = match(context); // no reload, no signal: the hash decides
        QVERIFY(!details.workspace);
        QVERIFY(details.projectConfigRequiresTrust);
        QCOMPARE(anySignal.count(), 0);

        // Changed back byte for byte: trusted again, with no new grant.
        f.writeFile(u"shop/.velmora.yaml"_s, projectFile);
        QCOMPARE(matchedID(context), std::optional(u"project:"_s + file));

        // Trusting the edited form replaces the cached older form.
        f.writeFile(u"shop/.velmora.yaml"_s, edited);
        QVERIFY(f.store->trustProjectConfig(file));
        const ContextMatchDetails retrusted = match(context);
        QVERIFY(retrusted.workspace);
        QCOMPARE(retrusted.workspace->prompts.first().text, u"Review the Shop."_s);
    }

    void aLinkedProjectFileIsTrustedUnderItsResolvedPathOnly()
    {
        const QString real = f.writeFile(u"store/shared.yaml"_s, projectFile);
        const QString one = f.makeFolder(u"one"_s);
        const QString two = f.makeFolder(u"two"_s);
        QVERIFY(QFile::link(real, one + u"/.velmora.yaml"_s));
        QVERIFY(QFile::link(real, two + u"/.velmora.yml"_s));
        f.load(libraryWithShopWorkspace(f.makeFolder(u"elsewhere"_s)));

        const ContextMatchDetails asked = match(inFolder(one));
        QCOMPARE(asked.projectConfigPath, std::optional(one + u"/.velmora.yaml"_s));
        QVERIFY(asked.projectConfigRequiresTrust);
        QVERIFY(f.store->trustProjectConfig(*asked.projectConfigPath));
        QCOMPARE(f.store->projectConfigTrustStore().trustedConfigHashesByPath().keys(), QStringList{real});
        QFile trustFile(f.homePath() + u"/.velmora/trusted-project-configs.json"_s);
        QVERIFY(trustFile.open(QIODevice::ReadOnly));
        const QJsonArray records = QJsonDocument::fromJson(trustFile.readAll()).array();
        QCOMPARE(records.size(), 1);
        QCOMPARE(records.first().toObject().value(u"path"_s).toString(), real);

        QVERIFY(match(inFolder(one)).workspace);
        QVERIFY(match(inFolder(two)).workspace); // another link to the same bytes

        // The link now points at other bytes: those were never trusted.
        const QString other = f.writeFile(u"store/other.yaml"_s, "prompts:\n  - id: evil\n    text: x\n");
        QVERIFY(QFile::remove(one + u"/.velmora.yaml"_s));
        QVERIFY(QFile::link(other, one + u"/.velmora.yaml"_s));
        f.load(libraryWithShopWorkspace(f.makeFolder(u"elsewhere"_s))); // even with the cache emptied
        QVERIFY(!match(inFolder(one)).workspace);
        QVERIFY(match(inFolder(one)).projectConfigRequiresTrust);
    }

    void bindingsAndTheSwitchesComeBeforeProjectFiles()
    {
        const QString folder = f.makeFolder(u"shop"_s);
        f.writeFile(u"shop/.velmora.yaml"_s, projectFile);
        f.load(libraryWithShopWorkspace(folder));

        // An agent binding wins, and no trust is asked for.
        QVERIFY(f.store->bindAgent(AgentType::cursor, u"other"_s, false));
        const ContextMatchDetails bound = match(inFolder(folder, AgentType::cursor, u"Cursor"_s));
        QCOMPARE(bound.workspace->id, u"other"_s);
        QVERIFY(!bound.projectConfigRequiresTrust);

        // Advanced matching off: the project file has no effect at all.
        f.setUp(false);
        const QString switchedOff = f.makeFolder(u"shop"_s);
        f.writeFile(u"shop/.velmora.yaml"_s, projectFile);
        f.load(libraryWithShopWorkspace(switchedOff));
        QCOMPARE(match(inFolder(switchedOff)), ContextMatchDetails{});

        // Project files off: the folder's user workspace is found by path.
        f.setUp(true);
        const QString withoutProjects = f.makeFolder(u"shop"_s);
        f.writeFile(u"shop/.velmora.yaml"_s, projectFile);
        f.settings->setValue(QString::fromLatin1(PromptStore::projectConfigsKey), false);
        f.makeStore();
        f.load(libraryWithShopWorkspace(withoutProjects));
        const ContextMatchDetails byPath = match(inFolder(withoutProjects));
        QCOMPARE(byPath.workspace->id, u"shop"_s);
        QCOMPARE(byPath.detectionSource, ContextDetectionSource::terminalDirectory);
        QVERIFY(!byPath.projectConfigRequiresTrust);
    }

    void projectFilesAreLookedForOnlyUnderAnExistingDetectedFolder()
    {
        const QString folder = f.makeFolder(u"shop"_s);
        f.writeFile(u"shop/.velmora.yaml"_s, projectFile);
        QCOMPARE(f.store->projectConfigPath(inFolder(folder + u"/missing"_s)), std::nullopt);
        AgentContext titleOnly = inFolder(folder);
        titleOnly.workspacePath.reset();
        QCOMPARE(f.store->projectConfigPath(titleOnly), std::nullopt);
        QCOMPARE(f.store->projectConfigPath(inFolder(folder + u"/./"_s)),
                 std::optional(folder + u"/.velmora.yaml"_s));
    }

    // --- the cache of project files ---

    void theCacheIsEmptiedByReloadAndByTrust()
    {
        const QString folder = f.makeFolder(u"shop"_s);
        const QString file = f.writeFile(u"shop/.velmora.yaml"_s, projectFile);
        f.load(libraryWithShopWorkspace(folder));
        QVERIFY(f.store->trustProjectConfig(file));
        QVERIFY(match(inFolder(folder)).workspace);
        QVERIFY(managerListsProject());

        f.load(libraryWithShopWorkspace(folder));
        QVERIFY(!managerListsProject());
        QVERIFY(match(inFolder(folder)).workspace);
        QVERIFY(managerListsProject());

        const QString otherFile = f.writeFile(u"other/.velmora.yml"_s, "prompts:\n");
        QVERIFY(f.store->trustProjectConfig(otherFile));
        QVERIFY(!managerListsProject());
    }

    void aMissLastsUntilTheNextTrust()
    {
        // Trusted bytes that aren't UTF-8: the load gives nothing, the folder's workspace is next.
        const QString folder = f.makeFolder(u"shop"_s);
        const QString file = f.writeFile(u"shop/.velmora.yaml"_s, "prompts:\n  - id: \xff\n");
        f.load(libraryWithShopWorkspace(folder));
        QVERIFY(f.store->trustProjectConfig(file));
        const ContextMatchDetails missed = match(inFolder(folder));
        QCOMPARE(missed.workspace->id, u"shop"_s);
        QVERIFY(!missed.projectConfigRequiresTrust);

        // Repaired: untrusted until granted, and then loaded although it was a miss.
        f.writeFile(u"shop/.velmora.yaml"_s, projectFile);
        QVERIFY(match(inFolder(folder)).projectConfigRequiresTrust);
        QVERIFY(f.store->trustProjectConfig(file));
        QCOMPARE(matchedID(inFolder(folder)), std::optional(u"project:"_s + file));
    }
};

QTEST_GUILESS_MAIN(TestPromptStoreMatching)
#include "tst_promptstorematching.moc"
