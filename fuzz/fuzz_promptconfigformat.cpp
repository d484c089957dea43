// Arbitrary bytes through the structural check and the extraction passes, read both as UTF-8 and as
// raw UTF-16 (lone surrogates, every code unit). Besides crashes it checks what must always hold.

#include "PromptConfigLoader.h"

#include <QSet>
#include <QStringList>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// A broken promise aborts with its line, so the crash report says which one it was.
void requireAt(bool condition, int line)
{
    if (!condition) {
        std::fprintf(stderr, "requirement failed at line %d\n", line);
        std::abort();
    }
}
#define require(condition) requireAt((condition), __LINE__)

void exercise(const QString& text)
{
    const bool valid = PromptConfigLoader::hasValidConfigStructure(text);
    require(valid == PromptConfigLoader::hasValidConfigStructure(text));

    PromptConfigLoader loader(QString(), [] { return AppLanguage::english; });
    const std::optional<QString> name = PromptConfigLoader::parseWorkspaceName(text);
    const QStringList matchPaths = PromptConfigLoader::parseMatchPaths(text);
    QList<PromptItem> prompts = loader.parsePrompts(text);
    if (name)
        require(name->size() <= text.size());
    for (const QString& path : matchPaths)
        require(path.size() <= text.size());
    // A dropped prompt is the only warning extraction gives.
    for (const PromptItem& prompt : std::as_const(prompts))
        require(prompt.agent != AgentType::unknown);

    // Identifiers end unique, and every change is one warning.
    QList<PromptWorkspace> workspaces(1);
    workspaces[0].prompts = prompts;
    workspaces[0].prompts += prompts;
    const qsizetype warningsBefore = loader.warnings().size();
    loader.makePromptIDsGloballyUnique(prompts, workspaces);
    QSet<QString> ids;
    qsizetype count = 0;
    for (const PromptItem& prompt : std::as_const(prompts))
        ids.insert(prompt.id), ++count;
    for (const PromptItem& prompt : std::as_const(workspaces[0].prompts))
        ids.insert(prompt.id), ++count;
    require(ids.size() == count);
    require(loader.warnings().size() - warningsBefore >= count / 3 * 2);

    // The line rules on their own, and the static helpers, on every line.
    for (QStringView line : QStringView(text).split(u'\n')) {
        const QStringView content = PromptConfigLoader::structuralContent(line);
        require(content.size() <= line.size());
        if (const auto field = PromptConfigLoader::structuralField(content)) {
            require(!field->key.isEmpty());
            PromptConfigLoader::isValidPromptField(field->key, field->value);
            PromptConfigLoader::isStructuralScalar(field->value);
        }
        const QString cleaned = PromptConfigLoader::cleanScalar(line);
        require(cleaned.size() <= line.size());
        const QString slug = PromptConfigLoader::slug(line);
        require(!slug.isEmpty() && !slug.startsWith(u'-') && !slug.endsWith(u'-'));
        if (const auto agent = PromptConfigLoader::parseAgent(line))
            require(*agent != AgentType::unknown);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    exercise(QString::fromUtf8(bytes));
    QString units(qsizetype(size / 2), Qt::Uninitialized);
    std::memcpy(units.data(), data, size / 2 * 2);
    exercise(units);
    return 0;
}
