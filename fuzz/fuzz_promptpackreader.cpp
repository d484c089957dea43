// Arbitrary bytes as a pack file, through the preview. What the reader accepts keeps the pack's
// limits, and, encoded, is a valid prompt file and reads back the same, as a pack and as a workspace.

#include "FuzzRequire.h"
#include "PromptConfigLoader.h"
#include "PromptPackService.h"
#include "PromptYAMLEncoder.h"

#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir folder;
    require(folder.isValid());
    static const PromptPackService service(PromptPersistenceService(folder.filePath(QStringLiteral("home"))),
                                           [] { return AppLanguage::english; });
    const QString path = folder.filePath(QStringLiteral("fuzz.velmora-pack.yaml"));
    {
        QFile file(path);
        require(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        require(file.write(reinterpret_cast<const char*>(data), qint64(size)) == qint64(size));
    }
    const auto preview = service.parseImportPreviewAt(path);
    if (!preview)
        return 0;

    const PromptPack& pack = preview->pack;
    const QList<PromptItem>& prompts = pack.workspace.prompts;
    require(!prompts.isEmpty() && prompts.size() <= PromptPackService::maximumPromptCount);
    require(pack.workspace.matchPaths.isEmpty() && !pack.workspace.fileURL && !pack.workspace.fileVersion);
    QSet<QString> ids;
    for (const PromptItem& prompt : prompts) {
        require(!isBlank(prompt.title) && !isBlank(prompt.text));
        require(!prompt.id.contains(u'\t') && !prompt.title.contains(u'\t') && !prompt.group.contains(u'\t'));
        ids.insert(prompt.id);
    }
    require(ids.size() == prompts.size());

    // As a workspace file, as install writes it.
    const QString workspaceText = PromptYAMLEncoder::encodeWorkspace(pack.workspace, true);
    require(PromptConfigLoader::hasValidConfigStructure(workspaceText));
    require(PromptConfigLoader::parseWorkspaceName(workspaceText) == pack.workspace.name);
    PromptConfigLoader loader(QString(), [] { return AppLanguage::english; });
    require(loader.parsePrompts(workspaceText) == prompts);
    require(loader.warnings().isEmpty());

    // As a pack file, as export writes it; it may outgrow the size limit by its quoting.
    const QString packText = PromptYAMLEncoder::encodePack(pack.workspace, pack.metadata);
    require(PromptConfigLoader::hasValidConfigStructure(packText));
    const auto again = service.parseImportPreviewFrom(packText);
    if (packText.toUtf8().size() <= PromptPackService::maximumPackBytes) {
        require(again.hasValue());
        require(again->pack == pack);
    }
    return 0;
}
