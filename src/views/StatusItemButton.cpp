#include "StatusItemButton.h"

#include <QMouseEvent>

using namespace Qt::StringLiterals;

StatusItemButton::StatusItemButton(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::WindowDoesNotAcceptFocus)
{
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setWindowRole(u"velmora-capsule"_s);
    setWindowTitle(u"Velmora"_s);
    setFocusPolicy(Qt::NoFocus);
    resize(defaultSize);
}

void StatusItemButton::apply(const StatusItemButtonConfiguration& configuration)
{
    m_configuration = configuration;
    setAccessibleName(configuration.accessibilityLabel);
    setAccessibleDescription(configuration.accessibilityHelp);
}

void StatusItemButton::mousePressEvent(QMouseEvent* event)
{
    // The action waits for the release, as a button's does.
    event->accept();
}

void StatusItemButton::mouseReleaseEvent(QMouseEvent* event)
{
    int type = 0;
    if (event->button() == Qt::LeftButton)
        type = StatusItemEventType::leftMouseUp;
    else if (event->button() == Qt::RightButton)
        type = StatusItemEventType::rightMouseUp;
    const bool listens = type != 0 && (m_configuration.eventMask & (quint64(1) << type)) != 0;
    if (!listens || !rect().contains(event->position().toPoint()) || !action) {
        event->ignore();
        return;
    }
    event->accept();
    action(Event{type, quint32(event->timestamp())});
}
