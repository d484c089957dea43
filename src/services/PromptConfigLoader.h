// Reads the prompt library under ~/.velmora into one load result, and holds the reader of the
// prompt file format: a structural check that accepts or refuses a file as a whole, and extraction
// passes that pull the values out line by line and never fail.
#pragma once

#include "AgentType.h"
#include "AppLanguage.h"
#include "PromptLoadResult.h"
#include "PromptModels.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <functional>
#include <optional>

class QSettings;

class PromptConfigLoader {
public:
    using LanguageProvider = std::function<AppLanguage()>;

    static constexpr auto baseFolderName = ".velmora";
    static constexpr auto globalFileName = "global.yaml";
    static constexpr auto workspacesFolderName = "workspaces";
    static constexpr auto samplesDismissedKey = "Velmora.transientSamplesDismissed.v1";

    struct SampleData {
        QList<PromptItem> globalPrompts;
        QList<PromptWorkspace> workspaces;

        bool operator==(const SampleData&) const = default;
    };

    // A `key: value` split of a line, both parts trimmed of whitespace; views into the line.
    struct StructuralField {
        QStringView key;
        QStringView value;
    };

    // `userDefaults` may be null: the samples are then dismissed only by the override. An override
    // that is present wins over the stored preference.
    PromptConfigLoader(QString homeDirectory, LanguageProvider languageProvider,
                       PromptConfigLimits limits = {}, QSettings* userDefaults = nullptr,
                       std::optional<bool> transientSamplesDismissedOverride = std::nullopt);

    const QString& homeDirectory() const { return m_homeDirectory; }
    const PromptConfigLimits& limits() const { return m_limits; }

    // Plain localised strings: prompts dropped for an unknown agent, identifiers made unique, files
    // that `parse` could not read. Emptied at the start of each `loadAllConfigs`.
    const QStringList& warnings() const { return m_warnings; }

    // The global file, then the workspace files sorted by path. Each file that fails a check
    // contributes nothing and gives one issue; the others load. Synchronous: call it off the main
    // thread (BackgroundPromptConfigLoader does).
    PromptLoadResult loadAllConfigs();

    // One file without size limits or structural check, for project files. Unreadable or non-UTF-8
    // content gives nothing and a warning.
    std::optional<PromptWorkspace> parse(const QString& path, const QString& fallbackName);

    // The standardised path and the SHA-256 of the bytes, as the version check on save compares them.
    static WorkspaceFileVersion fileVersion(const QByteArray& bytes, const QString& path);

    // In-memory sample content: English for `english`, Chinese for every other language once
    // `system` is resolved.
    static SampleData sampleData(AppLanguage language);

    // --- The structural check ---

    // Accepts or refuses a whole file; says nothing about which line failed.
    static bool hasValidConfigStructure(QStringView text);
    // Where the check refuses a text, for someone mending a file by hand.
    struct StructuralFailure {
        qsizetype lineNumber = 0; // from 1; 0 when no line is at fault: the text holds no section
        QStringView line = {};    // as written, a view into the text
    };
    // The same check, telling the first line it refuses; absent exactly when the check accepts.
    static std::optional<StructuralFailure> firstStructuralFailure(QStringView text);
    // A line less its leading spaces and its comment (a `#` outside quotes), trimmed.
    static QStringView structuralContent(QStringView line);
    // Cut at the first colon, whatever the quotes; no colon or an empty key gives nothing.
    static std::optional<StructuralField> structuralField(QStringView text);
    static bool isStructuralScalar(QStringView value);
    static bool isValidPromptField(QStringView key, QStringView value);

    // --- The extraction passes: no comment rule, no failure; what they don't recognise they skip ---

    // Absent when no name line was found; an empty name is a found one.
    static std::optional<QString> parseWorkspaceName(QStringView text);
    static QStringList parseMatchPaths(QStringView text);
    // Appends one warning for each prompt dropped for an unknown agent. The defaults of absent
    // titles and groups are in the language the provider gives now.
    QList<PromptItem> parsePrompts(QStringView text);

    // Unquotes a value: `"..."` with `\"` and `\\` undone, `'...'` stripped and nothing more.
    static QString cleanScalar(QStringView value);
    static std::optional<AgentType> parseAgent(QStringView value);
    // Lower-cased letters, marks, numbers, `-` and `_`; white space becomes `-`; "workspace" if empty.
    static QString slug(QStringView text);

    // The first holder of an identifier keeps it; later ones become `x-2`, `x-3`..., each change with
    // a warning. Global prompts first, then the workspaces in order.
    void makePromptIDsGloballyUnique(QList<PromptItem>& globalPrompts, QList<PromptWorkspace>& workspaces);

private:
    struct LoadState;
    struct ConfigFile;
    enum class SourceKind { global, workspace };

    QString text(const char* key) const;
    // Empty without warnings, else the localised count of them, to end a status text.
    QString warningSuffix() const;
    // The checks on a file's attributes and the limits, in load order; the aggregate counts from here.
    ConfigFile admitConfigFile(const QString& path, const QString& fallbackName, SourceKind sourceKind,
                               LoadState& state) const;
    // Reading, decoding and parsing: independent per file, so admitted files are read in parallel.
    static void readConfigFile(ConfigFile& file, qint64 perFileLimit, AppLanguage language);
    PromptConfigIssue issue(const ConfigFile& file) const;
    static PromptWorkspace buildWorkspace(QStringView text, const QByteArray& bytes, const QString& path,
                                          const QString& fallbackName, AppLanguage language,
                                          QStringList* warnings);
    bool samplesDismissed() const;

    QString m_homeDirectory;
    LanguageProvider m_languageProvider;
    PromptConfigLimits m_limits;
    QSettings* m_userDefaults;
    std::optional<bool> m_transientSamplesDismissedOverride;
    QStringList m_warnings;
};
