#include "VelmoraCli.h"

#include "AppLanguageStore.h"
#include "BackgroundPromptConfigLoader.h"
#include "ContextDetector.h"
#include "GivenContextSources.h"
#include "Preferences.h"
#include "PromptStore.h"
#include "X11FrontmostApplicationProvider.h"
#include "X11WindowTitleReader.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QJsonDocument>
#include <QSettings>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

const QString programName = u"velmora-cli"_s;

void write(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

std::optional<AppLanguage> languageFromCode(const QString& code)
{
    if (code == u"en")
        return AppLanguage::english;
    if (code == u"zh-Hans")
        return AppLanguage::zhHans;
    return std::nullopt;
}

} // namespace

VelmoraCli::VelmoraCli(QStringList arguments) : m_arguments(std::move(arguments)) {}

VelmoraCli::~VelmoraCli() = default;

const QList<VelmoraCli::Command>& VelmoraCli::commands()
{
    static const QList<Command> table = {
        {u"load"_s, {}, "linux.cli.command.load", &VelmoraCli::load},
        {u"check"_s, {}, "linux.cli.command.check", &VelmoraCli::check},
        {u"context"_s, {}, "linux.cli.command.context", &VelmoraCli::context},
        {u"list"_s, {}, "linux.cli.command.list", &VelmoraCli::list},
        {u"show"_s, u"[ID]"_s, "linux.cli.command.show", &VelmoraCli::show},
        {u"copy"_s, u"ID"_s, "linux.cli.command.copy", &VelmoraCli::copy},
        {u"workspace create"_s, u"NAME"_s, "linux.cli.command.workspace.create",
         &VelmoraCli::createWorkspace},
        {u"prompt add"_s, {}, "linux.cli.command.prompt.add", &VelmoraCli::addPrompt},
        {u"prompt delete"_s, u"ID"_s, "linux.cli.command.prompt.delete", &VelmoraCli::deletePrompt},
        {u"bind"_s, u"AGENT WORKSPACE"_s, "linux.cli.command.bind", &VelmoraCli::bind},
        {u"trust"_s, u"PATH"_s, "linux.cli.command.trust", &VelmoraCli::trust},
        {u"toggle"_s, {}, "linux.cli.command.toggle", &VelmoraCli::toggle},
        {u"hide"_s, {}, "linux.cli.command.hide", &VelmoraCli::hide},
        {u"reload"_s, {}, "linux.cli.command.reload", &VelmoraCli::reload},
    };
    return table;
}

int VelmoraCli::run()
{
    m_settings = Preferences::openStandard();
    m_language = AppLanguageStore(m_settings.get(), systemPreferredLanguages).effectiveLanguage();

    QCommandLineParser parser;
    // Options behind the command belong to the command.
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption json(u"json"_s);
    const QCommandLineOption language(u"lang"_s, QString(), u"language"_s);
    const QCommandLineOption help(QStringList{u"h"_s, u"help"_s});
    const QCommandLineOption version(u"version"_s);
    parser.addOptions({json, language, help, version});
    const bool parsed = parser.parse(m_arguments);
    if (parser.isSet(language)) {
        const std::optional<AppLanguage> chosen = languageFromCode(parser.value(language));
        if (!chosen)
            return fail(text("linux.cli.error.language").arg(parser.value(language)));
        m_language = *chosen;
        // Texts made below the store (error descriptions) follow the choice too.
        L10n::setLanguageOverride(m_language);
    }
    if (!parsed)
        return fail(parser.errorText());
    m_json = parser.isSet(json);
    if (parser.isSet(help)) {
        printLine(helpText());
        return success;
    }
    if (parser.isSet(version)) {
        printLine(programName + u' ' + QCoreApplication::applicationVersion());
        return success;
    }

    const QStringList words = parser.positionalArguments();
    if (words.isEmpty())
        return fail(text("linux.cli.error.no.command"));
    for (const Command& command : commands()) {
        const QStringList name = command.name.split(u' ');
        if (words.mid(0, name.size()) == name)
            return (this->*command.handler)(command, words.mid(name.size()));
    }
    // "workspace" and "prompt" lead two-word commands: name both words.
    const bool leadsCommand =
        std::any_of(commands().cbegin(), commands().cend(),
                    [&](const Command& command) { return command.name.startsWith(words.first() + u' '); });
    return fail(text("linux.cli.error.unknown.command").arg(words.mid(0, leadsCommand ? 2 : 1).join(u' ')));
}

