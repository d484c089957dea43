// Questions the panel asks of a snapshot.
#pragma once

#include "PanelRenderSnapshot.h"

#include <optional>

namespace PromptPanelRendering {

// The first visible prompt that carries `number` as its digit; none below 1.
std::optional<PromptItem> prompt(qint64 shortcutNumber, const PanelRenderSnapshot& snapshot);

} // namespace PromptPanelRendering
