// The two generations of ties between what the user works in and a workspace: legacy bindings of an
// application and a window keyword, and the current bindings of an agent; with their JSON form and
// the rules that keep the current ones unique.
#pragma once

#include "AgentType.h"

#include <QDateTime>
#include <QHashFunctions>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringView>
#include <optional>

// The `windowKeyword` of a legacy binding that ties a whole application rather than one window.
inline constexpr QStringView appBindingKeyword = u"__velmora_app_binding__";
// The prefix of a `windowKeyword` that holds a salted hash of a window title.
inline constexpr QStringView titleHashKeywordPrefix = u"title-hash:";

struct ContextBinding {
    QString id;
    QString appName;
    std::optional<QString> bundleIdentifier;
    QString windowKeyword;
    QString workspaceID;
    QDateTime createdAt;

    bool operator==(const ContextBinding&) const = default;
};

struct AgentWorkspaceBinding {
    QString id;
    AgentType agentType = AgentType::unknown;
    QString appName;
    std::optional<QString> bundleIdentifier;
    QString workspaceID;
    bool isDefault = false;
    QDateTime createdAt;

    bool operator==(const AgentWorkspaceBinding&) const = default;
};

size_t qHash(const ContextBinding& binding, size_t seed = 0);
size_t qHash(const AgentWorkspaceBinding& binding, size_t seed = 0);

// Present while agent-workspace-bindings.json can't be used.
struct AgentWorkspaceBindingLoadError {
    QString filePath;
    QString message;

    bool operator==(const AgentWorkspaceBindingLoadError&) const = default;
};

// A copy of the binding store's state, to put back when a larger change fails half way.
struct ContextBindingStateSnapshot {
    QList<ContextBinding> bindings;
    QList<AgentWorkspaceBinding> agentWorkspaceBindings;
    QMap<QString, QString> lastSelectedWorkspaceIDs; // agent raw value -> workspace id

    bool operator==(const ContextBindingStateSnapshot&) const = default;
};

// Claude Code runs inside a terminal, so bindings are kept under the terminal agent.
AgentType canonicalBindingAgent(AgentType agent);
QString canonicalBindingAgentRawValue(const QString& rawValue);

// Dates in the binding files: written as ISO 8601 text in UTC ("2024-05-01T09:30:00Z"); read from
// such text (with any offset) or from a number of seconds since 2001-01-01 00:00:00 UTC. Anything
// else, or a time outside the years 1 to 9999, gives nothing.
QString encodeBindingDate(const QDateTime& date);
std::optional<QDateTime> decodeBindingDate(const QJsonValue& value);

// One object per record, under exactly the field names; `bundleIdentifier` only when present.
QJsonObject encodeContextBinding(const ContextBinding& binding);
QJsonObject encodeAgentWorkspaceBinding(const AgentWorkspaceBinding& binding);
// Every field but `bundleIdentifier` is required and must have its JSON type; a null
// `bundleIdentifier` counts as absent. An `agentType` that is no raw value fails the whole record.
std::optional<ContextBinding> decodeContextBinding(const QJsonObject& object);
std::optional<AgentWorkspaceBinding> decodeAgentWorkspaceBinding(const QJsonObject& object);

// Oldest first (equal times by `id`); only the first binding of each agent and workspace stays.
QList<AgentWorkspaceBinding> deduplicatedAgentWorkspaceBindings(QList<AgentWorkspaceBinding> bindings);
// Canonical agents, no duplicates, and at most one default per agent: the oldest.
QList<AgentWorkspaceBinding> normalizedAgentWorkspaceBindings(QList<AgentWorkspaceBinding> bindings);
// Entries under "claude-code" move to "terminal" unless "terminal" has its own.
QMap<QString, QString> normalizedLastSelectedWorkspaceIDs(const QMap<QString, QString>& map);
