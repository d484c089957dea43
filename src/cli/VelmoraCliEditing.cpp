// velmora-cli: the commands that change the library, each one operation of the store.
#include "VelmoraCli.h"

#include "CliJson.h"
#include "PromptConfigLoader.h"
#include "PromptDraft.h"
#include "PromptStore.h"
#include "PromptUsageStore.h"

#include <QCommandLineParser>
#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// An agent by raw value ("claude-code") or by any spelling the prompt files accept ("Claude Code").
std::optional<AgentType> agentNamed(const QString& name)
{
    if (const std::optional<AgentType> agent = agentTypeFromRawValue(name))
        return agent;
    return PromptConfigLoader::parseAgent(name);
}

} // namespace

int VelmoraCli::reportOperation(bool succeeded)
{
    const PromptStore& store = library();
    if (!succeeded) {
        const QString error = store.lastErrorMessage().value_or(QString());
        return fail(error.isEmpty() ? store.statusMessage() : error);
    }
    printStatus(store.statusMessage());
    return success;
}

int VelmoraCli::reportRecord(const QJsonObject& record)
{
    if (m_json)
        printJson(record);
    else
        printLine(library().statusMessage());
    return success;
}

int VelmoraCli::createWorkspace(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption matchPath(u"match-path"_s, text("linux.cli.option.match.path"), u"path"_s);
    parser.addOption(matchPath);
    if (const auto status = parse(parser, command, arguments, 1, 1))
        return *status;
    PromptStore& store = library();
    const std::optional<PromptWorkspace> created =
        store.createWorkspace(parser.positionalArguments().first(), parser.values(matchPath).join(u'\n'));
    if (!created)
        return reportOperation(false);
    // The store reloads after a creation; the new state is on disk already, this only settles it.
    waitUntil([&store] { return !store.isReloading(); });
    return reportRecord(CliJson::workspace(*created));
}

int VelmoraCli::addPrompt(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption workspace(u"workspace"_s, text("linux.cli.option.workspace"), u"id"_s);
    const QCommandLineOption title(u"title"_s, text("linux.cli.option.prompt.title"), u"title"_s);
    const QCommandLineOption group(u"group"_s, text("linux.cli.option.group"), u"group"_s);
    const QCommandLineOption agent(u"agent"_s, text("linux.cli.option.agent"), u"agent"_s);
    const QCommandLineOption tag(u"tag"_s, text("linux.cli.option.tag"), u"tag"_s);
    const QCommandLineOption pinned(u"pinned"_s, text("linux.cli.option.pinned"));
    parser.addOptions({workspace, title, group, agent, tag, pinned});
    if (const auto status = parse(parser, command, arguments, 0, 0))
        return *status;
    if (!parser.isSet(workspace) || !parser.isSet(title))
        return fail(text("linux.cli.error.prompt.add.options"));

    PromptDraft draft{.title = parser.value(title),
                      .group = parser.value(group),
                      .tags = parser.values(tag),
                      .isPinned = parser.isSet(pinned)};
    if (parser.isSet(agent)) {
        draft.agent = agentNamed(parser.value(agent));
        if (!draft.agent && parser.value(agent).compare(u"any"_s, Qt::CaseInsensitive) != 0)
            return fail(text("error.invalid.agent").arg(parser.value(agent)));
    }
    if (!findWorkspace(parser.value(workspace)))
        return fail(text("linux.cli.error.no.workspace").arg(parser.value(workspace)));
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return fail(text("linux.cli.error.prompt.empty"));
    draft.text = QString::fromUtf8(input.readAll());
    if (!draft.canSave())
        return fail(text("linux.cli.error.prompt.empty"));

    PromptStore& store = library();
    const PromptItem prompt = draft.makeNewPrompt(m_language);
    if (!store.addPrompt(prompt, parser.value(workspace)))
        return reportOperation(false);
    return reportRecord(CliJson::prompt(prompt));
}

int VelmoraCli::deletePrompt(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption workspace(u"workspace"_s, text("linux.cli.option.workspace"), u"id"_s);
    parser.addOption(workspace);
    if (const auto status = parse(parser, command, arguments, 1, 1))
        return *status;
    if (!parser.isSet(workspace))
        return fail(text("linux.cli.error.workspace.required"));
    const QString id = parser.positionalArguments().first();
    const QString workspaceID = parser.value(workspace);
    const std::optional<PromptWorkspace> found = findWorkspace(workspaceID);
    if (!found)
        return fail(text("linux.cli.error.no.workspace").arg(workspaceID));
    // The store saves a workspace whether or not the prompt was in it; a typo should change nothing.
    if (std::none_of(found->prompts.cbegin(), found->prompts.cend(),
                     [&id](const PromptItem& prompt) { return prompt.id == id; }))
        return fail(text("linux.cli.error.no.prompt.in.workspace").arg(id, workspaceID));

    PromptStore& store = library();
    const bool deleted = store.deletePrompt(id, workspaceID);
    if (deleted)
        store.usageStore()->remove(id);
    return reportOperation(deleted);
}

int VelmoraCli::bind(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption makeDefault(u"default"_s, text("linux.cli.option.default"));
    parser.addOption(makeDefault);
    if (const auto status = parse(parser, command, arguments, 2, 2))
        return *status;
    const QString agentName = parser.positionalArguments().at(0);
    const QString workspaceID = parser.positionalArguments().at(1);
    const std::optional<AgentType> agent = agentNamed(agentName);
    if (!agent || *agent == AgentType::unknown)
        return fail(text("error.invalid.agent").arg(agentName));
    // A binding to no workspace would be kept and never match.
    if (!findWorkspace(workspaceID))
        return fail(text("linux.cli.error.no.workspace").arg(workspaceID));
    return reportOperation(library().bindAgent(*agent, workspaceID, parser.isSet(makeDefault)));
}

int VelmoraCli::trust(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const auto status = parse(parser, command, arguments, 1, 1))
        return *status;
    return reportOperation(library().trustProjectConfig(parser.positionalArguments().first()));
}
