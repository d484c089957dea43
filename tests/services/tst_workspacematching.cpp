#include "ContextBindingStore.h"
#include "PromptMatchingService.h"
#include "WorkspaceMatcher.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

PromptWorkspace workspace(const QString& id, const QString& name, const QStringList& matchPaths = {})
{
    PromptWorkspace result;
    result.id = id;
    result.name = name;
    result.matchPaths = matchPaths;
    return result;
}

AgentContext context(AgentType agent = AgentType::unknown, const QString& appName = u"Finder"_s,
                     const QString& title = {}, const std::optional<QString>& workspacePath = std::nullopt)
{
    AgentContext result = AgentContext::unknown();
    result.agent = agent;
    result.frontmostAppName = appName;
    result.frontWindowTitle = title;
    result.workspacePath = workspacePath;
    return result;
}

std::optional<QString> idOf(const std::optional<PromptWorkspace>& workspace)
{
    if (!workspace)
        return std::nullopt;
    return workspace->id;
}

} // namespace

class TestWorkspaceMatching : public QObject {
    Q_OBJECT

    QTemporaryDir m_root;
    QString m_home;
    QByteArray m_savedHome;
    std::unique_ptr<QTemporaryDir> m_bindingHome;
    std::unique_ptr<ContextBindingStore> m_bindings;
    QDateTime m_now;

    QString makeFolder(const QString& relative)
    {
        const QString path = m_root.filePath(relative);
        [&] {
            QVERIFY(QDir().mkpath(path));
        }();
        return QDir(path).canonicalPath();
    }

    // A service over the real binding store, with a project file hook that records whether it was asked.
    PromptMatchingService service(const QList<PromptWorkspace>& workspaces, bool advanced = true)
    {
        PromptMatchingService result;
        result.workspaces = workspaces;
        result.bindingStore = m_bindings.get();
        result.advancedAutomaticMatchingEnabled = advanced;
        result.projectConfigsEnabled = true;
        result.projectConfigPath = [](const AgentContext&) {
            return std::optional<QString>();
        };
        result.isProjectConfigTrusted = [](const QString&) {
            return false;
        };
        result.projectWorkspace = [](const AgentContext&, const QString&) {
            return std::optional<PromptWorkspace>();
        };
        return result;
    }

    AgentWorkspaceBinding bind(AgentType agent, const QString& workspaceID, bool isDefault = false)
    {
        m_now = m_now.addSecs(60); // each binding younger than the one before
        const Expected<AgentWorkspaceBinding> added =
            m_bindings->addAgentWorkspaceBinding(agent, displayName(agent, AppLanguage::english),
                                                 defaultBundleIdentifier(agent), workspaceID, isDefault);
        [&] {
            QVERIFY(added);
        }();
        return added ? *added : AgentWorkspaceBinding{};
    }

    void writeLegacyBinding(const QString& appName, const QString& keyword, const QString& workspaceID)
    {
        const QJsonArray legacy{QJsonObject{{u"id"_s, u"L1"_s},
                                            {u"appName"_s, appName},
                                            {u"windowKeyword"_s, keyword},
                                            {u"workspaceID"_s, workspaceID},
                                            {u"createdAt"_s, u"2024-05-01T09:30:00Z"_s}}};
        QFile file(m_bindingHome->filePath(u".velmora/context-bindings.json"_s));
        QVERIFY(QDir().mkpath(m_bindingHome->filePath(u".velmora"_s)));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(QJsonDocument(legacy).toJson());
        file.close();
        // An agent file must exist, or the reload migrates whole-application bindings.
        if (!QFile::exists(m_bindings->agentWorkspaceBindingsFilePath())) {
            QFile agentFile(m_bindings->agentWorkspaceBindingsFilePath());
            QVERIFY(agentFile.open(QIODevice::WriteOnly));
            agentFile.write("{\"version\": 3}");
        }
        m_bindings->reload();
        QCOMPARE(m_bindings->bindings().size(), 1);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        m_savedHome = qgetenv("HOME");
        m_home = makeFolder(u"home"_s);
        qputenv("HOME", QFile::encodeName(m_home));
        QCOMPARE(QDir::homePath(), m_home);
    }

    void cleanupTestCase() { qputenv("HOME", m_savedHome); }

