#include "EnvironmentOverviewPresentation.h"

#include "AppLanguage.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace EnvironmentOverviewPresentation {

QString lastPathComponent(const QString& path)
{
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(u'/'))
        trimmed.chop(1);
    return trimmed.mid(trimmed.lastIndexOf(u'/') + 1);
}

QString agentLabel(const AgentContext& context, AppLanguage language)
{
    const QString name = displayName(context.agent, language);
    if (isBrowser(context.agent)) {
        if (const std::optional<QString> service = context.browserWebAIName())
            return *service + u" · "_s + name;
    }
    return name;
}

QString bindingValue(const std::optional<PromptWorkspace>& workspace, const ContextMatchDetails& matchDetails,
                     AppLanguage language)
{
    if ((!matchDetails.agentBinding && !matchDetails.legacyBinding) || !workspace)
        return L10n::text(u"common.none"_s, language);
    return workspace->name;
}

QList<EnvironmentOverviewItem> items(const AgentContext& context, const std::optional<PromptWorkspace>& workspace,
                                     const ContextMatchDetails& matchDetails, AppLanguage language)
{
    const auto text = [language](const QString& key) { return L10n::text(key, language); };
    return {
        {u"app"_s, u"macwindow"_s, text(u"debug.app"_s), context.frontmostAppName},
        {u"window"_s, u"rectangle"_s, text(u"debug.window"_s), context.sanitizedWindowTitle(language)},
        {u"environment"_s, u"globe"_s, text(u"debug.environment"_s), agentLabel(context, language)},
        {u"path"_s, u"link"_s, text(u"debug.path.hint"_s),
         context.workspacePath ? lastPathComponent(*context.workspacePath) : text(u"common.none"_s)},
        {u"pack"_s, u"shippingbox"_s, text(u"debug.prompt.pack"_s),
         workspace ? workspace->name : text(u"environment.overview.unmatched"_s)},
        {u"source"_s, u"antenna.radiowaves.left.and.right"_s, text(u"debug.source"_s),
         displayName(matchDetails.detectionSource, language)},
        {u"binding"_s, u"link"_s, text(u"debug.binding"_s), bindingValue(workspace, matchDetails, language)},
    };
}

QString diagnosticTooltip(const QString& statusMessage, const std::optional<PromptWorkspace>& workspace,
                          const ContextMatchDetails& matchDetails, AppLanguage language)
{
    QStringList lines{statusMessage};
    if (workspace) {
        lines.append(L10n::text(u"debug.file"_s, language) + u": "_s + workspace->displayNamePath());
        lines.append(L10n::text(u"debug.package.type"_s, language) + u": "_s +
                     displayName(workspace->source, language));
    }
    if (matchDetails.projectConfigPath)
        lines.append(L10n::text(u"debug.project.config"_s, language) + u": "_s +
                     lastPathComponent(*matchDetails.projectConfigPath));
    return lines.join(u'\n');
}

} // namespace EnvironmentOverviewPresentation
