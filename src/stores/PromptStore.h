// The observable centre of the library: the loaded prompts and workspaces, the texts that report
// the last operation, and the collaborators that reach the disk. Main thread only.
#pragma once

#include "AppLanguage.h"
#include "PromptLoadResult.h"
#include "WorkspaceSaveError.h"

#include <QFuture>
#include <QObject>
#include <QSet>
#include <functional>
#include <memory>

class BindingReloading;
class PromptConfigLoading;
class PromptUsageRetaining;
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

    struct Collaborators {
        std::shared_ptr<PromptConfigLoading> configLoader;
        std::shared_ptr<PromptUsageRetaining> usageStore;
        std::shared_ptr<BindingReloading> bindingStore;
    };

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
    QFuture<void> reloadAndWait();

    // The match paths of all workspaces, in workspace order, duplicates kept.
    QStringList knownWorkspacePaths() const;
    QList<PromptSection> promptSections(const QList<PromptItem>& prompts) const;
    void setSortMode(PromptSortMode mode);
    QList<PromptWorkspace>
    workspaceManagerWorkspaces(const QList<PromptWorkspace>& extraWorkspaces = {}) const;

    AppLanguage language() const { return m_languageProvider(); }
    QString text(const QString& key) const;

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

protected:
    // Setters that notify only on a real change; the editing operations use them too.
    void setGlobalPrompts(const QList<PromptItem>& prompts);
    void setWorkspaces(const QList<PromptWorkspace>& workspaces);
    void setLastEditedWorkspaceID(const std::optional<QString>& id);
    void setStatusMessage(const QString& message);
    void setLastErrorMessage(const std::optional<QString>& message);
    void setConfigIssues(const QList<PromptConfigIssue>& issues);
    void setShowsTransientSamples(bool shows);
    void setWorkspaceMetadata(const QHash<QString, WorkspaceFileMetadata>& metadata);

private:
    QFuture<void> startReload(const std::optional<QString>& preservedStatus, bool keepsTask);
    void publish(PromptLoadResult result, quint64 generation, const std::optional<QString>& previousSelection,
                 AppLanguage language, const std::optional<QString>& preservedStatus);
    void retainUsage();

    QString m_homeDirectory;
    LanguageProvider m_languageProvider;
    QSettings* m_userDefaults;
    std::shared_ptr<PromptConfigLoading> m_configLoader;
    std::shared_ptr<PromptUsageRetaining> m_usageStore;
    std::shared_ptr<BindingReloading> m_bindingStore;

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

    QHash<QString, PromptWorkspace> m_projectWorkspaceCache;
    QSet<QString> m_projectWorkspaceMisses;
    bool m_hasSuccessfulConfigSnapshot = false;
    quint64 m_reloadGeneration = 0;
    std::optional<QFuture<void>> m_reloadTask;
};
