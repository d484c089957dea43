#include "AgentContext.h"
#include "RawValues.h"

#include "CharacterClasses.h"

using namespace Qt::StringLiterals;

const std::array<ContextDetectionSource, 7> allContextDetectionSources = {
    ContextDetectionSource::manualBinding,     ContextDetectionSource::projectConfig,
    ContextDetectionSource::terminalDirectory, ContextDetectionSource::ideWorkspace,
    ContextDetectionSource::environment,       ContextDetectionSource::windowTitle,
    ContextDetectionSource::unknown,
};

QString toRawValue(ContextDetectionSource source)
{
    switch (source) {
    case ContextDetectionSource::manualBinding:
        return u"manualBinding"_s;
    case ContextDetectionSource::projectConfig:
        return u"projectConfig"_s;
    case ContextDetectionSource::terminalDirectory:
        return u"terminalDirectory"_s;
    case ContextDetectionSource::ideWorkspace:
        return u"ideWorkspace"_s;
    case ContextDetectionSource::environment:
        return u"environment"_s;
    case ContextDetectionSource::windowTitle:
        return u"windowTitle"_s;
    case ContextDetectionSource::unknown:
        return u"unknown"_s;
    }
    return u"unknown"_s;
}

std::optional<ContextDetectionSource> contextDetectionSourceFromRawValue(const QString& raw)
{
    return enumFromRawValue<ContextDetectionSource>(allContextDetectionSources, raw);
}

QString displayName(ContextDetectionSource source, AppLanguage language)
{
    QString key;
    switch (source) {
    case ContextDetectionSource::manualBinding:
        key = u"source.manual.binding"_s;
        break;
    case ContextDetectionSource::projectConfig:
        key = u"source.project.config"_s;
        break;
    case ContextDetectionSource::terminalDirectory:
        key = u"source.terminal.directory"_s;
        break;
    case ContextDetectionSource::ideWorkspace:
        key = u"source.ide.workspace"_s;
        break;
    case ContextDetectionSource::environment:
        key = u"source.environment"_s;
        break;
    case ContextDetectionSource::windowTitle:
        key = u"source.window.title"_s;
        break;
    case ContextDetectionSource::unknown:
        key = u"source.unknown"_s;
        break;
    }
    return L10n::text(key, language);
}

AgentContext AgentContext::unknown()
{
    AgentContext context;
    context.frontmostAppName = u"Unknown"_s;
    context.agent = AgentType::unknown;
    context.workspaceName = unidentifiedWorkspaceName;
    context.detectionSource = ContextDetectionSource::unknown;
    return context;
}

std::optional<QString> AgentContext::browserWebAIName() const
{
    const QString title = frontWindowTitle.toLower();
    if (title.isEmpty())
        return std::nullopt;
    // The order of the tests decides, not where in the title a name stands.
    if (title.contains(u"chatgpt"))
        return u"ChatGPT"_s;
    if (title.contains(u"claude"))
        return u"Claude"_s;
    if (title.contains(u"gemini"))
        return u"Gemini"_s;
    if (title.contains(u"perplexity"))
        return u"Perplexity"_s;
    return std::nullopt;
}

QString AgentContext::sanitizedWindowTitle(AppLanguage language) const
{
    if (CharacterClasses::trimmedWhitespaceAndNewlines(frontWindowTitle).isEmpty())
        return L10n::text(u"context.window.unread"_s, language);
    if (workspaceName != unidentifiedWorkspaceName)
        return L10n::text(u"context.window.hidden.workspace"_s, language).arg(workspaceName);
    return L10n::text(u"context.window.hidden.app"_s, language).arg(frontmostAppName);
}

QString AgentContext::sanitizedWindowTitle() const
{
    return sanitizedWindowTitle(L10n::currentLanguage());
}
