#include "PromptPanelRendering.h"

std::optional<PromptItem> PromptPanelRendering::prompt(qint64 shortcutNumber,
                                                       const PanelRenderSnapshot& snapshot)
{
    if (shortcutNumber < 1)
        return std::nullopt;
    for (const PromptItem& item : snapshot.visiblePrompts) {
        const auto number = snapshot.shortcutNumbers.constFind(item.id);
        if (number != snapshot.shortcutNumbers.constEnd() && *number == shortcutNumber)
            return item;
    }
    return std::nullopt;
}
