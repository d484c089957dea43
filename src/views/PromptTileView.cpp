#include "PromptTileView.h"

#include "PromptPanelLayout.h"
#include "PromptTileText.h"
#include "SoftShadow.h"
#include "VelmoraAppearance.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraPressScale.h"
#include "VelmoraSymbolButton.h"
#include "VelmoraSymbols.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QFontMetricsF>
#include <QHash>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <cmath>

using namespace Qt::StringLiterals;
using namespace VelmoraColors;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

constexpr double overlayInset = 10.0;
constexpr double feedbackBadgeSide = 22.0;
constexpr double menuButtonSide = 20.0;
constexpr double selectedBadgeInset = 7.0;
constexpr double selectedBadgeSide = 16.0;
constexpr double metaRowHeight = 18.0;
constexpr double stackSpacing = 8.0; // grid: between title, meta row and body
constexpr double listBlockWidth = 170.0;
constexpr double listBlockSpacing = 10.0;
constexpr double listColumnGap = 16.0;

QFont badgeFont()
{
    QFont font;
    font.setPixelSize(11);
    font.setWeight(QFont::Bold);
    return font;
}

QPainterPath roundedRect(const QRectF& rect, double radius)
{
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

// To a screen reader the tile is one button with the tile's label, hint and state as its value.
class PromptTileAccessible : public QAccessibleWidget {
public:
    explicit PromptTileAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::Button) {}

    QString text(QAccessible::Text kind) const override
    {
        const auto* tile = static_cast<const PromptTileView*>(widget());
        switch (kind) {
        case QAccessible::Name:
            return tile->presentation().accessibilityLabel;
        case QAccessible::Description:
            return tile->presentation().accessibilityHint;
        case QAccessible::Value:
            return tile->presentation().accessibilityValue;
        default:
            return QAccessibleWidget::text(kind);
        }
    }

    QStringList actionNames() const override { return {pressAction()}; }

    void doAction(const QString& name) override
    {
        if (name == pressAction())
            static_cast<PromptTileView*>(widget())->click();
    }
};

QAccessibleInterface* accessibleTile(const QString& className, QObject* object)
{
    if (className == "PromptTileView"_L1 && object && object->isWidgetType())
        return new PromptTileAccessible(static_cast<QWidget*>(object));
    return nullptr;
}

// The two shadows of a tile, drawn once per layout and pixel ratio at full strength; a tile draws
// them at the opacity of the moment. A shadow follows what casts it: the opaque border strongly,
// the faint fill only faintly, so the tile's inside isn't tinted by its own shadow.
const QImage& shadowImage(PromptPanelLayoutMode mode, bool accent, qreal devicePixelRatio)
{
    static QHash<QString, QImage> cache;
    const QString key = u"%1/%2/%3"_s.arg(toRawValue(mode)).arg(accent).arg(devicePixelRatio);
    auto found = cache.find(key);
    if (found == cache.end()) {
        const QSize size = PromptTileView::widgetSize(mode);
        const QRectF tile(QPointF(PromptTileView::shadowMargin, PromptTileView::shadowMargin),
                          QSizeF(PromptPanelLayout::tileSize(mode)));
        const QPainterPath shape = roundedRect(tile, PromptTileView::cornerRadius);
        QPainterPathStroker stroker;
        stroker.setWidth(3.2);
        const QPainterPath ring = stroker
                                      .createStroke(roundedRect(tile.adjusted(0.8, 0.8, -0.8, -0.8),
                                                                PromptTileView::cornerRadius - 0.8))
                                      .intersected(shape);
        const QColor color = accent ? Brand::accent() : QColor(Qt::black);
        const double radius = accent ? 6.0 : 3.0;
        const QPointF offset = accent ? QPointF() : QPointF(0.0, 2.0);
        QImage image = SoftShadow::render(ring, size, color, radius, offset, devicePixelRatio);
        QPainter painter(&image);
        painter.drawImage(QPointF(), SoftShadow::render(shape, size, withOpacity(color, 0.1), radius, offset,
                                                        devicePixelRatio));
        painter.end();
        found = cache.insert(key, image);
    }
    return *found;
}

} // namespace

