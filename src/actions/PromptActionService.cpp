#include "PromptActionService.h"

#include "ClipboardWriting.h"

PromptActionService::PromptActionService(std::shared_ptr<ClipboardWriting> clipboard)
    : m_clipboard(std::move(clipboard))
{}

PromptCopyResult PromptActionService::copyText(const QString& text) const
{
    return m_clipboard->writeText(text) ? PromptCopyResult::success : PromptCopyResult::clipboardFailure;
}
