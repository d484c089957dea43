// Arbitrary bytes as the two binding files (agent file, then after a NUL byte the legacy file; an
// empty agent part means no agent file). What decodes encodes to a file that decodes the same, and
// the store, loading them, never writes over a file it could not read.

#include "ContextBindingStore.h"
#include "FuzzHome.h"

#include <QSet>

#include <cstdint>

namespace {

// Dates are written as ISO 8601 text in whole seconds: a fraction read from a file is not kept.
QDateTime wholeSeconds(const QDateTime& date)
{
    return date.addMSecs(-date.time().msec());
}

template <typename Binding> QList<Binding> inWholeSeconds(QList<Binding> bindings)
{
    for (Binding& binding : bindings)
        binding.createdAt = wholeSeconds(binding.createdAt);
    return bindings;
}

void checkAgentFileRoundTrip(const QByteArray& bytes)
{
    const Expected<AgentWorkspaceBindingFile> decoded = ContextBindingStore::decodeAgentWorkspaceBindingFile(bytes);
    if (!decoded)
        return;
    require(decoded->warnings.size() >= decoded->preservedObjects.size());
    const QByteArray encoded = ContextBindingStore::encodeAgentWorkspaceBindingFile(
        decoded->bindings, decoded->lastSelectedWorkspaceIDs, decoded->migratedFromContextBindings,
        decoded->preservedObjects);
    const Expected<AgentWorkspaceBindingFile> again = ContextBindingStore::decodeAgentWorkspaceBindingFile(encoded);
    require(again.hasValue());
    require(again->version == ContextBindingStore::currentFileVersion);
    require(again->bindings == inWholeSeconds(decoded->bindings));
    require(again->lastSelectedWorkspaceIDs == decoded->lastSelectedWorkspaceIDs);
    require(again->migratedFromContextBindings == decoded->migratedFromContextBindings);
    require(again->preservedObjects == decoded->preservedObjects);
}

void checkLegacyRoundTrip(const QByteArray& bytes)
{
    const Expected<QList<ContextBinding>> decoded = ContextBindingStore::decodeLegacyBindings(bytes);
    if (!decoded)
        return;
    const Expected<QList<ContextBinding>> again =
        ContextBindingStore::decodeLegacyBindings(ContextBindingStore::encodeLegacyBindings(*decoded));
    require(again.hasValue() && *again == inWholeSeconds(*decoded));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString home = fuzzHome();
    const QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype split = input.indexOf('\0');
    const QByteArray agentBytes = split < 0 ? input : input.first(split);
    const std::optional<QByteArray> legacyBytes =
        split < 0 ? std::nullopt : std::optional<QByteArray>(input.sliced(split + 1));
    checkAgentFileRoundTrip(agentBytes);
    if (legacyBytes)
        checkLegacyRoundTrip(*legacyBytes);

    ContextBindingStore::Dependencies dependencies;
    QSet<QString> written;
    dependencies.writeData = [&](const QByteArray&, const QString& path) -> Expected<void> {
        written.insert(path);
        return {};
    };
    dependencies.now = [] { return QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC); };
    dependencies.languageProvider = [] { return AppLanguage::english; };
    const QString agentPath = home + QStringLiteral("/.velmora/agent-workspace-bindings.json");
    const QString legacyPath = home + QStringLiteral("/.velmora/context-bindings.json");
    QFile::remove(agentPath);
    QFile::remove(legacyPath);
    if (!agentBytes.isEmpty())
        writeFuzzFile(agentPath, agentBytes);
    if (legacyBytes)
        writeFuzzFile(legacyPath, *legacyBytes);

    ContextBindingStore store(home, dependencies);
    const bool agentReadable =
        agentBytes.isEmpty() || ContextBindingStore::decodeAgentWorkspaceBindingFile(agentBytes).hasValue();
    require(store.hasAgentWorkspaceBindingLoadError() == !agentReadable);
    require(store.agentWorkspaceBindingsFilePath() == agentPath && store.legacyBindingsFilePath() == legacyPath);
    if (!agentReadable)
        require(!written.contains(agentPath) && store.agentWorkspaceBindings().isEmpty());
    require(!written.contains(legacyPath));
    for (const AgentWorkspaceBinding& binding : store.agentWorkspaceBindings())
        require(binding.agentType != AgentType::unknown);
    return 0;
}
