// The mark a tile shows after a copy, how long a success mark lasts, and what a retry copies.
#pragma once

#include "PromptModels.h"

#include <optional>

struct PromptCopyFeedback {
    enum class Kind { copied, failed };

    Kind kind = Kind::copied;
    QString promptID;

    bool operator==(const PromptCopyFeedback&) const = default;

    static PromptCopyFeedback copied(const QString& id) { return {Kind::copied, id}; }
    static PromptCopyFeedback failed(const QString& id) { return {Kind::failed, id}; }
};

// A delayed clearing of a `copied` mark acts only if no later copy has happened since.
struct PromptCopyFeedbackLifetime {
    static constexpr int durationMilliseconds = 1600;

    qint64 generation = 0;

    // Starts the lifetime of a new success mark; returns the generation the clearing must see.
    qint64 begin() { return ++generation; }
    bool isCurrent(qint64 started, const std::optional<PromptCopyFeedback>& feedback,
                   const PromptCopyFeedback& startedFeedback) const
    {
        return generation == started && feedback == startedFeedback;
    }
};

namespace PromptCopyRetry {

// The remembered failed prompt, when the click is on the tile of that same failure.
inline std::optional<PromptItem> resolve(const std::optional<PromptCopyFeedback>& feedback,
                                         const std::optional<PromptItem>& failedPrompt,
                                         const QString& requestedPromptID)
{
    if (!feedback || feedback->kind != PromptCopyFeedback::Kind::failed ||
        feedback->promptID != requestedPromptID)
        return std::nullopt;
    if (!failedPrompt || failedPrompt->id != feedback->promptID)
        return std::nullopt;
    return failedPrompt;
}

} // namespace PromptCopyRetry
