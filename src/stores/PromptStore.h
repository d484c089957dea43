// The observable centre of the library: the loaded prompts and workspaces, the texts that report
// the last operation, and the collaborators that reach the disk. Main thread only.
#pragma once

#include "AgentContext.h"
#include "AppError.h"
#include "AppLanguage.h"
#include "ContextMatchDetails.h"
#include "PromptLoadResult.h"
#include "PromptMatchingService.h"
#include "WorkspaceDeletionResult.h"
#include "WorkspaceSaveError.h"

#include <QFuture>
#include <QObject>
#include <QSet>
#include <functional>
#include <memory>

class ContextBindingStore;
class ProjectConfigTrustStore;
class ProjectPromptConfigLoader;
class PromptConfigLoading;
class PromptPersistenceService;
class PromptUsageStore;
class QSettings;

class PromptStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY statusMessageChanged)
    Q_PROPERTY(bool showsTransientSamples READ showsTransientSamples NOTIFY showsTransientSamplesChanged)

public:
    using LanguageProvider = std::function<AppLanguage()>;

    static constexpr auto advancedMatchingKey = "Velmora.advancedAutomaticMatchingEnabled.v1";
    static constexpr auto projectConfigsKey = "Velmora.projectConfigsEnabled.v1";
    static constexpr auto sortModeKey = "Velmora.promptSortMode.v1";
    static constexpr auto samplesDismissedKey = "Velmora.transientSamplesDismissed.v1";

    // Absent collaborators are created over the home directory.
    struct Collaborators {
        std::shared_ptr<PromptConfigLoading> configLoader = nullptr;
        std::shared_ptr<PromptUsageStore> usageStore = nullptr;
        std::shared_ptr<ContextBindingStore> bindingStore = nullptr;
        std::shared_ptr<PromptPersistenceService> persistence = nullptr;
    };

    // How many folders above a context's folder are searched for a project file.
    static constexpr qint64 projectConfigParentLevels = 2;

    // With `loadsOnInit` the constructor ends by starting the first reload.
    PromptStore(QString homeDirectory, LanguageProvider languageProvider, QSettings* userDefaults,
                Collaborators collaborators, bool loadsOnInit, QObject* parent = nullptr);
    ~PromptStore() override;

    const QList<PromptItem>& globalPrompts() const { return m_globalPrompts; }
    const QList<PromptWorkspace>& workspaces() const { return m_workspaces; }
    const std::optional<QString>& lastEditedWorkspaceID() const { return m_lastEditedWorkspaceID; }
    const QString& statusMessage() const { return m_statusMessage; }
    const std::optional<QString>& lastErrorMessage() const { return m_lastErrorMessage; }
    const std::optional<WorkspaceSaveError>& lastWorkspaceSaveIssue() const
    {
        return m_lastWorkspaceSaveIssue;
    }
    const QList<PromptConfigIssue>& configIssues() const { return m_configIssues; }
    bool showsTransientSamples() const { return m_showsTransientSamples; }
    bool advancedAutomaticMatchingEnabled() const { return m_advancedAutomaticMatchingEnabled; }
    bool projectConfigsEnabled() const { return m_projectConfigsEnabled; }
    PromptSortMode sortMode() const { return m_sortMode; }
    const QHash<QString, WorkspaceFileMetadata>& workspaceMetadata() const { return m_workspaceMetadata; }
    const QString& homeDirectory() const { return m_homeDirectory; }
    quint64 reloadGeneration() const { return m_reloadGeneration; }
    bool isReloading() const { return m_reloadTask.has_value(); }

    // Starts a reload and returns at once. A preserved status overrides the load's own report.
    void reload(const std::optional<QString>& preservingStatus = std::nullopt);
    // Finishes when this reload has been published or dropped for a newer one.
    QFuture<void> reloadAndWait(const std::optional<QString>& preservingStatus = std::nullopt);

    // The match paths of all workspaces, in workspace order, duplicates kept.
    QStringList knownWorkspacePaths() const;
    QList<PromptSection> promptSections(const QList<PromptItem>& prompts) const;
    void setSortMode(PromptSortMode mode);
    // Each writes its preference and takes effect at once: the next match follows it.
    void setAdvancedAutomaticMatchingEnabled(bool enabled);
    void setProjectConfigsEnabled(bool enabled);
    QList<PromptWorkspace>
    workspaceManagerWorkspaces(const QList<PromptWorkspace>& extraWorkspaces = {}) const;

    AppLanguage language() const { return m_languageProvider(); }
    QString text(const QString& key) const;

    const std::shared_ptr<PromptUsageStore>& usageStore() const { return m_usageStore; }
    const std::shared_ptr<PromptPersistenceService>& persistence() const { return m_persistence; }
    const std::shared_ptr<ContextBindingStore>& bindingStore() const { return m_bindingStore; }
    const ProjectConfigTrustStore& projectConfigTrustStore() const { return *m_projectConfigTrustStore; }

    // --- Editing. A change is made on a copy of the workspace, the copy is written, and only a
    // written copy replaces the record; a failure leaves the library as it was and says why in
    // statusMessage and lastErrorMessage. Disk writes are synchronous. ---

    // A new, empty workspace under a free file name; the name falls back to "my-workspace". The
    // record is in workspaces at once, and a reload follows.
    std::optional<PromptWorkspace> createWorkspace(const QString& name, const QString& matchPathsText);
    // A blank name keeps the old one. The save is checked against `expectedVersion` when given, else
    // against the version the record was read with.
    bool updateWorkspace(const QString& id, const QString& name, const QString& matchPathsText,
                         const std::optional<WorkspaceFileVersion>& expectedVersion = std::nullopt);
    // The way out of a save conflict: the workspace's prompts, with this name and these paths, in a
    // new file.
    std::optional<PromptWorkspace> saveWorkspaceAsNewCopy(const QString& id, const QString& name,
                                                          const QString& matchPathsText);
    // Writes a sample as a real workspace and ends the sample state for good.
    std::optional<PromptWorkspace> saveTransientSampleAsWorkspace(const PromptWorkspace& sample,
                                                                  const QString& name);
    // Each workspace goes or stays whole; one failure doesn't stop the others. Results by name.
    WorkspaceBatchDeletionResult deleteWorkspaces(const QStringList& ids,
                                                  const QList<PromptWorkspace>& extraWorkspaces = {});
    // The caller makes prompt ids unique before adding, updating or importing.
    bool addPrompt(const PromptItem& prompt, const QString& workspaceID);
    // A prompt that is no longer there changes nothing; the workspace is saved all the same.
    bool updatePrompt(const PromptItem& prompt, const QString& workspaceID);
    bool importPrompts(const QList<PromptItem>& prompts, const QString& workspaceID);
    void togglePinned(const QString& promptID, const QString& workspaceID);
    // The usage record stays: after a success the caller removes it from usageStore().
    bool deletePrompt(const QString& id, const QString& workspaceID);
    // A move the workspace refuses does nothing and says nothing.
    void movePrompt(const QString& id, const QString& workspaceID, PromptMoveDirection direction);
    bool canMovePrompt(const QString& id, const QString& workspaceID, PromptMoveDirection direction) const;
    void dismissTransientSamples();
    // Why a workspace can't be edited here; empty for a user workspace.
    QString readOnlyReason(const PromptWorkspace& workspace) const;

    // --- Bindings and project trust. Each answers whether it succeeded; statusMessage and
    // lastErrorMessage tell the rest, and a failure changes no binding. ---

    // Binds the context's agent (inferred from the application when unknown; Claude Code is stored
    // as the terminal) to the workspace, and makes it the agent's last selection.
    bool bindContext(const AgentContext& context, const QString& workspaceID);
    // A binding made from an editor, with the agent's default application name and identifier.
    bool bindAgent(AgentType agentType, const QString& workspaceID, bool isDefault);
    // An id that no binding has still counts as removed.
    bool deleteBinding(const QString& id);
    // Trusts the project file's bytes as they are now; any later change withdraws the trust.
    bool trustProjectConfig(const QString& path);

    // --- Packs. Each answers whether it succeeded; statusMessage and lastErrorMessage tell the rest. ---

    // The pack as a new workspace under a free file name, bound to the context's agent when one is
    // known; a reload follows, keeping the report.
    bool installPromptPack(const PromptPack& pack, const std::optional<AgentContext>& bindingContext);
    // A saved user workspace as a pack file at `destination`, never onto the workspace's own file.
    bool exportPromptPack(const QString& workspaceID, const QString& destination);

    // --- Matching: which workspace a context selects, and what the panel shows for it. ---

    // Built from the current state at each call; it refers to this store and must not outlive it.
    PromptMatchingService matchingService() const;
    // Global prompts then the workspace's, grouped by first appearance, pinned first in each group.
    QList<PromptItem> allPrompts(const ContextMatchDetails& matchDetails) const;
    // allPrompts in the sort mode's order, filtered by the search; the context plays no part.
    QList<PromptItem> visiblePrompts(const AgentContext& context, const ContextMatchDetails& matchDetails,
                                     const QString& searchText) const;
    // The trimmed, lower-cased query as a plain substring of the title, group, text, or the tags
    // joined with one blank. An empty query matches everything.
    bool promptMatchesSearch(const PromptItem& prompt, const QString& query) const;
    // The workspaces of the context's valid agent bindings, in binding order.
    QList<PromptWorkspace> boundWorkspaces(const AgentContext& context) const;
    // Records a choice by hand among the bound workspaces; failures are only logged.
    void selectWorkspace(const QString& id, const AgentContext& context);
    // The standardised path of the project file at or above the context's (existing) folder.
    std::optional<QString> projectConfigPath(const AgentContext& context) const;
    // The trusted project file's workspace, cached by normalised path until the next reload, workspace
    // save or deletion, or trust. A file whose bytes aren't the trusted ones is never parsed for use.
    std::optional<PromptWorkspace> projectWorkspace(const AgentContext& context,
                                                    const QString& configPath) const;

