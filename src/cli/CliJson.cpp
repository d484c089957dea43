#include "CliJson.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace CliJson {

QJsonValue optional(const std::optional<QString>& text)
{
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

QJsonObject prompt(const PromptItem& prompt)
{
    QJsonValue shortcut(QJsonValue::Null);
    if (prompt.shortcut)
        shortcut = QJsonObject{{u"keyCode"_s, qint64(prompt.shortcut->keyCode)},
                               {u"modifiersRawValue"_s, qint64(prompt.shortcut->modifiersRawValue)}};
    return {{u"id"_s, prompt.id},
            {u"title"_s, prompt.title},
            {u"group"_s, prompt.group},
            {u"agent"_s, optional(prompt.agent ? std::optional(toRawValue(*prompt.agent)) : std::nullopt)},
            {u"text"_s, prompt.text},
            {u"tags"_s, QJsonArray::fromStringList(prompt.tags)},
            {u"isPinned"_s, prompt.isPinned},
            {u"shortcut"_s, shortcut}};
}

QJsonObject workspace(const PromptWorkspace& workspace)
{
    return {
        {u"id"_s, workspace.id},
        {u"name"_s, workspace.name},
        {u"matchPaths"_s, QJsonArray::fromStringList(workspace.matchPaths)},
        {u"source"_s, toRawValue(workspace.source)},
        {u"file"_s, optional(workspace.fileURL)},
        {u"contentHash"_s,
         optional(workspace.fileVersion ? std::optional(workspace.fileVersion->contentHash) : std::nullopt)},
        {u"prompts"_s, array(workspace.prompts, prompt)}};
}

QString kindName(PromptConfigIssueKind kind)
{
    switch (kind) {
    case PromptConfigIssueKind::unreadable:
        return u"unreadable"_s;
    case PromptConfigIssueKind::invalidUTF8:
        return u"invalidUTF8"_s;
    case PromptConfigIssueKind::invalidFormat:
        return u"invalidFormat"_s;
    case PromptConfigIssueKind::perFileLimitExceeded:
        return u"perFileLimitExceeded"_s;
    case PromptConfigIssueKind::aggregateLimitExceeded:
        return u"aggregateLimitExceeded"_s;
    }
    return u"unreadable"_s;
}

QJsonObject issue(const PromptConfigIssue& issue)
{
    return {{u"file"_s, issue.fileURL},
            {u"displayName"_s, issue.displayName},
            {u"sourceKind"_s, toRawValue(issue.sourceKind)},
            {u"kind"_s, kindName(issue.kind)}};
}

QJsonObject workspaceMetadata(const QHash<QString, WorkspaceFileMetadata>& metadata)
{
    QJsonObject result;
    for (auto entry = metadata.cbegin(); entry != metadata.cend(); ++entry) {
        const std::optional<QDateTime>& date = entry->modificationDate;
        result.insert(entry.key(),
                      QJsonObject{{u"fileSize"_s, entry->fileSize},
                                  {u"modificationDate"_s,
                                   optional(date ? std::optional(date->toUTC().toString(Qt::ISODateWithMs))
                                                 : std::nullopt)}});
    }
    return result;
}

QJsonObject context(const AgentContext& context)
{
    return {{u"frontmostAppName"_s, context.frontmostAppName},
            {u"frontmostBundleIdentifier"_s, optional(context.frontmostBundleIdentifier)},
            {u"frontWindowTitle"_s, context.frontWindowTitle},
            {u"agent"_s, toRawValue(context.agent)},
            {u"workspacePath"_s, optional(context.workspacePath)},
            {u"workspaceName"_s, context.workspaceName},
            {u"detectionSource"_s, toRawValue(context.detectionSource)}};
}

QJsonObject match(const ContextMatchDetails& match)
{
    const auto idOf = [](const auto& record) {
        return optional(record ? std::optional(record->id) : std::nullopt);
    };
    return {{u"workspaceID"_s, idOf(match.workspace)},
            {u"detectionSource"_s, toRawValue(match.detectionSource)},
            {u"projectConfigPath"_s, optional(match.projectConfigPath)},
            {u"projectConfigRequiresTrust"_s, match.projectConfigRequiresTrust},
            {u"agentBindingID"_s, idOf(match.agentBinding)},
            {u"legacyBindingID"_s, idOf(match.legacyBinding)}};
}

QJsonObject variable(const PromptVariable& variable)
{
    return {{u"name"_s, variable.name},
            {u"normalizedName"_s, variable.normalizedName},
            {u"defaultValue"_s, optional(variable.defaultValue)}};
}

} // namespace CliJson
