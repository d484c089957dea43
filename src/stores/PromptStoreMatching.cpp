// PromptStore: which workspace a context selects, the prompts shown for it and the search among them,
// the choice among bound workspaces, and the cache of project files.
#include "PromptStore.h"

#include "AppLog.h"
#include "CharacterClasses.h"
#include "ContextBindingStore.h"
#include "ContextPaths.h"
#include "ProjectConfigTrustStore.h"
#include "ProjectPromptConfigLoader.h"
#include "PromptSorter.h"
#include "PromptUsageStore.h"
#include "SubstringSearch.h"
#include "WorkspaceMatcher.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Same shared data and size: the same text, with no need to compare it.
bool isSameData(const QString& a, const QString& b)
{
    return a.constData() == b.constData() && a.size() == b.size();
}

bool isSameData(const QStringList& a, const QStringList& b)
{
    return a.constData() == b.constData() && a.size() == b.size();
}

// The search without the folded copies, for the rare query that holds their field separator.
bool matchesEachField(const PromptItem& prompt, const QString& foldedQuery)
{
    return prompt.title.toLower().contains(foldedQuery) || prompt.group.toLower().contains(foldedQuery) ||
           prompt.text.toLower().contains(foldedQuery) ||
           prompt.tags.join(u' ').toLower().contains(foldedQuery);
}

} // namespace

PromptMatchingService PromptStore::matchingService() const
{
    PromptMatchingService service;
    service.workspaces = m_workspaces;
    service.bindingStore = m_bindingStore.get();
    service.advancedAutomaticMatchingEnabled = m_advancedAutomaticMatchingEnabled;
    service.projectConfigsEnabled = m_projectConfigsEnabled;
    service.isProjectConfigTrusted = [this](const QString& path) {
        return m_projectConfigTrustStore->isTrusted(path);
    };
    service.projectConfigPath = [this](const AgentContext& context) {
        return projectConfigPath(context);
    };
    service.projectWorkspace = [this](const AgentContext& context, const QString& configPath) {
        return projectWorkspace(context, configPath);
    };
    return service;
}

QList<PromptItem> PromptStore::allPrompts(const ContextMatchDetails& matchDetails) const
{
    return groupedPrompts(matchDetails, {});
}

QList<PromptItem> PromptStore::groupedPrompts(const ContextMatchDetails& matchDetails,
                                              const QString& foldedQuery) const
{
    // Groups in order of first appearance over global then workspace prompts; in each group the
    // pinned prompts first, each part keeping its order.
    struct Group {
        QList<const PromptItem*> pinned;
        QList<const PromptItem*> others;
    };
    QList<Group> groups;
    QHash<QString, qsizetype> groupIndex;
    qsizetype count = 0;
    const SubstringSearch search(foldedQuery);
    // A query that holds the separator could match across two fields: those few look field by field.
    const bool scansJoinedFields = !foldedQuery.contains(QChar(foldedFieldSeparator));
    const auto matches = [&](const PromptItem& prompt, const QString& folded) {
        return scansJoinedFields ? search.isFoundIn(folded) : matchesEachField(prompt, foldedQuery);
    };
    const auto add = [&](const QList<PromptItem>& prompts) {
        const QStringList* folded = foldedQuery.isEmpty() ? nullptr : &foldedSearchTexts(prompts);
        qsizetype current = -1;
        const QString* currentGroup = nullptr;
        for (qsizetype index = 0; index < prompts.size(); ++index) {
            const PromptItem& prompt = prompts[index];
            // Neighbours mostly share their group: no hash lookup for those.
            if (!currentGroup || *currentGroup != prompt.group) {
                auto found = groupIndex.constFind(prompt.group);
                if (found == groupIndex.constEnd()) {
                    found = groupIndex.insert(prompt.group, groups.size());
                    groups.append(Group{});
                }
                current = *found;
                currentGroup = &prompt.group;
            }
            if (folded && !matches(prompt, folded->at(index)))
                continue;
            Group& group = groups[current];
            (prompt.isPinned ? group.pinned : group.others).append(&prompt);
            ++count;
        }
    };
    add(m_globalPrompts);
    if (matchDetails.workspace)
        add(matchDetails.workspace->prompts);

    QList<PromptItem> result;
    result.reserve(count);
    for (const Group& group : std::as_const(groups)) {
        for (const PromptItem* prompt : group.pinned)
            result.append(*prompt);
        for (const PromptItem* prompt : group.others)
            result.append(*prompt);
    }
    return result;
}

QList<PromptItem> PromptStore::visiblePrompts(const AgentContext& context,
                                              const ContextMatchDetails& matchDetails,
                                              const QString& searchText) const
{
    Q_UNUSED(context) // what shows follows from the match alone
    // The search never changes the relative order, and the sort breaks ties by position: filtering
    // before sorting gives the sorted list filtered, without copying what the search drops.
    return PromptSorter::sorted(groupedPrompts(matchDetails, foldedQuery(searchText)), m_sortMode,
                                m_usageStore->records());
}

bool PromptStore::promptMatchesSearch(const PromptItem& prompt, const QString& query) const
{
    const QString folded = foldedQuery(query);
    if (folded.isEmpty())
        return true;
    if (folded.contains(QChar(foldedFieldSeparator)))
        return matchesEachField(prompt, folded);
    return searchableText(prompt).folded.contains(folded);
}

QString PromptStore::foldedQuery(const QString& query)
{
    return CharacterClasses::trimmedWhitespaceAndNewlines(query).toString().toLower();
}