PromptTileView::PromptTileView(QWidget* parent) : QAbstractButton(parent)
{
    static const bool factoryInstalled = [] {
        QAccessible::installFactory(accessibleTile);
        return true;
    }();
    Q_UNUSED(factoryInstalled);

    setMouseTracking(true);
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
    m_animation.setEasingCurve(VelmoraCurves::easeOut());
    m_animation.setStartValue(0.0);
    m_animation.setEndValue(1.0);
    connect(&m_animation, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        m_shown = PromptTileAppearance::interpolate(m_from, m_to, value.toDouble());
        update();
    });
    m_press = new VelmoraPressScale([this] { update(); }, this);
    connect(this, &QAbstractButton::pressed, this,
            [this] { m_press->setPressed(true, pressedScale, m_model.reduceMotion); });
    connect(this, &QAbstractButton::released, this,
            [this] { m_press->setPressed(false, pressedScale, m_model.reduceMotion); });
    connect(this, &QAbstractButton::clicked, this, [this] {
        // A copy of the callback runs: the copy may rebind this tile, callbacks and all.
        if (const auto onCopy = m_callbacks.onCopy)
            onCopy();
    });

    m_retryButton =
        new VelmoraSymbolButton(QString(), QSize(int(feedbackBadgeSide), int(feedbackBadgeSide)), this);
    m_retryButton->setLook({u"arrow.clockwise"_s, 11.0, Qt::white, red(0.9)});
    m_retryButton->hide();
    connect(m_retryButton, &QAbstractButton::clicked, this, [this] {
        if (const auto onRetry = m_callbacks.onRetry)
            onRetry();
    });
    m_moreButton = new VelmoraSymbolButton(QString(), QSize(int(menuButtonSide), int(menuButtonSide)), this);
    m_moreButton->setLook({u"ellipsis"_s, 12.0, white(0.72)});
    m_moreButton->hide();
    connect(m_moreButton, &QAbstractButton::clicked, this, &PromptTileView::showEditMenu);
}

PromptTileView::~PromptTileView() = default;

QSize PromptTileView::widgetSize(PromptPanelLayoutMode mode)
{
    return PromptPanelLayout::tileSize(mode) + QSize(2 * shadowMargin, 2 * shadowMargin);
}

QRectF PromptTileView::tileRect() const
{
    return {QPointF(shadowMargin, shadowMargin), QSizeF(PromptPanelLayout::tileSize(m_model.layoutMode))};
}

QPainterPath PromptTileView::tileShape() const
{
    return roundedRect(tileRect(), cornerRadius);
}

PromptTileAppearance PromptTileView::appearance() const
{
    return PromptTileAppearance::resolve(m_model, m_isHovered);
}

double PromptTileView::pressScale() const
{
    return m_press->value();
}

QStringList PromptTileView::titleLines() const
{
    return m_titleText;
}

QStringList PromptTileView::bodyLines() const
{
    return m_bodyText;
}

void PromptTileView::setCallbacks(Callbacks callbacks)
{
    m_callbacks = std::move(callbacks);
}

