#include "ContextBindingStore.h"
#include "FakeConfigLoader.h"
#include "Localization.h"
#include "PromptStore.h"
#include "PromptUsageStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QString text(const char* key)
{
    return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), AppLanguage::english);
}

PromptItem prompt(const QString& id, const QString& group = u"General"_s)
{
    PromptItem item;
    item.id = id;
    item.title = id;
    item.group = group;
    item.text = u"Text of "_s + id;
    return item;
}

PromptWorkspace workspace(const QString& id, const QList<PromptItem>& prompts, const QStringList& paths = {})
{
    PromptWorkspace result;
    result.id = id;
    result.name = id;
    result.prompts = prompts;
    result.matchPaths = paths;
    result.fileURL = u"/home/u/.velmora/workspaces/"_s + id + u".yaml"_s;
    return result;
}

PromptLoadResult goodLoad(const QString& status = u"Loaded"_s)
{
    PromptLoadResult result;
    result.globalPrompts = {prompt(u"g1"_s)};
    result.workspaces = {workspace(u"work"_s, {prompt(u"w1"_s), prompt(u"w2"_s)}, {u"/src/a"_s}),
                         workspace(u"home"_s, {prompt(u"h1"_s)}, {u"/src/b"_s, u"/src/a"_s})};
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
    result.workspaces[0].fileURL.reset();
    result.showsTransientSamples = true;
    result.statusMessage = u"Samples"_s;
    return result;
}

QStringList idsOf(const QList<PromptItem>& prompts)
{
    QStringList ids;
    for (const PromptItem& item : prompts)
        ids.append(item.id);
    return ids;
}

QSet<QString> usageIDs(const PromptUsageStore& usage)
{
    QSet<QString> ids;
    for (auto it = usage.records().cbegin(); it != usage.records().cend(); ++it)
        ids.insert(it.key());
    return ids;
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

} // namespace