QString VelmoraCli::text(const char* key) const
{
    return L10n::text(QString::fromLatin1(key), m_language);
}

void VelmoraCli::printText(const QString& text) const
{
    write(stdout, text);
}

void VelmoraCli::printLine(const QString& line) const
{
    printText(line + u'\n');
}

void VelmoraCli::printJson(const QJsonObject& document) const
{
    write(stdout, QString::fromUtf8(QJsonDocument(document).toJson(QJsonDocument::Indented)));
}

void VelmoraCli::printStatus(const QString& statusMessage) const
{
    if (m_json)
        printJson({{u"statusMessage"_s, statusMessage}});
    else
        printLine(statusMessage);
}

int VelmoraCli::fail(const QString& message, int status) const
{
    // One line, whatever the message holds.
    QString line = message.simplified();
    write(stderr, programName + u": "_s + line + u'\n');
    return status;
}

QString VelmoraCli::helpText() const
{
    const auto table = [](const QList<std::pair<QString, QString>>& rows) {
        qsizetype width = 0;
        for (const auto& row : rows)
            width = std::max(width, row.first.size());
        QString result;
        for (const auto& row : rows)
            result += u"  "_s + row.first.leftJustified(width + 2) + row.second + u'\n';
        return result;
    };
    QList<std::pair<QString, QString>> commandRows;
    for (const Command& command : commands())
        commandRows.append(
            {QString(command.name + u' ' + command.syntax).trimmed(), text(command.summaryKey)});
    return text("linux.cli.help.usage").arg(programName) + u"\n\n"_s + text("linux.cli.help.summary") +
           u"\n\n"_s + text("linux.cli.help.commands") + u'\n' + table(commandRows) + u'\n' +
           text("linux.cli.help.options") + u'\n' +
           table({{u"--json"_s, text("linux.cli.option.json")},
                  {u"--lang en|zh-Hans"_s, text("linux.cli.option.lang")},
                  {u"-h, --help"_s, text("linux.cli.option.help")},
                  {u"--version"_s, text("linux.cli.option.version")}}) +
           u'\n' + text("linux.cli.help.command.help").arg(programName);
}

std::optional<int> VelmoraCli::parse(QCommandLineParser& parser, const Command& command,
                                     const QStringList& arguments, qsizetype minimumPositionals,
                                     qsizetype maximumPositionals) const
{
    const QCommandLineOption help(QStringList{u"h"_s, u"help"_s}, text("linux.cli.option.help"));
    parser.addOption(help);
    if (!command.syntax.isEmpty())
        parser.addPositionalArgument(command.syntax, QString());
    const QString usage = text("linux.cli.help.usage.command").arg(programName, command.name) +
                          (command.syntax.isEmpty() ? QString() : u' ' + command.syntax);
    if (!parser.parse(QStringList{programName} + arguments))
        return fail(parser.errorText() + u" ("_s + usage + u')');
    if (parser.isSet(help)) {
        // Qt's first line names the program alone; the command belongs in it.
        const QString options = parser.helpText().section(u'\n', 1);
        printLine(usage + u"\n\n"_s + text(command.summaryKey) + u'\n' + options.trimmed());
        return success;
    }
    const qsizetype count = parser.positionalArguments().size();
    if (count < minimumPositionals || count > maximumPositionals)
        return fail(usage);
    return std::nullopt;
}

QList<QCommandLineOption> VelmoraCli::contextOptions() const
{
    return {
        QCommandLineOption(u"app"_s, text("linux.cli.option.app"), u"name"_s),
        QCommandLineOption(u"bundle-id"_s, text("linux.cli.option.bundle.id"), u"id"_s),
        QCommandLineOption(u"title"_s, text("linux.cli.option.title"), u"title"_s),
        QCommandLineOption(u"advanced"_s, text("linux.cli.option.advanced")),
        QCommandLineOption(u"no-advanced"_s, text("linux.cli.option.no.advanced")),
    };
}

