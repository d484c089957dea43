#include "PromptCopyCoordinator.h"

#include "CharacterClasses.h"
#include "PromptVariableValueStore.h"

PromptCopyCoordinator::PromptCopyCoordinator(const PromptActionService& actionService,
                                             PromptVariableValueStore& variableValueStore, Clock now)
    : m_actionService(actionService), m_variableValueStore(variableValueStore), m_now(std::move(now))
{}

PromptCopyPreparation PromptCopyCoordinator::prepare(const PromptItem& item) const
{
    const QList<PromptVariable> variables = PromptVariableParser::variables(item.text);
    if (variables.isEmpty())
        return {item.text};
    PromptVariableForm form{item.id, item.text, variables, {}};
    for (const PromptVariable& variable : variables) {
        // A default always beats what was typed last time.
        form.initialValues.insert(
            variable.normalizedName,
            variable.defaultValue ? *variable.defaultValue
                                  : m_variableValueStore.value(variable.normalizedName).value_or(QString()));
    }
    return {form};
}

PromptCopySubmissionResult PromptCopyCoordinator::submit(const PromptVariableForm& form,
                                                         const QHash<QString, QString>& values) const
{
    QStringList required;
    for (const PromptVariable& variable : form.variables) {
        if (variable.defaultValue)
            continue;
        const auto value = values.constFind(variable.normalizedName);
        if (value == values.constEnd() || CharacterClasses::trimmedWhitespaceAndNewlines(*value).isEmpty())
            required.append(variable.normalizedName);
    }
    if (!required.isEmpty())
        return {PromptCopySubmissionResult::Kind::validationFailed, required, PromptCopyResult::success};

    const PromptCopyResult result =
        m_actionService.copyText(PromptVariableParser::render(form.templateText, values));
    if (result == PromptCopyResult::success) {
        const QDateTime now = m_now();
        for (const PromptVariable& variable : form.variables) {
            const QString value = values.value(variable.normalizedName);
            if (!value.isEmpty())
                m_variableValueStore.record(value, variable.normalizedName, now);
        }
    }
    return {PromptCopySubmissionResult::Kind::copy, {}, result};
}
