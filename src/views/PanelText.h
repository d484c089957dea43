// Labels of the panel's header, banners and empty states: a font at a pixel size and weight (or a
// named text style), a colour, plain text; long texts are elided to the width they get, or wrap.
#pragma once

#include "PromptPanelTextSize.h"

#include <QColor>
#include <QFont>
#include <QLabel>

namespace PanelText {

QFont font(double pixels, QFont::Weight weight = QFont::Normal);
QFont styled(PromptTextStyle style, PromptPanelTextSize size, QFont::Weight weight = QFont::Normal);
void setColor(QWidget* widget, const QColor& color);
QLabel* label(const QFont& font, const QColor& color, QWidget* parent, bool wraps = false);

} // namespace PanelText

// A one-line label that cuts its text at the tail to whatever width the layout gives it, so that a
// long name never widens the panel.
class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    void setFullText(const QString& text);
    const QString& fullText() const { return m_fullText; }

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void elide();

    QString m_fullText;
};
