#include "PromptStoreFixture.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

namespace {

// A saved user workspace: a config issue names its file.
PromptWorkspace savedWorkspace(const QString& id, const QList<PromptItem>& prompts,
                               const QStringList& paths = {})
{
    PromptWorkspace result = workspace(id, prompts, paths);
    result.fileURL = u"/home/u/.velmora/workspaces/"_s + id + u".yaml"_s;
    return result;
}

PromptLoadResult goodLoad(const QString& status = u"Loaded"_s)
{
    PromptLoadResult result;
    result.globalPrompts = {prompt(u"g1"_s)};
    result.workspaces = {savedWorkspace(u"work"_s, {prompt(u"w1"_s), prompt(u"w2"_s)}, {u"/src/a"_s}),
                         savedWorkspace(u"home"_s, {prompt(u"h1"_s)}, {u"/src/b"_s, u"/src/a"_s})};
    result.workspaceMetadata.insert(u"work"_s, WorkspaceFileMetadata{std::nullopt, 120});
    result.statusMessage = status;
    return result;
}

PromptLoadResult brokenLoad()
{
    PromptLoadResult result = goodLoad(u"Loaded with problems"_s);
    result.workspaces.removeLast(); // the broken file contributes nothing
    PromptConfigIssue issue;
    issue.id = u"home.yaml"_s;
    issue.displayName = u"home.yaml"_s;
    issue.kind = PromptConfigIssueKind::invalidFormat;
    issue.fileURL = u"/home/u/.velmora/workspaces/home.yaml"_s;
    result.configIssues = {issue};
    return result;
}

PromptLoadResult sampleLoad()
{
    PromptLoadResult result;
    result.globalPrompts = {prompt(u"sample-g"_s)};
    result.workspaces = {workspace(u"sample-w"_s, {prompt(u"sample-1"_s)})};
    result.workspaces[0].source = PromptWorkspaceSource::transientSample;
    result.showsTransientSamples = true;
    result.statusMessage = u"Samples"_s;
    return result;
}

QSet<QString> usageIDs(const PromptUsageStore& usage)
{
    QSet<QString> ids;
    for (auto it = usage.records().cbegin(); it != usage.records().cend(); ++it)
        ids.insert(it.key());
    return ids;
}

} // namespace

class TestPromptStore : public QObject {
    Q_OBJECT

    Fixture f;
    AppLanguage m_language = AppLanguage::english;

    QString usageFile() const { return f.homePath() + u"/.velmora/prompt-usage.json"_s; }

    void seedUsage(const QStringList& promptIDs)
    {
        for (const QString& id : promptIDs)
            f.usage->recordSuccessfulCopy(id, QDateTime::currentDateTimeUtc());
        QCOMPARE(usageIDs(*f.usage).size(), promptIDs.size());
    }

    std::unique_ptr<PromptStore> makeStore(bool loadsOnInit = false)
    {
        return std::make_unique<PromptStore>(
            f.homePath(), [this] { return m_language; }, f.settings.get(),
            PromptStore::Collaborators{f.loader, f.usage, f.bindings}, loadsOnInit);
    }

    // Starts one reload and publishes this result.
    static void load(PromptStore& store, FakeConfigLoader& loader, const PromptLoadResult& result,
                     const std::optional<QString>& preserving = std::nullopt)
    {
        store.reload(preserving);
        loader.finish(loader.pending.size() - 1, result);
        QTRY_VERIFY(!store.isReloading());
    }

private Q_SLOTS:
    void init()
    {
        f.setUp();
        m_language = AppLanguage::english;
    }
    void cleanup() { f.tearDown(); }

