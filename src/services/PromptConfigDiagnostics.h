// What is wrong with each prompt file, told for someone who mends the files by hand: the issue that
// kept a file out of the library, with the first line the structural check refuses, and the warnings
// that a file's load gave (unknown agents, identifiers renamed to stay unique), each with its file.
#pragma once

#include "AppLanguage.h"
#include "PromptConfigIssue.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

struct PromptConfigFileReport {
    QString filePath = {};
    QString displayName = {}; // the file's last path component
    PromptConfigSourceKind sourceKind = PromptConfigSourceKind::workspace;
    std::optional<PromptConfigIssue> issue = {};
    // For a file the structural check refuses: the first line at fault, from 1; 0 when no line is
    // (the file holds no section at all).
    std::optional<qsizetype> failingLineNumber = {};
    QString failingLine = {};
    QStringList warnings = {};

    bool operator==(const PromptConfigFileReport&) const = default;
};

namespace PromptConfigDiagnostics {

// One report for each file with an issue of `issues` (those of a load of this home) or with a
// warning, global.yaml first, then the workspace files by path. Reads the files again, synchronously.
QList<PromptConfigFileReport> reports(const QString& homeDirectory, AppLanguage language,
                                      const QList<PromptConfigIssue>& issues);

} // namespace PromptConfigDiagnostics
