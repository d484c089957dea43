// A library on disk with something in every file the program writes (a global file, a workspace,
// agent and legacy bindings, usage records, a trusted project file), a store loaded from it, and every
// store operation that writes, for the tests that make those writes fail. A marker string stands in
// prompt texts and titles, workspace names, match paths and the folders above the home.
#pragma once

#include "AppLanguage.h"
#include "ContextBindingStore.h"
#include "ProjectConfigTrustStore.h"
#include "PromptStore.h"
#include "PromptUsageStore.h"
#include "PromptYAMLEncoder.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>

namespace LibraryWriteOperations {

using namespace Qt::StringLiterals;

inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

inline PromptItem promptWith(const QString& id, const QString& marker)
{
    PromptItem prompt;
    prompt.id = id;
    prompt.title = u"Title "_s + marker;
    prompt.group = u"Group "_s + marker;
    prompt.text = u"Text {{"_s + marker + u"}}"_s;
    prompt.tags = {u"tag-"_s + marker};
    return prompt;
}

// Everything the program keeps, in memory and on disk.
struct Snapshot {
    QList<PromptItem> globalPrompts;
    QList<PromptWorkspace> workspaces;
    ContextBindingStateSnapshot bindings;
    QHash<QString, PromptUsageRecord> usage;
    QHash<QString, QString> trust;
    QMap<QString, QByteArray> files; // relative to ~/.velmora, hidden files included
    QMap<QString, QByteArray> projectFiles;

    bool operator==(const Snapshot&) const = default;
};

class Library {
public:
    std::unique_ptr<QTemporaryDir> temporary;
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<PromptStore> store;
    QString marker;
    QString rootPath;    // the temporary folder that holds it all
    QString home;        // <root>/<marker>/home
    QString projectFile; // <root>/<marker>/projects/app/.velmora.yaml

    // Writes a new library and loads it; with `existingRoot` only loads the one that stands there.
    void setUp(const QString& markerText, const QString& existingRoot = {})
    {
        QStandardPaths::setTestModeEnabled(true);
        marker = markerText;
        store.reset();
        temporary.reset(existingRoot.isEmpty() ? new QTemporaryDir : nullptr);
        rootPath = QDir(existingRoot.isEmpty() ? temporary->path() : existingRoot).canonicalPath();
        QVERIFY(!rootPath.isEmpty());
        home = rootPath + u'/' + marker + u"/home"_s;
        projectFile = rootPath + u'/' + marker + u"/projects/app/.velmora.yaml"_s;
        settings = std::make_unique<QSettings>(rootPath + u"/settings.ini"_s, QSettings::IniFormat);
        if (existingRoot.isEmpty())
            writeLibrary();
        makeStore();
    }

    void writeLibrary()
    {
        PromptWorkspace global;
        global.prompts = {promptWith(u"g"_s, marker)};
        QVERIFY(writeFile(home + u"/.velmora/global.yaml"_s, PromptYAMLEncoder::encodeWorkspace(global, false).toUtf8()));
        PromptWorkspace work;
        work.name = u"Work "_s + marker;
        work.matchPaths = {rootPath + u'/' + marker + u"/code"_s};
        work.prompts = {promptWith(u"a"_s, marker), promptWith(u"b"_s, marker)};
        QVERIFY(writeFile(home + u"/.velmora/workspaces/work.yaml"_s,
                          PromptYAMLEncoder::encodeWorkspace(work, true).toUtf8()));
        QVERIFY(writeFile(projectFile, "prompts:\n  - id: p\n    title: \"Project "_ba + marker.toUtf8() + "\"\n"));
        ContextBinding legacy{u"legacy-1"_s, u"Terminal"_s, std::nullopt, u"title-hash:"_s + marker, u"work"_s,
                              QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC)};
        QVERIFY(writeFile(home + u"/.velmora/context-bindings.json"_s,
                          ContextBindingStore::encodeLegacyBindings({legacy})));
    }

    // The store over the library; the first build also binds, records and trusts, so every file exists.
    void makeStore()
    {
        store = std::make_unique<PromptStore>(
            home, [] { return AppLanguage::english; }, settings.get(), PromptStore::Collaborators{}, false);
        const QFuture<void> loaded = store->reloadAndWait();
        QTRY_VERIFY_WITH_TIMEOUT(loaded.isFinished(), 60000);
        QCOMPARE(store->workspaces().size(), 1);
        if (!QFile::exists(store->usageStore()->fileURL())) {
            QVERIFY(store->bindAgent(AgentType::cursor, u"work"_s, true));
            store->usageStore()->recordSuccessfulCopy(u"a"_s, QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC));
            QVERIFY(store->trustProjectConfig(projectFile));
        }
    }

    Snapshot snapshot() const
    {
        Snapshot result{store->globalPrompts(), store->workspaces(), store->bindingStore()->stateSnapshot(),
                        store->usageStore()->records(),
                        store->projectConfigTrustStore().trustedConfigHashesByPath(), filesUnder(home + u"/.velmora"_s),
                        filesUnder(QFileInfo(projectFile).absolutePath())};
        return result;
    }

    static QMap<QString, QByteArray> filesUnder(const QString& folder)
    {
        QMap<QString, QByteArray> files;
        QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            const QString path = entries.next();
            QFile file(path);
            files.insert(QDir(folder).relativeFilePath(path),
                         entries.fileInfo().isDir() ? QByteArray("<folder>")
                         : file.open(QIODevice::ReadOnly) ? file.readAll()
                                                           : QByteArray("<unreadable>"));
        }
        return files;
    }
};

