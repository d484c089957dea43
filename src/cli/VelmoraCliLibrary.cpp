// velmora-cli: the commands that read the library, and copy.
#include "VelmoraCli.h"

#include "CharacterClasses.h"
#include "CliJson.h"
#include "ClipboardServer.h"
#include "ContextBindingStore.h"
#include "PromptConfigDiagnostics.h"
#include "PromptCopyCoordinator.h"
#include "PromptStore.h"
#include "PromptUsageStore.h"
#include "PromptVariableValueStore.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Holds the text of a copy for standard output, which takes it once the copy has been recorded.
class CapturedText final : public ClipboardWriting {
public:
    bool writeText(const QString& text) override
    {
        this->text = text;
        return true;
    }
    QString text;
};

// --set NAME=VALUE, by the variable's normalised name.
struct VariableValue {
    QString normalizedName;
    QString value;
};

} // namespace

int VelmoraCli::load(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const auto status = parse(parser, command, arguments, 0, 0))
        return *status;
    const PromptStore& store = library();
    if (m_json) {
        printJson({{u"statusMessage"_s, store.statusMessage()},
                   {u"showsTransientSamples"_s, store.showsTransientSamples()},
                   {u"configIssues"_s, CliJson::array(store.configIssues(), CliJson::issue)},
                   {u"globalPrompts"_s, CliJson::array(store.globalPrompts(), CliJson::prompt)},
                   {u"workspaces"_s, CliJson::array(store.workspaces(), CliJson::workspace)},
                   {u"workspaceMetadata"_s, CliJson::workspaceMetadata(store.workspaceMetadata())}});
        return success;
    }
    printLine(store.statusMessage());
    for (const PromptConfigIssue& issue : store.configIssues())
        printLine(u"  "_s + issue.fileURL + u": "_s + issue.message);
    printLine(text("linux.cli.load.global").arg(store.globalPrompts().size()));
    for (const PromptWorkspace& workspace : store.workspaces())
        printLine(text("linux.cli.load.workspace")
                      .arg(workspace.id, workspace.name, QString::number(workspace.prompts.size()),
                           workspace.fileURL.value_or(text("workspace.not.saved"))));
    return success;
}

int VelmoraCli::check(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const auto status = parse(parser, command, arguments, 0, 0))
        return *status;
    const PromptStore& store = library();
    // Each file with its source kind's raw value; the bindings file is hand-edited too, and its load
    // belongs to the same reload.
    QList<std::pair<PromptConfigFileReport, QString>> files;
    for (const PromptConfigFileReport& report :
         PromptConfigDiagnostics::reports(QDir::homePath(), m_language, store.configIssues()))
        files.append({report, toRawValue(report.sourceKind)});
    const ContextBindingStore& bindings = *store.bindingStore();
    if (bindings.agentWorkspaceBindingLoadError() || !bindings.agentWorkspaceBindingWarnings().isEmpty()) {
        PromptConfigFileReport report{.filePath = bindings.agentWorkspaceBindingsFilePath(),
                                      .warnings = bindings.agentWorkspaceBindingWarnings()};
        report.displayName = QFileInfo(report.filePath).fileName();
        if (const auto& error = bindings.agentWorkspaceBindingLoadError()) {
            report.issue = PromptConfigIssue();
            report.issue->kind = PromptConfigIssueKind::unreadable;
            report.issue->message = error->message;
        }
        files.append({report, u"bindings"_s});
    }

    if (m_json) {
        QJsonArray documents;
        for (const auto& [report, sourceKind] : std::as_const(files)) {
            QJsonValue line(QJsonValue::Null);
            if (report.failingLineNumber.value_or(0) > 0)
                line = QJsonObject{{u"number"_s, *report.failingLineNumber}, {u"text"_s, report.failingLine}};
            documents.append(QJsonObject{
                {u"file"_s, report.filePath},
                {u"displayName"_s, report.displayName},
                {u"sourceKind"_s, sourceKind},
                {u"kind"_s, report.issue ? QJsonValue(CliJson::kindName(report.issue->kind)) : QJsonValue()},
                {u"message"_s, report.issue ? QJsonValue(report.issue->message) : QJsonValue()},
                {u"line"_s, line},
                {u"warnings"_s, QJsonArray::fromStringList(report.warnings)}});
        }
        printJson({{u"statusMessage"_s, store.statusMessage()}, {u"files"_s, documents}});
        return files.isEmpty() ? success : problemsFound;
    }
    if (files.isEmpty()) {
        printLine(store.statusMessage());
        printLine(text("linux.cli.check.ok"));
        return success;
    }
    for (const auto& [report, sourceKind] : std::as_const(files)) {
        printLine(report.filePath + u": "_s +
                  (report.issue ? report.issue->message
                                : text("linux.cli.check.warnings").arg(report.warnings.size())));
        if (report.failingLineNumber)
            printLine(u"  "_s +
                      (*report.failingLineNumber > 0
                           ? text("linux.cli.check.line")
                                 .arg(QString::number(*report.failingLineNumber), report.failingLine)
                           : text("linux.cli.check.no.section")));
        for (const QString& warning : report.warnings)
            printLine(u"  "_s + warning);
    }
    return problemsFound;
}

