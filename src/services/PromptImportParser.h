// Turns pasted free text into prompts: cuts it into sections, each a preview with a title and a
// text, and after confirmation makes the previews into prompt records. Pure functions.
#pragma once

#include "AppLanguage.h"
#include "PromptModels.h"

#include <QHashFunctions>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringView>

struct PromptImportPreview {
    QString id; // "preview-<section index>-<slug of the title>": the identity in lists
    QString title;
    QString text;

    bool operator==(const PromptImportPreview&) const = default;
};

inline size_t qHash(const PromptImportPreview& preview, size_t seed = 0)
{
    return qHashMulti(seed, preview.id, preview.title, preview.text);
}

namespace PromptImportParser {

inline constexpr qint64 maximumTextBytes = 524288; // of the trimmed text, in UTF-8
inline constexpr qsizetype maximumSections = 200;
inline constexpr qsizetype maximumTitleLength = 60; // user-perceived characters

// Explicit sections when any line is `---` or begins with `## `, else blocks between blank lines.
// Empty for a blank text or one above the size limit; at most the first 200 sections.
QList<PromptImportPreview> parse(QStringView text, AppLanguage language);

// Identifiers "imported-<slug of the title>", numbered past `existingIDs` and each other.
QList<PromptItem> makePrompts(const QList<PromptImportPreview>& previews, const QSet<QString>& existingIDs,
                              AppLanguage language);

// The slug rule of the prompt files, except that an empty result is a new lower-case UUID.
QString slug(QStringView text);

} // namespace PromptImportParser