void PromptTileView::setModel(const PromptTileModel& model)
{
    const bool sameTile = m_hasModel && model.prompt.id == m_model.prompt.id;
    if (sameTile && model == m_model)
        return;
    if (!sameTile)
        clearHover();
    const PromptTileModel old = m_model;
    m_model = model;
    const bool textChanged =
        !sameTile || old.prompt.title != model.prompt.title || old.prompt.text != model.prompt.text ||
        old.prompt.isPinned != model.prompt.isPinned || old.prompt.shortcut != model.prompt.shortcut ||
        old.layoutMode != model.layoutMode || old.promptPanelTextSize != model.promptPanelTextSize ||
        old.isEditable != model.isEditable || old.shortcutNumber != model.shortcutNumber ||
        old.tileShortcut != model.tileShortcut || !m_hasModel;
    m_hasModel = true;

    const PromptTilePresentation previous = m_presentation;
    m_presentation = PromptTilePresentation::make(model);
    if (QAccessible::isActive()) {
        if (previous.accessibilityLabel != m_presentation.accessibilityLabel) {
            QAccessibleEvent event(this, QAccessible::NameChanged);
            QAccessible::updateAccessibility(&event);
        }
        if (previous.accessibilityValue != m_presentation.accessibilityValue) {
            QAccessibleValueChangeEvent event(this, m_presentation.accessibilityValue);
            QAccessible::updateAccessibility(&event);
        }
    }
    if (size() != widgetSize(model.layoutMode))
        resize(widgetSize(model.layoutMode));
    if (textChanged)
        relayoutText();
    placeOverlays();

    const PromptTileAppearance target = appearance();
    if (!sameTile || model.reduceMotion) {
        m_animation.stop();
        m_shown = m_from = m_to = target;
    } else if (old.isCopied() != model.isCopied()) {
        animateTo(target, 120);
    } else if (old.isSelected != model.isSelected) {
        animateTo(target, 140);
    } else {
        animateTo(target, 160);
    }
    update();
}

void PromptTileView::animateTo(const PromptTileAppearance& target, int milliseconds)
{
    if (target == m_to && (m_animation.state() == QAbstractAnimation::Running || m_shown == target))
        return;
    m_animation.stop();
    if (m_model.reduceMotion) {
        m_shown = m_from = m_to = target;
        update();
        return;
    }
    m_from = m_shown;
    m_to = target;
    m_animation.setDuration(milliseconds);
    m_animation.start();
}

void PromptTileView::setHovered(bool hovered)
{
    if (hovered == m_isHovered)
        return;
    m_isHovered = hovered;
    animateTo(appearance(), 160);
    if (const auto onHoverChange = m_callbacks.onHoverChange)
        onHoverChange(hovered);
}

void PromptTileView::clearHover()
{
    setHovered(false);
}

void PromptTileView::mouseMoveEvent(QMouseEvent* event)
{
    setHovered(tileShape().contains(event->position()));
    QAbstractButton::mouseMoveEvent(event);
}

void PromptTileView::leaveEvent(QEvent* event)
{
    setHovered(false);
    QAbstractButton::leaveEvent(event);
}

bool PromptTileView::hitButton(const QPoint& position) const
{
    return tileShape().contains(QPointF(position));
}

void PromptTileView::placeOverlays()
{
    const PromptTileAppearance target = appearance();
    const QRectF tile = tileRect();
    m_retryButton->setName(L10n::text(u"action.retry.copy"_s, m_model.language));
    m_moreButton->setName(L10n::text(u"help.more"_s, m_model.language));
    m_retryButton->move(int(tile.right() - overlayInset - feedbackBadgeSide), int(tile.top() + overlayInset));
    m_moreButton->move(int(tile.right() - overlayInset - menuButtonSide), int(tile.top() + overlayInset));
    m_retryButton->setVisible(target.overlay == PromptTileAppearance::Overlay::retryButton);
    m_moreButton->setVisible(target.overlay == PromptTileAppearance::Overlay::editControls);
}

