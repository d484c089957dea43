#include "VelmoraButton.h"

#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraPressScale.h"
#include "VelmoraSymbols.h"

#include <QEvent>
#include <QFontMetrics>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <cmath>

using namespace VelmoraColors;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

constexpr double iconGap = 6.0;

VelmoraButtonLook flat(QColor foreground, QColor background, QColor border = Qt::transparent)
{
    VelmoraButtonLook look;
    look.foreground = foreground;
    look.backgroundTop = background;
    look.backgroundBottom = background;
    look.border = border;
    return look;
}

} // namespace

VelmoraButtonLabel VelmoraBottomToolbarLabel::label() const
{
    VelmoraButtonLabel result{title, systemImage, 13.0, std::nullopt, 13, std::nullopt};
    if (isPrimary) {
        result.iconPixels = 17.0;
        result.iconColor = Brand::accent();
    }
    return result;
}

VelmoraButtonLabel PromptPanelActionLabel::label() const
{
    return {title,        systemImage, 13.0,
            std::nullopt, 13,          isAccent ? withOpacity(Brand::accent(), 0.14) : white(0.075)};
}

VelmoraButtonLook VelmoraButtonLook::resolve(VelmoraButtonStyle style, bool isPrimary, bool isDestructive,
                                             bool enabled, bool pressed)
{
    VelmoraButtonLook look;
    switch (style) {
    case VelmoraButtonStyle::bottomToolbar:
        look = flat(white(enabled ? 0.92 : 0.46), white(pressed ? 0.14 : 0.075), white(0.08));
        look.cornerRadius = 12.0;
        look.minimumHeight = 40;
        break;
    case VelmoraButtonStyle::panelAction:
        look = flat(white(enabled ? 0.9 : 0.46), white(pressed ? 0.14 : 0.1), white(0.11));
        look.backgroundBottom = white(pressed ? 0.09 : 0.055);
        look.cornerRadius = 15.0;
        look.minimumHeight = 30;
        look.sidePadding = 14;
        break;
    case VelmoraButtonStyle::toolbar:
        look = isPrimary ? flat(Qt::black, white(pressed ? 0.78 : 0.92))
                         : flat(white(0.9), white(pressed ? 0.2 : 0.11), white(0.09));
        look.minimumHeight = 30;
        look.sidePadding = 10;
        look.opacity = enabled ? 1.0 : 0.46;
        break;
    case VelmoraButtonStyle::primary:
        look = flat(withOpacity(Brand::onAccent(), enabled ? 1.0 : 0.55),
                    withOpacity(Brand::accent(), !enabled  ? 0.28
                                                 : pressed ? 0.78
                                                           : 1.0));
        look.weight = QFont::DemiBold;
        look.sidePadding = 14;
        break;
    case VelmoraButtonStyle::secondary:
        look = flat(enabled ? withOpacity(Brand::textPrimary(), 0.96) : withOpacity(Brand::steel(), 0.38),
                    withOpacity(Brand::surface(), !enabled  ? 0.16
                                                  : pressed ? 0.78
                                                            : 1.0),
                    Brand::border());
        break;
    case VelmoraButtonStyle::settingsAction: {
        const QColor tint = isDestructive ? red() : Qt::white;
        const QColor text = isDestructive ? red() : withOpacity(Brand::textPrimary(), 0.98);
        look = flat(enabled ? text : withOpacity(Brand::steel(), 0.38), withOpacity(tint, !enabled  ? 0.045
                                                                                          : pressed ? 0.22
                                                                                                    : 0.14));
        look.weight = QFont::Medium;
        look.minimumHeight = 30;
        break;
    }
    }
    return look;
}

VelmoraButton::VelmoraButton(VelmoraButtonStyle style, const VelmoraButtonLabel& label, QWidget* parent)
    : QPushButton(label.title, parent), m_style(style), m_label(label)
{
    m_scale = new VelmoraPressScale([this] { update(); }, this);
    setAutoDefault(false);
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
    connect(this, &QAbstractButton::pressed, this,
            [this] { m_scale->setPressed(true, look().pressedScale, m_reduceMotion); });
    connect(this, &QAbstractButton::released, this,
            [this] { m_scale->setPressed(false, look().pressedScale, m_reduceMotion); });
}

