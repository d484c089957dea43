// Placeholders in a prompt's text, `{{name}}` or `{{name|default}}`: finding them, listing the
// distinct variables, and substituting values.
#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <optional>

struct PromptVariable {
    QString name;                        // as written, trimmed
    QString normalizedName;              // lower-cased name: the variable's identity
    std::optional<QString> defaultValue; // the text behind the first "|", untouched

    bool operator==(const PromptVariable&) const = default;
};

size_t qHash(const PromptVariable& variable, size_t seed = 0) noexcept;

namespace PromptVariableParser {

// The distinct variables in text order; the first spelling and the first default of a name win.
QList<PromptVariable> variables(const QString& text);

// Replaces each marker whose name has a value (matched case-insensitively, an exact lower-case key
// winning); markers without a value stay as written. Defaults are not applied here.
QString render(const QString& text, const QHash<QString, QString>& values);

// The variable rule on a marker's inner text; nothing for a brace inside or an empty name.
std::optional<PromptVariable> variable(QStringView inner);

} // namespace PromptVariableParser
