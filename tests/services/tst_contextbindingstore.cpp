#include "AppLog.h"
#include "ContextBindingStore.h"
#include "SecureFileWriter.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include <cerrno>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 referenceOffset = 978307200; // 2001-01-01 in Unix seconds

QDateTime utc(const char* text)
{
    return QDateTime::fromString(QString::fromLatin1(text), Qt::ISODate).toUTC();
}

AgentContext context(AgentType agent, const QString& appName,
                     const std::optional<QString>& bundle = std::nullopt, const QString& title = QString(),
                     const QString& workspaceName = unidentifiedWorkspaceName)
{
    AgentContext result = AgentContext::unknown();
    result.agent = agent;
    result.frontmostAppName = appName;
    result.frontmostBundleIdentifier = bundle;
    result.frontWindowTitle = title;
    result.workspaceName = workspaceName;
    return result;
}

int modeOf(const QString& path)
{
    struct stat info = {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return -1;
    return int(info.st_mode & 07777);
}

QByteArray json(const QJsonValue& value)
{
    return value.isArray() ? QJsonDocument(value.toArray()).toJson()
                           : QJsonDocument(value.toObject()).toJson();
}

QJsonObject agentObject(const QString& id, const QString& agent, const QString& workspaceID,
                        const QJsonValue& createdAt, bool isDefault = false)
{
    return QJsonObject{{u"id"_s, id},
                       {u"agentType"_s, agent},
                       {u"appName"_s, u"App"_s},
                       {u"workspaceID"_s, workspaceID},
                       {u"isDefault"_s, isDefault},
                       {u"createdAt"_s, createdAt}};
}

QJsonObject legacyObject(const QString& id, const QString& appName, const QString& keyword,
                         const QString& workspaceID, const std::optional<QString>& bundle = std::nullopt,
                         const QString& createdAt = u"2023-01-01T00:00:00Z"_s)
{
    QJsonObject object{{u"id"_s, id},
                       {u"appName"_s, appName},
                       {u"windowKeyword"_s, keyword},
                       {u"workspaceID"_s, workspaceID},
                       {u"createdAt"_s, createdAt}};
    if (bundle)
        object.insert(u"bundleIdentifier"_s, *bundle);
    return object;
}

QString sha256Keyword(const QByteArray& salt, const QString& title)
{
    return u"title-hash:"_s + QString::fromLatin1(QCryptographicHash::hash(QByteArray(salt + title.toUtf8()),
                                                                           QCryptographicHash::Sha256)
                                                      .toHex());
}

// The outcome of an add, without the binding.
Expected<void> added(const Expected<AgentWorkspaceBinding>& result)
{
    return result ? Expected<void>() : Expected<void>(result.error());
}

} // namespace

