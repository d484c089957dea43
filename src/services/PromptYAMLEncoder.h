// Writes workspaces and packs in the narrow form of the prompt file format: every value quoted,
// every text a block, so that what is written reads back the same.
#pragma once

#include "PromptModels.h"

namespace PromptYAMLEncoder {

QString encodeWorkspace(const PromptWorkspace& workspace, bool includeMatchPaths);
QString encodePack(const PromptWorkspace& workspace, const PromptPackMetadata& metadata);

// The double-quoted form of a value: backslashes, then double quotes escaped; nothing else.
QString quoted(const QString& value);

} // namespace PromptYAMLEncoder
