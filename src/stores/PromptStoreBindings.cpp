// PromptStore: tying agents to workspaces, and trusting project files.
#include "PromptStore.h"

#include "AppLog.h"
#include "ContextBindingStore.h"
#include "ProjectConfigTrustStore.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

// The agent a binding is stored under: an unknown agent is inferred from the application, and
// Claude Code, which runs inside a terminal, is bound as the terminal. Nothing for an agent that
// can't be resolved.
std::optional<AgentType> resolvedBindingAgent(AgentType agent, const std::optional<QString>& bundleIdentifier,
                                              const QString& appName)
{
    if (agent == AgentType::unknown)
        agent = inferAgentType(bundleIdentifier, appName);
    agent = canonicalBindingAgent(agent);
    if (agent == AgentType::unknown)
        return std::nullopt;
    return agent;
}

} // namespace

bool PromptStore::reportFailure(const AppError& error, const char* statusKey)
{
    setLastErrorMessage(error.description);
    setStatusMessage(text(QString::fromLatin1(statusKey)));
    return false;
}

bool PromptStore::bindContext(const AgentContext& context, const QString& workspaceID)
{
    const auto fail = [&](const AppError& error) {
        AppLog::context(u"Bind context failed agent=%1 workspaceID=%2 error=%3"_s.arg(
            toRawValue(context.agent), workspaceID, AppLog::errorSummary(error)));
        return reportFailure(error, "status.bind.failed");
    };

    if (const Expected<void> readable = m_bindingStore->throwIfBindingsFileUnreadable(); !readable)
        return fail(readable.error());
    const std::optional<AgentType> agent =
        resolvedBindingAgent(context.agent, context.frontmostBundleIdentifier, context.frontmostAppName);
    if (!agent)
        return fail(AgentWorkspaceBindingStoreError::unknownAgentBinding(language()));
    // Taken before the binding is saved, so that a failed selection below takes the binding back too.
    const ContextBindingStateSnapshot before = m_bindingStore->stateSnapshot();
    const Expected<AgentWorkspaceBinding> added = m_bindingStore->addAgentWorkspaceBinding(
        *agent, context.frontmostAppName, context.frontmostBundleIdentifier, workspaceID, false);
    if (!added)
        return fail(added.error());
    if (const Expected<void> readable = m_bindingStore->throwIfBindingsFileUnreadable(); !readable)
        return fail(readable.error());
    // The last selection goes under the agent the binding was stored for, so that this agent opens
    // the new binding next; an unknown context's own agent would have no bindings to select among.
    AgentContext selectionContext = context;
    if (selectionContext.agent == AgentType::unknown)
        selectionContext.agent = *agent;
    if (const Expected<void> selected =
            m_bindingStore->setLastSelectedWorkspaceID(workspaceID, selectionContext);
        !selected) {
        m_bindingStore->restoreState(before); // logs on its own if it fails
        return fail(selected.error());
    }

    setLastErrorMessage(std::nullopt);
    // The status names the agent the user saw, not the one the binding was stored under.
    setStatusMessage(text(u"status.bound.agent"_s).arg(displayName(context.agent, language())));
    Q_EMIT changed();
    return true;
}

bool PromptStore::bindAgent(AgentType agentType, const QString& workspaceID, bool isDefault)
{
    const auto fail = [&](const AppError& error) {
        AppLog::context(u"Bind agent failed agent=%1 workspaceID=%2 error=%3"_s.arg(
            toRawValue(agentType), workspaceID, AppLog::errorSummary(error)));
        return reportFailure(error, "status.bind.failed");
    };

    const QString appName = defaultAppName(agentType);
    const std::optional<QString> bundleIdentifier = defaultBundleIdentifier(agentType);
    if (const Expected<void> readable = m_bindingStore->throwIfBindingsFileUnreadable(); !readable)
        return fail(readable.error());
    const std::optional<AgentType> agent = resolvedBindingAgent(agentType, bundleIdentifier, appName);
    if (!agent)
        return fail(AgentWorkspaceBindingStoreError::unknownAgentBinding(language()));
    const Expected<AgentWorkspaceBinding> added =
        m_bindingStore->addAgentWorkspaceBinding(*agent, appName, bundleIdentifier, workspaceID, isDefault);
    if (!added)
        return fail(added.error());

    setLastErrorMessage(std::nullopt);
    setStatusMessage(text(u"status.bound.agent"_s).arg(displayName(agentType, language())));
    Q_EMIT changed();
    return true;
}

bool PromptStore::deleteBinding(const QString& id)
{
    const auto fail = [&](const AppError& error) {
        AppLog::context(
            u"Delete binding failed bindingID=%1 error=%2"_s.arg(id, AppLog::errorSummary(error)));
        return reportFailure(error, "status.delete.binding.failed");
    };

    if (const Expected<void> readable = m_bindingStore->throwIfBindingsFileUnreadable(); !readable)
        return fail(readable.error());
    if (const Expected<void> deleted = m_bindingStore->deleteAgentWorkspaceBinding(id); !deleted)
        return fail(deleted.error());

    setLastErrorMessage(std::nullopt);
    setStatusMessage(text(u"status.deleted.binding"_s));
    Q_EMIT changed();
    return true;
}

bool PromptStore::trustProjectConfig(const QString& path)
{
    const QString normalized = ProjectConfigTrustStore::normalizedPath(path);
    const QHash<QString, QString> hashesBefore = m_projectConfigTrustStore->trustedConfigHashesByPath();
    const Expected<void> trusted = m_projectConfigTrustStore->trust(path);
    // A failed save keeps the new hash in memory, trusted for this run: what was cached or missed
    // under the old trust must be looked at anew in that case too.
    if (trusted || m_projectConfigTrustStore->trustedConfigHashesByPath() != hashesBefore)
        clearProjectWorkspaces();

    if (!trusted) {
        AppError error = trusted.error();
        AppLog::persistence(u"Trust project config failed file=%1 error=%2"_s.arg(
            AppLog::fileContext(normalized), AppLog::errorSummary(error)));
        // The read failure carries no text of its own.
        if (error.description.isEmpty())
            error.description = text(u"error.config.read.failed"_s).arg(QFileInfo(normalized).fileName());
        return reportFailure(error, "status.project.trust.failed");
    }

    setLastErrorMessage(std::nullopt);
    setStatusMessage(text(u"status.project.trusted"_s));
    Q_EMIT changed();
    return true;
}