    void init()
    {
        m_bindingHome = std::make_unique<QTemporaryDir>();
        m_now = QDateTime(QDate(2024, 5, 1), QTime(9, 0), Qt::UTC);
        ContextBindingStore::Dependencies dependencies;
        dependencies.now = [this] {
            return m_now;
        };
        dependencies.languageProvider = [] {
            return AppLanguage::english;
        };
        m_bindings = std::make_unique<ContextBindingStore>(m_bindingHome->path(), dependencies);
    }

    // --- normalizePath and the identifier rule ---

    void normalizePathExpandsHomeResolvesLinksAndKeepsMissingPaths()
    {
        const QString real = makeFolder(u"home/real"_s);
        QVERIFY(QFile::link(real, m_home + u"/link"_s));
        QCOMPARE(WorkspaceMatcher::normalizePath(u"~/real/"_s), real);
        QCOMPARE(WorkspaceMatcher::normalizePath(u"~/link"_s), real);
        QCOMPARE(WorkspaceMatcher::normalizePath(m_home + u"/link/../real/./"_s), real);
        QCOMPARE(WorkspaceMatcher::normalizePath(u"/no/such/../folder/"_s), u"/no/folder"_s);
        QCOMPARE(WorkspaceMatcher::normalizePath(u"~"_s).endsWith(u"/~"_s), true); // only "~/" expands
        QCOMPARE(WorkspaceMatcher::normalizePath(QString()), QString());
    }

    void containsIdentifier_data()
    {
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("contained");
        QTest::newRow("blanks around") << u"api"_s << u"fix the api now"_s << true;
        QTest::newRow("slashes around") << u"api"_s << u"/src/api/main.go"_s << true;
        QTest::newRow("whole text") << u"api"_s << u"api"_s << true;
        QTest::newRow("inside a word") << u"api"_s << u"rapid"_s << false;
        QTest::newRow("hyphen is part of words") << u"api"_s << u"api-gateway"_s << false;
        QTest::newRow("underscore is part of words") << u"api"_s << u"my_api"_s << false;
        QTest::newRow("later occurrence passes") << u"api"_s << u"rapid api"_s << true;
        QTest::newRow("punctuation") << u"api"_s << u"(api)."_s << true;
        QTest::newRow("case-sensitive") << u"api"_s << u"API"_s << false;
        QTest::newRow("empty identifier") << u""_s << u"anything"_s << false;
        QTest::newRow("han letters are identifier characters") << u"api"_s << u"\u4E2D\u6587api"_s << false;
        QTest::newRow("combining mark after") << u"cafe"_s << u"cafe\u0301 time"_s << false;
        QTest::newRow("non-ASCII digit before") << u"api"_s << u"\u0663api"_s << false;
        // One user-perceived character, a letter joined to a zero-width joiner, stands before it.
        QTest::newRow("letter with a joiner before") << u"api"_s << u"x\u200Dapi"_s << false;
        QTest::newRow("emoji around") << u"api"_s << u"\U0001F680api\U0001F680"_s << true;
        QTest::newRow("no-break space around") << u"api"_s << u"\u00A0api\u3000"_s << true;
        QTest::newRow("non-ASCII identifier") << u"\u00FCber"_s << u"das \u00FCber alles"_s << true;
    }

    void containsIdentifier()
    {
        QFETCH(QString, identifier);
        QFETCH(QString, text);
        QFETCH(bool, contained);
        QCOMPARE(WorkspaceMatcher::containsIdentifier(identifier, text), contained);
    }

    // --- explicit path ---

    void explicitPath_data()
    {
        QTest::addColumn<QString>("matchPath");
        QTest::addColumn<QString>("contextFolder");
        QTest::addColumn<bool>("matches");
        QTest::newRow("home-relative, capitals differ") << u"~/Code/App"_s << u"home/code/app/src"_s << true;
        QTest::newRow("exact folder") << u"~/code/app"_s << u"home/code/app"_s << true;
        QTest::newRow("trailing slash") << u"~/code/app/"_s << u"home/code/app/src"_s << true;
        QTest::newRow("sibling with a longer name") << u"~/code/b"_s << u"home/code/bc"_s << false;
        QTest::newRow("parent of the match path") << u"~/code/app/src"_s << u"home/code/app"_s << false;
        QTest::newRow("empty match path") << u""_s << u"home/code/app"_s << false;
    }

    void explicitPath()
    {
        QFETCH(QString, matchPath);
        QFETCH(QString, contextFolder);
        QFETCH(bool, matches);
        makeFolder(u"home/code/app/src"_s);
        makeFolder(u"home/code/b"_s);
        const QString folder = makeFolder(contextFolder);
        const WorkspaceMatcher matcher({workspace(u"w"_s, u"unrelated-name"_s, {matchPath})});
        const AgentContext current = context(AgentType::cursor, u"Cursor"_s, {}, folder);
        QCOMPARE(idOf(matcher.explicitPathWorkspace(current)),
                 matches ? std::optional(u"w"_s) : std::nullopt);
    }