class TestPromptStore : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<QTemporaryDir> m_home; // fresh for each test: the usage and binding files live here
    std::unique_ptr<QSettings> m_settings;
    std::shared_ptr<FakeConfigLoader> m_loader;
    std::shared_ptr<PromptUsageStore> m_usage;
    std::shared_ptr<ContextBindingStore> m_bindings;
    AppLanguage m_language = AppLanguage::english;

    QString usageFile() const { return m_home->filePath(u".velmora/prompt-usage.json"_s); }
    QString bindingsFile() const { return m_home->filePath(u".velmora/agent-workspace-bindings.json"_s); }

    void seedUsage(const QStringList& promptIDs)
    {
        for (const QString& id : promptIDs)
            m_usage->recordSuccessfulCopy(id, QDateTime::currentDateTimeUtc());
        QCOMPARE(usageIDs(*m_usage).size(), promptIDs.size());
    }

    std::unique_ptr<PromptStore> makeStore(bool loadsOnInit = false)
    {
        return std::make_unique<PromptStore>(
            m_home->path(), [this] { return m_language; }, m_settings.get(),
            PromptStore::Collaborators{m_loader, m_usage, m_bindings}, loadsOnInit);
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
        m_settings = std::make_unique<QSettings>(m_dir.filePath(u"settings.ini"_s), QSettings::IniFormat);
        m_settings->clear();
        m_loader = std::make_shared<FakeConfigLoader>();
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(m_home->isValid());
        m_usage = std::make_shared<PromptUsageStore>(m_home->path());
        ContextBindingStore::Dependencies dependencies;
        dependencies.languageProvider = [] {
            return AppLanguage::english;
        };
        m_bindings = std::make_shared<ContextBindingStore>(m_home->path(), dependencies);
        m_language = AppLanguage::english;
    }

    void startsEmptyAndLoadsOnInit()
    {
        auto store = makeStore(true);
        QCOMPARE(store->statusMessage(), text("status.not.loaded"));
        QCOMPARE(m_loader->pending.size(), size_t(1));
        // Written behind the binding store's back: the reload reads the bindings again.
        writeFile(bindingsFile(), R"({"version": 3, "bindings": [{"agentType": "codex", "appName": "Codex",
            "createdAt": "2024-05-01T09:30:00Z", "id": "B1", "isDefault": false, "workspaceID": "work"}]})");
        QVERIFY(m_bindings->agentWorkspaceBindings().isEmpty());
        m_loader->finish(0, goodLoad());
        QTRY_COMPARE(store->statusMessage(), u"Loaded"_s);
        QCOMPARE(idsOf(store->globalPrompts()), QStringList{u"g1"_s});
        QCOMPARE(store->workspaces().size(), 2);
        QCOMPARE(store->workspaceMetadata().value(u"work"_s).fileSize, 120);
        QCOMPARE(m_bindings->agentWorkspaceBindings().size(), 1);
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
            m_loader->finish(1, goodLoad(u"fresh"_s));
            QTRY_VERIFY(second.isFinished());
            m_loader->finish(0, stale);
        } else {
            m_loader->finish(0, stale);
            m_loader->finish(1, goodLoad(u"fresh"_s));
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
        load(*store, *m_loader, brokenLoad());
        QVERIFY(store->globalPrompts().isEmpty());
        QVERIFY(store->workspaces().isEmpty());
        QVERIFY(store->workspaceMetadata().isEmpty());
        QCOMPARE(store->configIssues().size(), 1);
        QCOMPARE(store->statusMessage(), u"Loaded with problems"_s);
        QCOMPARE(usageIDs(*m_usage), QSet<QString>{u"gone"_s}); // a load with issues prunes nothing
    }

    void brokenFileAfterGoodLoadKeepsThePreviousLibrary()
    {
        auto store = makeStore();
        seedUsage({u"w1"_s, u"h1"_s, u"gone"_s});
        load(*store, *m_loader, goodLoad());
        QCOMPARE(usageIDs(*m_usage), (QSet<QString>{u"w1"_s, u"h1"_s}));
        QCOMPARE(usageIDs(PromptUsageStore(m_home->path())), (QSet<QString>{u"w1"_s, u"h1"_s})); // persisted

        QVERIFY(QFile::remove(usageFile())); // any further write would bring it back
        load(*store, *m_loader, brokenLoad());
        QCOMPARE(store->workspaces().size(), 2); // "home" stays although its file broke
        QCOMPARE(idsOf(store->workspaces()[1].prompts), QStringList{u"h1"_s});
        QCOMPARE(store->configIssues().size(), 1);
        QCOMPARE(store->statusMessage(), text("status.config.preserved.previous"));
        QVERIFY(usageIDs(*m_usage).contains(u"h1"_s)); // usage of the broken file's prompts survives
        QVERIFY(!QFile::exists(usageFile()));

        load(*store, *m_loader, goodLoad(u"Fixed"_s));
        QVERIFY(store->configIssues().isEmpty());
        QCOMPARE(store->statusMessage(), u"Fixed"_s);
    }

    void usageOfPromptsNoLongerLoadedIsDropped()
    {
        auto store = makeStore();
        seedUsage({u"w1"_s, u"project-only"_s});
        load(*store, *m_loader, goodLoad());
        QCOMPARE(usageIDs(*m_usage), QSet<QString>{u"w1"_s});
        QVERIFY(QFile::remove(usageFile()));
        load(*store, *m_loader, goodLoad()); // nothing changes: no write
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
            load(*store, *m_loader, goodLoad());
        if (bindingsUnreadable)
            writeFile(bindingsFile(), "{\"version\": 3, \"bindings\": [");
        load(*store, *m_loader, brokenAfterGood ? brokenLoad() : goodLoad(), preserved);
        QCOMPARE(store->statusMessage(), expected);
    }

    void unreadableBindingsFileThroughTheRealBindingStore()
    {
        QTemporaryDir home;
        const QString bindingsFile = home.filePath(u".velmora/agent-workspace-bindings.json"_s);
        const QByteArray truncated = "{\"version\": 3, \"bindings\": [{\"id\": \"A\"";
        QVERIFY(QDir().mkpath(home.filePath(u".velmora"_s)));
        {
            QFile file(bindingsFile);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(truncated);
        }
        ContextBindingStore::Dependencies dependencies;
        dependencies.languageProvider = [] {
            return AppLanguage::english;
        };
        auto bindings = std::make_shared<ContextBindingStore>(home.path(), dependencies);
        PromptStore store(
            home.path(), [this] { return m_language; }, m_settings.get(),
            PromptStore::Collaborators{m_loader, m_usage, bindings}, false);

        load(store, *m_loader, goodLoad());
        QCOMPARE(store.statusMessage(), text("status.binding.file.unreadable"));
        QVERIFY(bindings->agentWorkspaceBindings().isEmpty());
        QFile file(bindingsFile);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), truncated); // never overwritten
        file.close();

        // Repaired behind the program's back: the next reload reads it again.
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("{\"version\": 3}");
        file.close();
        load(store, *m_loader, goodLoad());
        QCOMPARE(store.statusMessage(), u"Loaded"_s);
        QVERIFY(!bindings->hasAgentWorkspaceBindingLoadError());
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
        m_settings->setValue(QString::fromLatin1(PromptStore::samplesDismissedKey), dismissed);
        auto store = makeStore();
        PromptLoadResult result = sampleLoad();
        if (empty) {
            result.globalPrompts.clear();
            result.workspaces.clear();
        }
        load(*store, *m_loader, result);
        QCOMPARE(store->showsTransientSamples(), shows);
        QCOMPARE(store->globalPrompts().isEmpty(), dismissed || empty);
        QCOMPARE(store->statusMessage(), dismissed ? text("status.config.samples.hidden") : u"Samples"_s);
    }

    void dismissedSamplesKeepTheirIssues()
    {
        m_settings->setValue(QString::fromLatin1(PromptStore::samplesDismissedKey), u"true"_s);
        auto store = makeStore();
        PromptLoadResult result = sampleLoad();
        result.configIssues = brokenLoad().configIssues;
        load(*store, *m_loader, result);
        QCOMPARE(store->configIssues().size(), 1);
        QVERIFY(store->globalPrompts().isEmpty());
    }

    void lastEditedWorkspaceFollowsTheDisk()
    {
        auto store = makeStore();
        load(*store, *m_loader, goodLoad());
        QVERIFY(!store->lastEditedWorkspaceID());

        // The selection is read when the reload starts; "home" is deleted behind our back.
        struct Probe : PromptStore {
            using PromptStore::setLastEditedWorkspaceID;
        };
        static_cast<Probe*>(store.get())->setLastEditedWorkspaceID(u"home"_s);
        load(*store, *m_loader, goodLoad());
        QCOMPARE(store->lastEditedWorkspaceID(), std::optional<QString>(u"home"_s));
        PromptLoadResult without = goodLoad();
        without.workspaces.removeLast();
        load(*store, *m_loader, without);
        QCOMPARE(store->lastEditedWorkspaceID(), std::nullopt);
    }

    void languageIsTakenWhenTheReloadStarts()
    {
        auto store = makeStore();
        m_language = AppLanguage::zhHans;
        store->reload();
        m_language = AppLanguage::english;
        m_loader->finish(0, brokenLoad());
        QTRY_VERIFY(!store->isReloading());
        load(*store, *m_loader, goodLoad());
        load(*store, *m_loader, brokenLoad());
        QCOMPARE(m_loader->languages.front(), AppLanguage::zhHans);
        QCOMPARE(store->statusMessage(), text("status.config.preserved.previous"));
    }

    void storeGoneBeforeTheLoadEnds()
    {
        auto store = makeStore();
        QFuture<void> task = store->reloadAndWait();
        store.reset();
        m_loader->finish(0, goodLoad());
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
        m_settings->setValue(QString::fromLatin1(PromptStore::sortModeKey), mode);
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
        QCOMPARE(m_settings->value(QString::fromLatin1(PromptStore::sortModeKey)).toString(), u"frequent"_s);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(makeStore()->sortMode(), PromptSortMode::frequent);
    }

    void matchingPreferencesAndTheirWrongTypes()
    {
        m_settings->setValue(QString::fromLatin1(PromptStore::advancedMatchingKey), u"yes"_s);
        m_settings->setValue(QString::fromLatin1(PromptStore::projectConfigsKey), u"false"_s);
        auto store = makeStore();
        QCOMPARE(store->advancedAutomaticMatchingEnabled(), false);
        QCOMPARE(store->projectConfigsEnabled(), false);
        m_settings->setValue(QString::fromLatin1(PromptStore::advancedMatchingKey), true);
        m_settings->setValue(QString::fromLatin1(PromptStore::projectConfigsKey), 3);
        store = makeStore();
        QCOMPARE(store->advancedAutomaticMatchingEnabled(), true);
        QCOMPARE(store->projectConfigsEnabled(), true);
    }

    void knownWorkspacePathsKeepDuplicates()
    {
        auto store = makeStore();
        load(*store, *m_loader, goodLoad());
        QCOMPARE(store->knownWorkspacePaths(), (QStringList{u"/src/a"_s, u"/src/b"_s, u"/src/a"_s}));
    }

    void workspaceManagerList()
    {
        auto store = makeStore();
        load(*store, *m_loader, goodLoad());
        PromptWorkspace duplicate = workspace(u"work"_s, {prompt(u"other"_s)});
        duplicate.source = PromptWorkspaceSource::projectConfig;
        const QList<PromptWorkspace> list =
            store->workspaceManagerWorkspaces({duplicate, workspace(u"extra"_s, {})});
        QStringList ids;
        for (const PromptWorkspace& w : list)
            ids.append(w.id);
        QCOMPARE(ids, (QStringList{u"__velmora_global__"_s, u"work"_s, u"home"_s, u"extra"_s}));
        QCOMPARE(list[0].source, PromptWorkspaceSource::global);
        QCOMPARE(list[0].fileURL, std::optional<QString>(m_home->filePath(u".velmora/global.yaml"_s)));
        QCOMPARE(list[0].name, text("sample.global.prompts"));
        QCOMPARE(list[1].source, PromptWorkspaceSource::userWorkspace); // the user's copy wins

        load(*store, *m_loader, sampleLoad());
        const QList<PromptWorkspace> samples = store->workspaceManagerWorkspaces();
        QCOMPARE(samples[0].source, PromptWorkspaceSource::transientSample);
        QVERIFY(!samples[0].fileURL);

        load(*store, *m_loader, PromptLoadResult{});
        QVERIFY(store->workspaceManagerWorkspaces().isEmpty()); // no global prompts, no pseudo-workspace
    }
};

QTEST_GUILESS_MAIN(TestPromptStore)
#include "tst_promptstore.moc"
