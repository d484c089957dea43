// The library's plain records: prompts, workspaces, the identity of a workspace file, packs,
// display sections, and the small enumerations every layer exchanges.
#pragma once

#include "AgentType.h"
#include "AppLanguage.h"
#include "KeyboardShortcutModels.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

struct PromptItem {
    QString id;
    QString title;
    QString group;
    std::optional<AgentType> agent;
    QString text;
    QStringList tags;
    bool isPinned = false;
    std::optional<PromptKeyboardShortcut> shortcut;

    bool operator==(const PromptItem&) const = default;
};

// A workspace file as it stood on disk when read: the token of the version check on save.
struct WorkspaceFileVersion {
    QString path;        // standardised absolute path
    QString contentHash; // SHA-256 of the raw bytes, 64 lower-case hex digits

    bool operator==(const WorkspaceFileVersion&) const = default;
};

enum class PromptWorkspaceSource { global, userWorkspace, projectConfig, transientSample };

QString toRawValue(PromptWorkspaceSource source);
std::optional<PromptWorkspaceSource> promptWorkspaceSourceFromRawValue(const QString& raw);
QString displayName(PromptWorkspaceSource source, AppLanguage language);

enum class PromptMoveDirection { up, down, top, bottom };

struct PromptWorkspace {
    QString id;
    QString name;
    QStringList matchPaths;
    QList<PromptItem> prompts; // manual order: the file's order
    std::optional<QString> fileURL;
    PromptWorkspaceSource source = PromptWorkspaceSource::userWorkspace;
    std::optional<WorkspaceFileVersion> fileVersion;

    bool operator==(const PromptWorkspace&) const = default;

    bool isEditable() const { return source == PromptWorkspaceSource::userWorkspace; }

    // The file's name, or the "not saved" text for a workspace without a file.
    QString displayNamePath() const;

    // Prompts move only among their peers: same group, same pin state.
    bool canMovePrompt(const QString& promptID, PromptMoveDirection direction) const;
    // A successful move also gathers each group's prompts together, in order of first appearance.
    bool movePrompt(const QString& promptID, PromptMoveDirection direction);
};

struct PromptSection {
    QString id; // the group name, or the sort mode's raw value when one section holds everything
    QString title;
    QList<PromptItem> prompts;

    bool operator==(const PromptSection&) const = default;
};

struct PromptPackMetadata {
    QString id;
    QString name;
    QString description;
    QString version;
    QString author;

    bool operator==(const PromptPackMetadata&) const = default;
};

struct PromptPack {
    PromptPackMetadata metadata;
    PromptWorkspace workspace;

    bool operator==(const PromptPack&) const = default;
};

struct PromptPackImportPreview {
    PromptPack pack;

    bool operator==(const PromptPackImportPreview&) const = default;

    QStringList groups() const;       // distinct groups, in order of first appearance
    QStringList sampleTitles() const; // titles of the first five prompts
};

struct PromptConfigLimits {
    qint64 perFileBytes = 1048576;    // 1 MiB
    qint64 aggregateBytes = 10485760; // 10 MiB

    bool operator==(const PromptConfigLimits&) const = default;
};

enum class PromptSortMode { manual, recent, frequent };

QString toRawValue(PromptSortMode mode);
std::optional<PromptSortMode> promptSortModeFromRawValue(const QString& raw);
