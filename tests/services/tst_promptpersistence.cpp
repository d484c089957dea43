#include "AppLog.h"
#include "PromptConfigLoader.h"
#include "PromptPersistenceService.h"
#include "PromptYAMLEncoder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

PromptItem prompt(const QString& id, const QString& text)
{
    PromptItem item;
    item.id = id;
    item.title = id;
    item.group = u"General"_s;
    item.text = text;
    return item;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

int modeOf(const QString& path)
{
    struct stat info = {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 0777) : -1;
}

} // namespace

class TestPromptPersistence : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<PromptPersistenceService> m_service;
    QStringList m_log;

    // What the reader gives back for a file, as the library loads it.
    std::optional<PromptWorkspace> readBack(const QString& path)
    {
        PromptConfigLoader loader(m_home->path(), [] { return AppLanguage::english; });
        return loader.parse(path, u"fallback"_s);
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_service = std::make_unique<PromptPersistenceService>(m_home->path());
        m_log.clear();
        AppLog::setSinkForTesting([this](AppLog::Category, const QString& line) { m_log.append(line); });
    }

    void cleanup() { AppLog::setSinkForTesting(nullptr); }

    void createPicksAFreeName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("existing");
        QTest::addColumn<QString>("expectedName");
        QTest::addColumn<QString>("expectedID");
        QTest::newRow("blank name") << u"   "_s << QStringList{} << u"my-workspace"_s << u"my-workspace"_s;
        QTest::newRow("CJK") << u"测试 A"_s << QStringList{} << u"测试 A"_s << u"测试-a"_s;
        QTest::newRow("only punctuation") << u"!!!"_s << QStringList{} << u"!!!"_s << u"workspace"_s;
        QTest::newRow("taken names get a number")
            << u"Team"_s << QStringList{u"team.yaml"_s, u"team-2.yaml"_s} << u"Team"_s << u"team-3"_s;
        QTest::newRow("a .yml spelling is no collision")
            << u"Team"_s << QStringList{u"team.yml"_s} << u"Team"_s << u"team"_s;
    }

    void createPicksAFreeName()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, existing);
        QFETCH(QString, expectedName);
        QFETCH(QString, expectedID);
        QVERIFY(m_service->ensureBaseDirectory());
        for (const QString& file : existing)
            writeFile(QDir(m_service->workspacesDirectory()).filePath(file), "workspace:\n  name: x\n");
        const auto created = m_service->createWorkspace(name, {u"/src/team"_s});
        QVERIFY(created);
        QCOMPARE(created->id, expectedID);
        QCOMPARE(created->name, expectedName);
        QCOMPARE(created->fileURL,
                 std::optional(QDir(m_service->workspacesDirectory()).filePath(expectedID + u".yaml"_s)));
        QCOMPARE(created->source, PromptWorkspaceSource::userWorkspace);
        QVERIFY(created->fileVersion);
        QCOMPARE(modeOf(*created->fileURL), 0600);
        QCOMPARE(modeOf(m_service->workspacesDirectory()), 0700);
        QCOMPARE(modeOf(m_service->baseDirectory()), 0700);

        const auto reread = readBack(*created->fileURL);
        QVERIFY(reread);
        QCOMPARE(reread->name, expectedName);
        QCOMPARE(reread->matchPaths, QStringList{u"/src/team"_s});
        QVERIFY(reread->prompts.isEmpty());
        QCOMPARE(reread->fileVersion, created->fileVersion);
        QVERIFY(contentOf(*created->fileURL).endsWith("prompts:\n"));
    }

    void roundTripKeepsEveryValue()
    {
        PromptItem odd = prompt(u"  id with \"quotes\" \\ # : [ { "_s, u""_s);
        odd.title = u"say \"hi\" \\ now"_s;
        odd.group = u" spaced group "_s;
        odd.agent = AgentType::claudeCode;
        odd.isPinned = true;
        odd.shortcut = PromptKeyboardShortcut{35, 1048576};
        odd.tags = {u"a b"_s, u"#x"_s, u"{y}"_s};
        odd.text = u"\n\nfirst line  \n  - id: x\nprompts:\nmatch_paths:\r\nlast\n\n"_s;
        PromptItem plain = prompt(u"plain"_s, u"Just text"_s);

        PromptWorkspace workspace;
        workspace.id = u"round"_s;
        workspace.name = u"Round \"trip\""_s;
        workspace.matchPaths = {u"/src/with space"_s, u"~/x #y"_s};
        workspace.prompts = {odd, plain};
        QVERIFY(m_service->ensureBaseDirectory());
        const auto saved = m_service->saveWorkspace(workspace);
        QVERIFY(saved);
        QVERIFY(!contentOf(*saved->fileURL).contains('\r'));
        QVERIFY(contentOf(*saved->fileURL).contains("    title: \"say \\\"hi\\\" \\\\ now\"\n"));
        QVERIFY(contentOf(*saved->fileURL).contains("\n        - id: x\n"));

        const auto reread = readBack(*saved->fileURL);
        QVERIFY(reread);
        QCOMPARE(reread->id, u"round"_s);
        QCOMPARE(reread->name, workspace.name);
        QCOMPARE(reread->matchPaths, workspace.matchPaths);
        // Outer line breaks go; each inner newline becomes one line feed, so CR LF becomes two.
        PromptItem expected = odd;
        expected.text = u"first line  \n  - id: x\nprompts:\nmatch_paths:\n\nlast"_s;
        QCOMPARE(reread->prompts, (QList<PromptItem>{expected, plain}));
    }

    void versionCheck()
    {
        const auto created = m_service->createWorkspace(u"Work"_s, {});
        QVERIFY(created);
        PromptWorkspace edited = *created;
        edited.prompts.append(prompt(u"one"_s, u"1"_s));
        const auto saved = m_service->saveWorkspace(edited);
        QVERIFY(saved);
        QVERIFY(saved->fileVersion != created->fileVersion);

        // The old record is stale now: its save is a conflict and writes nothing.
        const QByteArray before = contentOf(*saved->fileURL);
        const auto stale = m_service->saveWorkspace(*created);
        QVERIFY(!stale);
        QCOMPARE(WorkspaceSaveError::from(stale.error()),
                 std::optional(WorkspaceSaveError{WorkspaceSaveError::Kind::conflict, *created->fileURL}));
        QVERIFY(stale.error().description.contains(*created->fileURL));
        QCOMPARE(contentOf(*saved->fileURL), before);

        // An explicit expected version wins over the record's.
        QVERIFY(!m_service->saveWorkspace(*saved, created->fileVersion));
        QVERIFY(m_service->saveWorkspace(*created, saved->fileVersion));

        QFile::remove(*saved->fileURL);
        const auto gone = m_service->saveWorkspace(*saved);
        QCOMPARE(WorkspaceSaveError::from(gone.error())->kind, WorkspaceSaveError::Kind::deleted);
        QVERIFY(!QFile::exists(*saved->fileURL));

        // No version at all: written without a check, over a hand edit.
        writeFile(*saved->fileURL, "hand edit");
        PromptWorkspace unversioned = *saved;
        unversioned.fileVersion.reset();
        QVERIFY(m_service->saveWorkspace(unversioned));
        QVERIFY(contentOf(*saved->fileURL).startsWith("workspace:\n"));
    }

    void isolationAndRestore()
    {
        const auto created = m_service->createWorkspace(u"Gone"_s, {});
        QVERIFY(created);
        const auto isolated = m_service->isolateWorkspaceFile(*created);
        QVERIFY(isolated && *isolated);
        const WorkspaceFileIsolation isolation = **isolated;
        QVERIFY(!QFile::exists(*created->fileURL));
        const QString isolatedName = QFileInfo(isolation.isolatedURL).fileName();
        QVERIFY(isolatedName.startsWith(u".velmora-deleting-gone-"_s));
        QVERIFY(isolatedName.endsWith(u".tmp"_s));
        QCOMPARE(isolatedName.size(), QString(u".velmora-deleting-gone-.tmp"_s).size() + 36);
        QCOMPARE(isolatedName.mid(23, 36), isolatedName.mid(23, 36).toUpper());

        // A new file took the name meanwhile: restoring replaces it.
        writeFile(*created->fileURL, "newcomer");
        QVERIFY(m_service->restoreIsolatedWorkspaceFile(isolation));
        QVERIFY(contentOf(*created->fileURL).startsWith("workspace:\n"));
        QVERIFY(!QFile::exists(isolation.isolatedURL));
        QVERIFY(m_service->restoreIsolatedWorkspaceFile(std::nullopt));
        QVERIFY(m_service->restoreIsolatedWorkspaceFile(isolation)); // nothing left to restore
    }

    void unmanagedFilesAreNeverMoved_data()
    {
        QTest::addColumn<QString>("relative");
        QTest::newRow("global file") << u".velmora/global.yaml"_s;
        QTest::newRow("project file") << u"src/.velmora.yaml"_s;
        QTest::newRow("hidden file") << u".velmora/workspaces/.hidden.yaml"_s;
        QTest::newRow("other extension") << u".velmora/workspaces/notes.txt"_s;
        QTest::newRow("escape by dots") << u".velmora/workspaces/../global.yaml"_s;
    }

    void unmanagedFilesAreNeverMoved()
    {
        QFETCH(QString, relative);
        QVERIFY(m_service->ensureBaseDirectory());
        QDir().mkpath(m_home->filePath(u"src"_s));
        const QString path = m_home->filePath(relative);
        writeFile(path, "keep");
        PromptWorkspace workspace;
        workspace.id = u"x"_s;
        workspace.fileURL = path;
        const auto result = m_service->isolateWorkspaceFile(workspace);
        QVERIFY(!result);
        QCOMPARE(result.error().typeName, u"WorkspaceFileDeletionError"_s);
        QCOMPARE(contentOf(path), QByteArray("keep"));
        QCOMPARE(m_log.size(), 1);
        QVERIFY(m_log[0].startsWith(u"Reject unmanaged workspace file isolation file="_s));
    }

    void deeperFoldersAreManaged()
    {
        QVERIFY(
            m_service->isManagedWorkspaceFile(QDir(m_service->workspacesDirectory()).filePath(u"a/b.YML"_s)));
        QVERIFY(!m_service->isManagedWorkspaceFile(m_service->workspacesDirectory() + u"-other/b.yaml"_s));
    }

    void encoderShapes()
    {
        PromptWorkspace empty;
        empty.name = u"E"_s;
        empty.matchPaths = {u"/x"_s};
        QCOMPARE(PromptYAMLEncoder::encodeWorkspace(empty, false),
                 u"workspace:\n  name: \"E\"\n  match_paths: []\n\nprompts:\n"_s);
        empty.prompts = {prompt(u"p"_s, QString())};
        QCOMPARE(
            PromptYAMLEncoder::encodeWorkspace(empty, true),
            u"workspace:\n  name: \"E\"\n  match_paths:\n    - \"/x\"\n\nprompts:\n"
            "  - id: \"p\"\n    title: \"p\"\n    group: \"General\"\n    agent: \"any\"\n    text: |\n      \n\n"_s);
        PromptPackMetadata metadata{u"pack-id"_s, u"Pack"_s, u"What \"it\" does"_s, u"1.0.0"_s, u"Ann"_s};
        QVERIFY(
            PromptYAMLEncoder::encodePack(empty, metadata)
                .startsWith(
                    u"pack:\n  id: \"pack-id\"\n  name: \"Pack\"\n  description: \"What \\\"it\\\" does\"\n"
                    "  version: \"1.0.0\"\n  author: \"Ann\"\nworkspace:\n"_s));
        QVERIFY(PromptYAMLEncoder::encodePack(empty, metadata)
                    .contains(u"  name: \"E\"\n  match_paths: []\n\nprompts:\n"_s));
    }
};

QTEST_GUILESS_MAIN(TestPromptPersistence)
#include "tst_promptpersistence.moc"
