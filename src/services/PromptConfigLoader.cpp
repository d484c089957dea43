// The load of ~/.velmora: which files are read, in what order, under which limits, and what a
// load result holds when files fail or none exist.

#include "PromptConfigLoader.h"

#include "ContentDigest.h"
#include "Localization.h"
#include "Preferences.h"
#include "PromptConfigIssue.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringDecoder>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

struct PromptConfigLoader::LoadState {
    qint64 aggregateBytes = 0;
    QList<PromptConfigIssue> issues;
    QHash<QString, WorkspaceFileMetadata> metadata;
};

struct PromptConfigLoader::ConfigFile {
    QString path;
    QString fallbackName;
    SourceKind sourceKind = SourceKind::workspace;
    qint64 size = 0;
    QDateTime modified;
    std::optional<PromptConfigIssueKind> failure;
    std::optional<PromptWorkspace> workspace;
    QStringList warnings;
};

namespace {

// Swift-like ordering of paths by Unicode scalar values: UTF-16 order differs from it only where a
// surrogate pair meets a character above U+DFFF.
bool precedesByScalarValues(const QString& left, const QString& right)
{
    const auto key = [](char16_t unit) -> unsigned {
        // Surrogates (supplementary characters) sort after the rest of the BMP.
        return unit >= 0xD800 && unit <= 0xDFFF ? unit + 0x2000u : (unit >= 0xE000 ? unit - 0x800u : unit);
    };
    const qsizetype length = std::min(left.size(), right.size());
    for (qsizetype i = 0; i < length; ++i) {
        const unsigned a = key(left[i].unicode());
        const unsigned b = key(right[i].unicode());
        if (a != b)
            return a < b;
    }
    return left.size() < right.size();
}

// Strict UTF-8: invalid or truncated sequences and encoded surrogates fail. A leading byte order
// mark is dropped, as editors that write one expect.
std::optional<QString> decodeUTF8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

// Runs work(0) ... work(count - 1) on this thread and up to one more per core; returns when all
// have run. The load is already off the main thread; its files are independent of one another.
void forEachInParallel(qsizetype count, const std::function<void(qsizetype)>& work)
{
    std::atomic<qsizetype> next = 0;
    const auto drain = [&] {
        for (qsizetype index = next++; index < count; index = next++)
            work(index);
    };
    const qsizetype helpers = std::min<qsizetype>(std::max(QThread::idealThreadCount(), 1), count) - 1;
    std::vector<std::jthread> threads;
    for (qsizetype helper = 0; helper < helpers; ++helper)
        threads.emplace_back(drain);
    drain();
}

QString issueKey(PromptConfigIssueKind kind)
{
    switch (kind) {
    case PromptConfigIssueKind::unreadable:
        return u"config.issue.unreadable"_s;
    case PromptConfigIssueKind::invalidUTF8:
        return u"config.issue.invalid.utf8"_s;
    case PromptConfigIssueKind::invalidFormat:
        return u"config.issue.invalid.format"_s;
    case PromptConfigIssueKind::perFileLimitExceeded:
        return u"config.issue.per.file.limit"_s;
    case PromptConfigIssueKind::aggregateLimitExceeded:
        return u"config.issue.aggregate.limit"_s;
    }
    return u"config.issue.unreadable"_s;
}

PromptItem samplePrompt(const char16_t* id, const QString& title, const QString& group,
                        std::optional<AgentType> agent, const QString& text, QStringList tags)
{
    PromptItem prompt;
    prompt.id = QString::fromUtf16(id);
    prompt.title = title;
    prompt.group = group;
    prompt.agent = agent;
    prompt.text = text;
    prompt.tags = std::move(tags);
    return prompt;
}

} // namespace

PromptConfigLoader::PromptConfigLoader(QString homeDirectory, LanguageProvider languageProvider,
                                       PromptConfigLimits limits, QSettings* userDefaults,
                                       std::optional<bool> transientSamplesDismissedOverride)
    : m_homeDirectory(std::move(homeDirectory)), m_languageProvider(std::move(languageProvider)),
      m_limits(limits), m_userDefaults(userDefaults),
      m_transientSamplesDismissedOverride(transientSamplesDismissedOverride)
{}

