#include "VelmoraSheetHost.h"

#include "VelmoraAppearance.h"
#include "VelmoraDesignTokens.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

QPainterPath outline(const QRectF& rect)
{
    QPainterPath path;
    path.addRoundedRect(rect, VelmoraSheetHost::cornerRadius, VelmoraSheetHost::cornerRadius);
    return path;
}

} // namespace

VelmoraSheetHost::VelmoraSheetHost(QWidget* presenter, QWidget* content)
    : QDialog(presenter ? presenter->window() : nullptr, Qt::Dialog | Qt::FramelessWindowHint),
      m_content(content), m_presenter(presenter)
{
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowRole(u"velmora-sheet"_s);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(content);
    VelmoraAppearance::apply(this);
    setFixedSize(content->size().isEmpty() ? content->sizeHint() : content->size());
}

QRect VelmoraSheetHost::placement(const QSize& size, const QRect& presenterFrame, const QRect& screen)
{
    QRect frame(QPoint(presenterFrame.center().x() + 1 - size.width() / 2, presenterFrame.top() + topInset),
                size);
    frame.moveLeft(
        std::clamp(frame.left(), screen.left(), std::max(screen.left(), screen.right() + 1 - size.width())));
    frame.moveTop(
        std::clamp(frame.top(), screen.top(), std::max(screen.top(), screen.bottom() + 1 - size.height())));
    return frame;
}

void VelmoraSheetHost::present()
{
    m_focusBefore = QApplication::focusWidget();
    if (m_presenter) {
        const QWidget* window = m_presenter->window();
        const QScreen* screen = window->screen();
        const QRect available = screen ? screen->availableGeometry() : QRect(window->geometry());
        setGeometry(placement(size(), window->frameGeometry(), available));
    }
    open();
    raise();
    activateWindow();
}

void VelmoraSheetHost::done(int result)
{
    const QPointer<QWidget> previous = m_focusBefore;
    QDialog::done(result);
    if (previous) {
        previous->window()->activateWindow();
        previous->setFocus(Qt::OtherFocusReason);
    } else if (m_presenter) {
        m_presenter->window()->activateWindow();
    }
}

void VelmoraSheetHost::resizeEvent(QResizeEvent* event)
{
    // Without a compositing manager the corners outside the outline would show black.
    setMask(QRegion(outline(QRectF(rect())).toFillPolygon().toPolygon()));
    QDialog::resizeEvent(event);
}

void VelmoraSheetHost::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath shape = outline(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    painter.fillPath(shape, Brand::surface());
    painter.strokePath(shape, QPen(Brand::border(), 1.0));
}
