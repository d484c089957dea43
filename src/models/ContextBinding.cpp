#include "ContextBinding.h"

#include "ReferenceDate.h"

#include <QJsonValue>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// The years 1 to 9999 in seconds since 2001-01-01: what ISO 8601 text with four-digit years holds.
constexpr double earliestReferenceSeconds = -62135596800.0 - double(ReferenceDate::epochOffsetSeconds);
constexpr double latestReferenceSeconds = 253402300799.0 - double(ReferenceDate::epochOffsetSeconds);

bool isWithinWritableYears(const QDateTime& date)
{
    const int year = date.toUTC().date().year();
    return year >= 1 && year <= 9999;
}

std::optional<QString> decodeString(const QJsonObject& object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

// Absent or null is "no value"; any other type makes the record undecodable.
bool decodeOptionalString(const QJsonObject& object, QLatin1StringView key, std::optional<QString>& out)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined() || value.isNull()) {
        out.reset();
        return true;
    }
    if (!value.isString())
        return false;
    out = value.toString();
    return true;
}

} // namespace

size_t qHash(const ContextBinding& binding, size_t seed)
{
    return qHashMulti(seed, binding.id, binding.appName, binding.bundleIdentifier.has_value(),
                      binding.bundleIdentifier.value_or(QString()), binding.windowKeyword,
                      binding.workspaceID, binding.createdAt);
}

size_t qHash(const AgentWorkspaceBinding& binding, size_t seed)
{
    return qHashMulti(seed, binding.id, int(binding.agentType), binding.appName,
                      binding.bundleIdentifier.has_value(), binding.bundleIdentifier.value_or(QString()),
                      binding.workspaceID, binding.isDefault, binding.createdAt);
}

AgentType canonicalBindingAgent(AgentType agent)
{
    return agent == AgentType::claudeCode ? AgentType::terminal : agent;
}

QString canonicalBindingAgentRawValue(const QString& rawValue)
{
    return rawValue == toRawValue(AgentType::claudeCode) ? toRawValue(AgentType::terminal) : rawValue;
}

QString encodeBindingDate(const QDateTime& date)
{
    return date.toUTC().toString(Qt::ISODate);
}

std::optional<QDateTime> decodeBindingDate(const QJsonValue& value)
{
    if (value.isDouble()) {
        const double seconds = value.toDouble();
        if (!std::isfinite(seconds) || seconds < earliestReferenceSeconds || seconds > latestReferenceSeconds)
            return std::nullopt;
        return ReferenceDate::fromSeconds(seconds);
    }
    if (!value.isString())
        return std::nullopt;
    // A full date and time with its zone; Qt alone would also take a bare date or a local time.
    static const QRegularExpression form(
        u"^\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2}(\\.\\d{1,9})?(Z|[+-]\\d{2}:?\\d{2})$"_s);
    const QString text = value.toString();
    if (!form.match(text).hasMatch())
        return std::nullopt;
    const QDateTime date = QDateTime::fromString(text, Qt::ISODateWithMs);
    if (!date.isValid() || !isWithinWritableYears(date))
        return std::nullopt;
    return date.toUTC();
}

QJsonObject encodeContextBinding(const ContextBinding& binding)
{
    QJsonObject object{{u"id"_s, binding.id},
                       {u"appName"_s, binding.appName},
                       {u"windowKeyword"_s, binding.windowKeyword},
                       {u"workspaceID"_s, binding.workspaceID},
                       {u"createdAt"_s, encodeBindingDate(binding.createdAt)}};
    if (binding.bundleIdentifier)
        object.insert(u"bundleIdentifier"_s, *binding.bundleIdentifier);
    return object;
}

QJsonObject encodeAgentWorkspaceBinding(const AgentWorkspaceBinding& binding)
{
    QJsonObject object{{u"id"_s, binding.id},
                       {u"agentType"_s, toRawValue(binding.agentType)},
                       {u"appName"_s, binding.appName},
                       {u"workspaceID"_s, binding.workspaceID},
                       {u"isDefault"_s, binding.isDefault},
                       {u"createdAt"_s, encodeBindingDate(binding.createdAt)}};
    if (binding.bundleIdentifier)
        object.insert(u"bundleIdentifier"_s, *binding.bundleIdentifier);
    return object;
}