    void startsEmptyAndLoadsOnInit()
    {
        auto store = makeStore(true);
        QCOMPARE(store->statusMessage(), text("status.not.loaded"));
        QCOMPARE(f.loader->pending.size(), size_t(1));
        // Written behind the binding store's back: the reload reads the bindings again.
        f.writeFile(u".velmora/agent-workspace-bindings.json"_s,
                    R"({"version": 3, "bindings": [{"agentType": "codex", "appName": "Codex",
            "createdAt": "2024-05-01T09:30:00Z", "id": "B1", "isDefault": false, "workspaceID": "work"}]})");
        QVERIFY(f.bindings->agentWorkspaceBindings().isEmpty());
        f.loader->finish(0, goodLoad());
        QTRY_COMPARE(store->statusMessage(), u"Loaded"_s);
        QCOMPARE(idsOf(store->globalPrompts()), QStringList{u"g1"_s});
        QCOMPARE(store->workspaces().size(), 2);
        QCOMPARE(store->workspaceMetadata().value(u"work"_s).fileSize, 120);
        QCOMPARE(f.bindings->agentWorkspaceBindings().size(), 1);
        QVERIFY(!store->isReloading());
    }

    void newestReloadWinsInEitherOrder_data()
    {
        QTest::addColumn<bool>("firstFinishesLast");
        QTest::newRow("first finishes last") << true;
        QTest::newRow("first finishes first") << false;
    }

    void newestReloadWinsInEitherOrder()
    {
        QFETCH(bool, firstFinishesLast);
        auto store = makeStore();
        QSignalSpy statusSpy(store.get(), &PromptStore::statusMessageChanged);
        QSignalSpy issuesSpy(store.get(), &PromptStore::configIssuesChanged);
        store->reload();
        QFuture<void> second = store->reloadAndWait();
        QCOMPARE(store->reloadGeneration(), quint64(2));

        PromptLoadResult stale = brokenLoad();
        stale.statusMessage = u"stale"_s;
        if (firstFinishesLast) {
            f.loader->finish(1, goodLoad(u"fresh"_s));
            QTRY_VERIFY(second.isFinished());
            f.loader->finish(0, stale);
        } else {
            f.loader->finish(0, stale);
            f.loader->finish(1, goodLoad(u"fresh"_s));
            QTRY_VERIFY(second.isFinished());
        }
        QTRY_VERIFY(!store->isReloading());
        QTest::qWait(0); // let any late continuation run
        QCOMPARE(store->statusMessage(), u"fresh"_s);
        QVERIFY(store->configIssues().isEmpty());
        QCOMPARE(issuesSpy.count(), 0); // the dropped result touched nothing, not even the issues
        QCOMPARE(statusSpy.count(), 1);
        QCOMPARE(store->workspaces().size(), 2);
    }

    void brokenFileOnFirstStartShowsNothing()
    {
        auto store = makeStore();
        seedUsage({u"gone"_s});
        load(*store, *f.loader, brokenLoad());
        QVERIFY(store->globalPrompts().isEmpty());
        QVERIFY(store->workspaces().isEmpty());
        QVERIFY(store->workspaceMetadata().isEmpty());
        QCOMPARE(store->configIssues().size(), 1);
        QCOMPARE(store->statusMessage(), u"Loaded with problems"_s);
        QCOMPARE(usageIDs(*f.usage), QSet<QString>{u"gone"_s}); // a load with issues prunes nothing
    }

    void brokenFileAfterGoodLoadKeepsThePreviousLibrary()
    {
        auto store = makeStore();
        seedUsage({u"w1"_s, u"h1"_s, u"gone"_s});
        load(*store, *f.loader, goodLoad());
        QCOMPARE(usageIDs(*f.usage), (QSet<QString>{u"w1"_s, u"h1"_s}));
        QCOMPARE(usageIDs(PromptUsageStore(f.homePath())), (QSet<QString>{u"w1"_s, u"h1"_s})); // persisted

        QVERIFY(QFile::remove(usageFile())); // any further write would bring it back
        load(*store, *f.loader, brokenLoad());
        QCOMPARE(store->workspaces().size(), 2); // "home" stays although its file broke
        QCOMPARE(idsOf(store->workspaces()[1].prompts), QStringList{u"h1"_s});
        QCOMPARE(store->configIssues().size(), 1);
        QCOMPARE(store->statusMessage(), text("status.config.preserved.previous"));
        QVERIFY(usageIDs(*f.usage).contains(u"h1"_s)); // usage of the broken file's prompts survives
        QVERIFY(!QFile::exists(usageFile()));

        load(*store, *f.loader, goodLoad(u"Fixed"_s));
        QVERIFY(store->configIssues().isEmpty());
        QCOMPARE(store->statusMessage(), u"Fixed"_s);
    }

    void usageOfPromptsNoLongerLoadedIsDropped()
    {
        auto store = makeStore();
        seedUsage({u"w1"_s, u"project-only"_s});
        load(*store, *f.loader, goodLoad());
        QCOMPARE(usageIDs(*f.usage), QSet<QString>{u"w1"_s});
        QVERIFY(QFile::remove(usageFile()));
        load(*store, *f.loader, goodLoad()); // nothing changes: no write
        QVERIFY(!QFile::exists(usageFile()));
    }

    void statusPrecedence_data()
    {
        QTest::addColumn<bool>("bindingsUnreadable");
        QTest::addColumn<bool>("brokenAfterGood");
        QTest::addColumn<std::optional<QString>>("preserved");
        QTest::addColumn<QString>("expected");
        const auto none = std::optional<QString>();
        const auto saved = std::optional<QString>(u"Saved workspace"_s);
        QTest::newRow("loader's own text") << false << false << none << u"Loaded"_s;
        QTest::newRow("binding file over loader")
            << true << false << none << text("status.binding.file.unreadable");
        QTest::newRow("binding file over preserved previous")
            << true << true << none << text("status.binding.file.unreadable");
        QTest::newRow("preserved status over binding file") << true << false << saved << *saved;
        QTest::newRow("preserved status over preserved previous") << false << true << saved << *saved;
    }

    void statusPrecedence()
    {
        QFETCH(bool, bindingsUnreadable);
        QFETCH(bool, brokenAfterGood);
        QFETCH(std::optional<QString>, preserved);
        QFETCH(QString, expected);
        auto store = makeStore();
        if (brokenAfterGood)
            load(*store, *f.loader, goodLoad());
        if (bindingsUnreadable)
            f.writeFile(u".velmora/agent-workspace-bindings.json"_s, "{\"version\": 3, \"bindings\": [");
        load(*store, *f.loader, brokenAfterGood ? brokenLoad() : goodLoad(), preserved);
        QCOMPARE(store->statusMessage(), expected);
    }

    void samples_data()
    {
        QTest::addColumn<bool>("dismissed");
        QTest::addColumn<bool>("empty");
        QTest::addColumn<bool>("shows");
        QTest::newRow("shown") << false << false << true;
        QTest::newRow("dismissed") << true << false << false;
        QTest::newRow("both lists empty") << false << true << false;
    }

    void samples()
    {
        QFETCH(bool, dismissed);
        QFETCH(bool, empty);
        QFETCH(bool, shows);
        f.settings->setValue(QString::fromLatin1(PromptStore::samplesDismissedKey), dismissed);
        auto store = makeStore();
        PromptLoadResult result = sampleLoad();
        if (empty) {
            result.globalPrompts.clear();
            result.workspaces.clear();
        }
        load(*store, *f.loader, result);
        QCOMPARE(store->showsTransientSamples(), shows);
        QCOMPARE(store->globalPrompts().isEmpty(), dismissed || empty);
        QCOMPARE(store->statusMessage(), dismissed ? text("status.config.samples.hidden") : u"Samples"_s);
    }

    void dismissedSamplesKeepTheirIssues()
    {
        f.settings->setValue(QString::fromLatin1(PromptStore::samplesDismissedKey), u"true"_s);
        auto store = makeStore();
        PromptLoadResult result = sampleLoad();
        result.configIssues = brokenLoad().configIssues;
        load(*store, *f.loader, result);
        QCOMPARE(store->configIssues().size(), 1);
        QVERIFY(store->globalPrompts().isEmpty());
    }

    void lastEditedWorkspaceFollowsTheDisk()
    {
        auto store = makeStore();
        load(*store, *f.loader, goodLoad());
        QVERIFY(!store->lastEditedWorkspaceID());

        // The selection is read when the reload starts; "home" is deleted behind our back.
        struct Probe : PromptStore {
            using PromptStore::setLastEditedWorkspaceID;
        };
        (store.get()->*&Probe::setLastEditedWorkspaceID)(u"home"_s);
        load(*store, *f.loader, goodLoad());
        QCOMPARE(store->lastEditedWorkspaceID(), std::optional<QString>(u"home"_s));
        PromptLoadResult without = goodLoad();
        without.workspaces.removeLast();
        load(*store, *f.loader, without);
        QCOMPARE(store->lastEditedWorkspaceID(), std::nullopt);
    }

    void languageIsTakenWhenTheReloadStarts()
    {
        auto store = makeStore();
        m_language = AppLanguage::zhHans;
        store->reload();
        m_language = AppLanguage::english;
        f.loader->finish(0, brokenLoad());
        QTRY_VERIFY(!store->isReloading());
        load(*store, *f.loader, goodLoad());
        load(*store, *f.loader, brokenLoad());
        QCOMPARE(f.loader->languages.front(), AppLanguage::zhHans);
        QCOMPARE(store->statusMessage(), text("status.config.preserved.previous"));
    }

    void storeGoneBeforeTheLoadEnds()
    {
        auto store = makeStore();
        QFuture<void> task = store->reloadAndWait();
        store.reset();
        f.loader->finish(0, goodLoad());
        QTRY_VERIFY(task.isFinished() || task.isCanceled());
    }

    void sections_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QStringList>("sectionIDs");
        QTest::addColumn<QStringList>("titles");
        QTest::newRow("manual groups in order of first appearance")
            << u"manual"_s << QStringList{u"B"_s, u"A"_s, u""_s} << QStringList{u"B"_s, u"A"_s, u""_s};
        QTest::newRow("recent, one section")
            << u"recent"_s << QStringList{u"recent"_s} << QStringList{text("settings.usage.sort.recent")};
        QTest::newRow("frequent, one section") << u"frequent"_s << QStringList{u"frequent"_s}
                                               << QStringList{text("settings.usage.sort.frequent")};
        QTest::newRow("unknown stored text is manual")
            << u"alphabetic"_s << QStringList{u"B"_s, u"A"_s, u""_s} << QStringList{u"B"_s, u"A"_s, u""_s};
    }

    void sections()
    {
        QFETCH(QString, mode);
        QFETCH(QStringList, sectionIDs);
        QFETCH(QStringList, titles);
        f.settings->setValue(QString::fromLatin1(PromptStore::sortModeKey), mode);
        auto store = makeStore();
        const QList<PromptItem> prompts{prompt(u"1"_s, u"B"_s), prompt(u"2"_s, u"A"_s),
                                        prompt(u"3"_s, u"B"_s), prompt(u"4"_s, u""_s)};
        const QList<PromptSection> sections = store->promptSections(prompts);
        QStringList ids, sectionTitles;
        for (const PromptSection& section : sections) {
            ids.append(section.id);
            sectionTitles.append(section.title);
        }
        QCOMPARE(ids, sectionIDs);
        QCOMPARE(sectionTitles, titles);
        if (mode == u"manual")
            QCOMPARE(idsOf(sections[0].prompts), (QStringList{u"1"_s, u"3"_s}));
        else if (sections.size() == 1)
            QCOMPARE(idsOf(sections[0].prompts), (QStringList{u"1"_s, u"2"_s, u"3"_s, u"4"_s}));
        QVERIFY(store->promptSections({}).isEmpty()); // no empty section, in any mode
    }

    void setSortModeWritesTheRawValue()
    {
        auto store = makeStore();
        QSignalSpy spy(store.get(), &PromptStore::sortModeChanged);
        store->setSortMode(PromptSortMode::frequent);
        QCOMPARE(store->sortMode(), PromptSortMode::frequent);
        QCOMPARE(f.settings->value(QString::fromLatin1(PromptStore::sortModeKey)).toString(), u"frequent"_s);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(makeStore()->sortMode(), PromptSortMode::frequent);
    }

    void matchingPreferencesAndTheirWrongTypes()
    {
        f.settings->setValue(QString::fromLatin1(PromptStore::advancedMatchingKey), u"yes"_s);
        f.settings->setValue(QString::fromLatin1(PromptStore::projectConfigsKey), u"false"_s);
        auto store = makeStore();
        QCOMPARE(store->advancedAutomaticMatchingEnabled(), false);
        QCOMPARE(store->projectConfigsEnabled(), false);
        f.settings->setValue(QString::fromLatin1(PromptStore::advancedMatchingKey), true);
        f.settings->setValue(QString::fromLatin1(PromptStore::projectConfigsKey), 3);
        store = makeStore();
        QCOMPARE(store->advancedAutomaticMatchingEnabled(), true);
        QCOMPARE(store->projectConfigsEnabled(), true);
    }

    void knownWorkspacePathsKeepDuplicates()
    {
        auto store = makeStore();
        load(*store, *f.loader, goodLoad());
        QCOMPARE(store->knownWorkspacePaths(), (QStringList{u"/src/a"_s, u"/src/b"_s, u"/src/a"_s}));
    }

    void workspaceManagerList()
    {
        auto store = makeStore();
        load(*store, *f.loader, goodLoad());
        PromptWorkspace duplicate = savedWorkspace(u"work"_s, {prompt(u"other"_s)});
        duplicate.source = PromptWorkspaceSource::projectConfig;
        const QList<PromptWorkspace> list =
            store->workspaceManagerWorkspaces({duplicate, savedWorkspace(u"extra"_s, {})});
        QStringList ids;
        for (const PromptWorkspace& w : list)
            ids.append(w.id);
        QCOMPARE(ids, (QStringList{u"__velmora_global__"_s, u"work"_s, u"home"_s, u"extra"_s}));
        QCOMPARE(list[0].source, PromptWorkspaceSource::global);
        QCOMPARE(list[0].fileURL, std::optional<QString>(f.homePath() + u"/.velmora/global.yaml"_s));
        QCOMPARE(list[0].name, text("sample.global.prompts"));
        QCOMPARE(list[1].source, PromptWorkspaceSource::userWorkspace); // the user's copy wins

        load(*store, *f.loader, sampleLoad());
        const QList<PromptWorkspace> samples = store->workspaceManagerWorkspaces();
        QCOMPARE(samples[0].source, PromptWorkspaceSource::transientSample);
        QVERIFY(!samples[0].fileURL);

        load(*store, *f.loader, PromptLoadResult{});
        QVERIFY(store->workspaceManagerWorkspaces().isEmpty()); // no global prompts, no pseudo-workspace
    }
};

QTEST_GUILESS_MAIN(TestPromptStore)
#include "tst_promptstore.moc"