int VelmoraCli::context(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addOptions(contextOptions());
    if (const auto status = parse(parser, command, arguments, 0, 0))
        return *status;
    const std::optional<AgentContext> detected = detectContext(parser);
    if (!detected)
        return failure;
    const ContextMatchDetails details = match(*detected, parser);
    if (m_json) {
        printJson({{u"context"_s, CliJson::context(*detected)}, {u"match"_s, CliJson::match(details)}});
        return success;
    }
    const QString none = text("common.none");
    const auto row = [this](const char* labelKey, const QString& value) {
        printLine(text(labelKey) + u": "_s + value);
    };
    row("debug.app", detected->frontmostAppName + (detected->frontmostBundleIdentifier
                                                       ? u" ("_s + *detected->frontmostBundleIdentifier + u')'
                                                       : QString()));
    row("debug.window", detected->frontWindowTitle.isEmpty() ? none : detected->frontWindowTitle);
    row("field.agent", displayName(detected->agent, m_language));
    row("debug.path.hint", detected->workspacePath.value_or(none));
    row("debug.source", displayName(detected->detectionSource, m_language));
    row("field.workspace", details.workspace ? details.workspace->name + u" ("_s +
                                                   displayName(details.detectionSource, m_language) + u')'
                                             : none);
    if (details.projectConfigPath)
        row("debug.project.config",
            *details.projectConfigPath + (details.projectConfigRequiresTrust
                                              ? u" — "_s + text("linux.cli.context.untrusted")
                                              : QString()));
    if (details.agentBinding || details.legacyBinding)
        row("debug.binding", details.agentBinding ? details.agentBinding->id : details.legacyBinding->id);
    return success;
}

int VelmoraCli::list(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption workspaceOption(u"workspace"_s, text("linux.cli.option.workspace"), u"id"_s);
    const QCommandLineOption search(u"search"_s, text("linux.cli.option.search"), u"text"_s);
    parser.addOptions(contextOptions() + QList{workspaceOption, search});
    if (const auto status = parse(parser, command, arguments, 0, 0))
        return *status;
    const QList<QCommandLineOption> contextual = contextOptions();
    if (parser.isSet(workspaceOption) &&
        std::any_of(contextual.cbegin(), contextual.cend(),
                    [&parser](const QCommandLineOption& option) { return parser.isSet(option); }))
        return fail(text("linux.cli.error.workspace.or.context"));

    const PromptStore& store = library();
    AgentContext detected = AgentContext::unknown();
    ContextMatchDetails details;
    if (parser.isSet(workspaceOption)) {
        details.workspace = findWorkspace(parser.value(workspaceOption));
        if (!details.workspace)
            return fail(text("linux.cli.error.no.workspace").arg(parser.value(workspaceOption)));
    } else {
        const std::optional<AgentContext> fromContext = detectContext(parser);
        if (!fromContext)
            return failure;
        detected = *fromContext;
        details = match(detected, parser);
    }
    const QList<PromptItem> prompts = store.visiblePrompts(detected, details, parser.value(search));
    if (m_json) {
        printJson(
            {{u"workspaceID"_s,
              CliJson::optional(details.workspace ? std::optional(details.workspace->id) : std::nullopt)},
             {u"prompts"_s, CliJson::array(prompts, CliJson::prompt)}});
        return success;
    }
    printLine(text("field.workspace") + u": "_s +
              (details.workspace ? details.workspace->name : text("common.none")));
    for (const PromptSection& section : store.promptSections(prompts)) {
        printLine(section.title);
        for (const PromptItem& prompt : section.prompts)
            printLine(u"  "_s + prompt.id + u"  "_s + prompt.title);
    }
    return success;
}

