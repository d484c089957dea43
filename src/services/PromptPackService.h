// Prompt packs: a workspace in a file of its own, with a metadata header, to be handed on. Reads and
// checks a pack, installs it as a new user workspace, and holds the packs that ship with the app.
#pragma once

#include "AppError.h"
#include "AppLanguage.h"
#include "PromptModels.h"
#include "PromptPersistenceService.h"

#include <QList>
#include <QString>
#include <QStringView>
#include <functional>
#include <optional>

// A pack that can't be used. Its description is the message, already localised.
namespace PromptPackError {
inline constexpr auto typeName = "PromptPackError";
AppError invalidPack(const QString& message);
} // namespace PromptPackError

class PromptPackService {
public:
    using LanguageProvider = std::function<AppLanguage()>;

    static constexpr qint64 maximumPackBytes = 1048576; // of the UTF-8 text
    static constexpr qsizetype maximumPromptCount = 500;
    static constexpr auto fileSuffix = ".velmora-pack.yaml";

    // `limits` are those of the load: install refuses what the next load would not read.
    PromptPackService(PromptPersistenceService persistence, LanguageProvider languageProvider,
                      PromptConfigLimits limits = {});

    // Checks a pack text; any failure is an invalid pack. Writes nothing.
    Expected<PromptPackImportPreview> parseImportPreviewFrom(QStringView text) const;
    // Reads a regular file of at most the size limit, strictly as UTF-8, then checks it as text. A
    // folder, device or pipe is refused unopened. Failures are logged.
    Expected<PromptPackImportPreview> parseImportPreviewAt(const QString& path) const;
    // Saves the pack's workspace under a free name; a failure leaves no new file, unless it comes
    // after the write.
    Expected<PromptWorkspace> install(const PromptPack& pack) const;

    // Three packs: English for `english`, Chinese for every other language once `system` is resolved.
    static const QList<PromptPack>& builtInPacks(AppLanguage language);

    // Unique identifiers within the pack: blank ones from the title, repeats numbered; no warnings.
    static void normalize(QList<PromptItem>& prompts);

private:
    QString text(const char* key) const;
    AppError unreadable(const QString& path, int errnoValue) const;
    // Refuses a workspace file that the next load would skip for its size.
    Expected<void> checkLibraryRoom(qint64 fileBytes) const;

    PromptPersistenceService m_persistence;
    LanguageProvider m_languageProvider;
    PromptConfigLimits m_limits;
};
