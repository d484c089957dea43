#include "EnvironmentInfoPopoverView.h"

#include "EnvironmentOverviewPresentation.h"
#include "PanelText.h"
#include "SourceNoticeView.h"
#include "VelmoraAppearance.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSymbols.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>

using namespace VelmoraColors;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

// One row: the icon in an 18-wide frame, the title, and the value cut at the tail.
class EnvironmentOverviewItemView : public QWidget {
public:
    EnvironmentOverviewItemView(const EnvironmentOverviewItem& item, QWidget* parent)
        : QWidget(parent), m_symbol(item.systemImage)
    {
        auto* row = new QHBoxLayout(this);
        row->setContentsMargins(26, 6, 0, 6);
        row->setSpacing(8);
        auto* title = PanelText::label(PanelText::font(12), white(0.64), this);
        title->setText(item.title);
        value = new ElidedLabel(this);
        value->setFont(PanelText::font(13));
        PanelText::setColor(value, Brand::textPrimary());
        value->setFullText(item.value);
        value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        row->addWidget(title);
        row->addWidget(value, 1);
    }

    ElidedLabel* value = nullptr;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        VelmoraSymbols::paint(painter, m_symbol, QRectF(0, 0, 18, height()), 13, white(0.72));
    }

private:
    QString m_symbol;
};

QWidget* divider(QWidget* parent)
{
    auto* line = new QWidget(parent);
    line->setFixedHeight(1);
    line->setAutoFillBackground(true);
    QPalette palette = line->palette();
    palette.setColor(QPalette::Window, white(0.08));
    line->setPalette(palette);
    return line;
}

} // namespace

EnvironmentInfoPopoverView::EnvironmentInfoPopoverView(QWidget* parent)
    : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint)
{
    VelmoraAppearance::apply(this);
    setAttribute(Qt::WA_TranslucentBackground);
    // The click that closes the popup outside isn't handed on: on the info button it would open it again.
    setAttribute(Qt::WA_NoMouseReplay);
    setFixedWidth(popoverWidth);
    m_rows = new QVBoxLayout(this);
    m_rows->setContentsMargins(14, 14 + arrowHeight, 14, 14);
    m_rows->setSpacing(4);
}

void EnvironmentInfoPopoverView::setState(const State& state)
{
    while (QLayoutItem* item = m_rows->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    m_values.clear();
    m_hints.clear();
    m_title = PanelText::label(PanelText::font(15, QFont::DemiBold), Brand::textPrimary(), this);
    m_title->setText(L10n::text(QStringLiteral("environment.overview.title"), state.language));
    m_rows->addWidget(m_title);
    const QList<EnvironmentOverviewItem> items = EnvironmentOverviewPresentation::items(
        state.context, state.workspace, state.matchDetails, state.language);
    for (qsizetype index = 0; index < items.size(); ++index) {
        if (index > 0)
            m_rows->addWidget(divider(this));
        auto* row = new EnvironmentOverviewItemView(items.at(index), this);
        m_values.append(row->value);
        m_rows->addWidget(row);
    }
    QStringList hints;
    if (state.needsAutomationPermission)
        hints.append(L10n::text(QStringLiteral("automation.permission.hint"), state.language));
    if (state.detectionErrorMessage)
        hints.append(*state.detectionErrorMessage);
    for (const QString& hint : std::as_const(hints)) {
        QLabel* label = PanelText::label(PanelText::styled(PromptTextStyle::caption, state.textSize),
                                         SourceNoticeView::orange(), this, true);
        label->setText(hint);
        m_hints.append(label);
        m_rows->addWidget(label);
    }
    setToolTip(EnvironmentOverviewPresentation::diagnosticTooltip(state.statusMessage, state.workspace,
                                                                  state.matchDetails, state.language));
    adjustSize();
}

QStringList EnvironmentInfoPopoverView::rowValues() const
{
    QStringList values;
    for (const QLabel* value : m_values)
        values.append(static_cast<const ElidedLabel*>(value)->fullText());
    return values;
}

QStringList EnvironmentInfoPopoverView::hints() const
{
    QStringList texts;
    for (const QLabel* hint : m_hints)
        texts.append(hint->text());
    return texts;
}

void EnvironmentInfoPopoverView::popUp(QWidget* anchor)
{
    adjustSize();
    const QPoint tip = anchor->mapToGlobal(QPoint(anchor->width() / 2, anchor->height()));
    QRect frame(QPoint(tip.x() - width() / 2, tip.y()), size());
    if (const QScreen* screen = anchor->screen()) {
        const QRect available = screen->availableGeometry();
        frame.moveLeft(std::clamp(frame.left(), available.left() + 8,
                                  std::max(available.left() + 8, available.right() - 8 - width())));
    }
    m_arrowX = std::clamp(tip.x() - frame.left(), 24, width() - 24);
    setGeometry(frame);
    setMask(QRegion(outline().toFillPolygon().toPolygon()));
    show();
}

void EnvironmentInfoPopoverView::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    Q_EMIT closed();
}

QPainterPath EnvironmentInfoPopoverView::outline() const
{
    const QRectF body = QRectF(rect()).adjusted(0.5, arrowHeight + 0.5, -0.5, -0.5);
    QPainterPath shape;
    shape.addRoundedRect(body, 20, 20);
    QPainterPath arrow;
    arrow.moveTo(m_arrowX - arrowHeight, body.top() + 1);
    arrow.lineTo(m_arrowX, 0.5);
    arrow.lineTo(m_arrowX + arrowHeight, body.top() + 1);
    arrow.closeSubpath();
    return shape.united(arrow);
}

void EnvironmentInfoPopoverView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    // Without a compositing manager the corners outside the outline would show black.
    setMask(QRegion(outline().toFillPolygon().toPolygon()));
}

void EnvironmentInfoPopoverView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath shape = outline();
    painter.fillPath(shape, Brand::surface());
    painter.strokePath(shape, QPen(Brand::border(), 1.0));
}