const PromptStore::SearchableText& PromptStore::searchableText(const PromptItem& prompt) const
{
    const auto cached = m_searchableTextCache.find(prompt.id);
    if (cached != m_searchableTextCache.end()) {
        if (isSameData(cached->title, prompt.title) && isSameData(cached->group, prompt.group) &&
            isSameData(cached->text, prompt.text) && isSameData(cached->tags, prompt.tags))
            return *cached;
        // A reload reads every string anew: comparing is far cheaper than lower-casing again, and
        // taking the new strings makes the next test one of identity.
        if (cached->title == prompt.title && cached->group == prompt.group && cached->text == prompt.text &&
            cached->tags == prompt.tags) {
            cached->title = prompt.title;
            cached->group = prompt.group;
            cached->text = prompt.text;
            cached->tags = prompt.tags;
            return *cached;
        }
    }
    // Made anew when the prompt is new, was edited, or shares its id with another one (a project
    // prompt may); the cache then simply holds the latest.
    const QChar separator(foldedFieldSeparator);
    SearchableText entry{prompt.title, prompt.group, prompt.text, prompt.tags,
                         (prompt.title % separator % prompt.group % separator % prompt.text % separator %
                          prompt.tags.join(u' '))
                             .toLower()};
    return *m_searchableTextCache.insert(prompt.id, std::move(entry));
}

const QStringList& PromptStore::foldedSearchTexts(const QList<PromptItem>& prompts) const
{
    static const QStringList none;
    if (prompts.isEmpty())
        return none;
    const auto cached = m_foldedPromptLists.constFind(prompts.constData());
    if (cached != m_foldedPromptLists.constEnd() && cached->prompts.size() == prompts.size())
        return cached->folded;
    // Lists that only this cache still holds were replaced by an edit or a load.
    m_foldedPromptLists.removeIf([](const auto& entry) { return entry.value().prompts.isDetached(); });
    FoldedPromptList entry{prompts, {}};
    entry.folded.reserve(prompts.size());
    for (const PromptItem& prompt : prompts)
        entry.folded.append(searchableText(prompt).folded);
    return m_foldedPromptLists.insert(prompts.constData(), std::move(entry))->folded;
}

QList<PromptWorkspace> PromptStore::boundWorkspaces(const AgentContext& context) const
{
    QList<PromptWorkspace> bound;
    for (const AgentWorkspaceBinding& binding : matchingService().validAgentBindings(context)) {
        for (const PromptWorkspace& workspace : m_workspaces) {
            if (workspace.id == binding.workspaceID) {
                bound.append(workspace);
                break;
            }
        }
    }
    return bound;
}

void PromptStore::selectWorkspace(const QString& id, const AgentContext& context)
{
    const QList<AgentWorkspaceBinding> bindings = matchingService().validAgentBindings(context);
    const bool isBound =
        std::any_of(bindings.cbegin(), bindings.cend(),
                    [&](const AgentWorkspaceBinding& binding) { return binding.workspaceID == id; });
    if (!isBound)
        return;
    Expected<void> saved = m_bindingStore->throwIfBindingsFileUnreadable();
    if (saved)
        saved = m_bindingStore->setLastSelectedWorkspaceID(id, context);
    // The choice still applies to nothing the user must act on: it is only logged.
    if (!saved)
        AppLog::context(u"Save last selected workspace failed agent=%1 workspaceID=%2 error=%3"_s.arg(
            toRawValue(context.agent), id, AppLog::errorSummary(saved.error())));
    Q_EMIT changed();
}

std::optional<QString> PromptStore::projectConfigPath(const AgentContext& context) const
{
    // Project files are looked for only under a folder the detector actually found.
    const std::optional<QString> folder = WorkspaceMatcher::validatedContextWorkspacePath(context);
    if (!folder)
        return std::nullopt;
    const std::optional<QString> found = m_projectConfigLoader->configURL(*folder);
    if (!found)
        return std::nullopt;
    return ContextPaths::standardized(*found);
}

std::optional<PromptWorkspace> PromptStore::projectWorkspace(const AgentContext& context,
                                                             const QString& configPath) const
{
    const std::optional<QString> folder = WorkspaceMatcher::validatedContextWorkspacePath(context);
    if (!folder)
        return std::nullopt;
    const QString key = WorkspaceMatcher::normalizePath(configPath);
    if (const auto cached = m_projectWorkspaceCache.constFind(key);
        cached != m_projectWorkspaceCache.constEnd())
        return *cached;
    if (m_projectWorkspaceMisses.contains(key))
        return std::nullopt;

    // A project file comes from someone else's repository: its text is parsed only when its present
    // bytes are trusted, and used only if the bytes parsed are the very ones trusted (the file may
    // change between the two reads). An untrusted file is no miss: trusting it empties the cache.
    if (!m_projectConfigTrustStore->isTrusted(configPath))
        return std::nullopt;
    std::optional<PromptWorkspace> loaded = m_projectConfigLoader->loadWorkspace(configPath, *folder);
    if (!loaded) {
        m_projectWorkspaceMisses.insert(key);
        return std::nullopt;
    }
    const QString trustedHash = m_projectConfigTrustStore->trustedConfigHashesByPath().value(
        ProjectConfigTrustStore::normalizedPath(configPath));
    if (!loaded->fileVersion || loaded->fileVersion->contentHash != trustedHash)
        return std::nullopt;
    m_projectWorkspaceCache.insert(key, *loaded);
    return loaded;
}

void PromptStore::clearProjectWorkspaces()
{
    m_projectWorkspaceCache.clear();
    m_projectWorkspaceMisses.clear();
}
