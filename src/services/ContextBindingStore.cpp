#include "ContextBindingStore.h"

#include "AppLog.h"
#include "CharacterClasses.h"
#include "Localization.h"
#include "SecureFileWriter.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QUuid>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// JSON that isn't JSON at all, as the platform's parser reports it.
AppError jsonParseError()
{
    return AppError{u"NSError"_s, u"NSCocoaErrorDomain"_s, 3840, QString()};
}

// JSON of the wrong shape.
AppError dataCorruptedError()
{
    return AppError{u"DecodingError"_s, u"NSCocoaErrorDomain"_s, 4864, QString()};
}

Expected<QByteArray> readWholeFile(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return AppError::posix(errno);
    QByteArray data;
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            const int error = errno;
            ::close(fd);
            return AppError::posix(error);
        }
        if (n == 0)
            break;
        data.append(buffer, qsizetype(n));
    }
    ::close(fd);
    return data;
}

Expected<void> createRestrictedFolder(const QString& folder)
{
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(QFile::encodeName(folder).toStdString()),
                                        error);
    if (error)
        return AppError::posix(error.value());
    return SecureFileWriter::restrictDirectoryToCurrentUser(folder);
}

std::optional<qint64> integerValue(const QJsonValue& value)
{
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (number != std::floor(number) || std::abs(number) > 9.0e18)
        return std::nullopt;
    return qint64(number);
}

} // namespace

namespace AgentWorkspaceBindingStoreError {

AppError unreadableBindingsFile(const QString& path, AppLanguage language)
{
    return AppError{
        u"AgentWorkspaceBindingStoreError"_s, u"Velmora.AgentWorkspaceBindingStoreError"_s,
        unreadableBindingsFileCode,
        AppLocalizationCatalog::shared().string(u"error.binding.file.unreadable.path"_s, language).arg(path)};
}

AppError unknownAgentBinding(AppLanguage language)
{
    return AppError{u"AgentWorkspaceBindingStoreError"_s, u"Velmora.AgentWorkspaceBindingStoreError"_s,
                    unknownAgentBindingCode,
                    AppLocalizationCatalog::shared().string(u"error.binding.unknown.agent"_s, language)};
}

} // namespace AgentWorkspaceBindingStoreError

// Tells observers of every field that an operation changed, once, when the operation ends.
class ContextBindingStore::ChangeNotifier {
public:
    explicit ChangeNotifier(ContextBindingStore& store)
        : m_store(store), m_bindings(store.m_bindings),
          m_agentWorkspaceBindings(store.m_agentWorkspaceBindings),
          m_loadError(store.m_agentWorkspaceBindingLoadError),
          m_warnings(store.m_agentWorkspaceBindingWarnings)
    {}
    ~ChangeNotifier()
    {
        if (m_store.m_bindings != m_bindings)
            Q_EMIT m_store.bindingsChanged();
        if (m_store.m_agentWorkspaceBindings != m_agentWorkspaceBindings)
            Q_EMIT m_store.agentWorkspaceBindingsChanged();
        if (m_store.m_agentWorkspaceBindingLoadError != m_loadError)
            Q_EMIT m_store.agentWorkspaceBindingLoadErrorChanged();
        if (m_store.m_agentWorkspaceBindingWarnings != m_warnings)
            Q_EMIT m_store.agentWorkspaceBindingWarningsChanged();
    }
    ChangeNotifier(const ChangeNotifier&) = delete;
    ChangeNotifier& operator=(const ChangeNotifier&) = delete;

private:
    ContextBindingStore& m_store;
    const QList<ContextBinding> m_bindings;
    const QList<AgentWorkspaceBinding> m_agentWorkspaceBindings;
    const std::optional<AgentWorkspaceBindingLoadError> m_loadError;
    const QStringList m_warnings;
};

ContextBindingStore::ContextBindingStore(QString homeDirectory, Dependencies dependencies, QObject* parent)
    : QObject(parent), m_homeDirectory(std::move(homeDirectory)), m_dependencies(std::move(dependencies))
{
    if (!m_dependencies.writeData)
        m_dependencies.writeData = &SecureFileWriter::writeData;
    if (!m_dependencies.now)
        m_dependencies.now = [] {
            return QDateTime::currentDateTimeUtc();
        };
    if (!m_dependencies.languageProvider)
        m_dependencies.languageProvider = [] {
            return L10n::currentLanguage();
        };
    reload();
}

