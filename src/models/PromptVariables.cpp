#include "PromptVariables.h"

#include "CharacterClasses.h"

#include <QHashFunctions>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

size_t qHash(const PromptVariable& variable, size_t seed) noexcept
{
    return qHashMulti(seed, variable.name, variable.normalizedName, variable.defaultValue.has_value(),
                      variable.defaultValue.value_or(QString()));
}

namespace PromptVariableParser {

namespace {

struct Marker {
    qsizetype start = 0;
    qsizetype end = 0; // one past the closing braces
    PromptVariable variable;
};

QList<Marker> validMarkers(const QString& text)
{
    QList<Marker> markers;
    qsizetype cursor = 0;
    while (true) {
        const qsizetype open = text.indexOf(u"{{"_s, cursor);
        if (open < 0)
            break;
        const qsizetype close = text.indexOf(u"}}"_s, open + 2);
        if (close < 0)
            break; // an unclosed opening ends the scan
        if (auto found = variable(QStringView(text).sliced(open + 2, close - open - 2)))
            markers.append(Marker{open, close + 2, *found});
        cursor = close + 2;
    }
    return markers;
}

QHash<QString, QString> normalized(const QHash<QString, QString>& values)
{
    QStringList keys = values.keys();
    std::sort(keys.begin(), keys.end());
    QHash<QString, QString> result;
    for (const QString& key : std::as_const(keys)) {
        const QString k = CharacterClasses::trimmedWhitespaceAndNewlines(key).toString().toLower();
        if (k.isEmpty())
            continue;
        if (key != k && result.contains(k))
            continue;
        result.insert(k, values.value(key));
    }
    return result;
}

} // namespace

std::optional<PromptVariable> variable(QStringView inner)
{
    if (inner.contains(u'{') || inner.contains(u'}'))
        return std::nullopt;
    const qsizetype bar = inner.indexOf(u'|');
    const QStringView namePart = bar < 0 ? inner : inner.first(bar);
    const QString name = CharacterClasses::trimmedWhitespaceAndNewlines(namePart).toString();
    if (name.isEmpty())
        return std::nullopt;
    std::optional<QString> defaultValue;
    if (bar >= 0)
        defaultValue = inner.sliced(bar + 1).toString();
    return PromptVariable{name, name.toLower(), defaultValue};
}

QList<PromptVariable> variables(const QString& text)
{
    QList<PromptVariable> result;
    QSet<QString> seen;
    for (const Marker& marker : validMarkers(text)) {
        if (!seen.contains(marker.variable.normalizedName)) {
            seen.insert(marker.variable.normalizedName);
            result.append(marker.variable);
        }
    }
    return result;
}

QString render(const QString& text, const QHash<QString, QString>& values)
{
    const QList<Marker> markers = validMarkers(text);
    if (markers.isEmpty())
        return text;
    const QHash<QString, QString> byName = normalized(values);
    QString output;
    output.reserve(text.size());
    qsizetype cursor = 0;
    for (const Marker& marker : markers) {
        output.append(QStringView(text).sliced(cursor, marker.start - cursor));
        const auto value = byName.constFind(marker.variable.normalizedName);
        if (value != byName.constEnd())
            output.append(*value);
        else
            output.append(QStringView(text).sliced(marker.start, marker.end - marker.start));
        cursor = marker.end;
    }
    output.append(QStringView(text).sliced(cursor));
    return output;
}

} // namespace PromptVariableParser
