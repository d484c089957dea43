// Pack files: each broken pack gives its own error and leaves the library as it was; the limits at
// their edges; install under a free name; the built-in packs through encoding, preview and load.

#include "AppLog.h"
#include "Localization.h"
#include "PromptConfigLoader.h"
#include "PromptPackService.h"
#include "PromptYAMLEncoder.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

QString text(const char* key)
{
    return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), AppLanguage::english);
}

QString unreadable(const QString& fileName)
{
    return text("linux.error.with.file.name").arg(text("error.pack.unreadable"), fileName);
}

// A pack of `promptCount` prompts, padded with block text to exactly `size` bytes if given.
QByteArray generatedPack(int promptCount, qint64 size = 0)
{
    QByteArray bytes = "pack:\n  name: \"Generated\"\nprompts:\n";
    for (int i = 0; i < promptCount; ++i)
        bytes += "  - id: p" + QByteArray::number(i) + "\n    title: T\n    text: |\n      Body\n";
    while (bytes.size() < size)
        bytes += "      " + QByteArray(std::min<qint64>(size - bytes.size(), 100) - 7, 'x') + "\n";
    if (size > 0 && bytes.size() != size)
        qFatal("generatedPack: no exact fit");
    return bytes;
}

QMap<QString, QByteArray> snapshot(const QString& folder)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        files.insert(it.filePath(), file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<folder>"));
    }
    return files;
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

} // namespace

