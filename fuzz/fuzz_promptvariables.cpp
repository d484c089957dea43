// Arbitrary bytes as a prompt text and a map of values (the parts between NUL bytes: the text, then
// key and value in turn), through the variable listing and the renderer.

#include "FuzzRequire.h"
#include "PromptVariables.h"

#include <QSet>

#include <cstdint>

namespace {

void exercise(const QString& text, const QHash<QString, QString>& values)
{
    require(PromptVariableParser::render(text, {}) == text);
    PromptVariableParser::render(text, values);

    const QList<PromptVariable> variables = PromptVariableParser::variables(text);
    require(variables.size() <= text.count(u"{{"));
    QSet<QString> names;
    for (const PromptVariable& variable : variables) {
        require(!variable.name.isEmpty() && !isBlank(variable.name));
        require(CharacterClasses::trimmedWhitespaceAndNewlines(variable.name) == variable.name);
        require(variable.normalizedName == variable.name.toLower());
        for (const QString& part : {variable.name, variable.defaultValue.value_or(QString())})
            require(!part.contains(u'{') && !part.contains(u'}'));
        names.insert(variable.normalizedName);
    }
    require(names.size() == variables.size());

    // Each variable takes its own mark, whatever the spelling of its key; a mark never found in the
    // text before shows that every variable was replaced somewhere.
    QHash<QString, QString> lowerCase, upperCase;
    bool spellingsKeep = true;
    for (qsizetype i = 0; i < variables.size(); ++i) {
        const QString mark = QChar(char16_t(0xE000 + i % 0x1000)) + QString::number(i) + QChar(char16_t(0xE000 + i % 0x1000));
        lowerCase.insert(variables[i].normalizedName, mark);
        const QString upper = variables[i].normalizedName.toUpper();
        spellingsKeep = spellingsKeep && upper.toLower() == variables[i].normalizedName;
        upperCase.insert(upper, mark);
    }
    const QString rendered = PromptVariableParser::render(text, lowerCase);
    for (auto mark = lowerCase.cbegin(); mark != lowerCase.cend(); ++mark)
        require(text.contains(*mark) || rendered.contains(*mark));
    if (spellingsKeep && upperCase.size() == lowerCase.size())
        require(PromptVariableParser::render(text, upperCase) == rendered);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QList<QByteArray> parts = QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)).split('\0');
    QHash<QString, QString> values;
    for (qsizetype i = 1; i + 1 < parts.size(); i += 2)
        values.insert(QString::fromUtf8(parts[i]), QString::fromUtf8(parts[i + 1]));
    exercise(QString::fromUtf8(parts[0]), values);
    return 0;
}
