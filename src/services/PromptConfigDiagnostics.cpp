#include "PromptConfigDiagnostics.h"

#include "PromptConfigLoader.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

void describeStructuralFailure(PromptConfigFileReport& report)
{
    QFile file(report.filePath);
    if (!file.open(QIODevice::ReadOnly))
        return;
    // The file passed the UTF-8 test to meet the structural check.
    const QString text = QString::fromUtf8(file.readAll());
    if (const auto failure = PromptConfigLoader::firstStructuralFailure(text)) {
        report.failingLineNumber = failure->lineNumber;
        report.failingLine = failure->line.toString();
    }
}

} // namespace

namespace PromptConfigDiagnostics {

QList<PromptConfigFileReport> reports(const QString& homeDirectory, AppLanguage language,
                                      const QList<PromptConfigIssue>& issues)
{
    QList<PromptConfigFileReport> result;
    for (const PromptConfigIssue& issue : issues) {
        PromptConfigFileReport report{.filePath = issue.fileURL,
                                      .displayName = issue.displayName,
                                      .sourceKind = issue.sourceKind,
                                      .issue = issue};
        if (issue.kind == PromptConfigIssueKind::invalidFormat)
            describeStructuralFailure(report);
        result.append(report);
    }

    // The load gives its warnings for the whole library. To name the file of each, every file that
    // loads is parsed alone, and the identifiers are then made unique across them all as the load
    // does: each renamed prompt accounts for the next renaming warning, in load order.
    const auto languageProvider = [language] {
        return language;
    };
    PromptConfigLoader library(homeDirectory, languageProvider, {}, nullptr, true);
    const PromptLoadResult loaded = library.loadAllConfigs();
    const QString globalPath = QDir(homeDirectory).filePath(u".velmora/global.yaml"_s);
    const bool globalLoaded = QFileInfo::exists(globalPath) &&
                              std::none_of(loaded.configIssues.cbegin(), loaded.configIssues.cend(),
                                           [](const PromptConfigIssue& issue) {
                                               return issue.sourceKind == PromptConfigSourceKind::global;
                                           });

    QList<PromptConfigFileReport> loadedFiles;
    QList<QList<PromptItem>> parsedPrompts;
    const auto parseAlone = [&](const QString& path, PromptConfigSourceKind sourceKind) {
        PromptConfigLoader single(homeDirectory, languageProvider);
        const std::optional<PromptWorkspace> workspace = single.parse(path, QString());
        loadedFiles.append({.filePath = path,
                            .displayName = QFileInfo(path).fileName(),
                            .sourceKind = sourceKind,
                            .warnings = single.warnings()});
        parsedPrompts.append(workspace ? workspace->prompts : QList<PromptItem>());
    };
    if (globalLoaded)
        parseAlone(globalPath, PromptConfigSourceKind::global);
    for (const PromptWorkspace& workspace : loaded.workspaces)
        parseAlone(workspace.fileURL.value_or(QString()), PromptConfigSourceKind::workspace);

    QList<PromptItem> globalPrompts = globalLoaded ? parsedPrompts.first() : QList<PromptItem>();
    QList<PromptWorkspace> workspaces;
    for (qsizetype index = globalLoaded ? 1 : 0; index < parsedPrompts.size(); ++index) {
        PromptWorkspace workspace;
        workspace.prompts = parsedPrompts[index];
        workspaces.append(workspace);
    }
    PromptConfigLoader renaming(homeDirectory, languageProvider);
    renaming.makePromptIDsGloballyUnique(globalPrompts, workspaces);
    QList<QList<PromptItem>> renamedPrompts;
    if (globalLoaded)
        renamedPrompts.append(globalPrompts);
    for (const PromptWorkspace& workspace : std::as_const(workspaces))
        renamedPrompts.append(workspace.prompts);

    qsizetype nextRenaming = 0;
    for (qsizetype file = 0; file < loadedFiles.size(); ++file) {
        for (qsizetype index = 0; index < renamedPrompts[file].size(); ++index) {
            if (renamedPrompts[file][index].id != parsedPrompts[file][index].id &&
                nextRenaming < renaming.warnings().size())
                loadedFiles[file].warnings.append(renaming.warnings()[nextRenaming++]);
        }
        if (!loadedFiles[file].warnings.isEmpty())
            result.append(loadedFiles[file]);
    }

    std::stable_sort(result.begin(), result.end(),
                     [](const PromptConfigFileReport& a, const PromptConfigFileReport& b) {
                         const bool aGlobal = a.sourceKind == PromptConfigSourceKind::global;
                         const bool bGlobal = b.sourceKind == PromptConfigSourceKind::global;
                         if (aGlobal != bGlobal)
                             return aGlobal;
                         return a.filePath < b.filePath;
                     });
    return result;
}

} // namespace PromptConfigDiagnostics