    void explicitPathTakesListOrderAndNeedsAnExistingFolder()
    {
        const QString parent = makeFolder(u"order"_s);
        const QString child = makeFolder(u"order/child"_s);
        const WorkspaceMatcher matcher(
            {workspace(u"parent"_s, u"p"_s, {parent}), workspace(u"exact"_s, u"e"_s, {child})});
        QCOMPARE(idOf(matcher.explicitPathWorkspace(context(AgentType::cursor, u"Cursor"_s, {}, child))),
                 std::optional(u"parent"_s));
        QCOMPARE(idOf(matcher.explicitPathWorkspace(
                     context(AgentType::cursor, u"Cursor"_s, {}, child + u"/gone"_s))),
                 std::nullopt);
        QVERIFY(!WorkspaceMatcher::validatedContextWorkspacePath(
            context(AgentType::cursor, u"Cursor"_s, {}, u""_s)));
        // The detected folder is compared through its links.
        QVERIFY(QFile::link(child, m_root.filePath(u"child-link"_s)));
        QCOMPARE(WorkspaceMatcher::validatedContextWorkspacePath(
                     context(AgentType::cursor, u"Cursor"_s, {}, m_root.filePath(u"child-link"_s))),
                 std::optional(child));
    }

    // --- inference ---

    void inference_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("matchPaths");
        QTest::addColumn<QString>("appName");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("workspaceName");
        QTest::addColumn<bool>("matches");
        const QString none = unidentifiedWorkspaceName;
        QTest::newRow("name in the title, other capitals")
            << u"API"_s << QStringList() << u"Terminal"_s << u"ssh api-box: api"_s << none << true;
        QTest::newRow("name inside another word")
            << u"api"_s << QStringList() << u"Terminal"_s << u"rapid"_s << none << false;
        QTest::newRow("name in the application name")
            << u"Ghostty"_s << QStringList() << u"Ghostty"_s << u""_s << none << true;
        QTest::newRow("name in the detected workspace name")
            << u"shop"_s << QStringList() << u"Terminal"_s << u""_s << u"Shop"_s << true;
        QTest::newRow("empty name matches nothing")
            << u""_s << QStringList() << u"Terminal"_s << u"  "_s << none << false;
        QTest::newRow("empty name, path component still works")
            << u""_s << QStringList{u"/srv/webshop/"_s} << u"Terminal"_s << u"deploy webshop"_s << none
            << true;
        QTest::newRow("last component of a home-relative path")
            << u"x"_s << QStringList{u"~/notes"_s} << u"Terminal"_s << u"notes"_s << none << true;
        QTest::newRow("unidentified workspace name is left out")
            << u"\u672A\u8BC6\u522B\u5DE5\u4F5C\u533A"_s << QStringList() << u"Terminal"_s << u""_s << none
            << false;
    }

    void inference()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, matchPaths);
        QFETCH(QString, appName);
        QFETCH(QString, title);
        QFETCH(QString, workspaceName);
        QFETCH(bool, matches);
        AgentContext current = context(AgentType::terminal, appName, title);
        current.workspaceName = workspaceName;
        const WorkspaceMatcher matcher({workspace(u"w"_s, name, matchPaths)});
        QCOMPARE(idOf(matcher.inferredWorkspace(current)), matches ? std::optional(u"w"_s) : std::nullopt);
    }

    void ideTitleDecidesByFolderAndSkipsTheComponentTest()
    {
        // The IDE's title names /x/alpha, a parent of the first workspace's folder: that workspace is
        // out, although "web", its folder's name, stands in the title. The next one is tried.
        const QList<PromptWorkspace> workspaces{workspace(u"web"_s, u"frontend"_s, {u"/x/alpha/web"_s}),
                                                workspace(u"beta"_s, u"beta"_s)};
        const AgentContext ide = context(AgentType::cursor, u"Cursor"_s, u"/x/alpha web beta"_s);
        QCOMPARE(idOf(WorkspaceMatcher(workspaces).inferredWorkspace(ide)), std::optional(u"beta"_s));
        // Outside an IDE the same title matches the first workspace by its folder's name.
        const AgentContext terminal = context(AgentType::terminal, u"Terminal"_s, u"/x/alpha web beta"_s);
        QCOMPARE(idOf(WorkspaceMatcher(workspaces).inferredWorkspace(terminal)), std::optional(u"web"_s));
        // An IDE title naming the folder itself, or a folder below it, matches.
        const AgentContext below =
            context(AgentType::cursor, u"Cursor"_s, u"app.ts \u2014 /x/alpha/web/src"_s);
        QCOMPARE(idOf(WorkspaceMatcher(workspaces).inferredWorkspace(below)), std::optional(u"web"_s));
    }

    // --- the order of precedence ---

    void outcomes_data()
    {
        QTest::addColumn<QString>("winner");
        QTest::newRow("agent binding") << u"agent binding"_s;
        QTest::newRow("legacy binding") << u"legacy binding"_s;
        QTest::newRow("project file, trusted") << u"project trusted"_s;
        QTest::newRow("project file, untrusted") << u"project untrusted"_s;
        QTest::newRow("project file that loads nothing") << u"project empty"_s;
        QTest::newRow("explicit path") << u"explicit path"_s;
        QTest::newRow("inference, unknown source") << u"inference unknown"_s;
        QTest::newRow("inference, source kept") << u"inference environment"_s;
        QTest::newRow("nothing") << u"nothing"_s;
        QTest::newRow("switch off") << u"switch off"_s;
    }

    void outcomes()
    {
        QFETCH(QString, winner);
        const QString folder = makeFolder(u"outcome/repo"_s);
        const QString configPath = folder + u"/.velmora.yaml"_s;
        const QList<PromptWorkspace> workspaces{
            workspace(u"bound"_s, u"bound-ws"_s), workspace(u"legacy"_s, u"legacy-ws"_s),
            workspace(u"path"_s, u"path-ws"_s, {folder}), workspace(u"named"_s, u"shop"_s)};
        PromptWorkspace project = workspace(u"project:"_s + configPath, u"Project"_s, {folder});
        project.fileURL = configPath;
        project.source = PromptWorkspaceSource::projectConfig;

        AgentContext current = context(AgentType::cursor, u"Cursor"_s, u"shop"_s);
        current.detectionSource = ContextDetectionSource::terminalDirectory;
        bool hasProjectFile = false, trusted = false, loads = true, advanced = true;
        ContextMatchDetails expected;

        if (winner == u"agent binding") {
            const AgentWorkspaceBinding binding = bind(AgentType::cursor, u"bound"_s);
            writeLegacyBinding(u"Cursor"_s, u"shop"_s, u"legacy"_s);
            current.workspacePath = folder;
            hasProjectFile = true; // untrusted, and not even asked
            expected.workspace = workspaces[0];
            expected.detectionSource = ContextDetectionSource::manualBinding;
            expected.agentBinding = binding;
        } else if (winner == u"legacy binding") {
            writeLegacyBinding(u"Cursor"_s, u"shop"_s, u"legacy"_s);
            current.workspacePath = folder;
            hasProjectFile = true;
            expected.workspace = workspaces[1];
            expected.detectionSource = ContextDetectionSource::manualBinding;
            expected.legacyBinding = m_bindings->bindings().first();
        } else if (winner.startsWith(u"project")) {
            current.workspacePath = folder;
            hasProjectFile = true;
            trusted = winner != u"project untrusted";
            loads = winner != u"project empty";
            if (winner == u"project trusted") {
                expected.workspace = project;
                expected.detectionSource = ContextDetectionSource::projectConfig;
                expected.projectConfigPath = configPath;
            } else if (winner == u"project untrusted") {
                expected.detectionSource = ContextDetectionSource::projectConfig;
                expected.projectConfigPath = configPath;
                expected.projectConfigRequiresTrust = true;
            } else { // nothing loaded: the explicit path is next
                expected.workspace = workspaces[2];
                expected.detectionSource = ContextDetectionSource::terminalDirectory;
            }
        } else if (winner == u"explicit path") {
            current.workspacePath = folder;
            expected.workspace = workspaces[2];
            expected.detectionSource = ContextDetectionSource::terminalDirectory;
        } else if (winner == u"inference unknown") {
            current.detectionSource = ContextDetectionSource::unknown;
            expected.workspace = workspaces[3];
            expected.detectionSource = ContextDetectionSource::windowTitle;
        } else if (winner == u"inference environment") {
            current.detectionSource = ContextDetectionSource::environment;
            expected.workspace = workspaces[3];
            expected.detectionSource = ContextDetectionSource::environment;
        } else if (winner == u"nothing") {
            current.frontWindowTitle = u"unrelated"_s;
        } else if (winner == u"switch off") {
            writeLegacyBinding(u"Cursor"_s, u"shop"_s, u"legacy"_s);
            current.workspacePath = folder;
            hasProjectFile = true;
            advanced = false;
        }

        int projectQuestions = 0;
        PromptMatchingService matching = service(workspaces, advanced);
        matching.projectConfigPath = [&](const AgentContext& asked) -> std::optional<QString> {
            ++projectQuestions;
            if (!hasProjectFile || asked.workspacePath != folder)
                return std::nullopt;
            return configPath;
        };
        matching.isProjectConfigTrusted = [&](const QString& path) {
            return trusted && path == configPath;
        };
        matching.projectWorkspace = [&](const AgentContext&,
                                        const QString& path) -> std::optional<PromptWorkspace> {
            if (!loads || path != configPath)
                return std::nullopt;
            return project;
        };

        const ContextMatchDetails details = matching.matchDetails(current);
        QCOMPARE(details, expected);
        // A binding decides before any project file is looked for; so does the switch being off.
        if (winner == u"agent binding" || winner == u"legacy binding" || winner == u"switch off")
            QCOMPARE(projectQuestions, 0);
    }

    void projectFilesCanBeSwitchedOff()
    {
        const QString folder = makeFolder(u"switch/shop"_s);
        PromptMatchingService matching = service({workspace(u"path"_s, u"p"_s, {folder})});
        matching.projectConfigsEnabled = false;
        matching.projectConfigPath = [&](const AgentContext&) {
            return std::optional(folder + u"/.velmora.yaml"_s);
        };
        const ContextMatchDetails details =
            matching.matchDetails(context(AgentType::cursor, u"Cursor"_s, {}, folder));
        QCOMPARE(idOf(details.workspace), std::optional(u"path"_s));
        QVERIFY(!details.projectConfigRequiresTrust);
    }

    // --- choosing among an agent's bindings ---

    void lastSelectionBeatsDefaultAndDefaultBeatsOldest()
    {
        QList<PromptWorkspace> workspaces{workspace(u"first"_s, u"one"_s), workspace(u"second"_s, u"two"_s)};
        const AgentContext cursor = context(AgentType::cursor, u"Cursor"_s);
        bind(AgentType::cursor, u"first"_s);
        bind(AgentType::cursor, u"second"_s, true);
        QVERIFY(m_bindings->setLastSelectedWorkspaceID(u"first"_s, cursor));
        QCOMPARE(idOf(service(workspaces).matchDetails(cursor).workspace), std::optional(u"first"_s));

        // The first workspace is deleted: its binding is passed over and the default takes over.
        workspaces.removeFirst();
        QCOMPARE(service(workspaces).validAgentBindings(cursor).size(), 1);
        QCOMPARE(idOf(service(workspaces).matchDetails(cursor).workspace), std::optional(u"second"_s));
        QCOMPARE(m_bindings->agentWorkspaceBindings().size(), 2); // the dangling binding stays stored
    }

    void withoutDefaultOrSelectionTheOldestBindingWins()
    {
        const QList<PromptWorkspace> workspaces{workspace(u"a"_s, u"one"_s), workspace(u"b"_s, u"two"_s)};
        bind(AgentType::codex, u"b"_s); // older
        bind(AgentType::codex, u"a"_s);
        const AgentContext codex = context(AgentType::codex, u"Codex"_s);
        const PromptMatchingService matching = service(workspaces);
        QCOMPARE(matching.validAgentBindings(codex).size(), 2);
        QCOMPARE(matching.selectedAgentBinding(codex, matching.validAgentBindings(codex))->workspaceID,
                 u"b"_s);
        QVERIFY(!matching.selectedAgentBinding(codex, {}));
    }

    void claudeCodeUsesTheTerminalBindings()
    {
        bind(AgentType::terminal, u"t"_s);
        const PromptMatchingService matching = service({workspace(u"t"_s, u"term"_s)}, false);
        const ContextMatchDetails details =
            matching.matchDetails(context(AgentType::claudeCode, u"Terminal"_s));
        QCOMPARE(idOf(details.workspace), std::optional(u"t"_s));
        QCOMPARE(details.detectionSource, ContextDetectionSource::manualBinding);
    }
};

QTEST_GUILESS_MAIN(TestWorkspaceMatching)
#include "tst_workspacematching.moc"