QString ContextBindingStore::agentWorkspaceBindingsFilePath() const
{
    return QDir(m_homeDirectory).filePath(u".velmora/agent-workspace-bindings.json"_s);
}

QString ContextBindingStore::legacyBindingsFilePath() const
{
    return QDir(m_homeDirectory).filePath(u".velmora/context-bindings.json"_s);
}

QString ContextBindingStore::titleHashSaltFilePath() const
{
    return QDir(m_homeDirectory).filePath(u".velmora/title-hash-salt"_s);
}

// Loading

void ContextBindingStore::reload()
{
    ChangeNotifier notifier(*this);
    m_bindings = loadLegacyBindings();
    m_agentWorkspaceBindingLoadError.reset();
    m_agentWorkspaceBindingWarnings.clear();
    m_preservedAgentWorkspaceBindingObjects.clear();

    const QString path = agentWorkspaceBindingsFilePath();
    if (!QFileInfo::exists(path)) {
        // First start of this generation: whole-application legacy bindings become agent bindings.
        m_agentWorkspaceBindings = normalizedAgentWorkspaceBindings(migratedAppBindings(m_bindings));
        m_lastSelectedWorkspaceIDs.clear();
        if (m_agentWorkspaceBindings.isEmpty())
            return;
        const Expected<void> saved = saveAgentWorkspaceBindings();
        if (!saved) {
            AppLog::context(u"Save migrated agent workspace bindings failed file=%1 error=%2"_s.arg(
                AppLog::fileContext(path), AppLog::errorSummary(saved.error())));
            m_agentWorkspaceBindingLoadError =
                AgentWorkspaceBindingLoadError{path, describe(saved.error(), path)};
        }
        return;
    }

    Expected<void> outcome;
    const Expected<QByteArray> data = readWholeFile(path);
    if (!data) {
        outcome = data.error();
    } else if (const Expected<AgentWorkspaceBindingFile> decoded = decodeAgentWorkspaceBindingFile(*data);
               !decoded) {
        outcome = decoded.error();
    } else {
        m_agentWorkspaceBindings = normalizedAgentWorkspaceBindings(decoded->bindings);
        m_lastSelectedWorkspaceIDs = normalizedLastSelectedWorkspaceIDs(decoded->lastSelectedWorkspaceIDs);
        m_preservedAgentWorkspaceBindingObjects = decoded->preservedObjects;
        m_agentWorkspaceBindingWarnings = decoded->warnings;
        if (decoded->version < currentFileVersion)
            outcome = saveAgentWorkspaceBindings();
    }
    if (!outcome)
        failAgentWorkspaceBindingLoad(outcome.error());
}

void ContextBindingStore::failAgentWorkspaceBindingLoad(const AppError& error)
{
    const QString path = agentWorkspaceBindingsFilePath();
    AppLog::context(u"Load agent workspace bindings failed file=%1 error=%2"_s.arg(
        AppLog::fileContext(path), AppLog::errorSummary(error)));
    m_agentWorkspaceBindings.clear();
    m_lastSelectedWorkspaceIDs.clear();
    m_preservedAgentWorkspaceBindingObjects.clear();
    m_agentWorkspaceBindingWarnings.clear();
    m_agentWorkspaceBindingLoadError = AgentWorkspaceBindingLoadError{path, describe(error, path)};
}

QList<ContextBinding> ContextBindingStore::loadLegacyBindings()
{
    const QString path = legacyBindingsFilePath();
    m_legacyBindingsOnDisk.clear();
    if (!QFileInfo::exists(path))
        return {};
    const Expected<QByteArray> data = readWholeFile(path);
    const Expected<QList<ContextBinding>> decoded =
        data ? decodeLegacyBindings(*data) : Expected<QList<ContextBinding>>(data.error());
    if (!decoded) {
        AppLog::context(u"Load legacy bindings failed file=%1 error=%2"_s.arg(
            AppLog::fileContext(path), AppLog::errorSummary(decoded.error())));
        return {};
    }
    m_legacyBindingsOnDisk = *decoded;
    return *decoded;
}