QString PromptConfigLoader::text(const char* key) const
{
    return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), m_languageProvider());
}

PromptLoadResult PromptConfigLoader::loadAllConfigs()
{
    m_warnings.clear();
    LoadState state;
    QList<ConfigFile> files;

    const QDir base(QDir(m_homeDirectory).filePath(QString::fromLatin1(baseFolderName)));
    const QString globalPath = base.filePath(QString::fromLatin1(globalFileName));
    const QFileInfo globalInfo(globalPath);
    // Any kind of entry counts, a dangling link included: its issue tells the user what is wrong.
    if (globalInfo.exists() || globalInfo.isSymLink())
        files.append(admitConfigFile(globalPath, text("sample.global.prompts"), SourceKind::global, state));

    // A missing or unlistable folder is an empty one. Hidden entries are never read.
    const QDir workspacesFolder(base.filePath(QString::fromLatin1(workspacesFolderName)));
    const QFileInfoList entries =
        workspacesFolder.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::NoSort);
    QStringList paths;
    paths.reserve(entries.size());
    for (const QFileInfo& entry : entries)
        paths.append(workspacesFolder.filePath(entry.fileName()));
    std::sort(paths.begin(), paths.end(), precedesByScalarValues);
    for (const QString& path : std::as_const(paths)) {
        const QFileInfo entry(path);
        const QString extension = entry.suffix().toLower();
        if (extension == u"yaml" || extension == u"yml")
            files.append(admitConfigFile(path, entry.completeBaseName(), SourceKind::workspace, state));
    }

    const AppLanguage language = m_languageProvider();
    forEachInParallel(files.size(), [&](qsizetype index) {
        if (!files[index].failure)
            readConfigFile(files[index], m_limits.perFileBytes, language);
    });

    // Issues, warnings and metadata in load order, whichever thread read the file.
    int loadedCount = 0;
    QList<PromptItem> globalPrompts;
    QList<PromptWorkspace> workspaces;
    for (ConfigFile& file : files) {
        if (file.failure) {
            state.issues.append(issue(file));
            continue;
        }
        ++loadedCount;
        m_warnings.append(file.warnings);
        WorkspaceFileMetadata metadata;
        if (file.modified.isValid())
            metadata.modificationDate = file.modified.toUTC();
        metadata.fileSize = file.size;
        if (file.sourceKind == SourceKind::global) {
            state.metadata.insert(QString::fromLatin1(globalWorkspaceID), metadata);
            globalPrompts = std::move(file.workspace->prompts);
        } else {
            state.metadata.insert(file.workspace->id, metadata);
            workspaces.append(std::move(*file.workspace));
        }
    }

    PromptLoadResult result;
    if (!globalPrompts.isEmpty() || !workspaces.isEmpty()) {
        makePromptIDsGloballyUnique(globalPrompts, workspaces);
        result.globalPrompts = std::move(globalPrompts);
        result.workspaces = std::move(workspaces);
        result.statusMessage =
            text("status.loaded.configs").arg(QString::number(loadedCount), warningSuffix());
        result.configIssues = std::move(state.issues);
        result.workspaceMetadata = std::move(state.metadata);
    } else if (!files.isEmpty()) {
        result.statusMessage = text("status.config.no.prompts").arg(warningSuffix());
        result.configIssues = std::move(state.issues);
    } else if (samplesDismissed()) {
        result.statusMessage = text("status.config.samples.hidden");
    } else {
        SampleData samples = sampleData(language);
        result.globalPrompts = std::move(samples.globalPrompts);
        result.workspaces = std::move(samples.workspaces);
        result.statusMessage = text("status.config.missing.samples");
        result.showsTransientSamples = true;
    }
    return result;
}

QString PromptConfigLoader::warningSuffix() const
{
    if (m_warnings.isEmpty())
        return {};
    return text("status.warning.suffix").arg(QString::number(m_warnings.size()));
}

bool PromptConfigLoader::samplesDismissed() const
{
    if (m_transientSamplesDismissedOverride)
        return *m_transientSamplesDismissedOverride;
    if (!m_userDefaults)
        return false;
    return Preferences::boolean(*m_userDefaults, QString::fromLatin1(samplesDismissedKey)).value_or(false);
}

