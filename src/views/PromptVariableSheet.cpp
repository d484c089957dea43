#include "PromptVariableSheet.h"

#include "CharacterClasses.h"
#include "VelmoraBrandFieldModifier.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

QLabel* label(const QString& text, const QFont& font, const QColor& color, QWidget* parent)
{
    auto* result = new QLabel(text, parent);
    result->setFont(font);
    result->setTextFormat(Qt::PlainText);
    QPalette palette = result->palette();
    palette.setColor(QPalette::WindowText, color);
    result->setPalette(palette);
    return result;
}

// Tells the sheet which field took the focus, by the Tab key or the pointer.
class FocusWatcher : public QObject {
public:
    FocusWatcher(std::function<void()> onFocus, QObject* parent)
        : QObject(parent), m_onFocus(std::move(onFocus))
    {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::FocusIn)
            m_onFocus();
        return QObject::eventFilter(watched, event);
    }

private:
    std::function<void()> m_onFocus;
};

} // namespace

PromptVariableSheet::PromptVariableSheet(const PromptVariableForm& form, Confirm onConfirm,
                                         std::function<void()> onCancel,
                                         PromptPanelTextSize interfaceTextSize, AppLanguage language,
                                         QWidget* parent)
    : QWidget(parent), m_form(form), m_onConfirm(std::move(onConfirm)), m_onCancel(std::move(onCancel)),
      m_values(form.initialValues)
{
    promptInterfaceTextSize(this, interfaceTextSize);
    setFixedSize(sheetWidth, heightFor(form.variables.size()));
    const auto text = [language](const char* key) {
        return L10n::text(QString::fromLatin1(key), language);
    };
    const QFont caption = textStyleFont(PromptTextStyle::caption, interfaceTextSize);
    const QColor secondary = VelmoraColors::secondaryText();

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(16);
    QFont titleFont = textStyleFont(PromptTextStyle::title2, interfaceTextSize);
    titleFont.setWeight(QFont::DemiBold);
    column->addWidget(label(text("prompt.variable.title"), titleFont, Brand::textPrimary(), this));
    QLabel* help = label(text("prompt.variable.help"), caption, secondary, this);
    help->setWordWrap(true);
    column->addWidget(help);

    m_scrollArea = new QScrollArea(this);
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scrollArea->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_scrollArea->viewport()->setAutoFillBackground(false);
    auto* rows = new QWidget(m_scrollArea);
    rows->setAutoFillBackground(false);
    auto* rowsColumn = new QVBoxLayout(rows);
    rowsColumn->setContentsMargins(0, 0, 0, 0);
    rowsColumn->setSpacing(14);
    for (const PromptVariable& variable : form.variables) {
        const QString name = variable.normalizedName;
        Row row;
        auto* rowColumn = new QVBoxLayout();
        rowColumn->setSpacing(5);
        auto* header = new QHBoxLayout();
        header->setSpacing(4);
        header->addWidget(label(variable.name, font(), Brand::textPrimary(), rows));
        if (!variable.defaultValue) {
            row.required = label(text("prompt.variable.required"), caption, secondary, rows);
            header->addWidget(row.required);
        }
        header->addStretch();
        rowColumn->addLayout(header);

        row.field = new QLineEdit(m_values.value(name), rows);
        row.field->setPlaceholderText(variable.name);
        row.field->setAccessibleName(variable.name);
        row.field->setAccessibleDescription(
            text(variable.defaultValue ? "prompt.variable.optional.hint" : "prompt.variable.required.hint"));
        VelmoraBrandFieldModifier::apply(row.field);
        connect(row.field, &QLineEdit::textEdited, this,
                [this, name](const QString& typed) { setValue(name, typed); });
        row.field->installEventFilter(
            new FocusWatcher([this, name] { m_focusedVariableName = name; }, row.field));
        rowColumn->addWidget(row.field);

        const QString error = text("prompt.variable.required.error");
        row.error = label(error, caption, VelmoraColors::red(), rows);
        row.error->setAccessibleName(variable.name + u": "_s + error);
        row.error->hide();
        rowColumn->addWidget(row.error);
        rowsColumn->addLayout(rowColumn);
        m_rows.insert(name, row);
    }
    rowsColumn->addStretch();
    m_scrollArea->setWidget(rows);
    // The rows stand on the sheet's own surface.
    rows->setAutoFillBackground(false);
    column->addWidget(m_scrollArea, 1);

    auto* buttons = new QHBoxLayout();
    buttons->addStretch();
    m_cancelButton = new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.cancel")}, this);
    m_copyButton = new VelmoraButton(VelmoraButtonStyle::primary, {text("prompt.variable.copy")}, this);
    m_copyButton->setDefault(true);
    m_copyButton->setAccessibleDescription(text("prompt.variable.copy.hint"));
    connect(m_cancelButton, &QAbstractButton::clicked, this, &PromptVariableSheet::cancel);
    connect(m_copyButton, &QAbstractButton::clicked, this, &PromptVariableSheet::confirmOnce);
    buttons->addWidget(m_cancelButton);
    buttons->addWidget(m_copyButton);
    column->addLayout(buttons);
}