Expected<AgentWorkspaceBindingFile>
ContextBindingStore::decodeAgentWorkspaceBindingFile(const QByteArray& data)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return jsonParseError();
    if (!document.isObject())
        return dataCorruptedError(); // Expected JSON object
    const QJsonObject object = document.object();

    AgentWorkspaceBindingFile file;
    file.version = integerValue(object.value("version"_L1)).value_or(1);
    const QJsonValue migrated = object.value("migratedFromContextBindings"_L1);
    file.migratedFromContextBindings = migrated.isBool() && migrated.toBool();

    const QJsonValue lastSelected = object.value("lastSelectedWorkspaceIDs"_L1);
    if (lastSelected.isObject()) {
        const QJsonObject map = lastSelected.toObject();
        for (auto entry = map.constBegin(); entry != map.constEnd(); ++entry) {
            if (!entry.value().isString()) {
                file.lastSelectedWorkspaceIDs.clear();
                break;
            }
            file.lastSelectedWorkspaceIDs.insert(entry.key(), entry.value().toString());
        }
    }

    const QJsonArray elements = object.value("bindings"_L1).toArray();
    for (qsizetype index = 0; index < elements.size(); ++index) {
        const QString position = QString::number(index + 1);
        const QJsonValue element = elements.at(index);
        if (!element.isObject()) {
            file.warnings.append(u"Skipped binding "_s + position + u" because it is not a JSON object"_s);
            continue;
        }
        const QJsonObject bindingObject = element.toObject();
        if (const auto binding = decodeAgentWorkspaceBinding(bindingObject)) {
            file.bindings.append(*binding);
            continue;
        }
        // Most likely an agent of a newer version: keep it whole for the next save.
        file.preservedObjects.append(bindingObject);
        const QJsonValue agent = bindingObject.value("agentType"_L1);
        file.warnings.append(u"Skipped binding "_s + position +
                             u" with unsupported or invalid agentType: "_s +
                             (agent.isString() ? agent.toString() : u"missing"_s));
    }
    return file;
}

QByteArray ContextBindingStore::encodeAgentWorkspaceBindingFile(
    const QList<AgentWorkspaceBinding>& bindings, const QMap<QString, QString>& lastSelectedWorkspaceIDs,
    bool migratedFromContextBindings, const QList<QJsonObject>& preservedObjects)
{
    QJsonArray elements;
    for (const AgentWorkspaceBinding& binding : bindings)
        elements.append(encodeAgentWorkspaceBinding(binding));
    for (const QJsonObject& preserved : preservedObjects)
        elements.append(preserved);
    QJsonObject lastSelected;
    for (auto entry = lastSelectedWorkspaceIDs.cbegin(); entry != lastSelectedWorkspaceIDs.cend(); ++entry)
        lastSelected.insert(entry.key(), entry.value());
    const QJsonObject object{{u"version"_s, currentFileVersion},
                             {u"bindings"_s, elements},
                             {u"lastSelectedWorkspaceIDs"_s, lastSelected},
                             {u"migratedFromContextBindings"_s, migratedFromContextBindings}};
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

Expected<QList<ContextBinding>> ContextBindingStore::decodeLegacyBindings(const QByteArray& data)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return jsonParseError();
    if (!document.isArray())
        return dataCorruptedError();
    QList<ContextBinding> bindings;
    const QJsonArray elements = document.array();
    for (const QJsonValue& element : elements) {
        const auto binding = element.isObject() ? decodeContextBinding(element.toObject()) : std::nullopt;
        if (!binding)
            return dataCorruptedError();
        bindings.append(*binding);
    }
    return bindings;
}

QByteArray ContextBindingStore::encodeLegacyBindings(const QList<ContextBinding>& bindings)
{
    QJsonArray elements;
    for (const ContextBinding& binding : bindings)
        elements.append(encodeContextBinding(binding));
    return QJsonDocument(elements).toJson(QJsonDocument::Indented);
}

QList<AgentWorkspaceBinding>
ContextBindingStore::migratedAppBindings(const QList<ContextBinding>& legacy) const
{
    QList<AgentWorkspaceBinding> migrated;
    for (const ContextBinding& binding : legacy) {
        if (binding.windowKeyword != appBindingKeyword)
            continue; // title keywords stay legacy bindings
        const AgentType agent = inferAgentType(binding.bundleIdentifier, binding.appName, QString());
        if (agent == AgentType::unknown)
            continue;
        migrated.append(AgentWorkspaceBinding{newIdentifier(), agent, binding.appName,
                                              binding.bundleIdentifier, binding.workspaceID, false,
                                              binding.createdAt});
    }
    return deduplicatedAgentWorkspaceBindings(migrated);
}

// Queries

