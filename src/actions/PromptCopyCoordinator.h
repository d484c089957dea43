// The two decisions of a copy: does the prompt need values first, and are the typed values enough.
#pragma once

#include "PromptActionService.h"
#include "PromptModels.h"
#include "PromptVariables.h"

#include <QDateTime>
#include <QHash>
#include <functional>
#include <variant>

class PromptVariableValueStore;

struct PromptVariableForm {
    QString promptID;
    QString templateText;                  // the prompt's text, untouched
    QList<PromptVariable> variables;       // never empty
    QHash<QString, QString> initialValues; // by normalised name, one for each variable

    bool operator==(const PromptVariableForm&) const = default;
};

// Either the text to copy now, or the form to ask for values first.
struct PromptCopyPreparation {
    std::variant<QString, PromptVariableForm> value;

    bool requiresValues() const { return std::holds_alternative<PromptVariableForm>(value); }
    const QString& immediateText() const { return std::get<QString>(value); }
    const PromptVariableForm& form() const { return std::get<PromptVariableForm>(value); }
    bool operator==(const PromptCopyPreparation&) const = default;
};

struct PromptCopySubmissionResult {
    enum class Kind { validationFailed, copy, cancelled };

    Kind kind = Kind::cancelled;
    QStringList requiredNames;                           // validationFailed: in form order, normalised
    PromptCopyResult result = PromptCopyResult::success; // copy

    bool operator==(const PromptCopySubmissionResult&) const = default;
};

class PromptCopyCoordinator {
public:
    using Clock = std::function<QDateTime()>;

    PromptCopyCoordinator(const PromptActionService& actionService,
                          PromptVariableValueStore& variableValueStore,
                          Clock now = &QDateTime::currentDateTimeUtc);

    PromptCopyPreparation prepare(const PromptItem& item) const;
    // `values` maps normalised names to the typed text.
    PromptCopySubmissionResult submit(const PromptVariableForm& form,
                                      const QHash<QString, QString>& values) const;

private:
    const PromptActionService& m_actionService;
    PromptVariableValueStore& m_variableValueStore;
    Clock m_now;
};