void VelmoraCli::waitUntil(const std::function<bool()>& done)
{
    // Background work reports back through events, each of which wakes this loop.
    while (!done())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

PromptStore& VelmoraCli::library()
{
    if (!m_store) {
        const QString home = QDir::homePath();
        PromptStore::Collaborators collaborators;
        collaborators.configLoader =
            std::make_shared<BackgroundPromptConfigLoader>(home, PromptConfigLimits{});
        m_store = std::make_unique<PromptStore>(
            home, [language = m_language] { return language; }, m_settings.get(), collaborators, false);
        const QFuture<void> loaded = m_store->reloadAndWait();
        waitUntil([&loaded] { return loaded.isFinished(); });
    }
    return *m_store;
}

std::optional<PromptItem> VelmoraCli::findPrompt(const QString& id)
{
    const PromptStore& store = library();
    const auto withID = [&id](const PromptItem& prompt) {
        return prompt.id == id;
    };
    if (const auto found = std::find_if(store.globalPrompts().cbegin(), store.globalPrompts().cend(), withID);
        found != store.globalPrompts().cend())
        return *found;
    for (const PromptWorkspace& workspace : store.workspaces()) {
        if (const auto found = std::find_if(workspace.prompts.cbegin(), workspace.prompts.cend(), withID);
            found != workspace.prompts.cend())
            return *found;
    }
    return std::nullopt;
}

std::optional<PromptWorkspace> VelmoraCli::findWorkspace(const QString& id)
{
    const QList<PromptWorkspace>& workspaces = library().workspaces();
    const auto found = std::find_if(workspaces.cbegin(), workspaces.cend(),
                                    [&id](const PromptWorkspace& workspace) { return workspace.id == id; });
    if (found == workspaces.cend())
        return std::nullopt;
    return *found;
}

std::optional<AgentContext> VelmoraCli::detectContext(const QCommandLineParser& parser)
{
    if (parser.isSet(u"advanced"_s) && parser.isSet(u"no-advanced"_s)) {
        fail(text("linux.cli.error.advanced.both"));
        return std::nullopt;
    }
    const bool given = parser.isSet(u"app"_s);
    if (!given && (parser.isSet(u"bundle-id"_s) || parser.isSet(u"title"_s))) {
        fail(text("linux.cli.error.app.required"));
        return std::nullopt;
    }

    PromptStore& store = library();
    std::unique_ptr<FrontmostApplicationProviding> application;
    std::unique_ptr<WindowTitleReading> titleReader;
    if (given) {
        FrontmostApplication named;
        named.name = parser.value(u"app"_s);
        if (parser.isSet(u"bundle-id"_s))
            named.bundleIdentifier = parser.value(u"bundle-id"_s);
        application = std::make_unique<GivenFrontmostApplication>(named);
        titleReader = std::make_unique<GivenWindowTitle>(parser.value(u"title"_s));
    } else {
        auto desktop = std::make_unique<X11FrontmostApplicationProvider>();
        titleReader = std::make_unique<X11WindowTitleReader>(*desktop);
        application = std::move(desktop);
    }
    const bool advanced = parser.isSet(u"advanced"_s) ||
                          (!parser.isSet(u"no-advanced"_s) && store.advancedAutomaticMatchingEnabled());

    ContextDetector::Configuration configuration;
    configuration.startsTimer = false;
    configuration.frontmostApplicationProvider = application.get();
    configuration.windowTitleReader = titleReader.get();
    configuration.knownWorkspacePathsProvider = [&store] {
        return store.knownWorkspacePaths();
    };
    configuration.automaticMatchingEnabledProvider = [advanced] {
        return advanced;
    };
    ContextDetector detector(configuration);
    detector.start();
    waitUntil([&detector] { return !detector.isDetecting(); });
    detector.stop();
    return detector.currentContext();
}

ContextMatchDetails VelmoraCli::match(const AgentContext& context, const QCommandLineParser& parser)
{
    PromptMatchingService service = library().matchingService();
    if (parser.isSet(u"advanced"_s))
        service.advancedAutomaticMatchingEnabled = true;
    else if (parser.isSet(u"no-advanced"_s))
        service.advancedAutomaticMatchingEnabled = false;
    return service.matchDetails(context);
}
