// Arbitrary bytes as pasted text, read as UTF-8 and as raw UTF-16, through the import parser and on
// into prompts. The previews keep their limits; the prompts, written as a workspace file, make a
// valid file that reads back the same.

#include "FuzzRequire.h"
#include "PromptConfigLoader.h"
#include "PromptImportParser.h"
#include "PromptYAMLEncoder.h"

#include <QSet>

#include <cstdint>
#include <cstring>

namespace {

void exercise(const QString& text)
{
    const QList<PromptImportPreview> previews = PromptImportParser::parse(text, AppLanguage::english);
    require(previews.size() <= PromptImportParser::maximumSections);
    QSet<QString> previewIDs;
    for (const PromptImportPreview& preview : previews) {
        require(!isBlank(preview.title) && !isBlank(preview.text));
        require(preview.id.startsWith(QStringLiteral("preview-")));
        previewIDs.insert(preview.id);
    }
    require(previewIDs.size() == previews.size());

    const QSet<QString> existing = {QStringLiteral("imported-prompt-1"), QStringLiteral("imported-a")};
    PromptWorkspace workspace;
    workspace.name = QStringLiteral("Imported");
    workspace.prompts = PromptImportParser::makePrompts(previews, existing, AppLanguage::english);
    require(workspace.prompts.size() == previews.size());
    QSet<QString> ids;
    for (const PromptItem& prompt : std::as_const(workspace.prompts)) {
        require(!existing.contains(prompt.id));
        ids.insert(prompt.id);
    }
    require(ids.size() == workspace.prompts.size());

    const QString file = PromptYAMLEncoder::encodeWorkspace(workspace, true);
    require(PromptConfigLoader::hasValidConfigStructure(file));
    PromptConfigLoader loader(QString(), [] { return AppLanguage::english; });
    require(loader.parsePrompts(file) == workspace.prompts);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    exercise(QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size)));
    QString units(qsizetype(size / 2), Qt::Uninitialized);
    std::memcpy(units.data(), data, size / 2 * 2);
    exercise(units);
    return 0;
}
