// The JSON forms velmora-cli prints with --json: one function per record, field names fixed, so that
// scripts can rely on them.
#pragma once

#include "AgentContext.h"
#include "ContextMatchDetails.h"
#include "PromptConfigIssue.h"
#include "PromptLoadResult.h"
#include "PromptModels.h"
#include "PromptVariables.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

namespace CliJson {

QJsonObject prompt(const PromptItem& prompt);
QJsonObject workspace(const PromptWorkspace& workspace);
QJsonObject issue(const PromptConfigIssue& issue);
QJsonObject workspaceMetadata(const QHash<QString, WorkspaceFileMetadata>& metadata);
QJsonObject context(const AgentContext& context);
QJsonObject match(const ContextMatchDetails& match);
QJsonObject variable(const PromptVariable& variable);

// A list in the form of its records, e.g. array(prompts, CliJson::prompt).
template <typename Record>
QJsonArray array(const QList<Record>& records, QJsonObject (*encode)(const Record&))
{
    QJsonArray result;
    for (const Record& record : records)
        result.append(encode(record));
    return result;
}

// The case name of an issue kind, e.g. "invalidFormat".
QString kindName(PromptConfigIssueKind kind);
// A text, or null for an absent one.
QJsonValue optional(const std::optional<QString>& text);

} // namespace CliJson
