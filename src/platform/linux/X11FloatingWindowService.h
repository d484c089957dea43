// The floating windows' requests to an EWMH window manager, on Qt's own X11 connection so that they
// reach the server in order with Qt's mapping of the same windows. The server time for requests
// without an event comes from a connection of its own.
#pragma once

#include "FloatingWindowServicing.h"

#include <memory>

class X11FloatingWindowService : public FloatingWindowServicing {
public:
    // Null unless Qt runs on X11 (xcb).
    static std::unique_ptr<X11FloatingWindowService> create();
    ~X11FloatingWindowService() override;

    void prepareFloatingWindow(quint64 window, const QString& role) override;
    quint64 activeWindow() override;
    void activateWindow(quint64 window, quint32 timestamp, quint64 currentActive) override;
    quint32 currentTimestamp() override;
    bool hasCompositingManager() override;

private:
    struct Private;
    explicit X11FloatingWindowService(std::unique_ptr<Private> d);
    std::unique_ptr<Private> d;
};
