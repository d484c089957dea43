// A problem found in a prompt file during a load: the file is skipped and the banner offers recovery.
#pragma once

#include <QSet>
#include <QString>
#include <optional>

enum class PromptConfigSourceKind { global, workspace };
enum class PromptConfigIssueKind {
    unreadable,
    invalidUTF8,
    invalidFormat,
    perFileLimitExceeded,
    aggregateLimitExceeded
};
enum class PromptConfigRecoveryAction { reload, showInFinder, openWorkspaceManager };

QString toRawValue(PromptConfigSourceKind kind);
std::optional<PromptConfigSourceKind> promptConfigSourceKindFromRawValue(const QString& raw);
QString toRawValue(PromptConfigRecoveryAction action);
std::optional<PromptConfigRecoveryAction> promptConfigRecoveryActionFromRawValue(const QString& raw);

inline size_t qHash(PromptConfigRecoveryAction action, size_t seed = 0) noexcept
{
    return ::qHash(static_cast<int>(action), seed);
}

struct PromptConfigIssue {
    QString id;
    QString displayName;
    PromptConfigSourceKind sourceKind = PromptConfigSourceKind::workspace;
    PromptConfigIssueKind kind = PromptConfigIssueKind::unreadable;
    QString message;
    QString fileURL;
    QSet<PromptConfigRecoveryAction> recoveryActions;

    bool operator==(const PromptConfigIssue&) const = default;
};
