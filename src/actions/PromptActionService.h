// The clipboard write of a copy.
#pragma once

#include <memory>

#include <QString>

class ClipboardWriting;

enum class PromptCopyResult { success, clipboardFailure };

class PromptActionService {
public:
    explicit PromptActionService(std::shared_ptr<ClipboardWriting> clipboard);

    PromptCopyResult copyText(const QString& text) const;

private:
    std::shared_ptr<ClipboardWriting> m_clipboard;
};