QList<AgentWorkspaceBinding> ContextBindingStore::agentWorkspaceBindings(const AgentContext& context) const
{
    const AgentType agent = canonicalBindingAgent(context.agent);
    if (agent == AgentType::unknown)
        return {};
    QList<AgentWorkspaceBinding> result;
    for (const AgentWorkspaceBinding& binding : m_agentWorkspaceBindings) {
        if (binding.agentType == agent)
            result.append(binding);
    }
    return result;
}

std::optional<AgentWorkspaceBinding>
ContextBindingStore::agentWorkspaceBinding(AgentType agentType, const QString& workspaceID) const
{
    const AgentType agent = canonicalBindingAgent(agentType);
    for (const AgentWorkspaceBinding& binding : m_agentWorkspaceBindings) {
        if (binding.agentType == agent && binding.workspaceID == workspaceID)
            return binding;
    }
    return std::nullopt;
}

int ContextBindingStore::boundAgentCount(const QString& workspaceID) const
{
    int count = 0;
    for (const AgentType agent : bindableAgentTypes()) {
        const bool bound =
            std::any_of(m_agentWorkspaceBindings.cbegin(), m_agentWorkspaceBindings.cend(),
                        [&](const AgentWorkspaceBinding& binding) {
                            return binding.agentType == agent && binding.workspaceID == workspaceID;
                        });
        count += bound ? 1 : 0;
    }
    return count;
}

std::optional<ContextBinding> ContextBindingStore::binding(const AgentContext& context) const
{
    const QString appName = context.frontmostAppName.toLower();
    const QString title = context.frontWindowTitle.toLower();
    const QString workspaceName = context.workspaceName.toLower();
    const QString contextBundle = context.frontmostBundleIdentifier.value_or(QString()).toLower();
    std::optional<QString> titleHash; // the salt file is read only when a hashed keyword needs it

    for (const ContextBinding& binding : m_bindings) {
        const QString bindingBundle = binding.bundleIdentifier.value_or(QString()).toLower();
        const bool sameApplication = !bindingBundle.isEmpty() && !contextBundle.isEmpty()
                                         ? bindingBundle == contextBundle
                                         : binding.appName.toLower() == appName;
        if (!sameApplication || binding.windowKeyword == appBindingKeyword)
            continue;
        const QString keyword = binding.windowKeyword.toLower();
        if (keyword.startsWith(titleHashKeywordPrefix)) {
            if (!titleHash)
                titleHash = hashedTitleKeyword(context.frontWindowTitle);
            if (keyword == *titleHash)
                return binding;
            continue;
        }
        if (!keyword.isEmpty() && (title.contains(keyword) || workspaceName.contains(keyword)))
            return binding;
    }
    return std::nullopt;
}

std::optional<QString> ContextBindingStore::lastSelectedWorkspaceID(const AgentContext& context) const
{
    for (const QString& key : {toRawValue(canonicalBindingAgent(context.agent)), toRawValue(context.agent)}) {
        const auto entry = m_lastSelectedWorkspaceIDs.constFind(key);
        if (entry != m_lastSelectedWorkspaceIDs.cend())
            return *entry;
    }
    return std::nullopt;
}

QString ContextBindingStore::hashedTitleKeyword(const QString& title) const
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(titleHashSalt());
    hash.addData(CharacterClasses::trimmedWhitespaceAndNewlines(title).toString().toLower().toUtf8());
    return titleHashKeywordPrefix.toString() + QString::fromLatin1(hash.result().toHex());
}

QByteArray ContextBindingStore::titleHashSalt() const
{
    const QString path = titleHashSaltFilePath();
    if (const Expected<QByteArray> stored = readWholeFile(path); stored && !stored->isEmpty())
        return *stored;

    QByteArray salt(32, '\0');
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(salt.data()), salt.size() / 4);
    const Expected<void> written = writeIntoLibraryFolder(salt, path);
    if (written)
        return salt;
    AppLog::context(u"Create title hash salt failed file=%1 error=%2"_s.arg(
        AppLog::fileContext(path), AppLog::errorSummary(written.error())));
    return QByteArray(fallbackTitleHashSalt);
}

ContextBindingStateSnapshot ContextBindingStore::stateSnapshot() const
{
    return ContextBindingStateSnapshot{m_bindings, m_agentWorkspaceBindings, m_lastSelectedWorkspaceIDs};
}

Expected<void> ContextBindingStore::throwIfBindingsFileUnreadable() const
{
    if (m_agentWorkspaceBindingLoadError)
        return AgentWorkspaceBindingStoreError::unreadableBindingsFile(
            m_agentWorkspaceBindingLoadError->filePath, language());
    return {};
}