int VelmoraCli::show(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const auto status = parse(parser, command, arguments, 0, 1))
        return *status;
    if (parser.positionalArguments().isEmpty())
        return callRunningApp(u"ShowPanel"_s);
    const QString id = parser.positionalArguments().first();
    const std::optional<PromptItem> prompt = findPrompt(id);
    if (!prompt)
        return fail(text("linux.cli.error.no.prompt").arg(id));
    const QList<PromptVariable> variables = PromptVariableParser::variables(prompt->text);
    if (m_json) {
        printJson({{u"prompt"_s, CliJson::prompt(*prompt)},
                   {u"variables"_s, CliJson::array(variables, CliJson::variable)}});
        return success;
    }
    printLine(prompt->title + u"  ["_s + prompt->id + u']' +
              (prompt->isPinned ? u"  "_s + text("prompt.pinned") : QString()));
    printLine(text("field.group") + u": "_s + prompt->group);
    printLine(text("field.agent") + u": "_s +
              (prompt->agent ? displayName(*prompt->agent, m_language) : text("agent.any")));
    if (!prompt->tags.isEmpty())
        printLine(text("linux.cli.show.tags") + u": "_s + prompt->tags.join(text("list.separator")));
    printLine(QString());
    printLine(prompt->text);
    if (!variables.isEmpty()) {
        printLine(QString());
        printLine(text("linux.cli.show.variables"));
        for (const PromptVariable& variable : variables)
            printLine(u"  "_s + variable.name +
                      (variable.defaultValue ? u" = "_s + *variable.defaultValue : QString()));
    }
    return success;
}

int VelmoraCli::copy(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption set(u"set"_s, text("linux.cli.option.set"), u"name=value"_s);
    const QCommandLineOption toStandardOutput(u"stdout"_s, text("linux.cli.option.stdout"));
    parser.addOptions({set, toStandardOutput});
    if (const auto status = parse(parser, command, arguments, 1, 1))
        return *status;

    QList<VariableValue> given;
    for (const QString& assignment : parser.values(set)) {
        const qsizetype equals = assignment.indexOf(u'=');
        const QString name = CharacterClasses::trimmedWhitespaceAndNewlines(
                                 QStringView(assignment).first(std::max<qsizetype>(equals, 0)))
                                 .toString()
                                 .toLower();
        if (equals < 0 || name.isEmpty())
            return fail(text("linux.cli.error.set.format").arg(assignment));
        given.append({name, assignment.mid(equals + 1)});
    }
    const QString id = parser.positionalArguments().first();
    const std::optional<PromptItem> prompt = findPrompt(id);
    if (!prompt)
        return fail(text("linux.cli.error.no.prompt").arg(id));

    const bool toClipboard = !parser.isSet(toStandardOutput);
    const auto clipboard = std::make_shared<DetachedClipboardWriter>();
    const auto captured = std::make_shared<CapturedText>();
    const PromptActionService actions(toClipboard ? std::shared_ptr<ClipboardWriting>(clipboard) : captured);
    PromptVariableValueStore rememberedValues(m_settings.get());
    const PromptCopyCoordinator coordinator(actions, rememberedValues);

    const PromptCopyPreparation preparation = coordinator.prepare(*prompt);
    PromptCopyResult result = PromptCopyResult::success;
    if (preparation.requiresValues()) {
        const PromptVariableForm& form = preparation.form();
        QHash<QString, QString> values = form.initialValues;
        for (const VariableValue& value : std::as_const(given)) {
            if (!values.contains(value.normalizedName))
                return fail(text("linux.cli.error.no.variable").arg(value.normalizedName, prompt->id));
            values.insert(value.normalizedName, value.value);
        }
        const PromptCopySubmissionResult submitted = coordinator.submit(form, values);
        if (submitted.kind == PromptCopySubmissionResult::Kind::validationFailed)
            return fail(
                text("linux.cli.error.required").arg(submitted.requiredNames.join(text("list.separator"))));
        result = submitted.result;
    } else {
        if (!given.isEmpty())
            return fail(text("linux.cli.error.no.variable").arg(given.first().normalizedName, prompt->id));
        result = actions.copyText(preparation.immediateText());
    }

    if (result != PromptCopyResult::success)
        return fail(text(clipboard->status() == ClipboardServer::noDisplay
                             ? "linux.cli.error.clipboard.no.display"
                             : "linux.cli.error.clipboard.failed"));
    library().usageStore()->recordSuccessfulCopy(prompt->id, QDateTime::currentDateTimeUtc());

    if (m_json) {
        QJsonObject document{{u"promptID"_s, prompt->id}};
        if (toClipboard)
            document.insert(u"statusMessage"_s, text("prompt.copied"));
        else
            document.insert(u"text"_s, captured->text);
        printJson(document);
    } else if (toClipboard) {
        printLine(text("prompt.copied"));
    } else {
        // The text exactly as copied: no line end of ours behind it.
        printText(captured->text);
    }
    return success;
}
