// One prompt of the panel as a tile: title, shortcut badge, the start of the text, and at its top
// trailing corner the copy feedback or the edit menu. It paints itself in one routine (no graphics
// effects), animates its states unless told to reduce motion, and hands every action to callbacks.
// A click anywhere on its rounded shape copies. To a screen reader it is one button.
#pragma once

#include "PromptTilePresentation.h"

#include <QAbstractButton>
#include <QStaticText>
#include <QVariantAnimation>
#include <functional>

class QMenu;
class VelmoraPressScale;
class VelmoraSymbolButton;

class PromptTileView : public QAbstractButton {
    Q_OBJECT

public:
    struct Callbacks {
        std::function<void()> onCopy;
        std::function<void()> onRetry;
        std::function<void()> onEdit;
        std::function<void()> onDelete;
        std::function<void()> onTogglePinned;
        std::function<bool(PromptMoveDirection)> canMove;
        std::function<void(PromptMoveDirection)> onMove;
        std::function<void(bool)> onHoverChange;
    };

    static constexpr double cornerRadius = 18.0;
    // Room around the tile for its shadows; less than the gap between tiles, so a point on one
    // tile is never inside its neighbour's widget.
    static constexpr int shadowMargin = 8;
    static constexpr double pressedScale = 0.97;

    explicit PromptTileView(QWidget* parent = nullptr);
    ~PromptTileView() override;

    // A new model for another prompt starts afresh; for the same prompt its changes are animated.
    void setModel(const PromptTileModel& model);
    void setCallbacks(Callbacks callbacks);
    const PromptTileModel& model() const { return m_model; }
    const PromptTilePresentation& presentation() const { return m_presentation; }
    // What the state asks for; while animating, the drawn values move towards it.
    PromptTileAppearance appearance() const;
    const PromptTileAppearance& shownAppearance() const { return m_shown; }
    bool isHovered() const { return m_isHovered; }
    // Forgets the pointer, telling onHoverChange if it was over the tile.
    void clearHover();

    // The tile's own rectangle inside this widget, and the clickable shape.
    QRectF tileRect() const;
    QPainterPath tileShape() const;
    static QSize widgetSize(PromptPanelLayoutMode mode);

    VelmoraSymbolButton* retryButton() const { return m_retryButton; }
    VelmoraSymbolButton* moreButton() const { return m_moreButton; }
    // The edit menu as the more button shows it, built from the current model; a move item is
    // enabled only with ordering allowed and that move possible.
    QMenu* makeEditMenu(QWidget* parent);
    QStringList titleLines() const;
    QStringList bodyLines() const;
    double pressScale() const;

Q_SIGNALS:
    // The edit menu opened or closed: while it is open the pointer counts as over the panel.
    void popupVisibilityChanged(bool visible);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    bool hitButton(const QPoint& position) const override;

private:
    struct TextBlock {
        QList<QStaticText> lines;
        QFont font;
        QPointF origin;
        double lineAdvance = 0.0;
        QColor color;
    };

    void setHovered(bool hovered);
    void relayoutText();
    void placeOverlays();
    void animateTo(const PromptTileAppearance& target, int milliseconds);
    void showEditMenu();
    void paintSurface(QPainter& painter, const QRectF& tile);
    void paintContent(QPainter& painter, const QRectF& tile);
    void paintOverlays(QPainter& painter, const QRectF& tile);

    PromptTileModel m_model;
    PromptTilePresentation m_presentation;
    Callbacks m_callbacks;
    bool m_isHovered = false;
    bool m_hasModel = false;
    PromptTileAppearance m_shown;
    PromptTileAppearance m_from;
    PromptTileAppearance m_to;
    QVariantAnimation m_animation;
    VelmoraPressScale* m_press = nullptr;
    VelmoraSymbolButton* m_retryButton = nullptr;
    VelmoraSymbolButton* m_moreButton = nullptr;
    TextBlock m_title;
    TextBlock m_body;
    QStringList m_titleText;
    QStringList m_bodyText;
    QString m_badgeText;
    QRectF m_badgeRect;
    QRectF m_metaPinRect;
};
