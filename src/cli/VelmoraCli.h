// velmora-cli: a front end of the library for the terminal, over the same stores and services as the
// app. It parses the command line, calls the layers below and prints what they answer; the rules are
// theirs.
#pragma once

#include "AgentContext.h"
#include "AppLanguage.h"
#include "ContextMatchDetails.h"
#include "PromptModels.h"

#include <QCommandLineOption>
#include <QJsonObject>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>

class PromptStore;
class QCommandLineParser;
class QSettings;

class VelmoraCli {
public:
    enum ExitStatus { success = 0, problemsFound = 1, failure = 2 };

    // `arguments` as the process got them, the program first.
    explicit VelmoraCli(QStringList arguments);
    ~VelmoraCli();

    int run();

private:
    struct Command {
        QString name;           // as typed: "load", "workspace create", ...
        QString syntax;         // its positional arguments, for the help
        const char* summaryKey; // its line in --help
        int (VelmoraCli::*handler)(const Command& command, const QStringList& arguments);
    };
    static const QList<Command>& commands();

    // --- Texts and output (VelmoraCli.cpp) ---
    QString text(const char* key) const;
    void printText(const QString& text) const;
    void printLine(const QString& line) const;
    void printJson(const QJsonObject& document) const;
    // The status text, or {"statusMessage"} with --json.
    void printStatus(const QString& statusMessage) const;
    // One line on standard error; answers the exit status.
    int fail(const QString& message, int status = failure) const;
    QString helpText() const;

    // Parses the arguments behind a command's name with the options already in `parser`. Answers the
    // exit status when the command ends here: its help was asked for, or a usage error was printed.
    std::optional<int> parse(QCommandLineParser& parser, const Command& command, const QStringList& arguments,
                             qsizetype minimumPositionals, qsizetype maximumPositionals) const;
    QList<QCommandLineOption> contextOptions() const;
    static void waitUntil(const std::function<bool()>& done);

    // The store over the user's library, loaded once as the app's first start loads it.
    PromptStore& library();
    std::optional<PromptItem> findPrompt(const QString& id);
    // The context as the detector builds it, from the options or from the live desktop; absent after
    // a usage error, which it has printed.
    std::optional<AgentContext> detectContext(const QCommandLineParser& parser);
    ContextMatchDetails match(const AgentContext& context, const QCommandLineParser& parser);

    // --- Reading the library (VelmoraCliLibrary.cpp) ---
    int load(const Command& command, const QStringList& arguments);
    int check(const Command& command, const QStringList& arguments);
    int context(const Command& command, const QStringList& arguments);
    int list(const Command& command, const QStringList& arguments);
    int show(const Command& command, const QStringList& arguments);
    int copy(const Command& command, const QStringList& arguments);

    // --- Changing it (VelmoraCliEditing.cpp) ---
    int createWorkspace(const Command& command, const QStringList& arguments);
    int addPrompt(const Command& command, const QStringList& arguments);
    int deletePrompt(const Command& command, const QStringList& arguments);
    int bind(const Command& command, const QStringList& arguments);
    int trust(const Command& command, const QStringList& arguments);
    // A store operation's outcome: its status text, or its error text as a failure.
    int reportOperation(bool succeeded);
    // A record the command made: itself with --json, else the store's status text.
    int reportRecord(const QJsonObject& record);
    std::optional<PromptWorkspace> findWorkspace(const QString& id);

    // --- The running app, over D-Bus (VelmoraCliBus.cpp) ---
    int toggle(const Command& command, const QStringList& arguments);
    int hide(const Command& command, const QStringList& arguments);
    int reload(const Command& command, const QStringList& arguments);
    int callRunningApp(const QString& method);

    QStringList m_arguments;
    bool m_json = false;
    AppLanguage m_language = AppLanguage::english;
    std::unique_ptr<QSettings> m_settings;
    std::unique_ptr<PromptStore> m_store;
};