// Changes

Expected<void> ContextBindingStore::setLastSelectedWorkspaceID(const QString& workspaceID,
                                                               const AgentContext& context)
{
    ChangeNotifier notifier(*this);
    return mutateAgentWorkspaceState([&] {
        m_lastSelectedWorkspaceIDs.insert(toRawValue(canonicalBindingAgent(context.agent)), workspaceID);
    });
}

Expected<AgentWorkspaceBinding>
ContextBindingStore::addAgentWorkspaceBinding(AgentType agentType, const QString& appName,
                                              const std::optional<QString>& bundleIdentifier,
                                              const QString& workspaceID, bool isDefault)
{
    ChangeNotifier notifier(*this);
    const AgentType agent = canonicalBindingAgent(agentType);
    if (agent == AgentType::unknown)
        return AgentWorkspaceBindingStoreError::unknownAgentBinding(language());

    AgentWorkspaceBinding result;
    const Expected<void> saved = mutateAgentWorkspaceState([&] {
        const auto existing =
            std::find_if(m_agentWorkspaceBindings.cbegin(), m_agentWorkspaceBindings.cend(),
                         [&](const AgentWorkspaceBinding& binding) {
                             return binding.agentType == agent && binding.workspaceID == workspaceID;
                         });
        const qsizetype index = existing == m_agentWorkspaceBindings.cend()
                                    ? -1
                                    : qsizetype(existing - m_agentWorkspaceBindings.cbegin());
        if (index >= 0) {
            result = m_agentWorkspaceBindings.at(index);
            result.isDefault = isDefault || result.isDefault;
            result.appName = appName;
            result.bundleIdentifier = bundleIdentifier;
        } else {
            // The file keeps whole seconds; a new binding starts as it will read back.
            const QDateTime now =
                QDateTime::fromSecsSinceEpoch(m_dependencies.now().toSecsSinceEpoch(), Qt::UTC);
            result = AgentWorkspaceBinding{newIdentifier(), agent,     appName, bundleIdentifier,
                                           workspaceID,     isDefault, now};
        }
        if (result.isDefault) {
            for (AgentWorkspaceBinding& binding : m_agentWorkspaceBindings) {
                if (binding.agentType == agent)
                    binding.isDefault = false;
            }
        }
        if (index >= 0)
            m_agentWorkspaceBindings[index] = result;
        else
            m_agentWorkspaceBindings.append(result);
    });
    if (!saved)
        return saved.error();
    return result;
}

Expected<void> ContextBindingStore::deleteAgentWorkspaceBinding(const QString& id)
{
    ChangeNotifier notifier(*this);
    return mutateAgentWorkspaceState([&] {
        m_agentWorkspaceBindings.removeIf(
            [&](const AgentWorkspaceBinding& binding) { return binding.id == id; });
    });
}

Expected<void> ContextBindingStore::deleteWorkspaceReferences(const QString& workspaceID)
{
    ChangeNotifier notifier(*this);
    const Expected<void> agentState = mutateAgentWorkspaceState([&] {
        m_agentWorkspaceBindings.removeIf(
            [&](const AgentWorkspaceBinding& binding) { return binding.workspaceID == workspaceID; });
        m_lastSelectedWorkspaceIDs.removeIf([&](const auto& entry) { return entry.value() == workspaceID; });
    });
    if (!agentState)
        return agentState;
    return mutateLegacyBindings([&] {
        m_bindings.removeIf(
            [&](const ContextBinding& binding) { return binding.workspaceID == workspaceID; });
    });
}