PromptConfigLoader::ConfigFile PromptConfigLoader::admitConfigFile(const QString& path,
                                                                   const QString& fallbackName,
                                                                   SourceKind sourceKind,
                                                                   LoadState& state) const
{
    ConfigFile file;
    file.path = path;
    file.fallbackName = fallbackName;
    file.sourceKind = sourceKind;
    // The entry's own attributes: a symbolic link is no regular file, whatever it points to.
    const QFileInfo info(path); // a fresh object: one read of the attributes, then cached
    if (info.isSymLink() || !info.isFile() || info.size() < 0) {
        file.failure = PromptConfigIssueKind::unreadable;
        return file;
    }
    file.size = info.size();
    file.modified = info.lastModified();
    if (file.size > m_limits.perFileBytes)
        file.failure = PromptConfigIssueKind::perFileLimitExceeded;
    else if (m_limits.aggregateBytes - file.size < state.aggregateBytes)
        file.failure = PromptConfigIssueKind::aggregateLimitExceeded;
    else // counted from here on, also if the file fails later
        state.aggregateBytes += file.size;
    return file;
}

void PromptConfigLoader::readConfigFile(ConfigFile& file, qint64 perFileLimit, AppLanguage language)
{
    QFile device(file.path);
    if (!device.open(QIODevice::ReadOnly)) {
        file.failure = PromptConfigIssueKind::unreadable;
        return;
    }
    const QByteArray bytes = device.readAll();
    if (device.error() != QFileDevice::NoError)
        file.failure = PromptConfigIssueKind::unreadable;
    // The file grew past the limit between the size read and the content read.
    else if (bytes.size() > perFileLimit)
        file.failure = PromptConfigIssueKind::perFileLimitExceeded;
    if (file.failure)
        return;

    const std::optional<QString> text = decodeUTF8(bytes);
    if (!text)
        file.failure = PromptConfigIssueKind::invalidUTF8;
    else if (!hasValidConfigStructure(*text))
        file.failure = PromptConfigIssueKind::invalidFormat;
    if (file.failure)
        return;
    file.workspace = buildWorkspace(*text, bytes, file.path, file.fallbackName, language, &file.warnings);
    file.workspace->id = QFileInfo(file.path).completeBaseName();
}

PromptConfigIssue PromptConfigLoader::issue(const ConfigFile& file) const
{
    const QString key = issueKey(*file.failure);
    const QString fileName = QFileInfo(file.path).fileName();
    PromptConfigIssue issue;
    issue.sourceKind = file.sourceKind == SourceKind::global ? PromptConfigSourceKind::global
                                                             : PromptConfigSourceKind::workspace;
    issue.id = toRawValue(issue.sourceKind) + u':' + fileName + u':' + key;
    issue.displayName = fileName;
    issue.kind = *file.failure;
    issue.message = AppLocalizationCatalog::shared().string(key, m_languageProvider());
    issue.fileURL = file.path;
    issue.recoveryActions = {PromptConfigRecoveryAction::reload, PromptConfigRecoveryAction::showInFinder,
                             PromptConfigRecoveryAction::openWorkspaceManager};
    return issue;
}

std::optional<PromptWorkspace> PromptConfigLoader::parse(const QString& path, const QString& fallbackName)
{
    const auto fail = [&]() -> std::optional<PromptWorkspace> {
        m_warnings.append(text("error.config.read.failed").arg(QFileInfo(path).fileName()));
        return std::nullopt;
    };
    // A folder or a pipe under the name would fail or block the read: only files are read.
    const QFileInfo info(path);
    if (!info.isFile())
        return fail();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail();
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return fail();
    const std::optional<QString> text = decodeUTF8(bytes);
    if (!text)
        return fail();
    PromptWorkspace workspace =
        buildWorkspace(*text, bytes, path, fallbackName, m_languageProvider(), &m_warnings);
    workspace.id = info.completeBaseName();
    return workspace;
}

