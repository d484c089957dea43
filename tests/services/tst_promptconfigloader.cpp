// The load of ~/.velmora: order of files, limits, issues, metadata, samples, the single-file read
// without limits, file versions and the background form.

#include "BackgroundPromptConfigLoader.h"
#include "Localization.h"
#include "PromptConfigLoader.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 mebibyte = 1048576;

QString text(const char* key, AppLanguage language = AppLanguage::english)
{
    return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), language);
}

// A valid prompt file of exactly `size` bytes (at least 64), padded with block text.
QByteArray validFileOfSize(qint64 size, const QByteArray& id = "big")
{
    QByteArray bytes = "prompts:\n  - id: " + id + "\n    text: |\n";
    while (bytes.size() < size) {
        const qint64 room = size - bytes.size();
        const qint64 lineLength = std::min<qint64>(room, 120);
        if (lineLength < 8) { // too short for a block line: widen the previous one
            bytes.insert(bytes.size() - 1, QByteArray(room, 'y'));
            break;
        }
        bytes += "      " + QByteArray(lineLength - 7, 'x') + "\n";
    }
    return bytes;
}

QByteArray workspaceFile(const QByteArray& name, const QByteArray& promptID)
{
    return "workspace:\n  name: " + name + "\n  match_paths:\n    - /src/" + name +
           "\nprompts:\n  - id: " + promptID + "\n    title: Title " + promptID +
           "\n    text: |\n      Body of " + promptID + "\n";
}

QStringList idsOf(const QList<PromptWorkspace>& workspaces)
{
    QStringList ids;
    for (const PromptWorkspace& workspace : workspaces)
        ids.append(workspace.id);
    return ids;
}

struct Snapshot {
    bool exists = false;
    bool isSymLink = false;
    bool isDir = false;
    QByteArray bytes;
    QDateTime modified;

    bool operator==(const Snapshot&) const = default;
};

Snapshot snapshot(const QString& path)
{
    const QFileInfo info(path);
    Snapshot result{info.exists(), info.isSymLink(), info.isDir(), {}, {}};
    if (info.isFile() && !info.isSymLink()) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            result.bytes = file.readAll();
        result.modified = info.lastModified();
    }
    return result;
}

} // namespace