Expected<void> ContextBindingStore::restoreState(const ContextBindingStateSnapshot& snapshot)
{
    ChangeNotifier notifier(*this);
    const ContextBindingStateSnapshot remembered = stateSnapshot();
    const QList<ContextBinding> legacyOnDisk = m_legacyBindingsOnDisk;
    // The legacy file is written before the agent file; if the second write fails, the first one is
    // undone with the legacy file's old bytes, or by removing a file that wasn't there.
    const QString legacyPath = legacyBindingsFilePath();
    const bool legacyWillBeWritten = snapshot.bindings != m_legacyBindingsOnDisk;
    const bool legacyExisted = QFileInfo::exists(legacyPath);
    const Expected<QByteArray> legacyBytes =
        legacyWillBeWritten && legacyExisted ? readWholeFile(legacyPath) : Expected<QByteArray>(QByteArray());

    m_bindings = snapshot.bindings;
    m_agentWorkspaceBindings = snapshot.agentWorkspaceBindings;
    m_lastSelectedWorkspaceIDs = snapshot.lastSelectedWorkspaceIDs;

    Expected<void> result = saveLegacyBindings();
    const bool legacyWritten = result && legacyWillBeWritten;
    if (result)
        result = saveAgentWorkspaceBindings();
    if (result)
        return result;

    if (legacyWritten) {
        if (!legacyExisted)
            QFile::remove(legacyPath);
        else if (legacyBytes)
            (void)writeIntoLibraryFolder(*legacyBytes, legacyPath);
        m_legacyBindingsOnDisk = legacyOnDisk;
    }
    m_bindings = remembered.bindings;
    m_agentWorkspaceBindings = remembered.agentWorkspaceBindings;
    m_lastSelectedWorkspaceIDs = remembered.lastSelectedWorkspaceIDs;
    AppLog::context(
        u"Restore context binding state failed error=%1"_s.arg(AppLog::errorSummary(result.error())));
    return result;
}

template <typename Change> Expected<void> ContextBindingStore::mutateAgentWorkspaceState(Change change)
{
    const QList<AgentWorkspaceBinding> bindings = m_agentWorkspaceBindings;
    const QMap<QString, QString> lastSelected = m_lastSelectedWorkspaceIDs;
    change();
    const Expected<void> saved = saveAgentWorkspaceBindings();
    if (!saved) {
        m_agentWorkspaceBindings = bindings;
        m_lastSelectedWorkspaceIDs = lastSelected;
        AppLog::context(u"Save agent workspace bindings failed file=%1 error=%2"_s.arg(
            AppLog::fileContext(agentWorkspaceBindingsFilePath()), AppLog::errorSummary(saved.error())));
    }
    return saved;
}

template <typename Change> Expected<void> ContextBindingStore::mutateLegacyBindings(Change change)
{
    const QList<ContextBinding> bindings = m_bindings;
    change();
    const Expected<void> saved = saveLegacyBindings();
    if (!saved) {
        m_bindings = bindings;
        AppLog::context(u"Save legacy bindings failed file=%1 error=%2"_s.arg(
            AppLog::fileContext(legacyBindingsFilePath()), AppLog::errorSummary(saved.error())));
    }
    return saved;
}

Expected<void> ContextBindingStore::saveAgentWorkspaceBindings()
{
    if (const Expected<void> readable = throwIfBindingsFileUnreadable(); !readable)
        return readable;
    m_agentWorkspaceBindings = normalizedAgentWorkspaceBindings(m_agentWorkspaceBindings);
    const bool legacyFileExists = QFileInfo::exists(legacyBindingsFilePath());
    return writeIntoLibraryFolder(
        encodeAgentWorkspaceBindingFile(m_agentWorkspaceBindings, m_lastSelectedWorkspaceIDs,
                                        legacyFileExists, m_preservedAgentWorkspaceBindingObjects),
        agentWorkspaceBindingsFilePath());
}

Expected<void> ContextBindingStore::saveLegacyBindings()
{
    if (const Expected<void> readable = throwIfBindingsFileUnreadable(); !readable)
        return readable;
    // An unchanged list isn't written: a missing legacy file stays missing, and a corrupt one stays
    // for the user to repair.
    if (m_bindings == m_legacyBindingsOnDisk)
        return {};
    const Expected<void> written =
        writeIntoLibraryFolder(encodeLegacyBindings(m_bindings), legacyBindingsFilePath());
    if (written)
        m_legacyBindingsOnDisk = m_bindings;
    return written;
}

Expected<void> ContextBindingStore::writeIntoLibraryFolder(const QByteArray& data, const QString& path) const
{
    if (const Expected<void> folder = createRestrictedFolder(QFileInfo(path).absolutePath()); !folder)
        return folder;
    return m_dependencies.writeData(data, path);
}

// Helpers

AppLanguage ContextBindingStore::language() const
{
    return m_dependencies.languageProvider();
}

QString ContextBindingStore::describe(const AppError& error, const QString& path) const
{
    if (!error.description.isEmpty())
        return error.description;
    return AppLocalizationCatalog::shared()
        .string(u"error.config.read.failed"_s, language())
        .arg(QFileInfo(path).fileName());
}

QString ContextBindingStore::newIdentifier() const
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}
