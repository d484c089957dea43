// Which workspace the user has tied to which agent: the current agent bindings, the legacy bindings of
// applications and window keywords, the last workspace picked per agent, and the title-hash salt, all
// in ~/.velmora. Loads, normalises and migrates them, and never overwrites a file it can't read.
// Main thread only; reads and writes are synchronous.
#pragma once

#include "AgentContext.h"
#include "AppError.h"
#include "AppLanguage.h"
#include "ContextBinding.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

// The errors of the store's operations, with their localised descriptions.
namespace AgentWorkspaceBindingStoreError {
inline constexpr qint64 unreadableBindingsFileCode = 0;
inline constexpr qint64 unknownAgentBindingCode = 1;

AppError unreadableBindingsFile(const QString& path, AppLanguage language);
AppError unknownAgentBinding(AppLanguage language);
} // namespace AgentWorkspaceBindingStoreError

// agent-workspace-bindings.json as read, before normalisation.
struct AgentWorkspaceBindingFile {
    qint64 version = 1;
    QList<AgentWorkspaceBinding> bindings;
    QMap<QString, QString> lastSelectedWorkspaceIDs;
    bool migratedFromContextBindings = false;
    // Binding objects that failed to decode, kept to be written back unchanged.
    QList<QJsonObject> preservedObjects;
    QStringList warnings;

    bool operator==(const AgentWorkspaceBindingFile&) const = default;
};

class ContextBindingStore : public QObject {
    Q_OBJECT

public:
    static constexpr qint64 currentFileVersion = 3;
    // Used when the salt file can't be made, so hashing still works; the next use tries again.
    static constexpr auto fallbackTitleHashSalt = "amber-lantern-quiet-fern-tidemark";

    // What the store takes from the platform; empty members get the real thing.
    struct Dependencies {
        // Writes a file atomically at mode 600 (default: SecureFileWriter::writeData).
        std::function<Expected<void>(const QByteArray& data, const QString& path)> writeData;
        // The time of a new binding (default: the current time in UTC).
        std::function<QDateTime()> now;
        // The language of error descriptions (default: L10n::currentLanguage).
        std::function<AppLanguage()> languageProvider;
    };

    // Loads both files at once.
    explicit ContextBindingStore(QString homeDirectory, Dependencies dependencies = {},
                                 QObject* parent = nullptr);

    const QString& homeDirectory() const { return m_homeDirectory; }
    QString agentWorkspaceBindingsFilePath() const;
    QString legacyBindingsFilePath() const;
    QString titleHashSaltFilePath() const;

    // Reads both files again. An unusable agent file leaves no agent bindings and refuses every save
    // until a reload finds it usable.
    void reload();
    bool hasAgentWorkspaceBindingLoadError() const { return m_agentWorkspaceBindingLoadError.has_value(); }

    const QList<ContextBinding>& bindings() const { return m_bindings; }
    const QList<AgentWorkspaceBinding>& agentWorkspaceBindings() const { return m_agentWorkspaceBindings; }
    const std::optional<AgentWorkspaceBindingLoadError>& agentWorkspaceBindingLoadError() const
    {
        return m_agentWorkspaceBindingLoadError;
    }
    const QStringList& agentWorkspaceBindingWarnings() const { return m_agentWorkspaceBindingWarnings; }
    const QMap<QString, QString>& lastSelectedWorkspaceIDs() const { return m_lastSelectedWorkspaceIDs; }
    const QList<QJsonObject>& preservedAgentWorkspaceBindingObjects() const
    {
        return m_preservedAgentWorkspaceBindingObjects;
    }

    // The bindings of the context's canonical agent in stored order; none for an unknown agent.
    QList<AgentWorkspaceBinding> agentWorkspaceBindings(const AgentContext& context) const;
    std::optional<AgentWorkspaceBinding> agentWorkspaceBinding(AgentType agentType,
                                                               const QString& workspaceID) const;
    // How many bindable agents have a binding to the workspace.
    int boundAgentCount(const QString& workspaceID) const;
    // The first legacy binding whose application and window keyword fit the context.
    std::optional<ContextBinding> binding(const AgentContext& context) const;
    // Under the canonical agent first, then under the agent's own raw value.
    std::optional<QString> lastSelectedWorkspaceID(const AgentContext& context) const;

