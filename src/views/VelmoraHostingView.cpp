#include "VelmoraHostingView.h"

VelmoraHostingView::VelmoraHostingView(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_TranslucentBackground);
}

void VelmoraHostingView::setRootView(QWidget* rootView)
{
    delete m_rootView;
    m_rootView = rootView;
    if (!rootView)
        return;
    rootView->setParent(this);
    rootView->setGeometry(rect());
    rootView->show();
}

void VelmoraHostingView::enterEvent(QEnterEvent* event)
{
    QWidget::enterEvent(event);
    if (onPointerEntered)
        onPointerEntered();
}

void VelmoraHostingView::leaveEvent(QEvent* event)
{
    QWidget::leaveEvent(event);
    if (onPointerExited)
        onPointerExited();
}

void VelmoraHostingView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (m_rootView)
        m_rootView->setGeometry(rect());
}
