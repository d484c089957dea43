// The form that asks for a prompt's variables before it is copied: one field per variable, Cancel
// and Copy. It decides nothing itself: the typed values go to onConfirm, which answers whether some
// are still missing (their rows then show an error and the first takes focus) or what the copy did.
#pragma once

#include "PromptCopyCoordinator.h"
#include "PromptPanelTextSize.h"

#include <QHash>
#include <QSet>
#include <QWidget>
#include <functional>
#include <optional>

class QLabel;
class QLineEdit;
class QScrollArea;
class VelmoraButton;

class PromptVariableSheet : public QWidget {
    Q_OBJECT

public:
    static constexpr int sheetWidth = 440;
    static constexpr int rowHeight = 82;
    static constexpr int chromeHeight = 170;
    static constexpr int maximumHeight = 520;

    using Confirm = std::function<PromptCopySubmissionResult(const QHash<QString, QString>&)>;

    PromptVariableSheet(const PromptVariableForm& form, Confirm onConfirm, std::function<void()> onCancel,
                        PromptPanelTextSize interfaceTextSize, AppLanguage language,
                        QWidget* parent = nullptr);

    static int heightFor(qsizetype variableCount);

    const PromptVariableForm& form() const { return m_form; }
    const QHash<QString, QString>& values() const { return m_values; }
    const QSet<QString>& missingRequiredNames() const { return m_missingRequiredNames; }
    bool isSubmitting() const { return m_isSubmitting; }
    const std::optional<QString>& focusedVariableName() const { return m_focusedVariableName; }

    QLineEdit* field(const QString& normalizedName) const;
    QLabel* errorLabel(const QString& normalizedName) const;
    QLabel* requiredLabel(const QString& normalizedName) const;
    QScrollArea* scrollArea() const { return m_scrollArea; }
    VelmoraButton* copyButton() const { return m_copyButton; }
    VelmoraButton* cancelButton() const { return m_cancelButton; }

    void confirmOnce();
    // Cancel's action; the sheet host's Escape comes here too.
    void cancel();

protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Row {
        QLineEdit* field = nullptr;
        QLabel* required = nullptr;
        QLabel* error = nullptr;
    };

    void setValue(const QString& normalizedName, const QString& text);
    void setMissing(const QSet<QString>& names);
    void focusVariable(const std::optional<QString>& normalizedName);

    PromptVariableForm m_form;
    Confirm m_onConfirm;
    std::function<void()> m_onCancel;
    QHash<QString, QString> m_values;
    QSet<QString> m_missingRequiredNames;
    bool m_isSubmitting = false;
    std::optional<QString> m_focusedVariableName;
    QHash<QString, Row> m_rows;
    QScrollArea* m_scrollArea = nullptr;
    VelmoraButton* m_copyButton = nullptr;
    VelmoraButton* m_cancelButton = nullptr;
    bool m_appeared = false;
};
