// A workspace made from arbitrary bytes, written by the encoder and read back by the reader. The file
// must pass the structural check, and every value must come back as the writer promises: single-line
// fields exactly, the agent, the pin and the shortcut the same, and a text with its line content kept,
// each line break one U+000A and the breaks at both ends gone.

#include "FuzzRequire.h"
#include "PromptConfigLoader.h"
#include "PromptYAMLEncoder.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QStringList>

#include <cstdint>
#include <string>

namespace {

// Any code units, lone surrogates included: the reader works on UTF-16.
QString arbitraryText(FuzzedDataProvider& input, size_t maximumUnits)
{
    const std::string bytes = input.ConsumeRandomLengthString(maximumUnits * 2);
    return QString(reinterpret_cast<const QChar*>(bytes.data()), qsizetype(bytes.size() / 2));
}

// The encoder has no escape for a line break or a tab, so a single-line field holds neither.
QString singleLine(FuzzedDataProvider& input)
{
    QString value = arbitraryText(input, 24);
    value.removeIf([](QChar unit) { return unit == u'\t' || CharacterClasses::isNewlineUnit(unit.unicode()); });
    return value;
}

PromptItem arbitraryPrompt(FuzzedDataProvider& input)
{
    PromptItem prompt;
    prompt.id = singleLine(input);
    prompt.title = singleLine(input);
    prompt.group = singleLine(input);
    // "unknown" has no spelling in files: a prompt naming it is dropped, so it is never written.
    const int agent = input.ConsumeIntegralInRange<int>(-1, int(allAgentTypes.size()) - 1);
    if (agent >= 0 && allAgentTypes[agent] != AgentType::unknown)
        prompt.agent = allAgentTypes[agent];
    prompt.isPinned = input.ConsumeBool();
    if (input.ConsumeBool()) {
        const PromptKeyboardShortcut shortcut{input.ConsumeIntegral<quint32>(), input.ConsumeIntegral<quint64>()};
        prompt.shortcut = PromptKeyboardShortcut::fromStorageString(shortcut.storageString());
    }
    const int tagCount = input.ConsumeIntegralInRange(0, 3);
    for (int i = 0; i < tagCount; ++i)
        prompt.tags.append(singleLine(input));
    prompt.text = arbitraryText(input, 200);
    return prompt;
}

// What the reader gives back for a written text.
QString textAfterRoundTrip(const QString& text)
{
    QStringList lines;
    for (QStringView line : CharacterClasses::splitLines(text))
        lines.append(line.toString());
    return CharacterClasses::trimmedNewlines(lines.join(u'\n')).toString();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider input(data, size);
    PromptWorkspace workspace;
    workspace.id = QStringLiteral("fuzz");
    workspace.name = singleLine(input);
    const int pathCount = input.ConsumeIntegralInRange(0, 3);
    for (int i = 0; i < pathCount; ++i)
        workspace.matchPaths.append(singleLine(input));
    const int promptCount = input.ConsumeIntegralInRange(0, 4);
    for (int i = 0; i < promptCount; ++i)
        workspace.prompts.append(arbitraryPrompt(input));

    const bool includeMatchPaths = input.ConsumeBool();
    const QString file = PromptYAMLEncoder::encodeWorkspace(workspace, includeMatchPaths);
    require(!file.contains(u'\r') && file.endsWith(u'\n'));
    require(PromptConfigLoader::hasValidConfigStructure(file));
    require(PromptConfigLoader::parseWorkspaceName(file) == workspace.name);
    require(PromptConfigLoader::parseMatchPaths(file) == (includeMatchPaths ? workspace.matchPaths : QStringList()));

    PromptConfigLoader loader(QString(), [] { return AppLanguage::english; });
    const QList<PromptItem> read = loader.parsePrompts(file);
    require(loader.warnings().isEmpty());
    require(read.size() == workspace.prompts.size());
    for (qsizetype i = 0; i < read.size(); ++i) {
        PromptItem expected = workspace.prompts[i];
        expected.text = textAfterRoundTrip(expected.text);
        require(read[i] == expected);
    }
    return 0;
}
