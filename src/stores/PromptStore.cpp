#include "PromptStore.h"

#include "BackgroundPromptConfigLoader.h"
#include "ContextBindingStore.h"
#include "Localization.h"
#include "Preferences.h"
#include "ProjectConfigTrustStore.h"
#include "ProjectPromptConfigLoader.h"
#include "PromptConfigLoading.h"
#include "PromptPersistenceService.h"
#include "PromptUsageStore.h"

#include <QDir>
#include <QFutureWatcher>
#include <QPromise>
#include <QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;

PromptStore::PromptStore(QString homeDirectory, LanguageProvider languageProvider, QSettings* userDefaults,
                         Collaborators collaborators, bool loadsOnInit, QObject* parent)
    : QObject(parent), m_homeDirectory(std::move(homeDirectory)),
      m_languageProvider(std::move(languageProvider)), m_userDefaults(userDefaults),
      m_configLoader(std::move(collaborators.configLoader)),
      m_usageStore(std::move(collaborators.usageStore)),
      m_bindingStore(std::move(collaborators.bindingStore)),
      m_persistence(std::move(collaborators.persistence)),
      m_projectConfigTrustStore(std::make_unique<ProjectConfigTrustStore>(m_homeDirectory)),
      m_projectConfigLoader(std::make_unique<ProjectPromptConfigLoader>(projectConfigParentLevels))
{
    if (!m_configLoader)
        m_configLoader =
            std::make_shared<BackgroundPromptConfigLoader>(m_homeDirectory, PromptConfigLimits{});
    if (!m_persistence)
        m_persistence = std::make_shared<PromptPersistenceService>(m_homeDirectory);
    if (!m_usageStore)
        m_usageStore = std::make_shared<PromptUsageStore>(m_homeDirectory);
    if (!m_bindingStore) {
        ContextBindingStore::Dependencies dependencies;
        dependencies.languageProvider = m_languageProvider;
        m_bindingStore = std::make_shared<ContextBindingStore>(m_homeDirectory, dependencies);
    }
    m_projectConfigTrustStore->reload();
    m_statusMessage = text(u"status.not.loaded"_s);
    m_advancedAutomaticMatchingEnabled =
        Preferences::boolean(*m_userDefaults, QString::fromLatin1(advancedMatchingKey)).value_or(false);
    m_projectConfigsEnabled =
        Preferences::boolean(*m_userDefaults, QString::fromLatin1(projectConfigsKey)).value_or(true);
    m_sortMode =
        promptSortModeFromRawValue(
            Preferences::string(*m_userDefaults, QString::fromLatin1(sortModeKey)).value_or(QString()))
            .value_or(PromptSortMode::manual);
    if (loadsOnInit)
        reload();
}

PromptStore::~PromptStore() = default;

QString PromptStore::text(const QString& key) const
{
    return AppLocalizationCatalog::shared().string(key, m_languageProvider());
}

void PromptStore::reload(const std::optional<QString>& preservingStatus)
{
    startReload(preservingStatus, true);
}

QFuture<void> PromptStore::reloadAndWait(const std::optional<QString>& preservingStatus)
{
    return startReload(preservingStatus, false);
}

QFuture<void> PromptStore::startReload(const std::optional<QString>& preservedStatus, bool keepsTask)
{
    const quint64 generation = ++m_reloadGeneration;
    // Taken now, not when the load ends.
    const std::optional<QString> previousSelection = m_lastEditedWorkspaceID;
    const AppLanguage language = m_languageProvider();

    // The watcher is a child of the store: if the store is gone when the load ends, nothing runs, and
    // the promise, destroyed unfinished, reports the reload as cancelled to whoever waits.
    auto done = std::make_shared<QPromise<void>>();
    done->start();
    auto* watcher = new QFutureWatcher<PromptLoadResult>(this);
    connect(watcher, &QFutureWatcherBase::finished, this,
            [this, watcher, done, generation, previousSelection, language, preservedStatus] {
                watcher->deleteLater();
                const QFuture<PromptLoadResult> load = watcher->future();
                if (load.resultCount() > 0)
                    publish(load.result(), generation, previousSelection, language, preservedStatus);
                if (m_reloadGeneration == generation)
                    m_reloadTask.reset();
                done->finish();
            });
    watcher->setFuture(m_configLoader->loadAllConfigs(language));
    QFuture<void> task = done->future();
    if (keepsTask)
        m_reloadTask = task;
    return task;
}