class TestPromptPackService : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<QTemporaryDir> m_files; // where the user keeps pack files
    QStringList m_log;

    PromptPackService service(PromptConfigLimits limits = {}) const
    {
        return PromptPackService(
            PromptPersistenceService(m_home->path()), [] { return AppLanguage::english; }, limits);
    }
    QString library() const { return m_home->filePath(u".velmora"_s); }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_files = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(library() + u"/workspaces"_s));
        writeFile(library() + u"/global.yaml"_s, "prompts:\n  - id: g\n    text: Global\n");
        writeFile(library() + u"/workspaces/my-pack.yaml"_s, "workspace:\n  name: Mine\nprompts:\n");
        m_log.clear();
        AppLog::setSinkForTesting([this](AppLog::Category, const QString& line) { m_log.append(line); });
    }

    void cleanup() { AppLog::setSinkForTesting(nullptr); }

    void brokenPackIsRefused_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<int>("code");
        QTest::newRow("unknown agent")
            << u"unknown-agent"_s << text("error.invalid.agent").arg(u"gemini"_s) << 0;
        QTest::newRow("text \"\"") << u"blank-text"_s << text("error.pack.prompt.required") << 0;
        QTest::newRow("empty text block") << u"empty-block"_s << text("error.pack.prompt.required") << 0;
        QTest::newRow("no title") << u"no-title"_s << text("error.pack.prompt.required") << 0;
        QTest::newRow("no prompts") << u"no-prompts"_s << text("error.pack.no.prompts") << 0;
        QTest::newRow("overlong UTF-8")
            << u"overlong-utf8"_s << unreadable(u"overlong-utf8.velmora-pack.yaml"_s) << EILSEQ;
        QTest::newRow("encoded surrogate")
            << u"surrogate-utf8"_s << unreadable(u"surrogate-utf8.velmora-pack.yaml"_s) << EILSEQ;
        QTest::newRow("cut UTF-8") << u"cut-utf8"_s << unreadable(u"cut-utf8.velmora-pack.yaml"_s) << EILSEQ;
        QTest::newRow("1048577 bytes") << u"too-large"_s << text("error.pack.too.large") << 0;
        QTest::newRow("501 prompts") << u"too-many"_s << text("error.pack.too.many.prompts") << 0;
        QTest::newRow("4 GiB sparse file") << u"sparse"_s << text("error.pack.too.large") << 0;
        QTest::newRow("folder") << u"folder"_s << unreadable(u"folder"_s) << EISDIR;
        QTest::newRow("FIFO") << u"fifo"_s << unreadable(u"fifo"_s) << EINVAL;
        QTest::newRow("device") << u"device"_s << unreadable(u"null"_s) << EINVAL;
        QTest::newRow("missing") << u"missing"_s << unreadable(u"missing"_s) << ENOENT;
        // A regular file whose read fails whoever reads it: offset 0 of the own address space.
        QTest::newRow("read failure") << u"read-failure"_s << unreadable(u"mem"_s) << EIO;
    }

    void brokenPackIsRefused()
    {
        QFETCH(QString, source);
        QFETCH(QString, expected);
        QFETCH(int, code);
        QString path = m_files->filePath(source);
        if (source == u"too-large") {
            writeFile(path, generatedPack(1, PromptPackService::maximumPackBytes + 1));
        } else if (source == u"too-many") {
            writeFile(path, generatedPack(501));
        } else if (source == u"sparse") {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64(4) << 30));
        } else if (source == u"folder") {
            QVERIFY(QDir().mkdir(path));
        } else if (source == u"fifo") {
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        } else if (source == u"device") {
            path = u"/dev/null"_s;
        } else if (source == u"read-failure") {
            path = u"/proc/self/mem"_s;
        } else if (source != u"missing") {
            path = QFINDTESTDATA(u"data/packs/"_s + source + u".velmora-pack.yaml"_s);
        }
        const auto before = snapshot(library());
        const auto preview = service().parseImportPreviewAt(path);
        QVERIFY(!preview);
        QCOMPARE(preview.error().description, expected);
        QCOMPARE(preview.error().code, code);
        QCOMPARE(snapshot(library()), before);
        QCOMPARE(m_log.size(), 1);
        QVERIFY(m_log[0].startsWith(u"Preview prompt pack failed file="_s + AppLog::fileContext(path) +
                                    u" error="_s));
    }

    void packAtTheLimitsIsRead_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("promptCount");
        QTest::newRow("1048576 bytes") << generatedPack(1, PromptPackService::maximumPackBytes) << 1;
        // The size is of the text: a byte order mark is no part of it.
        QTest::newRow("1048576 bytes after a BOM")
            << "\xEF\xBB\xBF" + generatedPack(1, PromptPackService::maximumPackBytes) << 1;
        QTest::newRow("500 prompts") << generatedPack(500) << 500;
    }

    void packAtTheLimitsIsRead()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, promptCount);
        writeFile(m_files->filePath(u"edge.velmora-pack.yaml"_s), bytes);
        const auto preview = service().parseImportPreviewAt(m_files->filePath(u"edge.velmora-pack.yaml"_s));
        QVERIFY2(preview, qPrintable(preview.error().description));
        QCOMPARE(preview->pack.workspace.prompts.size(), promptCount);
        QCOMPARE(preview->pack.metadata.name, u"Generated"_s);
    }

    void previewReadsThePack()
    {
        const auto preview =
            service().parseImportPreviewAt(QFINDTESTDATA("data/packs/valid.velmora-pack.yaml"));
        QVERIFY2(preview, qPrintable(preview.error().description));
        const PromptPack& pack = preview->pack;
        // A tab in a single-line value becomes a blank; the version is any text.
        QCOMPARE(pack.metadata, (PromptPackMetadata{u"team-kit"_s, u"Team Kit"_s, u"Shared prompts"_s,
                                                    u"release 7, not semver"_s, u"Ann"_s}));
        // Match paths are no part of a pack. Repeated ids are numbered and a blank one comes from the
        // title, silently.
        const QString group = text("prompt.default.common.group");
        const auto prompt = [&](const QString& id, const QString& title, const QString& body) {
            return PromptItem{id, title, group, std::nullopt, body, {}, false, std::nullopt};
        };
        PromptItem first = prompt(u"x"_s, u"First of two"_s, u"One\n  indented"_s);
        first.agent = AgentType::claudeCode;
        first.tags = {u"a"_s, u"b"_s};
        PromptItem third = prompt(u"hello-world"_s, u"Hello World"_s, u"Three"_s);
        third.isPinned = true;
        PromptWorkspace expected;
        expected.id = u"team-kit"_s;
        expected.name = u"Team Kit"_s;
        expected.prompts = {first, prompt(u"x-2"_s, u"Second"_s, u"Inline text"_s), third};
        QCOMPARE(pack.workspace, expected);
        QVERIFY(m_log.isEmpty());

        // Without a header every value has its default.
        const auto bare = service().parseImportPreviewFrom(u"prompts:\n  - title: A\n    text: B\n"_s);
        QVERIFY(bare);
        QCOMPARE(bare->pack.metadata,
                 (PromptPackMetadata{u"prompt-pack"_s, u"Prompt Pack"_s, QString(), u"1.0.0"_s, QString()}));
        QCOMPARE(bare->pack.workspace.name, u"Prompt Pack"_s);
    }

    void installPicksAFreeName()
    {
        const auto preview =
            service().parseImportPreviewFrom(u"pack:\n  name: My Pack\nworkspace:\n  name: \" My Pack \"\n  "
                                             u"match_paths:\n    - /src\nprompts:\n"
                                             "  - id: a\n    title: A\n    text: Alpha\n"_s);
        QVERIFY(preview);
        const auto first = service().install(preview->pack);
        const auto second = service().install(preview->pack);
        QVERIFY(first && second);
        // my-pack.yaml is taken already.
        QCOMPARE(first->id, u"my-pack-2"_s);
        QCOMPARE(second->id, u"my-pack-3"_s);
        QCOMPARE(first->name, u"My Pack"_s);
        QCOMPARE(first->fileURL, std::optional(library() + u"/workspaces/my-pack-2.yaml"_s));
        QVERIFY(first->fileVersion);

        PromptConfigLoader loader(m_home->path(), [] { return AppLanguage::english; });
        const PromptLoadResult loaded = loader.loadAllConfigs();
        QVERIFY(loaded.configIssues.isEmpty());
        QCOMPARE(loaded.workspaces.size(), 3);
        // Sorted by file name: my-pack-2, my-pack-3, my-pack.
        QCOMPARE(loaded.workspaces[0], *first);
        QVERIFY(loaded.workspaces[0].matchPaths.isEmpty());
        // The second copy's identifiers are renumbered by the load, with its warning.
        QCOMPARE(loaded.workspaces[1].prompts[0].id, u"a-2"_s);
        QCOMPARE(loader.warnings().size(), 1);
    }

    void failedInstallWritesNothing_data()
    {
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("expected");
        QTest::newRow("write fails") << u"write"_s << QString();
        QTest::newRow("workspaces folder is a file") << u"folder"_s << QString();
        QTest::newRow("file above the load's limit") << u"file limit"_s << text("error.pack.too.large");
        QTest::newRow("library above the load's limit")
            << u"library limit"_s << text("linux.error.pack.library.full");
    }

    void failedInstallWritesNothing()
    {
        QFETCH(QString, failure);
        QFETCH(QString, expected);
        PromptConfigLimits limits;
        if (failure == u"file limit")
            limits.perFileBytes = 300;
        if (failure == u"library limit")
            limits.aggregateBytes = 1000;
        if (failure == u"folder") {
            QVERIFY(QDir(library() + u"/workspaces"_s).removeRecursively());
            writeFile(library() + u"/workspaces"_s, "in the way");
        }
        const PromptPack pack = PromptPackService::builtInPacks(AppLanguage::english)[0];
        const auto before = snapshot(library());

        // Root ignores file modes, not the file size limit: the write itself fails with EFBIG.
        struct rlimit saved = {};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &saved), 0);
        const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        if (failure == u"write") {
            struct rlimit small = saved;
            small.rlim_cur = 64;
            QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        }
        const auto installed = service(limits).install(pack);
        ::setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, previousHandler);

        QVERIFY(!installed);
        if (!expected.isEmpty())
            QCOMPARE(installed.error().description, expected);
        if (failure == u"write")
            QCOMPARE(installed.error().code, EFBIG);
        QCOMPARE(snapshot(library()), before);
    }

    void builtInPacksRoundTrip_data()
    {
        QTest::addColumn<AppLanguage>("language");
        QTest::newRow("English") << AppLanguage::english;
        QTest::newRow("Chinese") << AppLanguage::zhHans;
    }

    void builtInPacksRoundTrip()
    {
        QFETCH(AppLanguage, language);
        const QList<PromptPack>& packs = PromptPackService::builtInPacks(language);
        QCOMPARE(&PromptPackService::builtInPacks(language), &packs); // built once
        QCOMPARE(packs.size(), 3);
        const PromptPackService packService = service();
        for (const PromptPack& pack : packs) {
            QCOMPARE(pack.workspace.id, pack.metadata.id);
            QCOMPARE(pack.metadata.version, u"1.0.0"_s);
            QCOMPARE(pack.metadata.author, u"Velmora"_s);
            QCOMPARE(pack.workspace.prompts.size(), 4);
            for (const PromptItem& prompt : pack.workspace.prompts)
                QCOMPARE(prompt.agent, pack.metadata.id == u"content-workflow"
                                           ? std::nullopt
                                           : std::optional(AgentType::codex));
            const auto preview = packService.parseImportPreviewFrom(
                PromptYAMLEncoder::encodePack(pack.workspace, pack.metadata));
            QVERIFY2(preview, qPrintable(preview.error().description));
            QCOMPARE(preview->pack.metadata, pack.metadata);
            QCOMPARE(preview->pack.workspace.name, pack.workspace.name);
            QCOMPARE(preview->pack.workspace.prompts, pack.workspace.prompts);
            QVERIFY(packService.install(pack));
        }
        PromptConfigLoader loader(m_home->path(), [] { return AppLanguage::english; });
        const PromptLoadResult loaded = loader.loadAllConfigs();
        QVERIFY(loaded.configIssues.isEmpty());
        QVERIFY(loader.warnings().isEmpty());
        QCOMPARE(loaded.workspaces.size(), 4);
        for (const PromptPack& pack : packs) {
            const auto found =
                std::find_if(loaded.workspaces.begin(), loaded.workspaces.end(),
                             [&](const PromptWorkspace& w) { return w.name == pack.workspace.name; });
            QVERIFY(found != loaded.workspaces.end());
            QCOMPARE(found->prompts, pack.workspace.prompts);
        }
        QCOMPARE(&PromptPackService::builtInPacks(AppLanguage::system),
                 &PromptPackService::builtInPacks(systemResolved(systemPreferredLanguages())));
    }
};

QTEST_GUILESS_MAIN(TestPromptPackService)
#include "tst_promptpackservice.moc"
