// A prompt at full length, read only: a small heading (with a copy button when asked), the title on
// at most two lines and the whole text in a selectable, scrolling block.
#pragma once

#include "PromptModels.h"
#include "PromptPanelTextSize.h"

#include <QWidget>
#include <functional>

class QPlainTextEdit;
class VelmoraButton;

class FullPromptPreviewCard : public QWidget {
    Q_OBJECT

public:
    static constexpr int cardWidth = 420;
    static constexpr int cardHeight = 320;
    static constexpr int padding = 22;
    static constexpr int spacing = 10;
    static constexpr double cornerRadius = 26.0;

    FullPromptPreviewCard(const PromptItem& prompt, bool isCopied, bool showsCopyAction,
                          std::function<void()> onCopy, PromptPanelTextSize textSize, AppLanguage language,
                          QWidget* parent = nullptr);

    void setCopied(bool isCopied);
    bool isCopied() const { return m_isCopied; }
    // Off where the window around the card draws the card's shape itself (the popover and its arrow).
    void setDrawsBackground(bool draws);
    // The card's shape in its own coordinates, and its fill and border.
    static void paintBackground(QPainter& painter, const QPainterPath& shape, bool isCopied);

    const QStringList& titleLines() const { return m_titleLines; }
    QPlainTextEdit* textView() const { return m_text; }
    VelmoraButton* copyButton() const { return m_copyButton; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void updateCopyButton();

    bool m_isCopied = false;
    bool m_drawsBackground = true;
    AppLanguage m_language;
    QStringList m_titleLines;
    QPlainTextEdit* m_text = nullptr;
    VelmoraButton* m_copyButton = nullptr;
};
