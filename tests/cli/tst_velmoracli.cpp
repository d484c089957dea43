// velmora-cli as a user runs it: the built binary over a temporary home, its output and exit status.
#include "CliRunner.h"
#include "XvfbServer.h"

#include <QCryptographicHash>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// A command line of words without blanks in them.
QStringList args(const QString& line)
{
    return line.split(u' ', Qt::SkipEmptyParts);
}

QStringList idsOf(const QJsonArray& records)
{
    QStringList ids;
    for (const QJsonValue& record : records)
        ids.append(record[u"id"_s].toString());
    return ids;
}

} // namespace

// Stands in for the running app on a private session bus, and remembers what it was asked.
class FakeVelmora : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.velmora.Velmora1")

public:
    QStringList calls;
    bool fails = false;

public Q_SLOTS:
    void TogglePanel() { answer(u"TogglePanel"_s); }
    void ShowPanel() { answer(u"ShowPanel"_s); }
    void HidePanel() { answer(u"HidePanel"_s); }
    QString Reload()
    {
        answer(u"Reload"_s);
        return u"Prompt files loaded: 2"_s;
    }

private:
    void answer(const QString& method)
    {
        calls.append(method);
        if (fails)
            sendErrorReply(u"app.velmora.Velmora1.Error.Busy"_s, u"busy"_s);
    }
};

class TestVelmoraCli : public QObject {
    Q_OBJECT

    std::unique_ptr<CliRunner> m_cli;

    // A global file, a workspace on the project folder, and the project folder itself.
    void writeLibrary()
    {
        m_cli->write(u".velmora/global.yaml"_s, "prompts:\n"
                                                "  - id: greet\n    title: Greet\n    group: Talk\n"
                                                "    text: \"Hello {{Name}} from {{city|Paris}}\"\n"
                                                "  - id: plain\n    title: Plain\n    group: Talk\n"
                                                "    text: Plain text\n");
        m_cli->write(u".velmora/workspaces/team.yaml"_s,
                     "workspace:\n  name: Team\n  match_paths:\n    - " + project().toUtf8() +
                         "\nprompts:\n  - id: review\n    title: Review\n    group: Talk\n    pinned: true\n"
                         "    text: Review the change\n");
        QDir().mkpath(project());
    }

    QString project() const { return m_cli->path(u"project"_s); }

private Q_SLOTS:
    void init() { m_cli = std::make_unique<CliRunner>(); }

