// What Velmora asks of the window manager for its floating windows (the capsule and the panel): how
// they float, who has the focus, and focus requests that carry the time of the user's action, without
// which window managers refuse them. Windows are native window ids; 0 is none.
#pragma once

#include <QString>
#include <QtGlobal>

class FloatingWindowServicing {
public:
    virtual ~FloatingWindowServicing() = default;

    // Before each mapping: the role, above other windows, on all desktops, in no task bar or pager.
    virtual void prepareFloatingWindow(quint64 window, const QString& role) = 0;
    // The window that has the focus now.
    virtual quint64 activeWindow() = 0;
    // Asks for the focus for `window` on behalf of the action at `timestamp` (server time), while
    // `currentActive` has it.
    virtual void activateWindow(quint64 window, quint32 timestamp, quint64 currentActive) = 0;
    // The server's time now, for actions that came without an event (a D-Bus call, the pointer).
    virtual quint32 currentTimestamp() = 0;
    // Whether a compositing manager blends translucent windows; without one they are cut to shape.
    virtual bool hasCompositingManager() = 0;
};