WorkspaceFileVersion PromptConfigLoader::fileVersion(const QByteArray& bytes, const QString& path)
{
    const QString absolute = QDir::isAbsolutePath(path) ? path : QDir::current().absoluteFilePath(path);
    return WorkspaceFileVersion{
        QDir::cleanPath(absolute),
        ContentDigest::sha256Hex(bytes)};
}

PromptConfigLoader::SampleData PromptConfigLoader::sampleData(AppLanguage language)
{
    if (language == AppLanguage::system)
        language = systemResolved(systemPreferredLanguages());
    const bool english = language == AppLanguage::english;
    const std::optional<AgentType> none;
    const std::optional<AgentType> codex = AgentType::codex;

    SampleData data;
    PromptWorkspace workspace;
    workspace.id = u"my-app"_s;
    workspace.name = u"my-app"_s;
    workspace.matchPaths = {u"/Users/you/projects/my-app"_s};
    workspace.source = PromptWorkspaceSource::transientSample;

    if (english) {
        const QString general = u"General Development"_s;
        data.globalPrompts = {
            samplePrompt(u"spec", u"/spec: clarify requirements"_s, general, none,
                         u"/spec: first clarify what needs to be built."_s, {u"spec"_s}),
            samplePrompt(u"plan", u"/plan: split tasks"_s, general, none,
                         u"/plan: split this into executable tasks."_s, {u"plan"_s}),
            samplePrompt(u"build", u"/build: implement"_s, general, none,
                         u"/build: start building the feature."_s, {u"build"_s}),
            samplePrompt(u"test", u"/test: verify"_s, general, none,
                         u"/test: verify whether it really works."_s, {u"test"_s}),
            samplePrompt(u"review", u"/review: quality check"_s, general, none,
                         u"/review: do a quality check."_s, {u"review"_s}),
        };
        workspace.prompts = {
            samplePrompt(
                u"project-review", u"Review current project"_s, u"Project Development"_s, codex,
                u"Review the current project structure, identify the highest-priority risks, and give "
                u"actionable suggestions."_s,
                {u"review"_s, u"project"_s}),
            samplePrompt(u"write-tests", u"Add tests"_s, u"Project Development"_s, codex,
                         u"Find the paths that most need tests, prioritizing failure paths, edge cases, and "
                         u"regression risk."_s,
                         {u"test"_s}),
            samplePrompt(u"release-check", u"Release check"_s, u"Release Prep"_s, codex,
                         u"Check whether the project is ready for release, including build, tests, docs, "
                         u"privacy notes, and packaging."_s,
                         {u"release"_s}),
        };
    } else {
        const QString general = u"通用开发"_s;
        data.globalPrompts = {
            samplePrompt(u"spec", u"/spec：写清楚需求"_s, general, none, u"/spec：先把要做什么写清楚。"_s,
                         {u"spec"_s}),
            samplePrompt(u"plan", u"/plan：拆任务"_s, general, none, u"/plan：拆成可执行任务。"_s,
                         {u"plan"_s}),
            samplePrompt(u"build", u"/build：开始实现"_s, general, none, u"/build：开始做功能。"_s,
                         {u"build"_s}),
            samplePrompt(u"test", u"/test：验证可用"_s, general, none, u"/test：验证是否真的可用。"_s,
                         {u"test"_s}),
            samplePrompt(u"review", u"/review：质量检查"_s, general, none, u"/review：做质量检查。"_s,
                         {u"review"_s}),
        };
        workspace.prompts = {
            samplePrompt(u"project-review", u"审查当前项目"_s, u"项目开发"_s, codex,
                         u"请审查当前项目结构，指出最需要优先修复的问题，并给出可执行的修改建议。"_s,
                         {u"review"_s, u"project"_s}),
            samplePrompt(u"write-tests", u"补充测试"_s, u"项目开发"_s, codex,
                         u"请为当前改动补充关键测试，优先覆盖失败路径、边界条件和回归风险。"_s, {u"test"_s}),
            samplePrompt(u"release-check", u"发布前检查"_s, u"发布准备"_s, codex,
                         u"请检查当前项目是否满足发布前要求，包括构建、测试、文档、隐私说明和打包配置。"_s,
                         {u"release"_s}),
        };
    }
    data.workspaces = {workspace};
    return data;
}
