#include "EditorSheetParts.h"

#include "CharacterClasses.h"
#include "PromptStore.h"
#include "VelmoraBrandFieldModifier.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"

#include <QDialog>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QShortcut>
#include <QValidator>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

class SingleLineValidator : public QValidator {
public:
    using QValidator::QValidator;

    State validate(QString& input, int&) const override
    {
        for (QChar& unit : input) {
            if (unit == u'\t' || CharacterClasses::isNewlineUnit(unit.unicode()))
                unit = u' ';
        }
        return Acceptable;
    }
};

class FirstShowFocus : public QObject {
public:
    FirstShowFocus(QWidget* sheet, QWidget* field) : QObject(sheet), m_field(field) { sheet->installEventFilter(this); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Show) {
            m_field->setFocus(Qt::OtherFocusReason);
            deleteLater();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QWidget* m_field;
};

} // namespace

namespace EditorSheetParts {

QLabel* label(const QString& text, PromptTextStyle style, const QColor& color, QWidget* parent)
{
    auto* result = new QLabel(text, parent);
    result->setFont(textStyleFont(style, promptPanelTextSizeOf(parent)));
    result->setTextFormat(Qt::PlainText);
    QPalette palette = result->palette();
    palette.setColor(QPalette::WindowText, color);
    result->setPalette(palette);
    return result;
}

QLabel* heading(const QString& text, QWidget* parent)
{
    return label(text, PromptTextStyle::headline, Brand::textPrimary(), parent);
}

QLabel* secondaryCaption(const QString& text, QWidget* parent)
{
    QLabel* result = label(text, PromptTextStyle::caption, VelmoraColors::secondaryText(), parent);
    result->setWordWrap(true);
    return result;
}

QWidget* fieldHeader(const QString& title, const QString& help, QWidget* parent)
{
    auto* header = new QWidget(parent);
    auto* column = new QVBoxLayout(header);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    QLabel* titleLabel = label(title, PromptTextStyle::caption, Brand::textPrimary(), header);
    QFont font = titleLabel->font();
    font.setWeight(QFont::DemiBold);
    titleLabel->setFont(font);
    column->addWidget(titleLabel);
    if (!help.isEmpty())
        column->addWidget(secondaryCaption(help, header));
    return header;
}

QLabel* errorCaption(QWidget* parent)
{
    QLabel* caption = label({}, PromptTextStyle::caption, VelmoraColors::red(), parent);
    caption->setWordWrap(true);
    caption->setTextInteractionFlags(Qt::TextSelectableByMouse);
    caption->hide();
    return caption;
}

void showMessage(QLabel* caption, const std::optional<QString>& message)
{
    caption->setText(message.value_or(QString()));
    caption->setVisible(message && !message->isEmpty());
}

QString storeMessage(const PromptStore& store)
{
    return store.lastErrorMessage().value_or(store.statusMessage());
}

QLineEdit* singleLineField(const QString& placeholder, QWidget* parent)
{
    auto* field = new QLineEdit(parent);
    field->setPlaceholderText(placeholder);
    field->setValidator(new SingleLineValidator(field));
    VelmoraBrandFieldModifier::apply(field);
    return field;
}

QScrollArea* scrollingColumn(QWidget* parent, QVBoxLayout*& rows)
{
    auto* area = new QScrollArea(parent);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    area->viewport()->setAutoFillBackground(false);
    auto* inner = new QWidget(area);
    rows = new QVBoxLayout(inner);
    rows->setContentsMargins(0, 0, 10, 0);
    rows->setSpacing(14);
    area->setWidget(inner);
    // The rows stand on the sheet's own surface (setWidget turned the filling on).
    inner->setAutoFillBackground(false);
    return area;
}

void addButtonRow(QBoxLayout* column, VelmoraButton* cancel, VelmoraButton* primary, QWidget* sheet)
{
    auto* row = new QHBoxLayout();
    row->addStretch();
    row->addWidget(cancel);
    row->addWidget(primary);
    column->addLayout(row);
    primary->setDefault(true);
    for (const QKeyCombination keys : {Qt::CTRL | Qt::Key_Return, Qt::CTRL | Qt::Key_Enter}) {
        auto* shortcut = new QShortcut(QKeySequence(keys), sheet);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        QObject::connect(shortcut, &QShortcut::activated, primary, [primary] {
            if (primary->isEnabled())
                primary->click();
        });
    }
}

void focusOnFirstShow(QWidget* sheet, QWidget* field)
{
    new FirstShowFocus(sheet, field);
}

void dismiss(QWidget* content, bool saved)
{
    if (auto* host = qobject_cast<QDialog*>(content->window()); host && host != content)
        saved ? host->accept() : host->reject();
}

} // namespace EditorSheetParts
