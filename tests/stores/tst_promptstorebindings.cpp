#include "PromptStoreFixture.h"

#include "ProjectConfigTrustStore.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

namespace {

AgentContext frontmost(AgentType agent, const QString& appName,
                       const std::optional<QString>& bundle = std::nullopt)
{
    AgentContext context = AgentContext::unknown();
    context.agent = agent;
    context.frontmostAppName = appName;
    context.frontmostBundleIdentifier = bundle;
    return context;
}

} // namespace

class TestPromptStoreBindings : public QObject {
    Q_OBJECT

    Fixture f;

    QString bindingsFile() const { return f.bindings->agentWorkspaceBindingsFilePath(); }

    void makeBindingsFileUnreadable()
    {
        QVERIFY(QDir().mkpath(QFileInfo(bindingsFile()).absolutePath()));
        QFile file(bindingsFile());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("{\"version\": 3, \"bindings\": [");
        file.close();
        f.bindings->reload();
        QVERIFY(f.bindings->hasAgentWorkspaceBindingLoadError());
    }

    QString unreadableDescription() const
    {
        return text("error.binding.file.unreadable.path").arg(bindingsFile());
    }

private Q_SLOTS:
    void init() { f.setUp(); }
    void cleanup() { f.tearDown(); }

    // --- bindContext ---

    void claudeCodeIsBoundAsTheTerminalAndNamedAsItself()
    {
        QSignalSpy changed(f.store.get(), &PromptStore::changed);
        QVERIFY(f.store->bindContext(frontmost(AgentType::claudeCode, u"Terminal"_s, u"com.apple.Terminal"_s),
                                     u"work"_s));
        QCOMPARE(f.bindings->agentWorkspaceBindings().size(), 1);
        const AgentWorkspaceBinding binding = f.bindings->agentWorkspaceBindings().first();
        QCOMPARE(binding.agentType, AgentType::terminal);
        QCOMPARE(binding.appName, u"Terminal"_s);
        QCOMPARE(binding.bundleIdentifier, std::optional(u"com.apple.Terminal"_s));
        QCOMPARE(binding.workspaceID, u"work"_s);
        QVERIFY(!binding.isDefault);
        QCOMPARE(f.store->statusMessage(), text("status.bound.agent").arg(u"Claude Code"_s));
        QVERIFY(!f.store->lastErrorMessage());
        QCOMPARE(changed.count(), 1);
        // The new binding is also what the agent opens next.
        QCOMPARE(f.bindings->lastSelectedWorkspaceIDs().value(u"terminal"_s), u"work"_s);
        QVERIFY(f.logs.isEmpty());
    }

    void anUnknownContextIsBoundUnderTheAgentItsApplicationNames()
    {
        QVERIFY(f.store->bindContext(frontmost(AgentType::unknown, u"Cursor"_s), u"web"_s));
        QCOMPARE(f.bindings->agentWorkspaceBindings().first().agentType, AgentType::cursor);
        QCOMPARE(f.store->statusMessage(), text("status.bound.agent").arg(u"Unknown"_s));
        QCOMPARE(f.bindings->lastSelectedWorkspaceIDs().value(u"cursor"_s), u"web"_s);
        QVERIFY(!f.bindings->lastSelectedWorkspaceIDs().contains(u"unknown"_s));
    }

