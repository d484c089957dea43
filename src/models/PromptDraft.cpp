#include "PromptDraft.h"

#include "CharacterClasses.h"

#include <QUuid>

using namespace Qt::StringLiterals;
using CharacterClasses::trimmedWhitespaceAndNewlines;

namespace {

QString trimmed(const QString& text)
{
    return trimmedWhitespaceAndNewlines(text).toString();
}

} // namespace

bool PromptDraft::canSave() const
{
    return !trimmed(title).isEmpty() && !trimmed(text).isEmpty();
}

PromptItem PromptDraft::makeNewPrompt(AppLanguage language) const
{
    PromptItem prompt;
    prompt.id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    prompt.title = trimmed(title);
    prompt.group = trimmed(group);
    if (prompt.group.isEmpty())
        prompt.group = L10n::text(u"prompt.default.group"_s, language);
    // The editor's "any agent" choice is `unknown`: the prompt then has none.
    if (agent != AgentType::unknown)
        prompt.agent = agent;
    prompt.text = trimmed(text);
    for (const QString& tag : tags) {
        if (const QString kept = trimmed(tag); !kept.isEmpty())
            prompt.tags.append(kept);
    }
    prompt.isPinned = isPinned;
    return prompt;
}