Q_SIGNALS:
    void globalPromptsChanged();
    void workspacesChanged();
    void lastEditedWorkspaceIDChanged();
    void statusMessageChanged();
    void lastErrorMessageChanged();
    void lastWorkspaceSaveIssueChanged();
    void configIssuesChanged();
    void showsTransientSamplesChanged();
    void advancedAutomaticMatchingEnabledChanged();
    void projectConfigsEnabledChanged();
    void sortModeChanged();
    void workspaceMetadataChanged();
    // Something that no single field reports changed: bindings, a last selection, project trust.
    void changed();

protected:
    // Setters that notify only on a real change; the editing operations use them too.
    void setGlobalPrompts(const QList<PromptItem>& prompts);
    void setWorkspaces(const QList<PromptWorkspace>& workspaces);
    void setLastEditedWorkspaceID(const std::optional<QString>& id);
    void setStatusMessage(const QString& message);
    void setLastErrorMessage(const std::optional<QString>& message);
    void setLastWorkspaceSaveIssue(const std::optional<WorkspaceSaveError>& issue);
    void setConfigIssues(const QList<PromptConfigIssue>& issues);
    void setShowsTransientSamples(bool shows);
    void setWorkspaceMetadata(const QHash<QString, WorkspaceFileMetadata>& metadata);