void PromptStore::publish(PromptLoadResult result, quint64 generation,
                          const std::optional<QString>& previousSelection, AppLanguage language,
                          const std::optional<QString>& preservedStatus)
{
    // An older reload that finishes late is dropped whole: a newer one will publish.
    if (generation != m_reloadGeneration)
        return;

    if (result.showsTransientSamples &&
        Preferences::boolean(*m_userDefaults, QString::fromLatin1(samplesDismissedKey)).value_or(false)) {
        result.globalPrompts.clear();
        result.workspaces.clear();
        result.workspaceMetadata.clear();
        result.statusMessage =
            AppLocalizationCatalog::shared().string(u"status.config.samples.hidden"_s, language);
    }

    setConfigIssues(result.configIssues);
    if (!result.configIssues.isEmpty()) {
        // One bad file keeps the whole previous library; with none to keep, show nothing.
        if (m_hasSuccessfulConfigSnapshot) {
            setStatusMessage(
                AppLocalizationCatalog::shared().string(u"status.config.preserved.previous"_s, language));
        } else {
            setGlobalPrompts({});
            setWorkspaces({});
            setWorkspaceMetadata({});
            setShowsTransientSamples(false);
            setStatusMessage(result.statusMessage);
        }
    } else {
        setGlobalPrompts(result.globalPrompts);
        setWorkspaces(result.workspaces);
        setWorkspaceMetadata(result.workspaceMetadata);
        setShowsTransientSamples(result.showsTransientSamples &&
                                 (!result.globalPrompts.isEmpty() || !result.workspaces.isEmpty()));
        m_hasSuccessfulConfigSnapshot = true;
        setStatusMessage(result.statusMessage);
        // Only a load without issues prunes usage, so a broken file never costs usage data.
        retainUsage();
    }

    m_bindingStore->reload();
    if (m_bindingStore->hasAgentWorkspaceBindingLoadError())
        setStatusMessage(
            AppLocalizationCatalog::shared().string(u"status.binding.file.unreadable"_s, language));

    clearProjectWorkspaces();

    const bool selectionSurvives =
        previousSelection &&
        std::any_of(m_workspaces.cbegin(), m_workspaces.cend(),
                    [&](const PromptWorkspace& w) { return w.id == *previousSelection; });
    setLastEditedWorkspaceID(selectionSurvives ? previousSelection : std::nullopt);

    if (preservedStatus)
        setStatusMessage(*preservedStatus);
}

void PromptStore::retainUsage()
{
    QSet<QString> ids;
    for (const PromptItem& prompt : std::as_const(m_globalPrompts))
        ids.insert(prompt.id);
    for (const PromptWorkspace& workspace : std::as_const(m_workspaces)) {
        for (const PromptItem& prompt : workspace.prompts)
            ids.insert(prompt.id);
    }
    m_usageStore->retain(ids);
    // The search copies of prompts that are gone go with them.
    m_searchableTextCache.removeIf([&](const auto& entry) { return !ids.contains(entry.key()); });
}

QStringList PromptStore::knownWorkspacePaths() const
{
    QStringList paths;
    for (const PromptWorkspace& workspace : m_workspaces)
        paths.append(workspace.matchPaths);
    return paths;
}

