#include "FullPromptPreviewCard.h"

#include "PromptTileText.h"
#include "VelmoraAppearance.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QTextBlock>
#include <QTextCursor>
#include <QVBoxLayout>
#include <cmath>

using namespace Qt::StringLiterals;
using namespace VelmoraColors;

namespace {

void setTextColor(QWidget* widget, const QColor& color)
{
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, color);
    palette.setColor(QPalette::Text, color);
    palette.setColor(QPalette::Base, Qt::transparent);
    widget->setPalette(palette);
}

// Lines drawn with extra spacing between them, which a label can't do.
class SpacedLines : public QWidget {
public:
    SpacedLines(const QStringList& lines, const QFont& font, double spacing, const QColor& color,
                QWidget* parent)
        : QWidget(parent), m_lines(lines), m_spacing(spacing), m_color(color)
    {
        setFont(font);
        const double line = QFontMetricsF(font).height();
        const auto count = double(lines.size());
        setFixedHeight(int(std::ceil(count * line + std::max(0.0, count - 1.0) * spacing)));
        setAccessibleName(lines.join(u' '));
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setPen(m_color);
        const QFontMetricsF metrics(font());
        double y = metrics.ascent();
        for (const QString& line : m_lines) {
            painter.drawText(QPointF(0.0, y), line);
            y += metrics.height() + m_spacing;
        }
    }

private:
    QStringList m_lines;
    double m_spacing;
    QColor m_color;
};

} // namespace

FullPromptPreviewCard::FullPromptPreviewCard(const PromptItem& prompt, bool isCopied, bool showsCopyAction,
                                             std::function<void()> onCopy, PromptPanelTextSize textSize,
                                             AppLanguage language, QWidget* parent)
    : QWidget(parent), m_isCopied(isCopied), m_language(language)
{
    VelmoraAppearance::apply(this);
    promptInterfaceTextSize(this, textSize);
    setFixedSize(cardWidth, cardHeight);
    const double lineSpacing = metrics(textSize).lineSpacing;
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(spacing);

    auto* header = new QHBoxLayout();
    auto* heading = new QLabel(L10n::text(u"title.preview.full.prompt"_s, language), this);
    QFont headingFont = textStyleFont(PromptTextStyle::caption, textSize);
    headingFont.setWeight(QFont::DemiBold);
    heading->setFont(headingFont);
    setTextColor(heading, white(0.72));
    header->addWidget(heading);
    header->addStretch();
    if (showsCopyAction) {
        m_copyButton = new VelmoraButton(VelmoraButtonStyle::toolbar, {}, this);
        connect(m_copyButton, &QAbstractButton::clicked, this, [onCopy] {
            if (onCopy)
                onCopy();
        });
        header->addWidget(m_copyButton);
        updateCopyButton();
    }
    column->addLayout(header);

    const QFont titleFont = tileTitleFont(textSize);
    const int titleWidth = cardWidth - 2 * padding;
    m_titleLines = PromptTileText::lines(prompt.title, titleFont, titleWidth, 2);
    column->addWidget(new SpacedLines(m_titleLines, titleFont, lineSpacing, white(0.98), this));

    m_text = new QPlainTextEdit(this);
    m_text->setReadOnly(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setFrameShape(QFrame::NoFrame);
    m_text->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_text->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_text->viewport()->setAutoFillBackground(false);
    m_text->document()->setDocumentMargin(0);
    QFont bodyFont;
    bodyFont.setPixelSize(metrics(textSize).previewBodyPixels);
    m_text->setFont(bodyFont);
    setTextColor(m_text, white(0.9));
    m_text->setPlainText(prompt.text);
    if (lineSpacing > 0.0) {
        QTextBlockFormat spaced;
        spaced.setLineHeight(lineSpacing, QTextBlockFormat::LineDistanceHeight);
        QTextCursor cursor(m_text->document());
        cursor.select(QTextCursor::Document);
        cursor.mergeBlockFormat(spaced);
    }
    column->addWidget(m_text, 1);
}

void FullPromptPreviewCard::setCopied(bool isCopied)
{
    if (isCopied == m_isCopied)
        return;
    m_isCopied = isCopied;
    updateCopyButton();
    update();
}

void FullPromptPreviewCard::setDrawsBackground(bool draws)
{
    m_drawsBackground = draws;
    update();
}

void FullPromptPreviewCard::updateCopyButton()
{
    if (!m_copyButton)
        return;
    m_copyButton->setLabel(
        m_isCopied ? VelmoraButtonLabel{L10n::text(u"prompt.copied"_s, m_language), u"checkmark"_s}
                   : VelmoraButtonLabel{L10n::text(u"action.copy"_s, m_language), u"doc.on.doc"_s});
}

void FullPromptPreviewCard::paintBackground(QPainter& painter, const QPainterPath& shape, bool isCopied)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(shape, black(0.74));
    painter.strokePath(shape, QPen(white(isCopied ? 0.28 : 0.16), 1.0));
}

void FullPromptPreviewCard::paintEvent(QPaintEvent*)
{
    if (!m_drawsBackground)
        return;
    QPainter painter(this);
    QPainterPath shape;
    shape.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
    paintBackground(painter, shape, m_isCopied);
}
