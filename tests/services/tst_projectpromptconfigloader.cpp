#include "ProjectPromptConfigLoader.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestProjectPromptConfigLoader : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_root;

    QString folder(const QString& relative)
    {
        const QString path = m_root + u'/' + relative;
        [&] {
            QVERIFY(QDir().mkpath(path));
        }();
        return path;
    }

    QString write(const QString& relative, const QByteArray& bytes)
    {
        const QString path = m_root + u'/' + relative;
        [&] {
            QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            QCOMPARE(file.write(bytes), bytes.size());
        }();
        return path;
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_root = QDir(m_dir->path()).canonicalPath();
    }

    // --- finding the file ---

    void searchReachesTwoParentsAndNoFurther_data()
    {
        QTest::addColumn<QString>("fileFolder");
        QTest::addColumn<bool>("found");
        QTest::newRow("starting folder") << u"a/b/c/d"_s << true;
        QTest::newRow("one level up") << u"a/b/c"_s << true;
        QTest::newRow("two levels up") << u"a/b"_s << true;
        QTest::newRow("three levels up") << u"a"_s << false;
    }

    void searchReachesTwoParentsAndNoFurther()
    {
        QFETCH(QString, fileFolder);
        QFETCH(bool, found);
        const QString start = folder(u"a/b/c/d"_s);
        const QString file = write(fileFolder + u"/.velmora.yaml"_s, "prompts:\n");
        const ProjectPromptConfigLoader loader(2);
        QCOMPARE(loader.configURL(start), found ? std::optional(file) : std::nullopt);
    }

    void yamlBeatsYmlAndNearerBeatsFarther()
    {
        const QString start = folder(u"p/q"_s);
        write(u"p/.velmora.yaml"_s, "prompts:\n");
        const QString yml = write(u"p/q/.velmora.yml"_s, "prompts:\n");
        const ProjectPromptConfigLoader loader(2);
        QCOMPARE(loader.configURL(start), std::optional(yml)); // the starting folder first
        const QString yaml = write(u"p/q/.velmora.yaml"_s, "prompts:\n");
        QCOMPARE(loader.configURL(start), std::optional(yaml));
    }

    void startingPointsThatAreNoFolder()
    {
        const QString project = folder(u"proj"_s);
        const QString file = write(u"proj/.velmora.yml"_s, "prompts:\n");
        const QString source = write(u"proj/src/main.c"_s, "int main;\n");
        const ProjectPromptConfigLoader loader(1);
        // A file: the search starts in its folder, proj/src, and goes one level up.
        QCOMPARE(loader.configURL(source), std::optional(file));
        // A path that doesn't exist counts as a folder: proj/src/gone, then proj/src; proj is too far.
        QCOMPARE(loader.configURL(project + u"/src/gone"_s), std::nullopt);
        QCOMPARE(ProjectPromptConfigLoader(2).configURL(project + u"/src/gone"_s), std::optional(file));
        // The starting path is standardised first.
        QCOMPARE(loader.configURL(project + u"/src/../src/./"_s), std::optional(file));
        // No parent steps at all: only the starting folder.
        QCOMPARE(ProjectPromptConfigLoader(0).configURL(project + u"/src"_s), std::nullopt);
        QCOMPARE(ProjectPromptConfigLoader(0).configURL(project), std::optional(file));
    }

    void searchStopsAtTheRoot()
    {
        if (QFileInfo::exists(u"/.velmora.yaml"_s) || QFileInfo::exists(u"/.velmora.yml"_s))
            QSKIP("this machine has a project file in /");
        QCOMPARE(ProjectPromptConfigLoader(2).configURL(u"/"_s), std::nullopt);
        QCOMPARE(ProjectPromptConfigLoader(1000).configURL(m_root + u"/x"_s), std::nullopt);
    }

    void aLinkedProjectFileIsFoundUnderTheLinksName()
    {
        const QString real = write(u"elsewhere/shared.yaml"_s, "prompts:\n");
        const QString project = folder(u"linked"_s);
        QVERIFY(QFile::link(real, project + u"/.velmora.yaml"_s));
        QCOMPARE(ProjectPromptConfigLoader(2).configURL(project),
                 std::optional(project + u"/.velmora.yaml"_s));
        // A dangling link names no file.
        QVERIFY(QFile::remove(real));
        QCOMPARE(ProjectPromptConfigLoader(0).configURL(project), std::nullopt);
    }

    // --- reading it ---

    void loadsAReadOnlyProjectWorkspace()
    {
        const QByteArray bytes = "workspace:\n  name: Shop\n  match_paths:\n    - ./web\nprompts:\n"
                                 "  - id: review\n    title: Review\n    text: |\n      Check it.\n";
        const QString file = write(u"shop/.velmora.yaml"_s, bytes);
        ProjectPromptConfigLoader loader(2);
        const std::optional<PromptWorkspace> workspace = loader.loadWorkspace(file, m_root + u"/shop/web"_s);
        QVERIFY(workspace);
        QCOMPARE(workspace->id, u"project:"_s + file); // differs between machines and clones
        QCOMPARE(workspace->name, u"Shop"_s);
        QCOMPARE(workspace->fileURL, std::optional(file));
        QCOMPARE(workspace->source, PromptWorkspaceSource::projectConfig);
        QVERIFY(!workspace->isEditable());
        QCOMPARE(workspace->matchPaths, QStringList{m_root + u"/shop/web"_s});
        QCOMPARE(workspace->prompts.size(), 1);
        QCOMPARE(workspace->prompts[0].text, u"Check it."_s);
        QVERIFY(workspace->fileVersion);
        QCOMPARE(workspace->fileVersion->contentHash,
                 QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
    }

    void aFileWithoutNameOrPathsOrPrompts()
    {
        const QString file = write(u"plain-project/.velmora.yml"_s, "# nothing here yet\n");
        ProjectPromptConfigLoader loader(2);
        const auto workspace = loader.loadWorkspace(file, m_root + u"/plain-project"_s);
        QVERIFY(workspace);
        QCOMPARE(workspace->name, u"plain-project"_s); // the folder's name
        QCOMPARE(workspace->matchPaths, QStringList{m_root + u"/plain-project"_s});
        QVERIFY(workspace->prompts.isEmpty());
    }

    void malformedAndOversizedFilesAreReadByExtraction()
    {
        // A value with braces fails the structural check; extraction still takes the prompt.
        const QByteArray malformed = "prompts:\n  - id: a\n    title: {x}\n    text: hello\n";
        QVERIFY(!PromptConfigLoader::hasValidConfigStructure(QString::fromUtf8(malformed)));
        const QString file = write(u"messy/.velmora.yaml"_s, malformed);
        ProjectPromptConfigLoader loader(2);
        const auto workspace = loader.loadWorkspace(file, m_root + u"/messy"_s);
        QVERIFY(workspace);
        QCOMPARE(workspace->prompts.size(), 1);
        QCOMPARE(workspace->prompts[0].text, u"hello"_s);

        // No size limit: well over the 1 MiB of a library file.
        QByteArray large = "prompts:\n  - id: big\n    text: |\n";
        while (large.size() < 2 * 1048576)
            large += "      " + QByteArray(100, 'x') + '\n';
        const QString bigFile = write(u"big/.velmora.yaml"_s, large);
        const auto big = loader.loadWorkspace(bigFile, m_root + u"/big"_s);
        QVERIFY(big);
        QCOMPARE(big->prompts.size(), 1);
    }

    void unreadableFilesGiveNothingAndAWarning()
    {
        ProjectPromptConfigLoader loader(2);
        const QString notUTF8 = write(u"bytes/.velmora.yaml"_s, "prompts:\n  - id: \xff\xfe\n");
        QCOMPARE(loader.loadWorkspace(notUTF8, m_root + u"/bytes"_s), std::nullopt);
        QCOMPARE(loader.warnings().size(), 1);
        QVERIFY(loader.warnings().first().contains(u".velmora.yaml"_s));

        const QString directory = folder(u"dir/.velmora.yaml"_s);
        QCOMPARE(loader.loadWorkspace(directory, m_root + u"/dir"_s), std::nullopt);
        QCOMPARE(loader.loadWorkspace(m_root + u"/missing/.velmora.yaml"_s, m_root), std::nullopt);
        QCOMPARE(loader.warnings().size(), 3);
    }

    void matchPathsOfAProject_data()
    {
        QTest::addColumn<QStringList>("entries");
        QTest::addColumn<QStringList>("expected");
        const QString root = u"/work/proj"_s;
        QTest::newRow("empty list is the root") << QStringList() << QStringList{root};
        QTest::newRow("the table") << QStringList{u"."_s, u"./sub"_s, u"../other"_s, u"/abs/x"_s,
                                                  u"sub/../y"_s}
                                   << QStringList{root, root + u"/sub"_s, u"/work/other"_s, u"/abs/x"_s,
                                                  root + u"/y"_s};
        QTest::newRow("tilde is relative") << QStringList{u"~/x"_s} << QStringList{root + u"/~/x"_s};
        QTest::newRow("absolute is standardised")
            << QStringList{u"/abs//x/./y/"_s} << QStringList{u"/abs/x/y"_s};
    }

    void matchPathsOfAProject()
    {
        QFETCH(QStringList, entries);
        QFETCH(QStringList, expected);
        QCOMPARE(ProjectPromptConfigLoader::normalizedMatchPaths(entries, u"/work/proj"_s), expected);
    }

    void matchPathsInTheFileAreResolvedAgainstTheFilesFolder()
    {
        const QString file =
            write(u"mono/.velmora.yaml"_s,
                  "workspace:\n  match_paths:\n    - .\n    - ../shared\n    - packages/api\n");
        ProjectPromptConfigLoader loader(2);
        // Found from deeper down, the root is still the file's folder.
        const auto workspace = loader.loadWorkspace(file, m_root + u"/mono/packages/api"_s);
        QVERIFY(workspace);
        QCOMPARE(workspace->matchPaths,
                 (QStringList{m_root + u"/mono"_s, m_root + u"/shared"_s, m_root + u"/mono/packages/api"_s}));
    }
};

QTEST_GUILESS_MAIN(TestProjectPromptConfigLoader)
#include "tst_projectpromptconfigloader.moc"