// One operation that writes; true when the store reports success.
struct Operation {
    const char* name = "";
    std::function<bool(Library&)> run;
    // Trust is kept in memory when its file can't be written, for this run only.
    bool keepsTrustInMemory = false;
};

inline QList<Operation> operations()
{
    const auto noError = [](PromptStore& store) { return !store.lastErrorMessage().has_value(); };
    QList<Operation> all{
        {"create workspace", [](Library& l) { return l.store->createWorkspace(u"New "_s + l.marker, l.marker).has_value(); }},
        {"update workspace", [](Library& l) { return l.store->updateWorkspace(u"work"_s, u"Renamed "_s + l.marker, l.marker); }},
        {"save as new copy",
         [](Library& l) { return l.store->saveWorkspaceAsNewCopy(u"work"_s, u"Copy "_s + l.marker, l.marker).has_value(); }},
        {"save sample as workspace",
         [](Library& l) {
             PromptWorkspace sample;
             sample.id = u"sample"_s;
             sample.name = u"Sample "_s + l.marker;
             sample.prompts = {promptWith(u"s"_s, l.marker)};
             sample.source = PromptWorkspaceSource::transientSample;
             return l.store->saveTransientSampleAsWorkspace(sample, u"Saved "_s + l.marker).has_value();
         }},
        {"add prompt", [](Library& l) { return l.store->addPrompt(promptWith(u"c"_s, l.marker), u"work"_s); }},
        {"update prompt",
         [](Library& l) {
             PromptItem changed = promptWith(u"a"_s, l.marker);
             changed.text = u"Changed "_s + l.marker;
             return l.store->updatePrompt(changed, u"work"_s);
         }},
        {"import prompts",
         [](Library& l) {
             return l.store->importPrompts({promptWith(u"d"_s, l.marker), promptWith(u"e"_s, l.marker)}, u"work"_s);
         }},
        {"toggle pin", [=](Library& l) { return l.store->togglePinned(u"a"_s, u"work"_s), noError(*l.store); }},
        {"move prompt",
         [=](Library& l) { return l.store->movePrompt(u"b"_s, u"work"_s, PromptMoveDirection::top), noError(*l.store); }},
        {"delete prompt", [](Library& l) { return l.store->deletePrompt(u"b"_s, u"work"_s); }},
        {"delete workspace", [](Library& l) { return l.store->deleteWorkspaces({u"work"_s}).failureCount() == 0; }},
        {"bind context",
         [](Library& l) {
             AgentContext context;
             context.frontmostAppName = u"Code"_s;
             context.frontmostBundleIdentifier = u"com.microsoft.VSCode"_s;
             context.frontWindowTitle = u"main.cpp — "_s + l.marker;
             context.agent = AgentType::vscode;
             context.workspacePath = l.rootPath + u'/' + l.marker;
             return l.store->bindContext(context, u"work"_s);
         }},
        {"bind agent", [](Library& l) { return l.store->bindAgent(AgentType::zed, u"work"_s, true); }},
        {"delete binding",
         [](Library& l) {
             return l.store->deleteBinding(l.store->bindingStore()->agentWorkspaceBindings().constFirst().id);
         }},
        {"trust project file",
         [](Library& l) {
             // Changed bytes, so that the trust file must change too.
             writeFile(l.projectFile, "prompts:\n  - id: q\n    title: \"Other "_ba + l.marker.toUtf8() + "\"\n");
             return l.store->trustProjectConfig(l.projectFile);
         },
         true},
    };
    return all;
}

// The project file is the user's: a failed trust may not touch it, but its own step changed it.
inline void expectUnchanged(const Snapshot& before, const Snapshot& after, const Operation& operation)
{
    QCOMPARE(after.globalPrompts, before.globalPrompts);
    QCOMPARE(after.workspaces, before.workspaces);
    QCOMPARE(after.bindings, before.bindings);
    QCOMPARE(after.usage, before.usage);
    if (!operation.keepsTrustInMemory)
        QCOMPARE(after.trust, before.trust);
    QCOMPARE(after.files, before.files);
}

} // namespace LibraryWriteOperations
