// Orders a panel's prompts by use: as given (manual), by last use (recent), or by count then last
// use (frequent). Prompts never used keep their given order, after the used ones.
#pragma once

#include "PromptModels.h"
#include "PromptUsage.h"

#include <QHash>

namespace PromptSorter {

QList<PromptItem> sorted(const QList<PromptItem>& prompts, PromptSortMode mode,
                         const QHash<QString, PromptUsageRecord>& usage);

} // namespace PromptSorter
