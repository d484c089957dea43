// A new prompt as the user typed it, and the record that saving it adds to a workspace: the rules
// of the prompt editor, shared by every front end that creates prompts.
#pragma once

#include "AgentType.h"
#include "AppLanguage.h"
#include "PromptModels.h"

#include <QString>
#include <QStringList>
#include <optional>

struct PromptDraft {
    QString title = {};
    QString group = {};
    std::optional<AgentType> agent = {};
    QString text = {};
    QStringList tags = {};
    bool isPinned = false;

    bool operator==(const PromptDraft&) const = default;

    // Title and text, trimmed of whitespace and line breaks, are both non-empty.
    bool canSave() const;
    // A new upper-case UUID as the id, so it is unique across the library; trimmed title, text and
    // tags (blank tags dropped); a blank group becomes the default group of `language`.
    PromptItem makeNewPrompt(AppLanguage language) const;
};