    void anUnrecognisedContextFailsAndWritesNothing()
    {
        QSignalSpy changed(f.store.get(), &PromptStore::changed);
        QVERIFY(!f.store->bindContext(frontmost(AgentType::unknown, u"Files"_s, u"org.gnome.Nautilus"_s),
                                      u"w"_s));
        QCOMPARE(f.store->statusMessage(), text("status.bind.failed"));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(text("error.binding.unknown.agent")));
        QVERIFY(!QFile::exists(bindingsFile()));
        QCOMPARE(changed.count(), 0);
        const AppError error = AgentWorkspaceBindingStoreError::unknownAgentBinding(AppLanguage::english);
        QVERIFY(
            f.logged(AppLog::Category::context, u"Bind context failed agent=unknown workspaceID=w error="_s +
                                                    AppLog::errorSummary(error)));
    }

    void anUnreadableBindingsFileRefusesEveryBindingOperation()
    {
        makeBindingsFileUnreadable();
        const QByteArray before = [&] {
            QFile file(bindingsFile());
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        }();

        QVERIFY(!f.store->bindContext(frontmost(AgentType::cursor, u"Cursor"_s), u"w"_s));
        QCOMPARE(f.store->statusMessage(), text("status.bind.failed"));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(unreadableDescription()));

        QVERIFY(!f.store->bindAgent(AgentType::codex, u"w"_s, true));
        QCOMPARE(f.store->statusMessage(), text("status.bind.failed"));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(unreadableDescription()));

        QVERIFY(!f.store->deleteBinding(u"B1"_s));
        QCOMPARE(f.store->statusMessage(), text("status.delete.binding.failed"));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(unreadableDescription()));

        QFile file(bindingsFile());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), before); // never overwritten
        const QString summary = AppLog::errorSummary(
            AgentWorkspaceBindingStoreError::unreadableBindingsFile(bindingsFile(), AppLanguage::english));
        QVERIFY(f.logged(AppLog::Category::context,
                         u"Bind context failed agent=cursor workspaceID=w error="_s + summary));
        QVERIFY(f.logged(AppLog::Category::context,
                         u"Bind agent failed agent=codex workspaceID=w error="_s + summary));
        QVERIFY(
            f.logged(AppLog::Category::context, u"Delete binding failed bindingID=B1 error="_s + summary));
    }

    void aFailedWriteChangesNoBinding()
    {
        QVERIFY(f.store->bindAgent(AgentType::cursor, u"kept"_s, false));
        const QList<AgentWorkspaceBinding> before = f.bindings->agentWorkspaceBindings();
        f.failBindingWrites = true;
        f.logs.clear();

        QVERIFY(!f.store->bindContext(frontmost(AgentType::cursor, u"Cursor"_s), u"new"_s));
        QCOMPARE(f.bindings->agentWorkspaceBindings(), before);
        QCOMPARE(f.store->statusMessage(), text("status.bind.failed"));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(AppError::posix(EIO).description));
        const QString summary = AppLog::errorSummary(AppError::posix(EIO));
        QVERIFY(f.logged(
            AppLog::Category::context,
            u"Save agent workspace bindings failed file=.velmora/agent-workspace-bindings.json error="_s +
                summary));
        QVERIFY(f.logged(AppLog::Category::context,
                         u"Bind context failed agent=cursor workspaceID=new error="_s + summary));

        QVERIFY(!f.store->deleteBinding(before.first().id));
        QCOMPARE(f.bindings->agentWorkspaceBindings(), before);
        QCOMPARE(f.store->statusMessage(), text("status.delete.binding.failed"));
        QVERIFY(f.logged(AppLog::Category::context,
                         u"Delete binding failed bindingID="_s + before.first().id + u" error="_s + summary));

        // The next success clears the details of the failure.
        f.failBindingWrites = false;
        QVERIFY(f.store->deleteBinding(before.first().id));
        QVERIFY(!f.store->lastErrorMessage());
        QVERIFY(f.bindings->agentWorkspaceBindings().isEmpty());
    }

    // --- bindAgent ---

    void bindAgentKeepsOneDefaultAndLeavesTheLastSelection()
    {
        QSignalSpy changed(f.store.get(), &PromptStore::changed);
        QVERIFY(f.store->bindAgent(AgentType::codex, u"a"_s, true));
        QVERIFY(f.store->bindAgent(AgentType::codex, u"b"_s, true));
        QCOMPARE(changed.count(), 2);
        int defaults = 0;
        for (const AgentWorkspaceBinding& binding : f.bindings->agentWorkspaceBindings()) {
            QCOMPARE(binding.appName, defaultAppName(AgentType::codex));
            QCOMPARE(binding.bundleIdentifier, defaultBundleIdentifier(AgentType::codex));
            if (binding.isDefault) {
                ++defaults;
                QCOMPARE(binding.workspaceID, u"b"_s);
            }
        }
        QCOMPARE(defaults, 1);
        QVERIFY(f.bindings->lastSelectedWorkspaceIDs().isEmpty());
        QCOMPARE(f.store->statusMessage(),
                 text("status.bound.agent").arg(displayName(AgentType::codex, AppLanguage::english)));
    }

    void bindAgentResolvesClaudeCodeAndRefusesUnknown()
    {
        QVERIFY(f.store->bindAgent(AgentType::claudeCode, u"t"_s, false));
        QCOMPARE(f.bindings->agentWorkspaceBindings().first().agentType, AgentType::terminal);
        QCOMPARE(f.store->statusMessage(), text("status.bound.agent").arg(u"Claude Code"_s));

        QVERIFY(!f.store->bindAgent(AgentType::unknown, u"t"_s, false));
        QCOMPARE(f.store->statusMessage(), text("status.bind.failed"));
        QCOMPARE(f.store->lastErrorMessage(), std::optional(text("error.binding.unknown.agent")));
        QCOMPARE(f.bindings->agentWorkspaceBindings().size(), 1);
        QVERIFY(f.logs.last().line.startsWith(u"Bind agent failed agent=unknown workspaceID=t error="_s));
    }

    // --- deleteBinding ---

    void deletingAnUnknownIdStillSucceeds()
    {
        QVERIFY(f.store->bindAgent(AgentType::zed, u"z"_s, false));
        QSignalSpy changed(f.store.get(), &PromptStore::changed);
        QVERIFY(f.store->deleteBinding(u"no-such-binding"_s));
        QCOMPARE(f.store->statusMessage(), text("status.deleted.binding"));
        QCOMPARE(f.bindings->agentWorkspaceBindings().size(), 1);
        QCOMPARE(changed.count(), 1);
    }

    // --- trustProjectConfig ---

    void trustingAProjectFile()
    {
        const QString file = f.writeFile(u"proj/.velmora.yaml"_s, "prompts:\n  - id: p\n    text: x\n");
        QSignalSpy changed(f.store.get(), &PromptStore::changed);
        QVERIFY(f.store->trustProjectConfig(file));
        QCOMPARE(f.store->statusMessage(), text("status.project.trusted"));
        QVERIFY(!f.store->lastErrorMessage());
        QCOMPARE(changed.count(), 1);
        QVERIFY(f.store->projectConfigTrustStore().isTrusted(file));

        // Persisted: a new trust store over the same home trusts it too.
        ProjectConfigTrustStore reread(f.homePath());
        reread.reload();
        QVERIFY(reread.isTrusted(file));
    }

    void trustingAMissingFileFails()
    {
        const QString file = f.homePath() + u"/proj/.velmora.yaml"_s;
        QVERIFY(!f.store->trustProjectConfig(file));
        QCOMPARE(f.store->statusMessage(), text("status.project.trust.failed"));
        QCOMPARE(f.store->lastErrorMessage(),
                 std::optional(text("error.config.read.failed").arg(u".velmora.yaml"_s)));
        QVERIFY(f.logged(AppLog::Category::persistence,
                         u"Trust project config failed file=proj/.velmora.yaml "
                         "error=CocoaError domain=NSCocoaErrorDomain code=260"_s));
        QVERIFY(f.store->projectConfigTrustStore().trustedConfigHashesByPath().isEmpty());
    }

    void anUnwritableTrustFileKeepsTheTrustForThisRun()
    {
        const QString file = f.writeFile(u"proj/.velmora.yml"_s, "prompts:\n");
        // A folder where the trust file should be: the write fails, as it would for any user.
        QVERIFY(QDir().mkpath(f.homePath() + u"/.velmora/trusted-project-configs.json/x"_s));
        QVERIFY(!f.store->trustProjectConfig(file));
        QCOMPARE(f.store->statusMessage(), text("status.project.trust.failed"));
        QVERIFY(f.store->lastErrorMessage() && !f.store->lastErrorMessage()->isEmpty());
        QVERIFY(std::any_of(f.logs.cbegin(), f.logs.cend(), [](const LogLine& each) {
            return each.category == AppLog::Category::persistence &&
                   each.line.startsWith(u"Trust project config failed file=proj/.velmora.yml error="_s);
        }));
        QVERIFY(f.store->projectConfigTrustStore().isTrusted(file)); // for this run only
    }
};

QTEST_GUILESS_MAIN(TestPromptStoreBindings)
#include "tst_promptstorebindings.moc"
