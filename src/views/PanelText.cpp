#include "PanelText.h"

#include <QEvent>

namespace PanelText {

QFont font(double pixels, QFont::Weight weight)
{
    QFont result;
    result.setPixelSize(int(pixels));
    result.setWeight(weight);
    return result;
}

QFont styled(PromptTextStyle style, PromptPanelTextSize size, QFont::Weight weight)
{
    QFont result = textStyleFont(style, size);
    result.setWeight(weight);
    return result;
}

void setColor(QWidget* widget, const QColor& color)
{
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, color);
    palette.setColor(QPalette::Text, color);
    widget->setPalette(palette);
}

QLabel* label(const QFont& font, const QColor& color, QWidget* parent, bool wraps)
{
    auto* result = new QLabel(parent);
    result->setTextFormat(Qt::PlainText);
    result->setFont(font);
    result->setWordWrap(wraps);
    if (wraps)
        result->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setColor(result, color);
    return result;
}

} // namespace PanelText

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

void ElidedLabel::setFullText(const QString& text)
{
    if (text == m_fullText && !this->text().isEmpty())
        return;
    m_fullText = text;
    elide();
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

QSize ElidedLabel::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(m_fullText), fontMetrics().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    elide();
}

void ElidedLabel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        elide();
}

void ElidedLabel::elide()
{
    // A line break would make a second line: the text stays on one.
    QString line = m_fullText;
    line.replace(u'\n', u' ');
    const QString shown = fontMetrics().elidedText(line, Qt::ElideRight, std::max(0, width()));
    if (shown != text())
        setText(shown);
}