void PromptTileView::relayoutText()
{
    const PromptPanelTextSizeMetrics& sizes = metrics(m_model.promptPanelTextSize);
    const QFont& titleFont = m_presentation.titleFont;
    const QFont& bodyFont = m_presentation.bodyFont;
    const double titleLine = QFontMetricsF(titleFont).height();
    const double bodyLine = QFontMetricsF(bodyFont).height();
    const double padding = PromptPanelLayout::tilePadding(m_model.layoutMode);
    const QRectF content = tileRect().adjusted(padding, padding, -padding, -padding);
    const double inset = m_model.titleTrailingInset();
    m_badgeText = m_model.shortcutBadgeText();
    const bool showsMetaPin = m_model.prompt.isPinned && !m_model.isEditable;
    const double metaHeight = !m_badgeText.isEmpty() || showsMetaPin ? metaRowHeight : 0.0;
    const bool hasBody = !m_model.prompt.text.isEmpty();
    const auto titleHeight = [&](qsizetype lines) {
        return lines <= 0 ? 0.0 : double(lines) * titleLine + double(lines - 1) * sizes.lineSpacing;
    };

    double titleWidth = 0.0;
    double bodyWidth = 0.0;
    int titleLimit = 2;
    int bodyLimit = 2;
    QPointF metaOrigin;
    QPointF bodyOrigin;
    if (PromptPanelLayout::isList(m_model.layoutMode)) {
        titleWidth = listBlockWidth;
        // The title keeps the room of the meta row below it in the left block.
        const double room = content.height() - (metaHeight > 0.0 ? listBlockSpacing + metaHeight : 0.0);
        titleLimit =
            std::clamp(int(std::floor((room + sizes.lineSpacing) / (titleLine + sizes.lineSpacing))), 1, 2);
        bodyOrigin = QPointF(content.left() + listBlockWidth + listColumnGap, content.top());
        // The accessories and the feedback badge at the top trailing corner stand over the body's end
        // in this layout; the room is kept whether or not they show, so the text never reflows.
        bodyWidth = content.right() - bodyOrigin.x() - std::max(inset, feedbackBadgeSide + 2.0);
        bodyLimit = std::clamp(int(std::floor(content.height() / bodyLine)), 1, 2);
        m_titleText = PromptTileText::lines(m_model.prompt.title, titleFont, titleWidth, titleLimit);
        metaOrigin =
            QPointF(content.left(), content.top() + titleHeight(m_titleText.size()) + listBlockSpacing);
    } else {
        titleWidth = content.width() - inset;
        bodyWidth = content.width();
        m_titleText = PromptTileText::lines(m_model.prompt.title, titleFont, titleWidth, 2);
        // The body keeps at least one line: a long title gives up its second line for it.
        const auto bodyRoom = [&](qsizetype titleLines) {
            return content.height() - titleHeight(titleLines) - stackSpacing - metaHeight - stackSpacing;
        };
        if (hasBody && m_titleText.size() > 1 && bodyRoom(m_titleText.size()) < bodyLine)
            m_titleText = PromptTileText::lines(m_model.prompt.title, titleFont, titleWidth, 1);
        bodyLimit = std::min(sizes.gridBodyLines, int(std::floor(bodyRoom(m_titleText.size()) / bodyLine)));
        metaOrigin = QPointF(content.left(), content.top() + titleHeight(m_titleText.size()) + stackSpacing);
        bodyOrigin = QPointF(content.left(), metaOrigin.y() + metaHeight + stackSpacing);
    }
    // The selected badge stands at the bottom trailing corner: a last line that reaches down to it
    // stops short of it, whether or not it shows, so the text never reflows.
    const double badgeTop = tileRect().bottom() - selectedBadgeInset - selectedBadgeSide;
    const double bodyBottom = bodyOrigin.y() + std::max(0, bodyLimit) * bodyLine;
    const double lastLineWidth = bodyBottom > badgeTop ? tileRect().right() - selectedBadgeInset -
                                                             selectedBadgeSide - 3.0 - bodyOrigin.x()
                                                       : bodyWidth;
    m_bodyText = PromptTileText::lines(m_model.prompt.text, bodyFont, bodyWidth, std::max(0, bodyLimit),
                                       std::min(bodyWidth, lastLineWidth));

    const auto block = [](const QStringList& lines, const QFont& font, QPointF origin, double advance,
                          const QColor& color) {
        TextBlock result{{}, font, origin, advance, color};
        for (const QString& line : lines) {
            QStaticText text(line);
            text.setTextFormat(Qt::PlainText);
            text.setPerformanceHint(QStaticText::AggressiveCaching);
            text.prepare(QTransform(), font);
            result.lines.append(text);
        }
        return result;
    };
    m_title =
        block(m_titleText, titleFont, content.topLeft(), titleLine + sizes.lineSpacing, Brand::textPrimary());
    m_body = block(m_bodyText, bodyFont, bodyOrigin, bodyLine, white(0.62));

    // The meta row: the badge at the start, the pin of a read-only prompt at the end.
    const double rowWidth = PromptPanelLayout::isList(m_model.layoutMode) ? listBlockWidth : content.width();
    const double badgeWidth =
        std::min(rowWidth - (showsMetaPin ? 18.0 : 0.0),
                 std::ceil(QFontMetricsF(badgeFont()).horizontalAdvance(m_badgeText)) + 16.0);
    m_badgeRect = m_badgeText.isEmpty() ? QRectF() : QRectF(metaOrigin, QSizeF(badgeWidth, metaRowHeight));
    m_metaPinRect =
        showsMetaPin ? QRectF(metaOrigin.x() + rowWidth - 14.0, metaOrigin.y(), 14.0, 18.0) : QRectF();
}