void VelmoraButton::setLabel(const VelmoraButtonLabel& label)
{
    m_label = label;
    setText(label.title);
    updateGeometry();
    update();
}

void VelmoraButton::setPrimary(bool isPrimary)
{
    m_isPrimary = isPrimary;
    update();
}

void VelmoraButton::setDestructive(bool isDestructive)
{
    m_isDestructive = isDestructive;
    update();
}

VelmoraButtonLook VelmoraButton::look() const
{
    return VelmoraButtonLook::resolve(m_style, m_isPrimary, m_isDestructive, isEnabled(), isDown());
}

double VelmoraButton::pressScale() const
{
    return m_scale->value();
}

QFont VelmoraButton::titleFont() const
{
    QFont result = font();
    if (m_label.titlePixels > 0)
        result.setPixelSize(m_label.titlePixels);
    result.setWeight(look().weight);
    return result;
}

QSize VelmoraButton::sizeHint() const
{
    const VelmoraButtonLook current = look();
    const QFontMetricsF metrics(titleFont());
    double width = 2.0 * current.sidePadding + std::ceil(metrics.horizontalAdvance(m_label.title)) + 1.0;
    if (!m_label.systemImage.isEmpty())
        width += m_label.iconPixels + (m_label.title.isEmpty() ? 0.0 : iconGap);
    const double height = std::max<double>(current.minimumHeight, std::ceil(metrics.height()) + 10.0);
    return {int(std::ceil(width)), int(height)};
}

void VelmoraButton::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::EnabledChange)
        updateGeometry();
    QPushButton::changeEvent(event);
}

void VelmoraButton::paintEvent(QPaintEvent*)
{
    const VelmoraButtonLook current = look();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(current.opacity);
    const QRectF bounds = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const double scale = m_scale->value();
    painter.translate(bounds.center());
    painter.scale(scale, scale);
    painter.translate(-bounds.center());

    QPainterPath shape;
    shape.addRoundedRect(bounds, current.cornerRadius, current.cornerRadius);
    QLinearGradient fill(bounds.topLeft(), bounds.bottomLeft());
    fill.setColorAt(0.0, current.backgroundTop);
    fill.setColorAt(1.0, current.backgroundBottom);
    painter.fillPath(shape, fill);
    if (m_label.background)
        painter.fillPath(shape, *m_label.background);
    if (current.border.alpha() > 0)
        painter.strokePath(shape, QPen(current.border, current.borderWidth));
    if (hasFocus() && focusPolicy() != Qt::NoFocus)
        painter.strokePath(shape, QPen(withOpacity(Brand::accent(), 0.8), 1.5));

    // The label, centred: symbol, gap, title.
    const QFont font = titleFont();
    const QFontMetricsF metrics(font);
    const bool hasIcon = !m_label.systemImage.isEmpty();
    const double textWidth =
        std::min(metrics.horizontalAdvance(m_label.title),
                 width() - 2.0 * current.sidePadding - (hasIcon ? m_label.iconPixels + iconGap : 0.0));
    const double contentWidth =
        (hasIcon ? m_label.iconPixels + (m_label.title.isEmpty() ? 0.0 : iconGap) : 0.0) +
        std::max(0.0, textWidth);
    double x = bounds.center().x() - contentWidth / 2.0;
    if (hasIcon) {
        const QRectF box(x, bounds.center().y() - m_label.iconPixels / 2.0, m_label.iconPixels,
                         m_label.iconPixels);
        VelmoraSymbols::paint(painter, m_label.systemImage, box, m_label.iconPixels,
                              m_label.iconColor.value_or(current.foreground));
        x += m_label.iconPixels + iconGap;
    }
    painter.setFont(font);
    painter.setPen(current.foreground);
    const QString title = metrics.elidedText(m_label.title, Qt::ElideRight, std::max(0.0, textWidth) + 0.5);
    painter.drawText(QRectF(x, bounds.top(), std::max(0.0, textWidth) + 1.0, bounds.height()),
                     Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, title);
}
