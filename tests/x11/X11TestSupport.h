// What the X11 tests share: root window properties (is a window manager running, which window is
// active), programs run against the test's display while this process's event loop keeps turning,
// and real clicks on widgets through the server and the window manager.
#pragma once

#include "XvfbServer.h"

#include <QPoint>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QTest>

#include <xcb/xcb.h>

#include <cstdlib>
#include <optional>

// A window-valued property of the display's root window, as a window manager publishes it; 0 when
// absent.
inline quint32 rootWindowProperty(const QString& display, const char* name)
{
    xcb_connection_t* connection = xcb_connect(display.toLocal8Bit().constData(), nullptr);
    quint32 value = 0;
    if (!xcb_connection_has_error(connection)) {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 1, quint16(qstrlen(name)), name), nullptr);
        if (atom && atom->atom != XCB_ATOM_NONE) {
            xcb_get_property_reply_t* property = xcb_get_property_reply(
                connection, xcb_get_property(connection, 0, root, atom->atom, XCB_ATOM_WINDOW, 0, 1), nullptr);
            if (property && xcb_get_property_value_length(property) >= 4)
                value = *static_cast<const quint32*>(xcb_get_property_value(property));
            std::free(property);
        }
        std::free(atom);
    }
    xcb_disconnect(connection);
    return value;
}

// Whether a window manager has announced itself on the display, for the tests that start one.
inline bool windowManagerRunning(const QString& display)
{
    return rootWindowProperty(display, "_NET_SUPPORTING_WM_CHECK") != 0;
}

// Runs a program against the server and tells whether it ended well. The event loop runs meanwhile:
// this process may serve the clipboard the program reads, or take the keys it sends.
inline bool runOnDisplay(const XvfbServer& server, const QString& program, const QStringList& arguments,
                         QByteArray* output = nullptr, int timeout = 10000)
{
    QProcess process;
    process.setProcessEnvironment(server.environment());
    process.start(program, arguments);
    const bool ended = QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, timeout);
    if (!ended || process.error() != QProcess::UnknownError || process.exitCode() != 0)
        return false;
    if (output)
        *output = process.readAllStandardOutput();
    return true;
}

// A real click at a point of the widget (its centre by default), wherever its window was placed.
template <typename Widget>
inline bool clickOnDisplay(const XvfbServer& server, Widget* widget, std::optional<QPoint> point = std::nullopt)
{
    if (!widget)
        return false;
    const QPoint at = widget->mapTo(widget->window(), point.value_or(widget->rect().center()));
    return runOnDisplay(server, QStringLiteral("xdotool"),
                        {QStringLiteral("mousemove"), QStringLiteral("--window"),
                         QString::number(widget->window()->winId()), QString::number(at.x()),
                         QString::number(at.y()), QStringLiteral("click"), QStringLiteral("1")});
}

// For tests that run Velmora's application in their own process: whether the programs are there,
// and whether the server and its session bus started; on success this process is pointed at them,
// which must happen before the application is made.
struct X11Session {
    bool hasTools = false;
    bool started = false;
};

inline X11Session startX11Session(XvfbServer& server, const QStringList& programs)
{
    X11Session session;
    session.hasTools = XvfbServer::available();
    for (const QString& program : programs)
        session.hasTools = session.hasTools && !QStandardPaths::findExecutable(program).isEmpty();
    session.started = session.hasTools && server.start();
    if (session.started) {
        const QString bus = server.startSessionBus();
        session.started = !bus.isEmpty();
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus.toLocal8Bit());
        qputenv("DISPLAY", server.display().toLocal8Bit());
        qputenv("XDG_SESSION_TYPE", "x11");
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    return session;
}