void PromptTileView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF tile = tileRect();
    const double scale = m_shown.scale * m_press->value();
    if (!qFuzzyCompare(scale, 1.0)) {
        painter.translate(tile.center());
        painter.scale(scale, scale);
        painter.translate(-tile.center());
    }
    paintSurface(painter, tile);
    paintContent(painter, tile);
    paintOverlays(painter, tile);
}

void PromptTileView::paintSurface(QPainter& painter, const QRectF& tile)
{
    const qreal ratio = devicePixelRatioF();
    const auto drawShadow = [&](bool accent, double opacity) {
        if (opacity <= 0.001)
            return;
        painter.setOpacity(opacity);
        painter.drawImage(QPointF(0.0, 0.0), shadowImage(m_model.layoutMode, accent, ratio));
        painter.setOpacity(1.0);
    };
    drawShadow(true, m_shown.accentShadowOpacity);
    drawShadow(false, m_shown.blackShadowOpacity);

    painter.fillPath(roundedRect(tile, cornerRadius), white(m_shown.fillOpacity));
    // Borders stroked inside the shape.
    const auto strokeInside = [&](double width, const QColor& color) {
        const double half = width / 2.0;
        painter.strokePath(roundedRect(tile.adjusted(half, half, -half, -half), cornerRadius - half),
                           QPen(color, width));
    };
    strokeInside(m_shown.borderWidth, m_shown.borderColor);
    if (m_shown.copiedBorderOpacity > 0.001)
        strokeInside(1.2, green(m_shown.copiedBorderOpacity));
}

void PromptTileView::paintContent(QPainter& painter, const QRectF&)
{
    for (const TextBlock* block : {&m_title, &m_body}) {
        painter.setPen(block->color);
        painter.setFont(block->font);
        for (qsizetype index = 0; index < block->lines.size(); ++index)
            painter.drawStaticText(block->origin + QPointF(0.0, double(index) * block->lineAdvance),
                                   block->lines.at(index));
    }
    if (!m_badgeRect.isNull()) {
        const bool selected = m_model.isSelected;
        painter.setPen(Qt::NoPen);
        painter.setBrush(selected ? withOpacity(Brand::accent(), 0.14) : white(0.1));
        painter.drawRoundedRect(m_badgeRect, metaRowHeight / 2.0, metaRowHeight / 2.0);
        painter.setFont(badgeFont());
        painter.setPen(selected ? Brand::accent() : white(0.72));
        const QRectF text = m_badgeRect.adjusted(8.0, 0.0, -8.0, 0.0);
        painter.drawText(
            text, Qt::AlignCenter | Qt::TextSingleLine,
            QFontMetricsF(badgeFont()).elidedText(m_badgeText, Qt::ElideRight, text.width() + 0.5));
    }
    if (!m_metaPinRect.isNull())
        VelmoraSymbols::paint(painter, u"pin.fill"_s, m_metaPinRect, 10.0, white(0.72));
}