class TestPromptConfigLoader : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;

    QString base() const { return m_home->filePath(u".velmora"_s); }
    QString workspacesPath() const { return m_home->filePath(u".velmora/workspaces"_s); }
    QString globalPath() const { return m_home->filePath(u".velmora/global.yaml"_s); }
    QString workspacePath(const QString& name) const { return workspacesPath() + u'/' + name; }

    static void write(const QString& path, const QByteArray& bytes)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        QVERIFY2(file.open(QIODevice::WriteOnly | QIODevice::Truncate), qPrintable(path));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    PromptConfigLoader loader(AppLanguage language = AppLanguage::english, PromptConfigLimits limits = {},
                              QSettings* settings = nullptr,
                              std::optional<bool> dismissed = std::nullopt) const
    {
        return PromptConfigLoader(
            m_home->path(), [language] { return language; }, limits, settings, dismissed);
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(m_home->isValid());
    }

    // --- Nothing to load ---

    void nothingGivesTheSamplesOfTheLanguage_data()
    {
        QTest::addColumn<AppLanguage>("language");
        QTest::addColumn<bool>("makeEmptyFolders");
        QTest::newRow("english, no folder") << AppLanguage::english << false;
        QTest::newRow("chinese, empty folders") << AppLanguage::zhHans << true;
    }

    void nothingGivesTheSamplesOfTheLanguage()
    {
        QFETCH(AppLanguage, language);
        QFETCH(bool, makeEmptyFolders);
        if (makeEmptyFolders) {
            QVERIFY(QDir().mkpath(workspacesPath()));
            write(workspacePath(u"notes.txt"_s), "prompts:\n  - id: a\n");
            write(workspacePath(u".hidden.yaml"_s), "prompts:\n  - id: a\n");
            QVERIFY(QDir().mkpath(workspacePath(u"folder"_s)));
        }
        const PromptLoadResult result = loader(language).loadAllConfigs();
        const PromptConfigLoader::SampleData samples = PromptConfigLoader::sampleData(language);
        QVERIFY(result.showsTransientSamples);
        QCOMPARE(result.globalPrompts, samples.globalPrompts);
        QCOMPARE(result.workspaces, samples.workspaces);
        QCOMPARE(result.statusMessage, text("status.config.missing.samples", language));
        QVERIFY(result.configIssues.isEmpty());
        QVERIFY(result.workspaceMetadata.isEmpty());
        for (const PromptWorkspace& workspace : result.workspaces) {
            QCOMPARE(workspace.source, PromptWorkspaceSource::transientSample);
            QVERIFY(!workspace.fileURL);
            QVERIFY(!workspace.fileVersion);
        }
    }

    void sampleTablesHoldTheirLiteralData()
    {
        const auto english = PromptConfigLoader::sampleData(AppLanguage::english);
        QCOMPARE(english.globalPrompts.size(), 5);
        QCOMPARE(english.workspaces.size(), 1);
        const PromptWorkspace& workspace = english.workspaces[0];
        QCOMPARE(workspace.id, u"my-app"_s);
        QCOMPARE(workspace.name, u"my-app"_s);
        QCOMPARE(workspace.matchPaths, QStringList{u"/Users/you/projects/my-app"_s});
        QCOMPARE(english.globalPrompts[0].title, u"/spec: clarify requirements"_s);
        QCOMPARE(english.globalPrompts[4].text, u"/review: do a quality check."_s);
        QCOMPARE(english.globalPrompts[2].group, u"General Development"_s);
        QVERIFY(!english.globalPrompts[2].agent);
        const PromptItem& review = workspace.prompts[0];
        QCOMPARE(review.id, u"project-review"_s);
        QCOMPARE(review.agent, std::optional(AgentType::codex));
        QCOMPARE(review.tags, (QStringList{u"review"_s, u"project"_s}));
        QCOMPARE(review.text,
                 u"Review the current project structure, identify the highest-priority risks, and "
                 u"give actionable suggestions."_s);
        QCOMPARE(workspace.prompts[2].group, u"Release Prep"_s);

        const auto chinese = PromptConfigLoader::sampleData(AppLanguage::zhHans);
        QCOMPARE(chinese.globalPrompts[0].title, u"/spec：写清楚需求"_s);
        QCOMPARE(chinese.globalPrompts[0].group, u"通用开发"_s);
        QCOMPARE(chinese.workspaces[0].prompts[1].text,
                 u"请为当前改动补充关键测试，优先覆盖失败路径、边界条件和回归风险。"_s);
        QCOMPARE(chinese.workspaces[0].prompts[2].group, u"发布准备"_s);

        QStringList ids;
        for (const auto& data : {english, chinese}) {
            for (const PromptItem& prompt : data.globalPrompts) {
                QVERIFY(!prompt.isPinned);
                QVERIFY(!prompt.shortcut);
            }
        }
        for (const PromptItem& prompt : english.globalPrompts + workspace.prompts)
            ids.append(prompt.id);
        QCOMPARE(ids, (QStringList{u"spec"_s, u"plan"_s, u"build"_s, u"test"_s, u"review"_s,
                                   u"project-review"_s, u"write-tests"_s, u"release-check"_s}));
        for (qsizetype i = 0; i < 5; ++i)
            QCOMPARE(chinese.globalPrompts[i].id, english.globalPrompts[i].id);
    }

    void samplesDismissal()
    {
        QSettings settings(m_home->filePath(u"settings.ini"_s), QSettings::IniFormat);
        settings.setValue(QString::fromLatin1(PromptConfigLoader::samplesDismissedKey), true);

        for (const auto& [dismissedByDefaults, override, hidden] :
             {std::tuple{false, std::optional(true), true}, std::tuple{true, std::optional<bool>(), true},
              std::tuple{true, std::optional(false), false},
              std::tuple{false, std::optional<bool>(), false}}) {
            const PromptLoadResult result =
                loader(AppLanguage::english, {}, dismissedByDefaults ? &settings : nullptr, override)
                    .loadAllConfigs();
            QCOMPARE(result.showsTransientSamples, !hidden);
            QCOMPARE(result.globalPrompts.isEmpty(), hidden);
            QCOMPARE(result.statusMessage,
                     text(hidden ? "status.config.samples.hidden" : "status.config.missing.samples"));
            QVERIFY(result.configIssues.isEmpty());
        }
    }

    // --- What counts as loaded ---

    void emptyGlobalFileIsAnIssueAndStopsTheSamples()
    {
        write(globalPath(), "");
        const PromptLoadResult result = loader().loadAllConfigs();
        QVERIFY(!result.showsTransientSamples);
        QVERIFY(result.globalPrompts.isEmpty());
        QVERIFY(result.workspaces.isEmpty());
        QCOMPARE(result.statusMessage, text("status.config.no.prompts").arg(QString()));
        QVERIFY(result.workspaceMetadata.isEmpty());
        const PromptConfigIssue issue{u"global:global.yaml:config.issue.invalid.format"_s,
                                      u"global.yaml"_s,
                                      PromptConfigSourceKind::global,
                                      PromptConfigIssueKind::invalidFormat,
                                      text("config.issue.invalid.format"),
                                      globalPath(),
                                      {PromptConfigRecoveryAction::reload,
                                       PromptConfigRecoveryAction::showInFinder,
                                       PromptConfigRecoveryAction::openWorkspaceManager}};
        QCOMPARE(result.configIssues, QList{issue});
    }

    void globalFileWithNoPromptsHasNoMetadata()
    {
        write(globalPath(), "prompts: []\n");
        const PromptLoadResult result = loader().loadAllConfigs();
        QCOMPARE(result.statusMessage, text("status.config.no.prompts").arg(QString()));
        QVERIFY(result.configIssues.isEmpty());
        QVERIFY(result.workspaceMetadata.isEmpty());
        QVERIFY(!result.showsTransientSamples);
    }

    void workspaceWithoutPromptsCountsAsLoaded()
    {
        write(workspacePath(u"empty.yaml"_s), "workspace:\n  name: Empty\n");
        const PromptLoadResult result = loader().loadAllConfigs();
        QCOMPARE(idsOf(result.workspaces), QStringList{u"empty"_s});
        QCOMPARE(result.workspaces[0].name, u"Empty"_s);
        QCOMPARE(result.statusMessage, text("status.loaded.configs").arg(u"1"_s, QString()));
        QVERIFY(result.workspaceMetadata.contains(u"empty"_s));
    }

    void globalFileGivesOnlyItsPrompts()
    {
        write(globalPath(), "workspace:\n  name: Ignored\n  match_paths:\n    - /x\nprompts:\n  - id: g\n");
        write(workspacePath(u"team.yaml"_s), workspaceFile("Team", "t"));
        const PromptLoadResult result = loader().loadAllConfigs();
        QCOMPARE(result.globalPrompts.size(), 1);
        QCOMPARE(result.globalPrompts[0].id, u"g"_s);
        QCOMPARE(idsOf(result.workspaces), QStringList{u"team"_s});
        QCOMPARE(result.statusMessage, text("status.loaded.configs").arg(u"2"_s, QString()));
        QCOMPARE(result.workspaceMetadata.keys().size(), 2);
        QVERIFY(result.workspaceMetadata.contains(QString::fromLatin1(globalWorkspaceID)));
    }

    void workspaceFieldsComeFromTheFile()
    {
        const QByteArray named = workspaceFile("Team Name", "p");
        write(workspacePath(u"My Team.v2.yaml"_s), named);
        write(workspacePath(u"plain.yml"_s), "prompts:\n  - id: q\n");
        const PromptLoadResult result = loader().loadAllConfigs();
        QCOMPARE(idsOf(result.workspaces), (QStringList{u"My Team.v2"_s, u"plain"_s})); // no slug rule
        const PromptWorkspace& team = result.workspaces[0];
        QCOMPARE(team.name, u"Team Name"_s);
        QCOMPARE(team.matchPaths, QStringList{u"/src/Team Name"_s});
        QCOMPARE(team.fileURL, std::optional(workspacePath(u"My Team.v2.yaml"_s)));
        QCOMPARE(team.source, PromptWorkspaceSource::userWorkspace);
        QCOMPARE(team.fileVersion,
                 std::optional(PromptConfigLoader::fileVersion(named, workspacePath(u"My Team.v2.yaml"_s))));
        QCOMPARE(team.prompts.size(), 1);
        QCOMPARE(team.prompts[0].text, u"Body of p"_s);
        QCOMPARE(result.workspaces[1].name, u"plain"_s); // the fallback: the file name less its extension
    }

    void filesLoadInOrderOfTheirPaths()
    {
        write(workspacePath(u"b.yaml"_s), "prompts:\n  - id: b\n");
        write(workspacePath(u"a.YML"_s), "prompts:\n  - id: a\n");
        write(workspacePath(u"C.Yaml"_s), "prompts:\n  - id: c\n");
        write(workspacePath(u"é.yaml"_s), "prompts:\n  - id: e\n");
        write(workspacePath(u"notes.txt"_s), "prompts:\n  - id: n\n");
        write(workspacePath(u"yaml"_s), "prompts:\n  - id: y\n");
        write(workspacePath(u".x.yaml"_s), "prompts:\n  - id: x\n");
        write(workspacePath(u"nested/inner.yaml"_s), "prompts:\n  - id: i\n");
        const PromptLoadResult result = loader().loadAllConfigs();
        QCOMPARE(idsOf(result.workspaces), (QStringList{u"C"_s, u"a"_s, u"b"_s, u"é"_s}));
        QVERIFY(result.configIssues.isEmpty());
    }

    void yamlAndYmlOfOneNameGiveTwoWorkspacesAndTheLaterMetadata()
    {
        write(workspacePath(u"a.yaml"_s), "prompts:\n  - id: one\n");
        write(workspacePath(u"a.yml"_s), "prompts:\n  - id: two\n    title: longer\n");
        const PromptLoadResult result = loader().loadAllConfigs();
        QCOMPARE(idsOf(result.workspaces), (QStringList{u"a"_s, u"a"_s}));
        QCOMPARE(result.workspaceMetadata.size(), 1);
        QCOMPARE(result.workspaceMetadata.value(u"a"_s).fileSize,
                 QFileInfo(workspacePath(u"a.yml"_s)).size());
    }

    void metadataHoldsSizeAndModificationTime()
    {
        write(globalPath(), "prompts:\n  - id: g\n");
        write(workspacePath(u"w.yaml"_s), "prompts:\n  - id: w\n");
        const QDateTime when = QDateTime(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC);
        for (const QString& path : {globalPath(), workspacePath(u"w.yaml"_s)}) {
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(when, QFileDevice::FileModificationTime));
        }
        const PromptLoadResult result = loader().loadAllConfigs();
        const WorkspaceFileMetadata expected{when, 19};
        QCOMPARE(result.workspaceMetadata,
                 (QHash<QString, WorkspaceFileMetadata>{{QString::fromLatin1(globalWorkspaceID), expected},
                                                        {u"w"_s, expected}}));
    }

    // --- Limits ---

    void perFileLimitBoundary()
    {
        write(workspacePath(u"exact.yaml"_s), validFileOfSize(mebibyte, "exact"));
        write(workspacePath(u"over.yaml"_s), validFileOfSize(mebibyte + 1, "over"));
        QCOMPARE(QFileInfo(workspacePath(u"exact.yaml"_s)).size(), mebibyte);
        QCOMPARE(QFileInfo(workspacePath(u"over.yaml"_s)).size(), mebibyte + 1);
        const PromptLoadResult result = loader().loadAllConfigs();
        QCOMPARE(idsOf(result.workspaces), QStringList{u"exact"_s});
        QCOMPARE(result.configIssues.size(), 1);
        QCOMPARE(result.configIssues[0].kind, PromptConfigIssueKind::perFileLimitExceeded);
        QCOMPARE(result.configIssues[0].id, u"workspace:over.yaml:config.issue.per.file.limit"_s);
    }

    void aggregateLimitBoundary()
    {
        // Too large on its own: refused and not counted, so the ten after it fill the total exactly.
        write(workspacePath(u"00.yaml"_s), validFileOfSize(mebibyte + 1, "f00"));
        for (int i = 1; i <= 11; ++i) {
            const QByteArray id = QByteArray::number(i).rightJustified(2, '0');
            write(workspacePath(QString::fromLatin1(id) + u".yaml"_s), validFileOfSize(mebibyte, "f" + id));
        }
        const PromptLoadResult result = loader().loadAllConfigs();
        QCOMPARE(result.workspaces.size(), 10);
        QCOMPARE(result.workspaces.last().id, u"10"_s);
        QCOMPARE(result.configIssues.size(), 2);
        QCOMPARE(result.configIssues[0].kind, PromptConfigIssueKind::perFileLimitExceeded);
        QCOMPARE(result.configIssues[0].displayName, u"00.yaml"_s);
        QCOMPARE(result.configIssues[1].kind, PromptConfigIssueKind::aggregateLimitExceeded);
        QCOMPARE(result.configIssues[1].displayName, u"11.yaml"_s);
        QCOMPARE(result.statusMessage, text("status.loaded.configs").arg(u"10"_s, QString()));
    }

    void fileThatFailsAfterTheSizeChecksStillCounts()
    {
        write(globalPath(), QByteArray(100, '#'));                   // comments only: invalid, yet counted
        write(workspacePath(u"a.yaml"_s), validFileOfSize(64, "a")); // 100 + 64 > 150
        write(workspacePath(u"b.yaml"_s), "prompts:\n  - id: b\n");  // 100 + 19 <= 150
        const PromptLoadResult result =
            loader(AppLanguage::english, PromptConfigLimits{100, 150}).loadAllConfigs();
        QCOMPARE(idsOf(result.workspaces), QStringList{u"b"_s});
        QCOMPARE(result.configIssues.size(), 2);
        QCOMPARE(result.configIssues[0].kind, PromptConfigIssueKind::invalidFormat);
        QCOMPARE(result.configIssues[1].kind, PromptConfigIssueKind::aggregateLimitExceeded);
        QCOMPARE(result.configIssues[1].id, u"workspace:a.yaml:config.issue.aggregate.limit"_s);
    }

    // --- Bad input: one issue naming the file, the file untouched, the rest loaded ---

    void badEntryGivesOneIssueAndTheRestLoads_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<PromptConfigIssueKind>("kind");

        QTest::newRow("invalid UTF-8") << u"bad.yaml"_s << PromptConfigIssueKind::invalidUTF8;
        QTest::newRow("truncated UTF-8") << u"cut.yaml"_s << PromptConfigIssueKind::invalidUTF8;
        QTest::newRow("encoded surrogate") << u"surrogate.yaml"_s << PromptConfigIssueKind::invalidUTF8;
        QTest::newRow("directory") << u"x.yaml"_s << PromptConfigIssueKind::unreadable;
        QTest::newRow("symbolic link to a file") << u"link.yaml"_s << PromptConfigIssueKind::unreadable;
        QTest::newRow("dangling symbolic link") << u"dangling.yml"_s << PromptConfigIssueKind::unreadable;
        QTest::newRow("named pipe") << u"pipe.yaml"_s << PromptConfigIssueKind::unreadable;
        QTest::newRow("empty file") << u"empty.yaml"_s << PromptConfigIssueKind::invalidFormat;
        QTest::newRow("one byte over a mebibyte")
            << u"huge.yaml"_s << PromptConfigIssueKind::perFileLimitExceeded;
        QTest::newRow("tab in a comment") << u"tab.yaml"_s << PromptConfigIssueKind::invalidFormat;
        QTest::newRow("YAML outside the subset") << u"flow.yaml"_s << PromptConfigIssueKind::invalidFormat;
    }

    void badEntryGivesOneIssueAndTheRestLoads()
    {
        QFETCH(QString, name);
        QFETCH(PromptConfigIssueKind, kind);

        write(globalPath(), "prompts:\n  - id: g\n");
        write(workspacePath(u"good.yaml"_s), workspaceFile("Good", "w"));
        write(workspacePath(u"zz-last.yaml"_s), workspaceFile("Last", "z"));
        const QString path = workspacePath(name);
        const QByteArray tag = QTest::currentDataTag();
        if (tag == "invalid UTF-8")
            write(path, "prompts:\n  - id: \xff\xfe\n");
        else if (tag == "truncated UTF-8")
            write(path, "prompts:\n  - id: \xe4\xb8");
        else if (tag == "encoded surrogate")
            write(path, "prompts:\n  - id: \xed\xa0\x80\n");
        else if (tag == "directory")
            QVERIFY(QDir().mkpath(path));
        else if (tag == "symbolic link to a file")
            QVERIFY(QFile::link(workspacePath(u"good.yaml"_s), path));
        else if (tag == "dangling symbolic link")
            QVERIFY(QFile::link(m_home->filePath(u"missing.yaml"_s), path));
        else if (tag == "named pipe")
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        else if (tag == "empty file")
            write(path, "");
        else if (tag == "one byte over a mebibyte")
            write(path, validFileOfSize(mebibyte + 1));
        else if (tag == "tab in a comment")
            write(path, "prompts:\n  - id: t # a\tcomment\n");
        else if (tag == "YAML outside the subset")
            write(path, "prompts: [{id: a}]\n");
        const Snapshot before = snapshot(path);

        const PromptLoadResult result = loader().loadAllConfigs();

        QCOMPARE(result.configIssues.size(), 1);
        const PromptConfigIssue& issue = result.configIssues[0];
        QCOMPARE(issue.kind, kind);
        QCOMPARE(issue.displayName, name);
        QCOMPARE(issue.fileURL, path);
        QCOMPARE(issue.sourceKind, PromptConfigSourceKind::workspace);
        QVERIFY(issue.id.startsWith(u"workspace:"_s + name + u':'));
        QCOMPARE(result.globalPrompts.size(), 1);
        QCOMPARE(idsOf(result.workspaces), (QStringList{u"good"_s, u"zz-last"_s}));
        QCOMPARE(result.statusMessage, text("status.loaded.configs").arg(u"3"_s, QString()));
        QCOMPARE(snapshot(path), before);
        QVERIFY(!result.workspaceMetadata.contains(QFileInfo(name).completeBaseName()));
    }

    void badGlobalEntryIsAnIssueOfTheGlobalKind()
    {
        QVERIFY(QDir().mkpath(globalPath())); // a folder where the file should be
        write(workspacePath(u"w.yaml"_s), "prompts:\n  - id: w\n");
        const PromptLoadResult result = loader(AppLanguage::zhHans).loadAllConfigs();
        QCOMPARE(result.configIssues.size(), 1);
        QCOMPARE(result.configIssues[0].id, u"global:global.yaml:config.issue.unreadable"_s);
        QCOMPARE(result.configIssues[0].message, text("config.issue.unreadable", AppLanguage::zhHans));
        QVERIFY(result.globalPrompts.isEmpty());
        QCOMPARE(idsOf(result.workspaces), QStringList{u"w"_s});
        QCOMPARE(result.statusMessage,
                 text("status.loaded.configs", AppLanguage::zhHans).arg(u"1"_s, QString()));
    }

    // --- Warnings ---

    void warningsAreCountedInTheStatus()
    {
        write(globalPath(), "prompts:\n  - id: same\n");
        write(workspacePath(u"w.yaml"_s), "prompts:\n  - id: same\n  - id: other\n    agent: gemini\n");
        for (AppLanguage language : {AppLanguage::english, AppLanguage::zhHans}) {
            PromptConfigLoader configLoader = loader(language);
            const PromptLoadResult result = configLoader.loadAllConfigs();
            QCOMPARE(result.globalPrompts[0].id, u"same"_s);
            QCOMPARE(result.workspaces[0].prompts.size(), 1);
            QCOMPARE(result.workspaces[0].prompts[0].id, u"same-2"_s);
            QCOMPARE(
                configLoader.warnings(),
                (QStringList{text("error.invalid.agent", language).arg(u"gemini"_s),
                             text("warning.duplicate.prompt.id", language).arg(u"same"_s, u"same-2"_s)}));
            const QString suffix = text("status.warning.suffix", language).arg(u"2"_s);
            QCOMPARE(result.statusMessage, text("status.loaded.configs", language).arg(u"2"_s, suffix));
            // A second load starts from no warnings.
            QCOMPARE(configLoader.loadAllConfigs().statusMessage, result.statusMessage);
            QCOMPARE(configLoader.warnings().size(), 2);
        }
    }

    void warningsOfAFileWithoutPromptsStillShow()
    {
        write(workspacePath(u"w.yaml"_s), "prompts:\n  - id: a\n    agent: nobody\n");
        const PromptLoadResult result = loader().loadAllConfigs();
        // The workspace loaded, with no prompts left.
        QCOMPARE(idsOf(result.workspaces), QStringList{u"w"_s});
        QCOMPARE(result.statusMessage,
                 text("status.loaded.configs").arg(u"1"_s, text("status.warning.suffix").arg(u"1"_s)));
    }

    // --- Versions and the single-file read ---

    void fileVersionIsTheHashAndTheStandardisedPath()
    {
        const WorkspaceFileVersion version =
            PromptConfigLoader::fileVersion("abc", u"/home/u/./.velmora/workspaces/../workspaces/w.yaml"_s);
        QCOMPARE(version.contentHash, u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s);
        QCOMPARE(version.path, u"/home/u/.velmora/workspaces/w.yaml"_s);
        QCOMPARE(PromptConfigLoader::fileVersion("", u"relative.yaml"_s).path,
                 QDir::cleanPath(QDir::current().absoluteFilePath(u"relative.yaml"_s)));
        QCOMPARE(PromptConfigLoader::fileVersion("", u"/x"_s).contentHash,
                 u"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"_s);
    }

    void parseReadsOneFileWithoutLimitsOrStructuralCheck()
    {
        const QString path = m_home->filePath(u"project/.velmora.yaml"_s);
        // Structurally invalid (a bracket value) and above the per-file limit: both ignored here.
        QByteArray bytes = "prompts:\n  - id: p\n    tags: [a]\n    text: |\n";
        while (bytes.size() <= mebibyte)
            bytes += "      " + QByteArray(100, 'x') + "\n";
        write(path, bytes);
        PromptConfigLoader configLoader = loader();
        const std::optional<PromptWorkspace> workspace = configLoader.parse(path, u"project"_s);
        QVERIFY(workspace);
        QCOMPARE(workspace->name, u"project"_s);
        QCOMPARE(workspace->id, u".velmora"_s);
        QCOMPARE(workspace->fileURL, std::optional(path));
        QCOMPARE(workspace->source, PromptWorkspaceSource::userWorkspace);
        QCOMPARE(workspace->fileVersion, std::optional(PromptConfigLoader::fileVersion(bytes, path)));
        QCOMPARE(workspace->prompts.size(), 1);
        QCOMPARE(workspace->prompts[0].tags, QStringList{u"[a]"_s});
        QVERIFY(configLoader.warnings().isEmpty());
    }

    void parseFollowsALinkToAFile()
    {
        const QString target = m_home->filePath(u"shared/prompts.yaml"_s);
        write(target, "workspace:\n  name: Shared\n");
        const QString link = m_home->filePath(u"project/.velmora.yml"_s);
        QVERIFY(QDir().mkpath(QFileInfo(link).absolutePath()));
        QVERIFY(QFile::link(target, link));
        const auto workspace = loader().parse(link, u"project"_s);
        QVERIFY(workspace);
        QCOMPARE(workspace->name, u"Shared"_s);
    }

    void parseFailureGivesAWarningNamingTheFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << u"missing.yaml"_s;
        QTest::newRow("invalid UTF-8") << u"latin1.yaml"_s;
        QTest::newRow("directory") << u"folder.yaml"_s;
        QTest::newRow("named pipe") << u"pipe.yaml"_s;
    }

    void parseFailureGivesAWarningNamingTheFile()
    {
        QFETCH(QString, name);
        const QString path = m_home->filePath(name);
        if (name == u"latin1.yaml")
            write(path, "workspace:\n  name: Caf\xe9\n");
        else if (name == u"folder.yaml")
            QVERIFY(QDir().mkpath(path));
        else if (name == u"pipe.yaml")
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        for (AppLanguage language : {AppLanguage::english, AppLanguage::zhHans}) {
            PromptConfigLoader configLoader = loader(language);
            QVERIFY(!configLoader.parse(path, u"fallback"_s));
            QCOMPARE(configLoader.warnings(),
                     QStringList{text("error.config.read.failed", language).arg(name)});
        }
    }

    // --- Background form ---

    void backgroundLoadGivesTheSynchronousResult()
    {
        write(globalPath(), "prompts:\n  - id: g\n    title: G\n");
        write(workspacePath(u"a.yaml"_s), workspaceFile("A", "a"));
        write(workspacePath(u"b.yaml"_s), "prompts: [x]\n");
        BackgroundPromptConfigLoader background(m_home->path());
        QList<QFuture<PromptLoadResult>> loads;
        for (AppLanguage language : {AppLanguage::english, AppLanguage::zhHans, AppLanguage::english})
            loads.append(background.loadAllConfigs(language));
        for (qsizetype i = 0; i < loads.size(); ++i) {
            const AppLanguage language = i == 1 ? AppLanguage::zhHans : AppLanguage::english;
            PromptConfigLoader configLoader = loader(language, {}, nullptr, false);
            QCOMPARE(loads[i].result(), configLoader.loadAllConfigs());
        }
        QCOMPARE(loads[1].result().configIssues[0].message,
                 text("config.issue.invalid.format", AppLanguage::zhHans));
    }

    void backgroundLoadAlwaysOffersTheSamples()
    {
        BackgroundPromptConfigLoader background(m_home->path(), PromptConfigLimits{});
        const PromptLoadResult result = background.loadAllConfigs(AppLanguage::zhHans).result();
        QVERIFY(result.showsTransientSamples);
        QCOMPARE(result.globalPrompts, PromptConfigLoader::sampleData(AppLanguage::zhHans).globalPrompts);
    }

    void backgroundLoadAppliesItsLimits()
    {
        write(workspacePath(u"a.yaml"_s), validFileOfSize(200, "a"));
        BackgroundPromptConfigLoader background(m_home->path(), PromptConfigLimits{100, 1000});
        const PromptLoadResult result = background.loadAllConfigs(AppLanguage::english).result();
        QCOMPARE(result.configIssues.size(), 1);
        QCOMPARE(result.configIssues[0].kind, PromptConfigIssueKind::perFileLimitExceeded);
    }
};

QTEST_GUILESS_MAIN(TestPromptConfigLoader)
#include "tst_promptconfigloader.moc"