class TestContextBindingStore : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QStringList m_log;
    QStringList m_failingFiles; // file names whose writes fail; "*" fails every write
    int m_writes = 0;
    QDateTime m_now;

    QString path(const QString& name) const { return m_home->filePath(u".velmora/"_s + name); }
    QString agentFile() const { return path(u"agent-workspace-bindings.json"_s); }
    QString legacyFile() const { return path(u"context-bindings.json"_s); }

    std::unique_ptr<ContextBindingStore> makeStore()
    {
        ContextBindingStore::Dependencies dependencies;
        dependencies.writeData = [this](const QByteArray& data, const QString& target) -> Expected<void> {
            ++m_writes;
            if (m_failingFiles.contains(u"*"_s) || m_failingFiles.contains(QFileInfo(target).fileName()))
                return AppError::posix(ENOSPC); // a full disk
            return SecureFileWriter::writeData(data, target);
        };
        dependencies.now = [this] {
            return m_now;
        };
        dependencies.languageProvider = [] {
            return AppLanguage::english;
        };
        return std::make_unique<ContextBindingStore>(m_home->path(), dependencies);
    }

    void writeFile(const QString& name, const QByteArray& data)
    {
        QVERIFY(QDir().mkpath(m_home->filePath(u".velmora"_s)));
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(data);
    }

    void writeLegacy(const QJsonArray& bindings) { writeFile(u"context-bindings.json"_s, json(bindings)); }
    void writeAgentFile(const QJsonObject& file)
    {
        writeFile(u"agent-workspace-bindings.json"_s, json(file));
    }

    QByteArray readFile(const QString& filePath) const
    {
        QFile file(filePath);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
    }

    QJsonObject agentFileObject() const { return QJsonDocument::fromJson(readFile(agentFile())).object(); }

    bool logged(const QString& prefix) const
    {
        return std::any_of(m_log.cbegin(), m_log.cend(),
                           [&](const QString& line) { return line.startsWith(prefix); });
    }

    // A store with two agents bound, a last selection and legacy bindings, all on disk.
    std::unique_ptr<ContextBindingStore> populatedStore()
    {
        writeLegacy({legacyObject(u"L1"_s, u"Terminal"_s, u"velmora"_s, u"web"_s),
                     legacyObject(u"L2"_s, u"Terminal"_s, u"notes"_s, u"notes"_s)});
        auto store = makeStore();
        m_now = utc("2024-05-01T09:30:00Z");
        [&] {
            QVERIFY(
                store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, u"dev.zed.Zed"_s, u"web"_s, true));
            m_now = utc("2024-05-02T09:30:00Z");
            QVERIFY(store->addAgentWorkspaceBinding(AgentType::cursor, u"Cursor"_s, std::nullopt, u"api"_s,
                                                    false));
            QVERIFY(store->setLastSelectedWorkspaceID(u"web"_s, context(AgentType::zed, u"Zed"_s)));
        }();
        return store;
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_log.clear();
        m_failingFiles.clear();
        m_writes = 0;
        m_now = utc("2024-05-01T09:30:00.750Z");
        AppLog::setSinkForTesting([this](AppLog::Category category, const QString& line) {
            if (category == AppLog::Category::context)
                m_log.append(line);
        });
    }

    void cleanup() { AppLog::setSinkForTesting(nullptr); }

    void fileWrittenReadsBackToEqualRecords()
    {
        auto store = populatedStore();
        QCOMPARE(store->agentWorkspaceBindings().size(), 2);
        // Whole seconds, as the file holds them.
        QCOMPARE(store->agentWorkspaceBindings().first().createdAt, utc("2024-05-01T09:30:00Z"));

        auto reread = makeStore();
        QCOMPARE(reread->agentWorkspaceBindings(), store->agentWorkspaceBindings());
        QCOMPARE(reread->lastSelectedWorkspaceIDs(), (QMap<QString, QString>{{u"zed"_s, u"web"_s}}));
        QVERIFY(!reread->agentWorkspaceBindingLoadError());
        QVERIFY(reread->agentWorkspaceBindingWarnings().isEmpty());

        const QJsonObject file = agentFileObject();
        QCOMPARE(file.value(u"version"_s).toInteger(), 3);
        QCOMPARE(file.value(u"migratedFromContextBindings"_s).toBool(), true);
        const QString id = file.value(u"bindings"_s).toArray().at(0).toObject().value(u"id"_s).toString();
        QVERIFY(!QUuid::fromString(id).isNull());
        QCOMPARE(id, id.toUpper());

        // Sorted keys and pretty-printed, as written.
        const QByteArray text = readFile(agentFile());
        QVERIFY(text.contains('\n'));
        qsizetype previous = -1;
        for (const char* key : {"\"agentType\"", "\"appName\"", "\"bundleIdentifier\"", "\"createdAt\"",
                                "\"id\"", "\"isDefault\"", "\"workspaceID\"", "\"lastSelectedWorkspaceIDs\"",
                                "\"migratedFromContextBindings\"", "\"version\""}) {
            const qsizetype at = text.indexOf(key);
            QVERIFY2(at > previous, key);
            previous = at;
        }
        QVERIFY(m_log.isEmpty());
    }

    void filesAreOwnerOnlyInAnOwnerOnlyFolder()
    {
        QVERIFY(QDir().mkpath(m_home->filePath(u".velmora"_s)));
        QVERIFY(::chmod(QFile::encodeName(m_home->filePath(u".velmora"_s)).constData(), 0755) == 0);
        writeLegacy({legacyObject(u"L"_s, u"Zed"_s, u"x"_s, u"web"_s)});
        QVERIFY(::chmod(QFile::encodeName(legacyFile()).constData(), 0644) == 0);

        auto store = makeStore();
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, false));
        QCOMPARE(modeOf(m_home->filePath(u".velmora"_s)), 0700);
        QCOMPARE(modeOf(agentFile()), 0600);

        QVERIFY(store->deleteWorkspaceReferences(u"web"_s));
        QCOMPARE(modeOf(legacyFile()), 0600);
        QCOMPARE(ContextBindingStore::decodeLegacyBindings(readFile(legacyFile())).hasValue(), true);

        store->hashedTitleKeyword(u"title"_s);
        QCOMPARE(modeOf(path(u"title-hash-salt"_s)), 0600);
        QCOMPARE(readFile(path(u"title-hash-salt"_s)).size(), 32);
    }

    void olderVersionsAreRewrittenAsVersion3_data()
    {
        QTest::addColumn<QJsonValue>("version"); // Undefined: no key at all
        QTest::addColumn<QJsonValue>("createdAt");
        const QDateTime created = utc("2024-05-01T00:00:00Z");
        const double seconds = double(created.toSecsSinceEpoch() - referenceOffset);
        QTest::newRow("version 1 without the key")
            << QJsonValue(QJsonValue::Undefined) << QJsonValue(seconds);
        QTest::newRow("version 1") << QJsonValue(1) << QJsonValue(seconds);
        QTest::newRow("version 2 with numeric dates") << QJsonValue(2) << QJsonValue(seconds);
        QTest::newRow("version 2 with iso dates") << QJsonValue(2) << QJsonValue(u"2024-05-01T00:00:00Z"_s);
        QTest::newRow("version as text counts as 1") << QJsonValue(u"3"_s) << QJsonValue(seconds);
        QTest::newRow("fractional version counts as 1") << QJsonValue(2.5) << QJsonValue(seconds);
    }
    void olderVersionsAreRewrittenAsVersion3()
    {
        QFETCH(QJsonValue, version);
        QFETCH(QJsonValue, createdAt);
        const QJsonObject future = agentObject(u"F"_s, u"quantum"_s, u"web"_s, u"2030-01-01T00:00:00Z"_s);
        QJsonObject file{
            {u"bindings"_s, QJsonArray{agentObject(u"Z"_s, u"zed"_s, u"web"_s, createdAt, true), future,
                                       agentObject(u"C"_s, u"claude-code"_s, u"api"_s, createdAt)}},
            {u"lastSelectedWorkspaceIDs"_s, QJsonObject{{u"claude-code"_s, u"api"_s}}}};
        if (!version.isUndefined())
            file.insert(u"version"_s, version);
        writeFile(u"agent-workspace-bindings.json"_s, json(file));

        auto store = makeStore();
        QVERIFY(!store->agentWorkspaceBindingLoadError());
        const QList<AgentWorkspaceBinding> expected{
            {u"C"_s, AgentType::terminal, u"App"_s, std::nullopt, u"api"_s, false,
             utc("2024-05-01T00:00:00Z")},
            {u"Z"_s, AgentType::zed, u"App"_s, std::nullopt, u"web"_s, true, utc("2024-05-01T00:00:00Z")}};
        QCOMPARE(store->agentWorkspaceBindings(), expected);
        QCOMPARE(store->agentWorkspaceBindingWarnings(),
                 QStringList{u"Skipped binding 2 with unsupported or invalid agentType: quantum"_s});

        const QJsonObject rewritten = agentFileObject();
        QCOMPARE(rewritten.value(u"version"_s).toInteger(), 3);
        const QJsonArray bindings = rewritten.value(u"bindings"_s).toArray();
        QCOMPARE(bindings.size(), 3);
        QCOMPARE(bindings.at(0).toObject().value(u"agentType"_s).toString(), u"terminal"_s);
        QCOMPARE(bindings.at(1).toObject().value(u"createdAt"_s).toString(), u"2024-05-01T00:00:00Z"_s);
        QCOMPARE(bindings.at(2).toObject(), future);
        QCOMPARE(rewritten.value(u"lastSelectedWorkspaceIDs"_s).toObject(),
                 (QJsonObject{{u"terminal"_s, u"api"_s}}));
        QCOMPARE(makeStore()->agentWorkspaceBindings(), expected);
    }

    void currentVersionIsNotRewrittenOnLoad()
    {
        const QByteArray data = json(QJsonObject{
            {u"version"_s, 3},
            {u"bindings"_s, QJsonArray{agentObject(u"Z"_s, u"zed"_s, u"web"_s, 1000.0)}},
        });
        writeFile(u"agent-workspace-bindings.json"_s, data);
        auto store = makeStore();
        QCOMPARE(store->agentWorkspaceBindings().size(), 1);
        QCOMPARE(store->agentWorkspaceBindings().first().createdAt, utc("2001-01-01T00:16:40Z"));
        QCOMPARE(m_writes, 0);
        QCOMPARE(readFile(agentFile()), data);
    }

    void unusableFileIsNeverOverwritten_data()
    {
        QTest::addColumn<QByteArray>("content");
        const QByteArray valid = json(QJsonObject{
            {u"version"_s, 3},
            {u"bindings"_s, QJsonArray{agentObject(u"Z"_s, u"zed"_s, u"web"_s, 1000.0)}},
        });
        QTest::newRow("corrupt") << QByteArray("{\"version\": 3, \"bindings\": [oops]}");
        QTest::newRow("truncated") << valid.left(valid.size() / 2);
        QTest::newRow("an array") << QByteArray("[]");
        QTest::newRow("a number") << QByteArray("3");
        QTest::newRow("null") << QByteArray("null");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not utf-8") << QByteArray("\xff\xfe{\x00}", 5);
    }
    void unusableFileIsNeverOverwritten()
    {
        QFETCH(QByteArray, content);
        const QByteArray legacy =
            json(QJsonArray{legacyObject(u"L"_s, u"Terminal"_s, u"velmora"_s, u"web"_s)});
        writeFile(u"context-bindings.json"_s, legacy);
        writeFile(u"agent-workspace-bindings.json"_s, content);

        auto store = makeStore();
        QCOMPARE(store->agentWorkspaceBindingLoadError()->filePath, agentFile());
        QVERIFY(!store->agentWorkspaceBindingLoadError()->message.isEmpty());
        QVERIFY(store->hasAgentWorkspaceBindingLoadError());
        QVERIFY(store->agentWorkspaceBindings().isEmpty());
        QVERIFY(store->lastSelectedWorkspaceIDs().isEmpty());
        QCOMPARE(store->bindings().size(), 1); // the legacy file is read all the same
        QVERIFY(logged(
            u"Load agent workspace bindings failed file=.velmora/agent-workspace-bindings.json error="_s));

        ContextBindingStateSnapshot snapshot = store->stateSnapshot();
        snapshot.bindings.clear();
        snapshot.agentWorkspaceBindings.append(
            {u"X"_s, AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, false, utc("2024-01-01T00:00:00Z")});
        const QList<Expected<void>> refusals{
            store->throwIfBindingsFileUnreadable(),
            added(store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, true)),
            store->deleteAgentWorkspaceBinding(u"Z"_s),
            store->setLastSelectedWorkspaceID(u"web"_s, context(AgentType::zed, u"Zed"_s)),
            store->deleteWorkspaceReferences(u"web"_s),
            store->restoreState(snapshot),
        };
        for (const Expected<void>& refusal : refusals) {
            QVERIFY(!refusal);
            QCOMPARE(refusal.error().typeName, u"AgentWorkspaceBindingStoreError"_s);
            QCOMPARE(refusal.error().code, AgentWorkspaceBindingStoreError::unreadableBindingsFileCode);
            QVERIFY(refusal.error().description.contains(agentFile()));
        }
        QVERIFY(store->agentWorkspaceBindings().isEmpty());
        QCOMPARE(store->bindings().size(), 1);

        store->reload();
        QVERIFY(store->hasAgentWorkspaceBindingLoadError());
        QCOMPARE(m_writes, 0);
        QCOMPARE(readFile(agentFile()), content);
        QCOMPARE(readFile(legacyFile()), legacy);

        // Once the user repairs the file, bindings work again.
        writeFile(u"agent-workspace-bindings.json"_s, "{}");
        store->reload();
        QVERIFY(!store->hasAgentWorkspaceBindingLoadError());
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, true));
    }

    void directoryInPlaceOfTheFileIsUnreadable()
    {
        QVERIFY(QDir().mkpath(agentFile()));
        auto store = makeStore();
        QVERIFY(store->hasAgentWorkspaceBindingLoadError());
        QVERIFY(!store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, true));
        QVERIFY(QFileInfo(agentFile()).isDir());
        QCOMPARE(m_writes, 0);
    }

    void unknownAgentTypeSurvivesEverySave()
    {
        const QJsonObject future{
            {u"id"_s, u"Q"_s},
            {u"agentType"_s, u"quantum-agent"_s},
            {u"appName"_s, u"Quantum"_s},
            {u"workspaceID"_s, u"web"_s},
            {u"isDefault"_s, true},
            {u"createdAt"_s, u"2030-01-01T00:00:00Z"_s},
            {u"extra"_s, QJsonObject{{u"n"_s, 9007199254740993LL}, {u"list"_s, QJsonArray{1, u"x"_s}}}}};
        const QJsonObject agentless{{u"id"_s, u"N"_s}, {u"workspaceID"_s, u"web"_s}};
        writeAgentFile({{u"version"_s, 3},
                        {u"bindings"_s, QJsonArray{agentObject(u"Z"_s, u"zed"_s, u"web"_s, 0.0), future,
                                                   u"not an object"_s, agentless}}});
        auto store = makeStore();
        QCOMPARE(store->agentWorkspaceBindings().size(), 1);
        QCOMPARE(store->agentWorkspaceBindingWarnings(),
                 (QStringList{u"Skipped binding 2 with unsupported or invalid agentType: quantum-agent"_s,
                              u"Skipped binding 3 because it is not a JSON object"_s,
                              u"Skipped binding 4 with unsupported or invalid agentType: missing"_s}));
        QCOMPARE(store->preservedAgentWorkspaceBindingObjects(), (QList<QJsonObject>{future, agentless}));

        const auto preservedOnDisk = [this] {
            const QJsonArray bindings = agentFileObject().value(u"bindings"_s).toArray();
            return QList<QJsonValue>(bindings.end() - 2, bindings.end());
        };
        const QList<QJsonValue> expected{future, agentless};
        QVERIFY(
            store->addAgentWorkspaceBinding(AgentType::cursor, u"Cursor"_s, std::nullopt, u"web"_s, true));
        QCOMPARE(agentFileObject().value(u"bindings"_s).toArray().size(), 4); // the non-object is gone
        QCOMPARE(preservedOnDisk(), expected);
        QVERIFY(store->setLastSelectedWorkspaceID(u"web"_s, context(AgentType::cursor, u"Cursor"_s)));
        QVERIFY(store->deleteAgentWorkspaceBinding(u"Z"_s));
        QCOMPARE(preservedOnDisk(), expected);
        QVERIFY(readFile(agentFile()).contains("9007199254740993"));

        auto next = makeStore(); // a later run keeps them too
        QVERIFY(next->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"api"_s, false));
        QCOMPARE(preservedOnDisk(), expected);
        QCOMPARE(agentFileObject().value(u"bindings"_s).toArray().size(), 4);
    }

    void failedSaveLeavesMemoryAndDiskAsTheyWere_data()
    {
        QTest::addColumn<int>("operation");
        QTest::addColumn<bool>("folderIsAFile");
        const char* names[] = {"add new", "add existing as default", "delete", "last selection",
                               "delete workspace"};
        for (int operation = 0; operation < 5; ++operation) {
            QTest::addRow("%s, full disk", names[operation]) << operation << false;
            QTest::addRow("%s, folder replaced by a file", names[operation]) << operation << true;
        }
    }
    void failedSaveLeavesMemoryAndDiskAsTheyWere()
    {
        QFETCH(int, operation);
        QFETCH(bool, folderIsAFile);
        auto store = populatedStore();
        const ContextBindingStateSnapshot before = store->stateSnapshot();
        const QString folder = m_home->filePath(u".velmora"_s);
        if (folderIsAFile) {
            QVERIFY(QDir(folder).removeRecursively());
            QFile blocker(folder);
            QVERIFY(blocker.open(QIODevice::WriteOnly));
            blocker.write("not a folder");
        } else {
            m_failingFiles = {u"*"_s};
        }
        const QByteArray diskBefore = readFile(folderIsAFile ? folder : agentFile());
        const QByteArray legacyBefore = readFile(legacyFile());
        QSignalSpy changes(store.get(), &ContextBindingStore::agentWorkspaceBindingsChanged);
        QSignalSpy legacyChanges(store.get(), &ContextBindingStore::bindingsChanged);

        const QString zedID = before.agentWorkspaceBindings.first().id;
        const std::function<Expected<void>()> operations[] = {
            [&] {
                return added(store->addAgentWorkspaceBinding(AgentType::kiro, u"Kiro"_s, {}, u"web"_s, true));
            },
            [&] {
                return added(
                    store->addAgentWorkspaceBinding(AgentType::cursor, u"Cursor 2"_s, {}, u"api"_s, true));
            },
            [&] { return store->deleteAgentWorkspaceBinding(zedID); },
            [&] {
                return store->setLastSelectedWorkspaceID(u"api"_s, context(AgentType::cursor, u"Cursor"_s));
            },
            [&] { return store->deleteWorkspaceReferences(u"web"_s); },
        };
        const Expected<void> result = operations[operation]();
        QVERIFY(!result);
        if (!folderIsAFile)
            QCOMPARE(result.error().code, qint64(ENOSPC));
        QCOMPARE(store->stateSnapshot(), before);
        QCOMPARE(readFile(folderIsAFile ? folder : agentFile()), diskBefore);
        QCOMPARE(readFile(legacyFile()), legacyBefore);
        QCOMPARE(changes.count(), 0);
        QCOMPARE(legacyChanges.count(), 0);
        QVERIFY(logged(
            u"Save agent workspace bindings failed file=.velmora/agent-workspace-bindings.json error="_s));
    }

    void failedLegacyHalfOfDeleteWorkspaceReferences()
    {
        auto store = populatedStore();
        const QByteArray legacyBefore = readFile(legacyFile());
        m_failingFiles = {u"context-bindings.json"_s};
        const Expected<void> result = store->deleteWorkspaceReferences(u"web"_s);
        QVERIFY(!result);
        QCOMPARE(store->bindings().size(), 2);
        QCOMPARE(readFile(legacyFile()), legacyBefore);
        QVERIFY(logged(u"Save legacy bindings failed file=.velmora/context-bindings.json error="_s));
        // The agent half had succeeded and stays done.
        QVERIFY(!store->agentWorkspaceBinding(AgentType::zed, u"web"_s));
    }

    void deleteWorkspaceReferences()
    {
        auto store = populatedStore();
        QVERIFY(store->setLastSelectedWorkspaceID(u"api"_s, context(AgentType::cursor, u"Cursor"_s)));
        QSignalSpy legacyChanges(store.get(), &ContextBindingStore::bindingsChanged);
        QVERIFY(store->deleteWorkspaceReferences(u"web"_s));
        QCOMPARE(legacyChanges.count(), 1);

        const auto reread = makeStore();
        for (const ContextBindingStore* reading : {store.get(), reread.get()}) {
            QCOMPARE(reading->agentWorkspaceBindings().size(), 1);
            QCOMPARE(reading->agentWorkspaceBindings().first().workspaceID, u"api"_s);
            QCOMPARE(reading->lastSelectedWorkspaceIDs(), (QMap<QString, QString>{{u"cursor"_s, u"api"_s}}));
            QCOMPARE(reading->bindings().size(), 1);
            QCOMPARE(reading->bindings().first().workspaceID, u"notes"_s);
        }
    }

    void restoreStatePutsTheSnapshotBack()
    {
        auto store = populatedStore();
        const ContextBindingStateSnapshot snapshot = store->stateSnapshot();
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::kiro, u"Kiro"_s, std::nullopt, u"web"_s, true));
        QVERIFY(store->deleteWorkspaceReferences(u"web"_s));

        QVERIFY(store->restoreState(snapshot));
        QCOMPARE(store->stateSnapshot(), snapshot);
        QCOMPARE(makeStore()->stateSnapshot(), snapshot);
    }

    void failedRestoreKeepsTheCurrentState_data()
    {
        QTest::addColumn<bool>("legacyFileRemoved");
        QTest::newRow("legacy file present") << false;
        QTest::newRow("legacy file absent") << true;
    }
    void failedRestoreKeepsTheCurrentState()
    {
        QFETCH(bool, legacyFileRemoved);
        auto store = populatedStore();
        const ContextBindingStateSnapshot snapshot = store->stateSnapshot();
        QVERIFY(store->deleteWorkspaceReferences(u"notes"_s));
        QVERIFY(store->deleteWorkspaceReferences(u"web"_s));
        if (legacyFileRemoved)
            QVERIFY(QFile::remove(legacyFile()));
        const ContextBindingStateSnapshot current = store->stateSnapshot();
        const QByteArray agentBefore = readFile(agentFile());
        const QByteArray legacyBefore = readFile(legacyFile());

        m_failingFiles = {u"agent-workspace-bindings.json"_s};
        const Expected<void> result = store->restoreState(snapshot);
        QVERIFY(!result);
        QCOMPARE(store->stateSnapshot(), current);
        QCOMPARE(readFile(agentFile()), agentBefore);
        QCOMPARE(QFileInfo::exists(legacyFile()), !legacyFileRemoved);
        QCOMPARE(readFile(legacyFile()), legacyBefore);
        QVERIFY(logged(u"Restore context binding state failed error=POSIXError"_s));
    }

    void migrationFromALegacyOnlyHome()
    {
        const QByteArray legacy = json(QJsonArray{
            legacyObject(u"L1"_s, u"Cursor"_s, u"__velmora_app_binding__"_s, u"web"_s,
                         u"com.todesktop.230313mzl4w4u92"_s, u"2024-03-01T00:00:00Z"_s),
            legacyObject(u"L2"_s, u"Cursor"_s, u"__velmora_app_binding__"_s, u"web"_s, std::nullopt,
                         u"2024-02-01T00:00:00Z"_s),
            legacyObject(u"L3"_s, u"Notes"_s, u"__velmora_app_binding__"_s, u"notes"_s),
            legacyObject(u"L4"_s, u"Terminal"_s, u"Velmora"_s, u"web"_s),
            legacyObject(u"L5"_s, u"Zed"_s, u"__velmora_app_binding__"_s, u"api"_s, u"dev.zed.Zed"_s),
        });
        writeFile(u"context-bindings.json"_s, legacy);

        auto store = makeStore();
        QCOMPARE(store->bindings().size(), 5);
        const QList<AgentWorkspaceBinding>& migrated = store->agentWorkspaceBindings();
        QCOMPARE(migrated, (QList<AgentWorkspaceBinding>{
                               {migrated.value(0).id, AgentType::zed, u"Zed"_s, u"dev.zed.Zed"_s, u"api"_s,
                                false, utc("2023-01-01T00:00:00Z")},
                               // The older of the two Cursor bindings.
                               {migrated.value(1).id, AgentType::cursor, u"Cursor"_s, std::nullopt, u"web"_s,
                                false, utc("2024-02-01T00:00:00Z")}}));
        for (const AgentWorkspaceBinding& binding : migrated)
            QVERIFY(!QUuid::fromString(binding.id).isNull());
        QCOMPARE(agentFileObject().value(u"migratedFromContextBindings"_s).toBool(), true);
        QCOMPARE(agentFileObject().value(u"version"_s).toInteger(), 3);
        QCOMPARE(readFile(legacyFile()), legacy);

        // Title keywords go on matching as legacy bindings; whole-application ones never do.
        const auto match = store->binding(
            context(AgentType::terminal, u"Terminal"_s, std::nullopt, u"~/src/velmora — zsh"_s));
        QCOMPARE(match ? match->id : QString(), u"L4"_s);
        QVERIFY(!store->binding(context(AgentType::cursor, u"Cursor"_s)));

        QCOMPARE(makeStore()->agentWorkspaceBindings(), migrated); // migrated once only
    }

    void migrationWithNothingToMigrateWritesNothing()
    {
        writeLegacy({legacyObject(u"L"_s, u"Notes"_s, u"__velmora_app_binding__"_s, u"web"_s),
                     legacyObject(u"K"_s, u"Terminal"_s, u"velmora"_s, u"web"_s)});
        auto store = makeStore();
        QVERIFY(store->agentWorkspaceBindings().isEmpty());
        QVERIFY(!QFileInfo::exists(agentFile()));
        QCOMPARE(m_writes, 0);
    }

    void failedMigrationSaveKeepsTheMigratedBindingsInMemory()
    {
        writeLegacy({legacyObject(u"L"_s, u"Zed"_s, u"__velmora_app_binding__"_s, u"web"_s)});
        m_failingFiles = {u"*"_s};
        auto store = makeStore();
        QCOMPARE(store->agentWorkspaceBindings().size(), 1);
        QCOMPARE(store->agentWorkspaceBindingLoadError()->filePath, agentFile());
        QVERIFY(logged(
            u"Save migrated agent workspace bindings failed file=.velmora/agent-workspace-bindings.json "
            u"error=POSIXError domain=NSPOSIXErrorDomain code=28"_s));
        QVERIFY(!QFileInfo::exists(agentFile()));
        m_failingFiles.clear();
        QVERIFY(!store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"api"_s, false));
    }

    void corruptLegacyFileGivesNoLegacyBindingsAndStays()
    {
        writeFile(u"context-bindings.json"_s, "[{\"id\": 1}]");
        auto store = makeStore();
        QVERIFY(store->bindings().isEmpty());
        QVERIFY(!store->hasAgentWorkspaceBindingLoadError());
        QVERIFY(
            logged(u"Load legacy bindings failed file=.velmora/context-bindings.json error=DecodingError"_s));
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, false));
        QVERIFY(store->deleteWorkspaceReferences(u"web"_s));
        QCOMPARE(readFile(legacyFile()), QByteArray("[{\"id\": 1}]"));
    }

    void legacyMatching_data()
    {
        QTest::addColumn<QString>("bindingApp");
        QTest::addColumn<std::optional<QString>>("bindingBundle");
        QTest::addColumn<QString>("keyword");
        QTest::addColumn<QString>("contextApp");
        QTest::addColumn<std::optional<QString>>("contextBundle");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("workspaceName");
        QTest::addColumn<bool>("matches");
        const std::optional<QString> none;
        const QString unidentified = unidentifiedWorkspaceName;
        QTest::newRow("mixed-case keyword in the title")
            << u"Terminal"_s << none << u"VelMora"_s << u"terminal"_s << none << u"~/VELMORA — zsh"_s
            << unidentified << true;
        QTest::newRow("keyword in the workspace name")
            << u"Zed"_s << none << u"api"_s << u"Zed"_s << none << QString() << u"API-Server"_s << true;
        QTest::newRow("keyword nowhere")
            << u"Zed"_s << none << u"api"_s << u"Zed"_s << none << u"web — main"_s << u"web"_s << false;
        QTest::newRow("empty keyword")
            << u"Zed"_s << none << QString() << u"Zed"_s << none << u"anything"_s << unidentified << false;
        QTest::newRow("whole-application binding")
            << u"Zed"_s << none << u"__velmora_app_binding__"_s << u"Zed"_s << none
            << u"__velmora_app_binding__"_s << unidentified << false;
        QTest::newRow("bundles equal in any case, names differ")
            << u"Zed"_s << std::optional(u"Dev.Zed.Zed"_s) << u"api"_s << u"Zed Preview"_s
            << std::optional(u"dev.zed.zed"_s) << u"api"_s << unidentified << true;
        QTest::newRow("bundles differ, names equal")
            << u"Zed"_s << std::optional(u"dev.zed.Zed"_s) << u"api"_s << u"Zed"_s
            << std::optional(u"dev.zed.Zed-Preview"_s) << u"api"_s << unidentified << false;
        QTest::newRow("empty bundle compares names")
            << u"Zed"_s << std::optional(QString()) << u"api"_s << u"ZED"_s << std::optional(u"dev.zed.Zed"_s)
            << u"api"_s << unidentified << true;
        QTest::newRow("context without bundle compares names")
            << u"Zed"_s << std::optional(u"dev.zed.Zed"_s) << u"api"_s << u"zed"_s << none << u"api"_s
            << unidentified << true;
        QTest::newRow("other application")
            << u"Zed"_s << none << u"api"_s << u"Cursor"_s << none << u"api"_s << unidentified << false;
    }
    void legacyMatching()
    {
        QFETCH(QString, bindingApp);
        QFETCH(std::optional<QString>, bindingBundle);
        QFETCH(QString, keyword);
        QFETCH(QString, contextApp);
        QFETCH(std::optional<QString>, contextBundle);
        QFETCH(QString, title);
        QFETCH(QString, workspaceName);
        QFETCH(bool, matches);
        writeLegacy({legacyObject(u"L"_s, bindingApp, keyword, u"web"_s, bindingBundle)});
        auto store = makeStore();
        const auto found =
            store->binding(context(AgentType::unknown, contextApp, contextBundle, title, workspaceName));
        QCOMPARE(found.has_value(), matches);
    }

    void firstFittingLegacyBindingWins()
    {
        writeLegacy({legacyObject(u"first"_s, u"Zed"_s, u"main"_s, u"a"_s),
                     legacyObject(u"second"_s, u"Zed"_s, u"web"_s, u"b"_s)});
        auto store = makeStore();
        QCOMPARE(store->binding(context(AgentType::zed, u"Zed"_s, std::nullopt, u"web — main"_s))->id,
                 u"first"_s);
    }

    void titleHashesIgnoreCaseAndSurroundingBlanks()
    {
        writeFile(u"title-hash-salt"_s, QByteArray()); // an empty salt is replaced
        auto store = makeStore();
        const QString hash = store->hashedTitleKeyword(u"Velmora — Main.swift"_s);
        const QByteArray salt = readFile(path(u"title-hash-salt"_s));
        QCOMPARE(salt.size(), 32);
        QCOMPARE(hash, sha256Keyword(salt, u"velmora — main.swift"_s));
        QCOMPARE(hash.size(), 11 + 64);
        for (const QString& variant : {u"  VELMORA — main.swift\n"_s, u"\tvelmora — Main.swift\u3000\u2028"_s,
                                       u"\u00a0velmora — main.swift "_s})
            QCOMPARE(store->hashedTitleKeyword(variant), hash);
        QVERIFY(store->hashedTitleKeyword(u"velmora — main.swift!"_s) != hash);
        QVERIFY(store->hashedTitleKeyword(u"velmora  — main.swift"_s) != hash); // inner blanks count
    }

    void hashedKeywordsMatchUntilTheSaltIsDeleted()
    {
        const QString title = u"Secret Project — notes.md"_s;
        QString keyword;
        {
            auto store = makeStore();
            keyword = store->hashedTitleKeyword(title).toUpper().replace(u"TITLE-HASH:"_s, u"title-hash:"_s);
        }
        writeLegacy({legacyObject(u"H"_s, u"Zed"_s, keyword, u"web"_s)});
        auto store = makeStore();
        const AgentContext matching =
            context(AgentType::zed, u"Zed"_s, std::nullopt, u"  secret project — NOTES.md "_s);
        QCOMPARE(store->binding(matching)->id, u"H"_s);
        QVERIFY(!store->binding(context(AgentType::zed, u"Zed"_s, std::nullopt, u"Other — notes.md"_s)));

        const QByteArray oldSalt = readFile(path(u"title-hash-salt"_s));
        QVERIFY(QFile::remove(path(u"title-hash-salt"_s)));
        QVERIFY(!store->binding(matching));
        const QByteArray newSalt = readFile(path(u"title-hash-salt"_s));
        QCOMPARE(newSalt.size(), 32);
        QVERIFY(newSalt != oldSalt);
    }

    void saltFallsBackWhenItCantBeStored_data()
    {
        QTest::addColumn<bool>("directoryInTheWay");
        QTest::newRow("directory at the salt path") << true;
        QTest::newRow("write fails") << false;
    }
    void saltFallsBackWhenItCantBeStored()
    {
        QFETCH(bool, directoryInTheWay);
        if (directoryInTheWay)
            QVERIFY(QDir().mkpath(path(u"title-hash-salt"_s)));
        else
            m_failingFiles = {u"title-hash-salt"_s};
        auto store = makeStore();
        QCOMPARE(store->hashedTitleKeyword(u" Title "_s),
                 sha256Keyword("amber-lantern-quiet-fern-tidemark", u"title"_s));
        QVERIFY(logged(u"Create title hash salt failed file=.velmora/title-hash-salt error="_s));
        QCOMPARE(QFileInfo(path(u"title-hash-salt"_s)).isDir(), directoryInTheWay);

        // Nothing was stored, so the next use tries again.
        if (!directoryInTheWay) {
            m_failingFiles.clear();
            const QString hash = store->hashedTitleKeyword(u"title"_s);
            QCOMPARE(hash, sha256Keyword(readFile(path(u"title-hash-salt"_s)), u"title"_s));
        }
    }

    void addingBindings()
    {
        auto store = makeStore();
        const auto zed =
            store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, true);
        QVERIFY(zed);
        QCOMPARE(zed->createdAt, utc("2024-05-01T09:30:00Z"));

        m_now = utc("2024-06-01T00:00:00Z");
        const auto again = store->addAgentWorkspaceBinding(AgentType::zed, u"Zed Preview"_s,
                                                           u"dev.zed.Zed-Preview"_s, u"web"_s, false);
        QCOMPARE(again->id, zed->id);
        QCOMPARE(again->createdAt, zed->createdAt);
        QVERIFY(again->isDefault); // a false argument keeps the existing default
        QCOMPARE(again->appName, u"Zed Preview"_s);
        QCOMPARE(store->agentWorkspaceBindings(), QList<AgentWorkspaceBinding>{*again});

        const auto api =
            store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"api"_s, true);
        QVERIFY(api->isDefault);
        QVERIFY(!store->agentWorkspaceBinding(AgentType::zed, u"web"_s)->isDefault);
        QVERIFY(store->agentWorkspaceBinding(AgentType::zed, u"api"_s)->isDefault);

        const auto claude = store->addAgentWorkspaceBinding(AgentType::claudeCode, u"Claude Code"_s,
                                                            std::nullopt, u"web"_s, false);
        QCOMPARE(claude->agentType, AgentType::terminal);
        const auto terminal = store->addAgentWorkspaceBinding(AgentType::terminal, u"Terminal"_s,
                                                              std::nullopt, u"web"_s, false);
        QCOMPARE(terminal->id, claude->id);
        QCOMPARE(store->agentWorkspaceBindings().size(), 3);

        const int writes = m_writes;
        const auto unknown =
            store->addAgentWorkspaceBinding(AgentType::unknown, u"Notes"_s, std::nullopt, u"web"_s, false);
        QVERIFY(!unknown);
        QCOMPARE(unknown.error().code, AgentWorkspaceBindingStoreError::unknownAgentBindingCode);
        QCOMPARE(m_writes, writes);
        QCOMPARE(makeStore()->agentWorkspaceBindings(), store->agentWorkspaceBindings());
    }

    void twoDefaultsOnDiskLeaveTheOlderOne()
    {
        writeAgentFile({{u"version"_s, 3},
                        {u"bindings"_s, QJsonArray{agentObject(u"young"_s, u"zed"_s, u"a"_s, 2000.0, true),
                                                   agentObject(u"old"_s, u"zed"_s, u"b"_s, 1000.0, true)}}});
        auto store = makeStore();
        QVERIFY(store->agentWorkspaceBinding(AgentType::zed, u"b"_s)->isDefault);
        QVERIFY(!store->agentWorkspaceBinding(AgentType::zed, u"a"_s)->isDefault);
        QVERIFY(
            agentFileObject().value(u"bindings"_s).toArray().at(1).toObject().value(u"isDefault"_s).toBool());

        QVERIFY(store->setLastSelectedWorkspaceID(u"a"_s, context(AgentType::zed, u"Zed"_s)));
        const QJsonArray saved = agentFileObject().value(u"bindings"_s).toArray();
        QCOMPARE(saved.at(0).toObject().value(u"id"_s).toString(), u"old"_s);
        QCOMPARE(saved.at(0).toObject().value(u"isDefault"_s).toBool(), true);
        QCOMPARE(saved.at(1).toObject().value(u"isDefault"_s).toBool(), false);
    }

    void queriesGoByTheCanonicalAgent()
    {
        auto store = makeStore();
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::terminal, u"Terminal"_s, std::nullopt, u"web"_s,
                                                false));
        m_now = m_now.addSecs(10);
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::terminal, u"Terminal"_s, std::nullopt, u"api"_s,
                                                false));
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, false));
        QVERIFY(
            store->addAgentWorkspaceBinding(AgentType::cursor, u"Cursor"_s, std::nullopt, u"web"_s, false));

        const QList<AgentWorkspaceBinding> claude =
            store->agentWorkspaceBindings(context(AgentType::claudeCode, u"Claude Code"_s));
        QCOMPARE(claude.size(), 2);
        QCOMPARE(claude.at(0).workspaceID, u"web"_s);
        QCOMPARE(claude.at(1).workspaceID, u"api"_s);
        QVERIFY(store->agentWorkspaceBindings(context(AgentType::unknown, u"Notes"_s)).isEmpty());
        QCOMPARE(store->agentWorkspaceBinding(AgentType::claudeCode, u"api"_s)->agentType,
                 AgentType::terminal);
        QVERIFY(!store->agentWorkspaceBinding(AgentType::zed, u"api"_s));
        QCOMPARE(store->boundAgentCount(u"web"_s), 3);
        QCOMPARE(store->boundAgentCount(u"api"_s), 1);
        QCOMPARE(store->boundAgentCount(u"none"_s), 0);
    }

    void lastSelectionPrefersTheCanonicalAgent_data()
    {
        using Map = QMap<QString, QString>;
        QTest::addColumn<Map>("stored");
        QTest::addColumn<AgentType>("agent");
        QTest::addColumn<QString>("expected");
        QTest::newRow("both keys: terminal's own")
            << Map{{u"claude-code"_s, u"a"_s}, {u"terminal"_s, u"b"_s}} << AgentType::claudeCode << u"b"_s;
        QTest::newRow("claude-code only, asked as claude code")
            << Map{{u"claude-code"_s, u"a"_s}} << AgentType::claudeCode << u"a"_s;
        QTest::newRow("claude-code only, asked as terminal")
            << Map{{u"claude-code"_s, u"a"_s}} << AgentType::terminal << u"a"_s;
        QTest::newRow("another agent") << Map{{u"terminal"_s, u"b"_s}} << AgentType::zed << QString();
    }
    void lastSelectionPrefersTheCanonicalAgent()
    {
        using Map = QMap<QString, QString>;
        QFETCH(Map, stored);
        QFETCH(AgentType, agent);
        QFETCH(QString, expected);
        QJsonObject map;
        for (auto entry = stored.cbegin(); entry != stored.cend(); ++entry)
            map.insert(entry.key(), entry.value());
        writeAgentFile({{u"version"_s, 3}, {u"lastSelectedWorkspaceIDs"_s, map}});
        auto store = makeStore();
        QCOMPARE(store->lastSelectedWorkspaceID(context(agent, u"App"_s)).value_or(QString()), expected);
    }

    void lastSelectionIsStoredUnderTheCanonicalAgent()
    {
        auto store = makeStore();
        QVERIFY(
            store->setLastSelectedWorkspaceID(u"web"_s, context(AgentType::claudeCode, u"Claude Code"_s)));
        QCOMPARE(store->lastSelectedWorkspaceIDs(), (QMap<QString, QString>{{u"terminal"_s, u"web"_s}}));
        QCOMPARE(agentFileObject().value(u"lastSelectedWorkspaceIDs"_s).toObject(),
                 (QJsonObject{{u"terminal"_s, u"web"_s}}));
    }

    void lastSelectionsOfAnotherShapeAreDropped()
    {
        writeFile(u"agent-workspace-bindings.json"_s,
                  R"({"version": 3, "lastSelectedWorkspaceIDs": {"zed": "web", "cursor": 7},
                      "bindings": {"not": "an array"}, "migratedFromContextBindings": "yes"})");
        auto store = makeStore();
        QVERIFY(!store->hasAgentWorkspaceBindingLoadError());
        QVERIFY(store->lastSelectedWorkspaceIDs().isEmpty());
        QVERIFY(store->agentWorkspaceBindings().isEmpty());
    }

    void migratedFlagFollowsTheLegacyFileAtEachSave()
    {
        auto store = makeStore();
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, false));
        QCOMPARE(agentFileObject().value(u"migratedFromContextBindings"_s).toBool(), false);
        QVERIFY(store->deleteWorkspaceReferences(u"web"_s));
        QVERIFY(!QFileInfo::exists(legacyFile())); // deleting a workspace creates no legacy file
        QCOMPARE(agentFileObject().value(u"migratedFromContextBindings"_s).toBool(), false);
        writeFile(u"context-bindings.json"_s, "[]");
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"api"_s, false));
        QCOMPARE(agentFileObject().value(u"migratedFromContextBindings"_s).toBool(), true);
        QVERIFY(QFile::remove(legacyFile()));
        QVERIFY(store->deleteAgentWorkspaceBinding(u"nobody"_s));
        QCOMPARE(agentFileObject().value(u"migratedFromContextBindings"_s).toBool(), false);
    }

    void observersHearOfRealChangesOnly()
    {
        auto store = makeStore();
        QSignalSpy bindings(store.get(), &ContextBindingStore::agentWorkspaceBindingsChanged);
        QSignalSpy loadError(store.get(), &ContextBindingStore::agentWorkspaceBindingLoadErrorChanged);
        QSignalSpy warnings(store.get(), &ContextBindingStore::agentWorkspaceBindingWarningsChanged);
        QVERIFY(store->addAgentWorkspaceBinding(AgentType::zed, u"Zed"_s, std::nullopt, u"web"_s, false));
        QCOMPARE(bindings.count(), 1);
        store->reload();
        QCOMPARE(bindings.count(), 1);
        QCOMPARE(loadError.count(), 0);

        writeFile(u"agent-workspace-bindings.json"_s,
                  R"({"version": 3, "bindings": [{"agentType": "quantum"}]})");
        store->reload();
        QCOMPARE(bindings.count(), 2);
        QCOMPARE(warnings.count(), 1);
        writeFile(u"agent-workspace-bindings.json"_s, "garbage");
        store->reload();
        QCOMPARE(loadError.count(), 1);
        QCOMPARE(warnings.count(), 2);
    }
};

QTEST_GUILESS_MAIN(TestContextBindingStore)
#include "tst_contextbindingstore.moc"
