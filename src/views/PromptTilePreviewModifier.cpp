#include "PromptTilePreviewModifier.h"

#include "FullPromptPreviewCard.h"

#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QWidget>

namespace {

// The window around the card: draws the card's shape with the arrow joined to it.
class PreviewWindow : public QWidget {
public:
    PreviewWindow()
        : QWidget(nullptr, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowTransparentForInput |
                               Qt::WindowDoesNotAcceptFocus)
    {
        setAttribute(Qt::WA_ShowWithoutActivating);
        setAttribute(Qt::WA_TranslucentBackground);
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setFocusPolicy(Qt::NoFocus);
        resize(FullPromptPreviewCard::cardWidth,
               FullPromptPreviewCard::cardHeight + PromptTilePreviewModifier::arrowHeight);
    }

    FullPromptPreviewCard* card = nullptr;
    bool above = false;
    double arrowX = FullPromptPreviewCard::cardWidth / 2.0;

    QPainterPath shape() const
    {
        const double arrow = PromptTilePreviewModifier::arrowHeight;
        const double half = PromptTilePreviewModifier::arrowHalfWidth;
        const QRectF body(0.5, above ? 0.5 : arrow + 0.5, width() - 1.0, height() - arrow - 1.0);
        QPainterPath path;
        path.addRoundedRect(body, FullPromptPreviewCard::cornerRadius, FullPromptPreviewCard::cornerRadius);
        QPainterPath tip;
        const double edge = above ? body.bottom() - 1.0 : body.top() + 1.0;
        const double point = above ? height() - 0.5 : 0.5;
        tip.moveTo(arrowX - half, edge);
        tip.lineTo(arrowX, point);
        tip.lineTo(arrowX + half, edge);
        tip.closeSubpath();
        return path.united(tip);
    }

    void place()
    {
        if (card)
            card->move(0, above ? 0 : PromptTilePreviewModifier::arrowHeight);
        // Without a compositing manager the window is cut to the shape, so no corner shows black.
        setMask(QRegion(shape().toFillPolygon().toPolygon()));
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        FullPromptPreviewCard::paintBackground(painter, shape(), card && card->isCopied());
    }
};

} // namespace

PromptTilePreviewModifier::PromptTilePreviewModifier(QObject* parent) : QObject(parent) {}

PromptTilePreviewModifier::~PromptTilePreviewModifier()
{
    delete m_window.data();
}

bool PromptTilePreviewModifier::isPresented() const
{
    return m_window && m_window->isVisible();
}

QRect PromptTilePreviewModifier::placement(const QRect& tile, const QRect& screen, bool& above)
{
    const QSize size(FullPromptPreviewCard::cardWidth, FullPromptPreviewCard::cardHeight + arrowHeight);
    int x = tile.center().x() + 1 - size.width() / 2;
    x = std::clamp(x, screen.left(), std::max(screen.left(), screen.right() + 1 - size.width()));
    const int below = tile.bottom() + 1 + gap;
    above = below + size.height() > screen.bottom() + 1 && tile.top() - gap - size.height() >= screen.top();
    return {QPoint(x, above ? tile.top() - gap - size.height() : below), size};
}

void PromptTilePreviewModifier::present(const PromptItem& prompt, QWidget* tile, const QRect& area,
                                        bool isCopied, PromptPanelTextSize textSize, AppLanguage language)
{
    if (!tile) {
        dismiss();
        return;
    }
    if (!m_window || prompt != m_prompt || textSize != m_textSize) {
        delete m_window.data();
        auto* window = new PreviewWindow();
        window->card = new FullPromptPreviewCard(prompt, isCopied, false, {}, textSize, language, window);
        window->card->setDrawsBackground(false);
        m_window = window;
        m_card = window->card;
        m_prompt = prompt;
        m_textSize = textSize;
    }
    m_promptID = prompt.id;
    m_anchor = tile;
    m_card->setCopied(isCopied);

    const QRect tileFrame(tile->mapToGlobal(area.topLeft()), area.size());
    const QScreen* screen = tile->screen();
    bool above = false;
    const QRect frame = placement(tileFrame, screen ? screen->availableGeometry() : tileFrame, above);
    auto* window = static_cast<PreviewWindow*>(m_window.data());
    window->above = above;
    window->arrowX = std::clamp(double(tileFrame.center().x() - frame.left()),
                                FullPromptPreviewCard::cornerRadius + arrowHalfWidth,
                                frame.width() - FullPromptPreviewCard::cornerRadius - arrowHalfWidth);
    window->setGeometry(frame);
    window->place();
    window->show();
}

void PromptTilePreviewModifier::close()
{
    if (m_window)
        m_window->hide();
    m_anchor = nullptr;
    m_promptID.clear();
}

void PromptTilePreviewModifier::dismiss()
{
    const bool wasShown = !m_promptID.isEmpty();
    close();
    if (wasShown && onDismiss)
        onDismiss();
}