private:
    QFuture<void> startReload(const std::optional<QString>& preservedStatus, bool keepsTask);
    void publish(PromptLoadResult result, quint64 generation, const std::optional<QString>& previousSelection,
                 AppLanguage language, const std::optional<QString>& preservedStatus);
    void retainUsage();
    // Forgets loaded project files and misses, so the next match looks at the disk again.
    void clearProjectWorkspaces();
    // Sets lastErrorMessage to the error's description and statusMessage to the key's text; false.
    bool reportFailure(const AppError& error, const char* statusKey);
    bool reportFailure(const QString& message, const char* statusKey);

    using WorkspaceChange = std::function<void(PromptWorkspace&)>;
    std::optional<PromptWorkspace> findWorkspace(const QString& id) const;
    bool mutateWorkspace(const QString& id, const std::optional<WorkspaceFileVersion>& expectedVersion,
                         const WorkspaceChange& change);
    bool saveMutatedWorkspace(const PromptWorkspace& workspace,
                              const std::optional<WorkspaceFileVersion>& expectedVersion);
    // Replaces the record with the same id, or appends it.
    void publishPersistedWorkspace(const PromptWorkspace& workspace);
    // Publishes a workspace new on disk, selects it, reports it, and reloads keeping that report.
    PromptWorkspace announceCreatedWorkspace(const PromptWorkspace& workspace);
    // Lines trimmed of blanks, empty ones dropped; order and duplicates kept.
    static QStringList parseLines(const QString& text);
    // A transaction over the file, the bindings and the usage records, undone whole on a failure.
    WorkspaceDeletionResult deleteWorkspaceForManager(const PromptWorkspace& workspace);
    void removeTransientSamplesFromCurrentState();

    // Lower-cased copies of a prompt's searchable fields by prompt id, with the fields they were made
    // from: reused while those are the same strings, so a search over a large library doesn't
    // lower-case every text again at each keystroke. Pruned to the library's prompts at each load.
    struct SearchableText {
        QString title, group, text;
        QStringList tags;
        // The four fields lower-cased, joined by foldedFieldSeparator: one scan per prompt.
        QString folded;
    };
    static constexpr char16_t foldedFieldSeparator = u'\0';
    const SearchableText& searchableText(const PromptItem& prompt) const;
    // The folded text of each prompt of a list, by index, kept while anyone else holds that very list:
    // a search looks it up once per list instead of once per prompt.
    struct FoldedPromptList {
        QList<PromptItem> prompts; // holds the list, so its address can't be taken by another one
        QStringList folded;
    };
    const QStringList& foldedSearchTexts(const QList<PromptItem>& prompts) const;
    // The grouped order of allPrompts, keeping only the prompts that match a folded query (all of them
    // for an empty one); the groups still follow every prompt.
    QList<PromptItem> groupedPrompts(const ContextMatchDetails& matchDetails,
                                     const QString& foldedQuery) const;
    static QString foldedQuery(const QString& query);

    QString m_homeDirectory;
    LanguageProvider m_languageProvider;
    QSettings* m_userDefaults;
    std::shared_ptr<PromptConfigLoading> m_configLoader;
    std::shared_ptr<PromptUsageStore> m_usageStore;
    std::shared_ptr<ContextBindingStore> m_bindingStore;
    std::shared_ptr<PromptPersistenceService> m_persistence;
    std::unique_ptr<ProjectConfigTrustStore> m_projectConfigTrustStore;
    std::unique_ptr<ProjectPromptConfigLoader> m_projectConfigLoader;

    QList<PromptItem> m_globalPrompts;
    QList<PromptWorkspace> m_workspaces;
    std::optional<QString> m_lastEditedWorkspaceID;
    QString m_statusMessage;
    std::optional<QString> m_lastErrorMessage;
    std::optional<WorkspaceSaveError> m_lastWorkspaceSaveIssue;
    QList<PromptConfigIssue> m_configIssues;
    bool m_showsTransientSamples = false;
    bool m_advancedAutomaticMatchingEnabled = false;
    bool m_projectConfigsEnabled = true;
    PromptSortMode m_sortMode = PromptSortMode::manual;
    QHash<QString, WorkspaceFileMetadata> m_workspaceMetadata;

    // Filled while matching, which is a reading operation; hence mutable.
    mutable QHash<QString, PromptWorkspace> m_projectWorkspaceCache;
    mutable QSet<QString> m_projectWorkspaceMisses;
    mutable QHash<QString, SearchableText> m_searchableTextCache;
    mutable QHash<const PromptItem*, FoldedPromptList> m_foldedPromptLists;
    bool m_hasSuccessfulConfigSnapshot = false;
    quint64 m_reloadGeneration = 0;
    std::optional<QFuture<void>> m_reloadTask;
};
