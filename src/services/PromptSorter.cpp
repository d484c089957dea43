#include "PromptSorter.h"

#include <algorithm>
#include <numeric>

namespace PromptSorter {

QList<PromptItem> sorted(const QList<PromptItem>& prompts, PromptSortMode mode,
                         const QHash<QString, PromptUsageRecord>& usage)
{
    if (mode == PromptSortMode::manual)
        return prompts;
    QList<qsizetype> order(prompts.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](qsizetype a, qsizetype b) {
        const auto recordA = usage.constFind(prompts[a].id);
        const auto recordB = usage.constFind(prompts[b].id);
        const bool usedA = recordA != usage.constEnd();
        const bool usedB = recordB != usage.constEnd();
        if (mode == PromptSortMode::frequent) {
            const qint64 countA = usedA ? recordA->successfulCopyCount : 0;
            const qint64 countB = usedB ? recordB->successfulCopyCount : 0;
            if (countA != countB)
                return countA > countB;
        }
        if (usedA != usedB)
            return usedA; // no record counts as the distant past
        if (usedA && recordA->lastUsedAt != recordB->lastUsedAt)
            return recordA->lastUsedAt > recordB->lastUsedAt;
        return a < b;
    });
    QList<PromptItem> result;
    result.reserve(prompts.size());
    for (qsizetype index : std::as_const(order))
        result.append(prompts[index]);
    return result;
}

} // namespace PromptSorter