void PromptTileView::paintOverlays(QPainter& painter, const QRectF& tile)
{
    const PromptTileAppearance target = appearance();
    const double top = tile.top() + overlayInset;
    const double right = tile.right() - overlayInset;
    if (target.overlay == PromptTileAppearance::Overlay::copiedBadge) {
        const QRectF circle(right - feedbackBadgeSide, top, feedbackBadgeSide, feedbackBadgeSide);
        painter.setPen(Qt::NoPen);
        painter.setBrush(withOpacity(Brand::accent(), 0.94));
        painter.drawEllipse(circle);
        VelmoraSymbols::paint(painter, u"checkmark"_s, circle, 12.0, black(0.86));
    }
    if (target.showsTopPin) {
        const QRectF pin(right - menuButtonSide - 4.0 - 14.0, top, 14.0, 20.0);
        VelmoraSymbols::paint(painter, u"pin.fill"_s, pin, 10.0, white(0.72));
    }
    if (target.showsSelectedBadge) {
        const QRectF circle(tile.right() - selectedBadgeInset - selectedBadgeSide,
                            tile.bottom() - selectedBadgeInset - selectedBadgeSide, selectedBadgeSide,
                            selectedBadgeSide);
        painter.setPen(Qt::NoPen);
        painter.setBrush(black(0.36));
        painter.drawEllipse(circle);
        VelmoraSymbols::paint(
            painter, u"circle.inset.filled"_s, circle,
            textStyleFont(PromptTextStyle::caption, m_model.promptPanelTextSize).pixelSize(), Qt::white);
    }
}

QMenu* PromptTileView::makeEditMenu(QWidget* parent)
{
    auto* menu = new QMenu(parent);
    VelmoraAppearance::apply(menu);
    const Callbacks callbacks = m_callbacks;
    const AppLanguage language = m_model.language;
    const auto add = [&](const char* key, std::function<void()> action, bool enabled = true) {
        QAction* item = menu->addAction(L10n::text(QString::fromLatin1(key), language));
        item->setEnabled(enabled);
        QObject::connect(item, &QAction::triggered, menu, [action] {
            if (action)
                action();
        });
        return item;
    };
    add("action.edit", callbacks.onEdit);
    add(m_model.prompt.isPinned ? "action.unpin" : "action.pin", callbacks.onTogglePinned);
    menu->addSeparator();
    const std::pair<const char*, PromptMoveDirection> moves[] = {
        {"action.move.up", PromptMoveDirection::up},
        {"action.move.down", PromptMoveDirection::down},
        {"action.move.top", PromptMoveDirection::top},
        {"action.move.bottom", PromptMoveDirection::bottom},
    };
    for (const auto& [key, direction] : moves) {
        const auto onMove = callbacks.onMove;
        const bool enabled = m_model.allowsOrdering && callbacks.canMove && callbacks.canMove(direction);
        add(
            key,
            [onMove, direction = direction] {
                if (onMove)
                    onMove(direction);
            },
            enabled);
    }
    menu->addSeparator();
    add("action.delete", callbacks.onDelete);
    return menu;
}

void PromptTileView::showEditMenu()
{
    QMenu* menu = makeEditMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu, &QMenu::aboutToHide, this, [this] { Q_EMIT popupVisibilityChanged(false); });
    Q_EMIT popupVisibilityChanged(true);
    menu->popup(m_moreButton->mapToGlobal(QPoint(0, m_moreButton->height() + 2)));
}
