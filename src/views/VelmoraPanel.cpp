#include "VelmoraPanel.h"

#include <QWindow>

using namespace Qt::StringLiterals;

VelmoraPanel::VelmoraPanel(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
{
    // Focus comes by an explicit request with the time of the user's action, never by showing.
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowRole(u"velmora-panel"_s);
    setWindowTitle(u"Velmora"_s);
}

void VelmoraPanel::setIgnoresMouseEvents(bool ignores)
{
    m_ignoresMouseEvents = ignores;
    // On the window itself: a widget's own flags can't change without hiding it.
    winId();
    windowHandle()->setFlag(Qt::WindowTransparentForInput, ignores);
}
