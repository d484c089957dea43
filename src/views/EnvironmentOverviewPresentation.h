// What the detection-details popover says: seven rows naming the application, its window, the agent,
// the project folder, the workspace, how it was found and the binding that chose it; and the tooltip
// with the status line and the file behind the workspace. Only names and last path components show.
#pragma once

#include "AgentContext.h"
#include "ContextMatchDetails.h"
#include "PromptModels.h"

#include <QList>
#include <QString>
#include <optional>

struct EnvironmentOverviewItem {
    QString id;
    QString systemImage;
    QString title;
    QString value;

    bool operator==(const EnvironmentOverviewItem&) const = default;
};

namespace EnvironmentOverviewPresentation {

QList<EnvironmentOverviewItem> items(const AgentContext& context, const std::optional<PromptWorkspace>& workspace,
                                     const ContextMatchDetails& matchDetails, AppLanguage language);
// The workspace's name when a binding decided, else the text of common.none.
QString bindingValue(const std::optional<PromptWorkspace>& workspace, const ContextMatchDetails& matchDetails,
                     AppLanguage language);
QString diagnosticTooltip(const QString& statusMessage, const std::optional<PromptWorkspace>& workspace,
                          const ContextMatchDetails& matchDetails, AppLanguage language);

// The agent as the header names it: a browser's AI service, " · " and the browser, else the agent.
QString agentLabel(const AgentContext& context, AppLanguage language);
// The last component of a path, ignoring a trailing separator.
QString lastPathComponent(const QString& path);

} // namespace EnvironmentOverviewPresentation