int PromptVariableSheet::heightFor(qsizetype variableCount)
{
    return int(std::min<qsizetype>(variableCount * rowHeight + chromeHeight, maximumHeight));
}

QLineEdit* PromptVariableSheet::field(const QString& normalizedName) const
{
    return m_rows.value(normalizedName).field;
}

QLabel* PromptVariableSheet::errorLabel(const QString& normalizedName) const
{
    return m_rows.value(normalizedName).error;
}

QLabel* PromptVariableSheet::requiredLabel(const QString& normalizedName) const
{
    return m_rows.value(normalizedName).required;
}

void PromptVariableSheet::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_appeared)
        return;
    m_appeared = true;
    focusVariable(m_form.variables.isEmpty()
                      ? std::nullopt
                      : std::optional<QString>(m_form.variables.constFirst().normalizedName));
}

void PromptVariableSheet::keyPressEvent(QKeyEvent* event)
{
    // Return is the default action of a single-line field; Escape cancels.
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        confirmOnce();
        return;
    case Qt::Key_Escape:
        cancel();
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void PromptVariableSheet::setValue(const QString& normalizedName, const QString& text)
{
    m_values.insert(normalizedName, text);
    if (!CharacterClasses::trimmedWhitespaceAndNewlines(text).isEmpty() &&
        m_missingRequiredNames.remove(normalizedName))
        m_rows.value(normalizedName).error->hide();
}

void PromptVariableSheet::setMissing(const QSet<QString>& names)
{
    m_missingRequiredNames = names;
    for (auto it = m_rows.cbegin(); it != m_rows.cend(); ++it)
        it->error->setVisible(names.contains(it.key()));
}

void PromptVariableSheet::focusVariable(const std::optional<QString>& normalizedName)
{
    m_focusedVariableName = normalizedName;
    if (!normalizedName)
        return;
    if (QLineEdit* target = field(*normalizedName)) {
        target->setFocus(Qt::OtherFocusReason);
        m_scrollArea->ensureWidgetVisible(target);
    }
}

void PromptVariableSheet::confirmOnce()
{
    if (m_isSubmitting)
        return;
    m_isSubmitting = true;
    m_copyButton->setEnabled(false);
    const QPointer<PromptVariableSheet> self(this);
    const PromptCopySubmissionResult result = m_onConfirm(m_values);
    // On a copy the panel has taken the sheet down; it stays submitting until it goes.
    if (!self || result.kind != PromptCopySubmissionResult::Kind::validationFailed)
        return;
    const QSet<QString> missing(result.requiredNames.cbegin(), result.requiredNames.cend());
    setMissing(missing);
    std::optional<QString> first;
    for (const PromptVariable& variable : std::as_const(m_form.variables)) {
        if (missing.contains(variable.normalizedName)) {
            first = variable.normalizedName;
            break;
        }
    }
    m_isSubmitting = false;
    m_copyButton->setEnabled(true);
    focusVariable(first);
}

void PromptVariableSheet::cancel()
{
    if (m_onCancel)
        m_onCancel();
}