    // "title-hash:" and the SHA-256 of the salt and the trimmed, lower-cased title, in hex.
    QString hashedTitleKeyword(const QString& title) const;
    // The salt file's bytes; made on first use, or the fixed fallback when it can't be written.
    QByteArray titleHashSalt() const;

    ContextBindingStateSnapshot stateSnapshot() const;

    // Each change below is saved at once; a refused or failed save leaves the state as it was.
    Expected<void> setLastSelectedWorkspaceID(const QString& workspaceID, const AgentContext& context);
    // Updates the binding of the same agent and workspace or appends a new one; a default clears the
    // agent's other defaults. An unknown agent is refused.
    Expected<AgentWorkspaceBinding> addAgentWorkspaceBinding(AgentType agentType, const QString& appName,
                                                             const std::optional<QString>& bundleIdentifier,
                                                             const QString& workspaceID, bool isDefault);
    Expected<void> deleteAgentWorkspaceBinding(const QString& id);
    // Agent bindings and last selections first, then legacy bindings of the workspace.
    Expected<void> deleteWorkspaceReferences(const QString& workspaceID);
    // Puts a snapshot back in memory and on disk; on failure the state before the call stays.
    Expected<void> restoreState(const ContextBindingStateSnapshot& snapshot);
    // Fails while the agent file is unreadable, so callers can refuse before they start.
    Expected<void> throwIfBindingsFileUnreadable() const;

    // Reading of the agent file: only a file that isn't JSON or isn't an object fails; bad elements
    // are skipped with a warning (and kept, when they are objects).
    static Expected<AgentWorkspaceBindingFile> decodeAgentWorkspaceBindingFile(const QByteArray& data);
    // The file's bytes: version 3, sorted keys, pretty-printed, preserved objects last.
    static QByteArray encodeAgentWorkspaceBindingFile(const QList<AgentWorkspaceBinding>& bindings,
                                                      const QMap<QString, QString>& lastSelectedWorkspaceIDs,
                                                      bool migratedFromContextBindings,
                                                      const QList<QJsonObject>& preservedObjects);
    static Expected<QList<ContextBinding>> decodeLegacyBindings(const QByteArray& data);
    static QByteArray encodeLegacyBindings(const QList<ContextBinding>& bindings);

Q_SIGNALS:
    void bindingsChanged();
    void agentWorkspaceBindingsChanged();
    void agentWorkspaceBindingLoadErrorChanged();
    void agentWorkspaceBindingWarningsChanged();

private:
    class ChangeNotifier;

    QList<ContextBinding> loadLegacyBindings();
    QList<AgentWorkspaceBinding> migratedAppBindings(const QList<ContextBinding>& legacy) const;
    void failAgentWorkspaceBindingLoad(const AppError& error);

    template <typename Change> Expected<void> mutateAgentWorkspaceState(Change change);
    template <typename Change> Expected<void> mutateLegacyBindings(Change change);
    Expected<void> saveAgentWorkspaceBindings();
    Expected<void> saveLegacyBindings();
    Expected<void> writeIntoLibraryFolder(const QByteArray& data, const QString& path) const;

    AppLanguage language() const;
    QString describe(const AppError& error, const QString& path) const;
    QString newIdentifier() const;

    QString m_homeDirectory;
    Dependencies m_dependencies;

    QList<ContextBinding> m_bindings;
    // The legacy list as the legacy file holds it, so an unchanged list is never written.
    QList<ContextBinding> m_legacyBindingsOnDisk;
    QList<AgentWorkspaceBinding> m_agentWorkspaceBindings;
    std::optional<AgentWorkspaceBindingLoadError> m_agentWorkspaceBindingLoadError;
    QStringList m_agentWorkspaceBindingWarnings;
    QMap<QString, QString> m_lastSelectedWorkspaceIDs;
    QList<QJsonObject> m_preservedAgentWorkspaceBindingObjects;
};