std::optional<ContextBinding> decodeContextBinding(const QJsonObject& object)
{
    ContextBinding binding;
    const auto id = decodeString(object, "id"_L1);
    const auto appName = decodeString(object, "appName"_L1);
    const auto windowKeyword = decodeString(object, "windowKeyword"_L1);
    const auto workspaceID = decodeString(object, "workspaceID"_L1);
    const auto createdAt = decodeBindingDate(object.value("createdAt"_L1));
    if (!id || !appName || !windowKeyword || !workspaceID || !createdAt ||
        !decodeOptionalString(object, "bundleIdentifier"_L1, binding.bundleIdentifier))
        return std::nullopt;
    binding.id = *id;
    binding.appName = *appName;
    binding.windowKeyword = *windowKeyword;
    binding.workspaceID = *workspaceID;
    binding.createdAt = *createdAt;
    return binding;
}

std::optional<AgentWorkspaceBinding> decodeAgentWorkspaceBinding(const QJsonObject& object)
{
    AgentWorkspaceBinding binding;
    const auto id = decodeString(object, "id"_L1);
    const auto agentRaw = decodeString(object, "agentType"_L1);
    const auto agent = agentRaw ? agentTypeFromRawValue(*agentRaw) : std::nullopt;
    const auto appName = decodeString(object, "appName"_L1);
    const auto workspaceID = decodeString(object, "workspaceID"_L1);
    const QJsonValue isDefault = object.value("isDefault"_L1);
    const auto createdAt = decodeBindingDate(object.value("createdAt"_L1));
    if (!id || !agent || !appName || !workspaceID || !isDefault.isBool() || !createdAt ||
        !decodeOptionalString(object, "bundleIdentifier"_L1, binding.bundleIdentifier))
        return std::nullopt;
    binding.id = *id;
    binding.agentType = *agent;
    binding.appName = *appName;
    binding.workspaceID = *workspaceID;
    binding.isDefault = isDefault.toBool();
    binding.createdAt = *createdAt;
    return binding;
}

QList<AgentWorkspaceBinding> deduplicatedAgentWorkspaceBindings(QList<AgentWorkspaceBinding> bindings)
{
    std::stable_sort(bindings.begin(), bindings.end(),
                     [](const AgentWorkspaceBinding& a, const AgentWorkspaceBinding& b) {
                         if (a.createdAt != b.createdAt)
                             return a.createdAt < b.createdAt;
                         return a.id < b.id;
                     });
    QSet<QString> seen;
    QList<AgentWorkspaceBinding> result;
    for (const AgentWorkspaceBinding& binding : std::as_const(bindings)) {
        const QString key = toRawValue(binding.agentType) + u'|' + binding.workspaceID;
        if (seen.contains(key))
            continue;
        seen.insert(key);
        result.append(binding);
    }
    return result;
}

QList<AgentWorkspaceBinding> normalizedAgentWorkspaceBindings(QList<AgentWorkspaceBinding> bindings)
{
    for (AgentWorkspaceBinding& binding : bindings)
        binding.agentType = canonicalBindingAgent(binding.agentType);
    bindings = deduplicatedAgentWorkspaceBindings(std::move(bindings));

    // The winner of each agent: its oldest default, the first of equals in list order.
    QHash<int, qsizetype> winners;
    for (qsizetype index = 0; index < bindings.size(); ++index) {
        const AgentWorkspaceBinding& binding = bindings.at(index);
        if (!binding.isDefault)
            continue;
        const auto winner = winners.constFind(int(binding.agentType));
        if (winner == winners.cend() || binding.createdAt < bindings.at(*winner).createdAt)
            winners.insert(int(binding.agentType), index);
    }
    for (qsizetype index = 0; index < bindings.size(); ++index)
        bindings[index].isDefault = winners.value(int(bindings.at(index).agentType), -1) == index;
    return bindings;
}

QMap<QString, QString> normalizedLastSelectedWorkspaceIDs(const QMap<QString, QString>& map)
{
    QMap<QString, QString> result;
    // QMap iterates in ascending key order, so "claude-code" comes before "terminal" and loses to it.
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        const QString target = canonicalBindingAgentRawValue(entry.key());
        if (target != entry.key() && result.contains(target))
            continue;
        result.insert(target, entry.value());
    }
    return result;
}