    void usageErrorsSayWhatIsWrongOnOneLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("mentions");
        QTest::newRow("no command") << QStringList{} << u"--help"_s;
        QTest::newRow("unknown command") << args(u"frobnicate"_s) << u"frobnicate"_s;
        QTest::newRow("unknown second word") << args(u"workspace rename"_s) << u"workspace rename"_s;
        QTest::newRow("unknown language") << args(u"--lang fr load"_s) << u"fr"_s;
        QTest::newRow("unknown option") << args(u"load --fast"_s) << u"fast"_s;
        QTest::newRow("missing argument") << args(u"copy"_s) << u"copy"_s;
        QTest::newRow("too many arguments") << args(u"show a b"_s) << u"show"_s;
        QTest::newRow("both advanced switches")
            << args(u"context --app x --advanced --no-advanced"_s) << u"--advanced"_s;
        QTest::newRow("title without app") << args(u"context --title t"_s) << u"--app"_s;
        QTest::newRow("workspace with context") << args(u"list --workspace w --app x"_s) << u"--workspace"_s;
        QTest::newRow("prompt add without workspace") << args(u"prompt add --title t"_s) << u"--workspace"_s;
    }

    void usageErrorsSayWhatIsWrongOnOneLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, mentions);
        const CliResult result = m_cli->run(arguments);
        QCOMPARE(result.exitCode, 2);
        QVERIFY(result.standardOutput.isEmpty());
        QCOMPARE(result.standardError.count('\n'), 1);
        QVERIFY2(QString::fromUtf8(result.standardError).contains(mentions),
                 result.standardError.constData());
    }

    void helpListsEveryCommandInTheChosenLanguage()
    {
        const QString help = QString::fromUtf8(m_cli->run(args(u"--help"_s)).standardOutput);
        for (const QString& command :
             {u"load"_s, u"check"_s, u"context"_s, u"list"_s, u"show [ID]"_s, u"copy ID"_s,
              u"workspace create NAME"_s, u"prompt add"_s, u"prompt delete ID"_s, u"bind AGENT WORKSPACE"_s,
              u"trust PATH"_s, u"toggle"_s, u"hide"_s, u"reload"_s})
            QVERIFY2(help.contains(u"\n  "_s + command + u"  "_s), qPrintable(command));
        QVERIFY(QString::fromUtf8(m_cli->run(args(u"--lang zh-Hans --help"_s)).standardOutput)
                    .contains(u"命令："_s));
    }

    void loadShowsSamplesInTheChosenLanguageUnlessDismissed_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<bool>("dismissed");
        QTest::addColumn<QString>("firstTitle");
        QTest::newRow("English") << u"en"_s << false << u"/spec: clarify requirements"_s;
        QTest::newRow("Chinese") << u"zh-Hans"_s << false << u"/spec：写清楚需求"_s;
        QTest::newRow("dismissed") << u"en"_s << true << QString();
    }

    void loadShowsSamplesInTheChosenLanguageUnlessDismissed()
    {
        QFETCH(QString, language);
        QFETCH(bool, dismissed);
        QFETCH(QString, firstTitle);
        if (dismissed)
            m_cli->setPreference(u"Velmora.transientSamplesDismissed.v1"_s, true);
        const CliResult result = m_cli->run({u"--json"_s, u"--lang"_s, language, u"load"_s});
        QCOMPARE(result.exitCode, 0);
        const QJsonObject loaded = result.json();
        QCOMPARE(loaded[u"showsTransientSamples"_s].toBool(), !dismissed);
        QCOMPARE(loaded[u"globalPrompts"_s][0][u"title"_s].toString(), firstTitle);
        QCOMPARE(loaded[u"workspaces"_s].toArray().size(), dismissed ? 0 : 1);
    }

    void loadPublishesTheLibraryInJson()
    {
        writeLibrary();
        const QJsonObject loaded = m_cli->run(args(u"--json load"_s)).json();
        QCOMPARE(idsOf(loaded[u"globalPrompts"_s].toArray()), (args(u"greet plain"_s)));
        QCOMPARE(loaded[u"configIssues"_s].toArray().size(), 0);
        const QJsonObject team = loaded[u"workspaces"_s][0].toObject();
        const QByteArray bytes = m_cli->read(u".velmora/workspaces/team.yaml"_s);
        QCOMPARE(team[u"id"_s].toString(), u"team"_s);
        QCOMPARE(team[u"name"_s].toString(), u"Team"_s);
        QCOMPARE(team[u"matchPaths"_s].toArray(), QJsonArray{project()});
        QCOMPARE(team[u"source"_s].toString(), u"userWorkspace"_s);
        QCOMPARE(team[u"file"_s].toString(), m_cli->path(u".velmora/workspaces/team.yaml"_s));
        QCOMPARE(team[u"contentHash"_s].toString(),
                 QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
        const QJsonObject review = team[u"prompts"_s][0].toObject();
        QCOMPARE(review[u"isPinned"_s].toBool(), true);
        QVERIFY(review[u"agent"_s].isNull() && review[u"shortcut"_s].isNull());
        const QJsonObject metadata = loaded[u"workspaceMetadata"_s].toObject();
        QCOMPARE(metadata[u"team"_s][u"fileSize"_s].toInteger(), bytes.size());
        QVERIFY(QDateTime::fromString(metadata[u"__velmora_global__"_s][u"modificationDate"_s].toString(),
                                      Qt::ISODateWithMs)
                    .isValid());
    }

    void checkNamesEachFileWithItsProblem()
    {
        writeLibrary();
        QCOMPARE(m_cli->run(args(u"check"_s)).exitCode, 0);

        m_cli->write(u".velmora/global.yaml"_s,
                     "prompts:\n  - id: greet\n    title: Greet\n    agent: nosuch\n    text: Hi\n");
        m_cli->write(u".velmora/workspaces/bad.yaml"_s,
                     "workspace:\n  name: Bad\nprompts:\n  - id: a\n    tittle x\n");
        m_cli->write(u".velmora/workspaces/copy.yaml"_s,
                     "prompts:\n  - id: review\n    title: Again\n    text: x\n");
        m_cli->write(u".velmora/agent-workspace-bindings.json"_s, "{");
        const CliResult result = m_cli->run(args(u"--json check"_s));
        QCOMPARE(result.exitCode, 1);
        const QJsonArray files = result.json()[u"files"_s].toArray();
        QCOMPARE(files.size(), 4);
        QVERIFY(files[0][u"warnings"_s][0].toString().contains(u"nosuch"_s));
        QCOMPARE(files[1][u"displayName"_s].toString(), u"bad.yaml"_s);
        QCOMPARE(files[1][u"kind"_s].toString(), u"invalidFormat"_s);
        QCOMPARE(files[1][u"line"_s][u"number"_s].toInt(), 5);
        QCOMPARE(files[1][u"line"_s][u"text"_s].toString(), u"    tittle x"_s);
        // copy.yaml loads first and keeps the id; team.yaml's prompt is renamed.
        QCOMPARE(files[2][u"displayName"_s].toString(), u"team.yaml"_s);
        QVERIFY(files[2][u"warnings"_s][0].toString().contains(u"review-2"_s));
        QCOMPARE(files[3][u"sourceKind"_s].toString(), u"bindings"_s);
        QCOMPARE(files[3][u"kind"_s].toString(), u"unreadable"_s);
        QVERIFY(m_cli->run(args(u"check"_s)).standardOutput.contains("Line 5:"));

        // A first start with a broken file publishes nothing but the issue.
        const QJsonObject loaded = m_cli->run(args(u"--json load"_s)).json();
        QCOMPARE(loaded[u"globalPrompts"_s].toArray().size(), 0);
        QCOMPARE(loaded[u"configIssues"_s][0].toObject(),
                 (QJsonObject{{u"file"_s, m_cli->path(u".velmora/workspaces/bad.yaml"_s)},
                              {u"displayName"_s, u"bad.yaml"_s},
                              {u"sourceKind"_s, u"workspace"_s},
                              {u"kind"_s, u"invalidFormat"_s}}));
    }

    void contextIsBuiltAsTheDetectorBuildsIt_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<bool>("advancedPreference");
        QTest::addColumn<bool>("environmentWorkspace");
        QTest::addColumn<bool>("titleRead");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("workspaceID");
        QTest::newRow("advanced off: no title")
            << QStringList{} << false << false << false << u"unknown"_s << QString();
        QTest::newRow("--advanced") << args(u"--advanced"_s) << false << false << true
                                    << u"terminalDirectory"_s << u"team"_s;
        QTest::newRow("preference on")
            << QStringList{} << true << false << true << u"terminalDirectory"_s << u"team"_s;
        QTest::newRow("--no-advanced over the preference")
            << args(u"--no-advanced"_s) << true << false << false << u"unknown"_s << QString();
        QTest::newRow("VELMORA_WORKSPACE, advanced off")
            << QStringList{} << false << true << false << u"environment"_s << QString();
    }

    void contextIsBuiltAsTheDetectorBuildsIt()
    {
        QFETCH(QStringList, options);
        QFETCH(bool, advancedPreference);
        QFETCH(bool, environmentWorkspace);
        QFETCH(bool, titleRead);
        QFETCH(QString, source);
        QFETCH(QString, workspaceID);
        writeLibrary();
        m_cli->setPreference(u"Velmora.advancedAutomaticMatchingEnabled.v1"_s, advancedPreference);
        if (environmentWorkspace)
            m_cli->environment.insert(u"VELMORA_WORKSPACE"_s, project());
        const QJsonObject answer = m_cli
                                       ->run(QStringList{u"--json"_s, u"context"_s, u"--app"_s, u"Ghostty"_s,
                                                         u"--title"_s, project()} +
                                             options)
                                       .json();
        const QJsonObject context = answer[u"context"_s].toObject();
        QCOMPARE(context[u"agent"_s].toString(), u"ghostty"_s);
        QCOMPARE(context[u"frontWindowTitle"_s].toString(), titleRead ? project() : QString());
        QCOMPARE(context[u"detectionSource"_s].toString(), source);
        QCOMPARE(answer[u"match"_s][u"workspaceID"_s].toString(), workspaceID);
        QCOMPARE(answer[u"match"_s][u"workspaceID"_s].isNull(), workspaceID.isEmpty());
    }

    void listFollowsTheSortModeUsageAndSearch()
    {
        writeLibrary();
        const auto listed = [this](const QStringList& options) {
            return idsOf(m_cli->run(args(u"--json list"_s) + options).json()[u"prompts"_s].toArray());
        };
        const QStringList inWorkspace{u"--workspace"_s, u"team"_s};
        QCOMPARE(listed(inWorkspace), (args(u"review greet plain"_s)));
        QCOMPARE(listed(inWorkspace + QStringList{u"--search"_s, u" REVIEW "_s}), args(u"review"_s));
        QCOMPARE(listed({u"--app"_s, u"Zed"_s}), (args(u"greet plain"_s)));
        QCOMPARE(m_cli->run(args(u"list --workspace nope"_s)).exitCode, 2);

        m_cli->setPreference(u"Velmora.promptSortMode.v1"_s, u"recent"_s);
        QCOMPARE(m_cli->run(args(u"copy plain --stdout"_s)).standardOutput, "Plain text");
        QCOMPARE(listed(inWorkspace), (args(u"plain review greet"_s)));
    }

    void showGivesThePromptAndItsVariables()
    {
        writeLibrary();
        const QJsonObject shown = m_cli->run(args(u"--json show greet"_s)).json();
        QCOMPARE(shown[u"prompt"_s][u"id"_s].toString(), u"greet"_s);
        QCOMPARE(shown[u"variables"_s].toArray(),
                 QJsonDocument::fromJson(R"([{"name": "Name", "normalizedName": "name", "defaultValue": null},
                                             {"name": "city", "normalizedName": "city", "defaultValue": "Paris"}])")
                     .array());
        const CliResult missing = m_cli->run(args(u"show nope"_s));
        QCOMPARE(missing.exitCode, 2);
        QVERIFY(missing.standardError.contains("nope"));
    }

    void copyFillsVariablesLikeTheForm_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output"); // standard output, or a part of the error line
        QTest::newRow("required value missing") << args(u"greet"_s) << 2 << u"name"_s;
        QTest::newRow("value given") << args(u"greet --set Name=Ann"_s) << 0 << u"Hello Ann from Paris"_s;
        QTest::newRow("names normalised, a default emptied")
            << QStringList{u"greet"_s, u"--set"_s, u" NAME =Ann"_s, u"--set"_s, u"City="_s} << 0
            << u"Hello Ann from "_s;
        QTest::newRow("unknown variable") << args(u"greet --set town=x"_s) << 2 << u"town"_s;
        QTest::newRow("not an assignment") << args(u"greet --set Ann"_s) << 2 << u"Ann"_s;
        QTest::newRow("missing prompt") << args(u"nope"_s) << 2 << u"nope"_s;
    }

    void copyFillsVariablesLikeTheForm()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, output);
        writeLibrary();
        const CliResult result = m_cli->run(args(u"copy --stdout"_s) + arguments);
        QCOMPARE(result.exitCode, exitCode);
        if (exitCode == 0) {
            QCOMPARE(QString::fromUtf8(result.standardOutput), output);
        } else {
            QVERIFY2(QString::fromUtf8(result.standardError).contains(output),
                     result.standardError.constData());
            // Nothing copied, so nothing recorded.
            QVERIFY(!QFile::exists(m_cli->path(u".velmora/prompt-usage.json"_s)));
            QVERIFY(!QFile::exists(m_cli->preferencesPath()));
        }
    }

    void copyRemembersValuesAndRecordsUsage()
    {
        writeLibrary();
        QCOMPARE(m_cli->run(args(u"copy greet --stdout --set name=Ann"_s)).exitCode, 0);
        // The next copy starts from the remembered value, as the form would.
        QCOMPARE(m_cli->run(args(u"--json copy greet --stdout"_s)).json(),
                 (QJsonObject{{u"promptID"_s, u"greet"_s}, {u"text"_s, u"Hello Ann from Paris"_s}}));
        const QJsonArray usage =
            QJsonDocument::fromJson(m_cli->read(u".velmora/prompt-usage.json"_s)).array();
        QCOMPARE(usage[0][u"successfulCopyCount"_s].toInt(), 2);

        // Without a display the clipboard can't be served: a clear failure, and no usage.
        const CliResult unserved = m_cli->run(args(u"copy plain"_s));
        QCOMPARE(unserved.exitCode, 2);
        QVERIFY(unserved.standardError.contains("--stdout"));
        QCOMPARE(QJsonDocument::fromJson(m_cli->read(u".velmora/prompt-usage.json"_s)).array().size(), 1);
    }

    void readingCommandsLeaveThePreferencesAlone()
    {
        writeLibrary();
        for (const QStringList& arguments : {args(u"load"_s),
                                             {u"check"_s},
                                             {u"context"_s, u"--app"_s, u"Zed"_s},
                                             {u"list"_s},
                                             {u"show"_s, u"greet"_s}})
            QCOMPARE(m_cli->run(arguments).exitCode, 0);
        QVERIFY(!QFile::exists(m_cli->preferencesPath()));
    }

    void editingCommandsGoThroughTheStore()
    {
        writeLibrary();
        const QJsonObject workspace = m_cli
                                          ->run({u"--json"_s, u"workspace"_s, u"create"_s, u"Web App"_s,
                                                 u"--match-path"_s, u"/srv/web"_s})
                                          .json();
        QCOMPARE(workspace[u"id"_s].toString(), u"web-app"_s);
        QCOMPARE(workspace[u"matchPaths"_s].toArray(), QJsonArray{u"/srv/web"_s});
        QVERIFY(QFile::exists(workspace[u"file"_s].toString()));

        const QJsonObject prompt =
            m_cli
                ->run({u"--json"_s, u"prompt"_s, u"add"_s, u"--workspace"_s, u"web-app"_s, u"--title"_s,
                       u" Ship "_s, u"--tag"_s, u"x"_s, u"--tag"_s, u" "_s, u"--agent"_s, u"Claude Code"_s},
                      "Ship it.\n")
                .json();
        const QString id = prompt[u"id"_s].toString();
        QVERIFY(QRegularExpression(u"^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$"_s).match(id).hasMatch());
        QCOMPARE(prompt[u"title"_s].toString(), u"Ship"_s);
        QCOMPARE(prompt[u"group"_s].toString(), u"General"_s);
        QCOMPARE(prompt[u"agent"_s].toString(), u"claude-code"_s);
        QCOMPARE(prompt[u"tags"_s].toArray(), QJsonArray{u"x"_s});
        QCOMPARE(prompt[u"text"_s].toString(), u"Ship it."_s);
        QVERIFY(m_cli->read(u".velmora/workspaces/web-app.yaml"_s).contains(id.toUtf8()));

        const QStringList deletion{u"prompt"_s, u"delete"_s, u"--workspace"_s, u"web-app"_s, id};
        QCOMPARE(m_cli->run(deletion).exitCode, 0);
        QVERIFY(!m_cli->read(u".velmora/workspaces/web-app.yaml"_s).contains(id.toUtf8()));
        QCOMPARE(m_cli->run(deletion).exitCode, 2);

        QCOMPARE(m_cli->run(args(u"bind codex nope"_s)).exitCode, 2);
        QCOMPARE(m_cli->run(args(u"bind codex web-app --default"_s)).exitCode, 0);
        const QJsonObject bound = m_cli->run(args(u"--json context --app Codex"_s)).json();
        QCOMPARE(bound[u"match"_s][u"workspaceID"_s].toString(), u"web-app"_s);
        QVERIFY(!bound[u"match"_s][u"agentBindingID"_s].toString().isEmpty());

        m_cli->write(u"project/.velmora.yaml"_s, "prompts:\n  - id: local\n    title: Local\n    text: x\n");
        const QStringList inProject{u"--json"_s,  u"context"_s, u"--app"_s,     u"Ghostty"_s,
                                    u"--title"_s, project(),    u"--advanced"_s};
        QCOMPARE(m_cli->run(inProject).json()[u"match"_s][u"projectConfigRequiresTrust"_s].toBool(), true);
        QCOMPARE(m_cli->run({u"--json"_s, u"trust"_s, project() + u"/.velmora.yaml"_s}).json().keys(),
                 args(u"statusMessage"_s));
        QCOMPARE(m_cli->run(inProject).json()[u"match"_s][u"detectionSource"_s].toString(),
                 u"projectConfig"_s);

        // A store failure: its error text, and status 2.
        QVERIFY(QDir(m_cli->path(u".velmora/workspaces"_s)).removeRecursively());
        m_cli->write(u".velmora/workspaces"_s, "a file where the folder belongs");
        const CliResult refused = m_cli->run(args(u"workspace create Other"_s));
        QCOMPARE(refused.exitCode, 2);
        QCOMPARE(refused.standardError.count('\n'), 1);
    }

    void busCommandsCallTheRunningApp_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("method");
        QTest::addColumn<QByteArray>("output");
        QTest::newRow("toggle") << args(u"toggle"_s) << u"TogglePanel"_s << QByteArray();
        QTest::newRow("show") << args(u"show"_s) << u"ShowPanel"_s << QByteArray();
        QTest::newRow("hide") << args(u"hide"_s) << u"HidePanel"_s << QByteArray();
        QTest::newRow("reload") << args(u"reload"_s) << u"Reload"_s << QByteArray("Prompt files loaded: 2\n");
        QTest::newRow("reload, JSON")
            << args(u"--json reload"_s) << u"Reload"_s
            << QByteArray("{\n    \"statusMessage\": \"Prompt files loaded: 2\"\n}\n");
    }

    void busCommandsCallTheRunningApp()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, method);
        QFETCH(QByteArray, output);
        if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
            QSKIP("dbus-daemon is not installed (scripts/setup installs it)");
        XvfbServer server;
        const QString address = server.startSessionBus();
        QVERIFY(!address.isEmpty());
        m_cli->environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, address);
        QDBusConnection bus = QDBusConnection::connectToBus(address, u"fake-velmora"_s);
        const auto disconnect = qScopeGuard([] { QDBusConnection::disconnectFromBus(u"fake-velmora"_s); });

        const CliResult absent = m_cli->run(arguments);
        QCOMPARE(absent.exitCode, 2);
        QVERIFY(absent.standardError.contains("isn't running"));

        FakeVelmora velmora;
        QVERIFY(bus.registerService(u"app.velmora.Velmora"_s));
        QVERIFY(bus.registerObject(u"/app/velmora/Velmora"_s, &velmora, QDBusConnection::ExportAllSlots));
        const CliResult answered = m_cli->run(arguments);
        QCOMPARE(answered.exitCode, 0);
        QCOMPARE(answered.standardOutput, output);
        QCOMPARE(velmora.calls, QStringList{method});

        velmora.fails = true;
        const CliResult failed = m_cli->run(arguments);
        QCOMPARE(failed.exitCode, 2);
        QVERIFY(failed.standardError.contains("app.velmora.Velmora1.Error.Busy"));
    }
};

QTEST_GUILESS_MAIN(TestVelmoraCli)
#include "tst_velmoracli.moc"