QList<PromptSection> PromptStore::promptSections(const QList<PromptItem>& prompts) const
{
    if (prompts.isEmpty())
        return {};
    if (m_sortMode != PromptSortMode::manual) {
        const QString key = m_sortMode == PromptSortMode::recent ? u"settings.usage.sort.recent"_s
                                                                 : u"settings.usage.sort.frequent"_s;
        return {PromptSection{toRawValue(m_sortMode), text(key), prompts}};
    }
    // Sections are sized before they are filled: growing them copies every prompt again and again.
    QList<PromptSection> sections;
    QHash<QString, qsizetype> indexByGroup;
    QList<qsizetype> sectionOfPrompt;
    sectionOfPrompt.reserve(prompts.size());
    QList<qsizetype> sectionSizes;
    for (const PromptItem& prompt : prompts) {
        auto found = indexByGroup.constFind(prompt.group);
        if (found == indexByGroup.constEnd()) {
            found = indexByGroup.insert(prompt.group, sections.size());
            sections.append(PromptSection{prompt.group, prompt.group, {}});
            sectionSizes.append(0);
        }
        sectionOfPrompt.append(*found);
        ++sectionSizes[*found];
    }
    for (qsizetype index = 0; index < sections.size(); ++index)
        sections[index].prompts.reserve(sectionSizes[index]);
    for (qsizetype index = 0; index < prompts.size(); ++index)
        sections[sectionOfPrompt[index]].prompts.append(prompts[index]);
    return sections;
}

void PromptStore::setSortMode(PromptSortMode mode)
{
    m_userDefaults->setValue(QString::fromLatin1(sortModeKey), toRawValue(mode));
    if (mode == m_sortMode)
        return;
    m_sortMode = mode;
    Q_EMIT sortModeChanged();
}

QList<PromptWorkspace>
PromptStore::workspaceManagerWorkspaces(const QList<PromptWorkspace>& extraWorkspaces) const
{
    QList<PromptWorkspace> candidates;
    if (!m_globalPrompts.isEmpty()) {
        PromptWorkspace global;
        global.id = QString::fromLatin1(globalWorkspaceID);
        global.name = text(u"sample.global.prompts"_s);
        global.prompts = m_globalPrompts;
        if (m_showsTransientSamples) {
            global.source = PromptWorkspaceSource::transientSample;
        } else {
            global.source = PromptWorkspaceSource::global;
            global.fileURL = QDir(m_homeDirectory).filePath(u".velmora/global.yaml"_s);
        }
        candidates.append(global);
    }
    candidates.append(m_workspaces);
    for (const PromptWorkspace& workspace : m_projectWorkspaceCache)
        candidates.append(workspace);
    candidates.append(extraWorkspaces);

    // The first of each id stays, so a user workspace wins over a project one of the same id.
    QList<PromptWorkspace> unique;
    QSet<QString> seen;
    for (const PromptWorkspace& workspace : std::as_const(candidates)) {
        if (!seen.contains(workspace.id)) {
            seen.insert(workspace.id);
            unique.append(workspace);
        }
    }
    return unique;
}

#define VELMORA_SETTER(Setter, member, signal)                                                               \
    void PromptStore::Setter(const decltype(member)& value)                                                  \
    {                                                                                                        \
        if (member == value)                                                                                 \
            return;                                                                                          \
        member = value;                                                                                      \
        Q_EMIT signal();                                                                                     \
    }

VELMORA_SETTER(setGlobalPrompts, m_globalPrompts, globalPromptsChanged)
VELMORA_SETTER(setWorkspaces, m_workspaces, workspacesChanged)
VELMORA_SETTER(setLastEditedWorkspaceID, m_lastEditedWorkspaceID, lastEditedWorkspaceIDChanged)
VELMORA_SETTER(setStatusMessage, m_statusMessage, statusMessageChanged)
VELMORA_SETTER(setLastErrorMessage, m_lastErrorMessage, lastErrorMessageChanged)
VELMORA_SETTER(setLastWorkspaceSaveIssue, m_lastWorkspaceSaveIssue, lastWorkspaceSaveIssueChanged)
VELMORA_SETTER(setConfigIssues, m_configIssues, configIssuesChanged)
VELMORA_SETTER(setWorkspaceMetadata, m_workspaceMetadata, workspaceMetadataChanged)

#undef VELMORA_SETTER

void PromptStore::setShowsTransientSamples(bool shows)
{
    if (m_showsTransientSamples == shows)
        return;
    m_showsTransientSamples = shows;
    Q_EMIT showsTransientSamplesChanged();
}
