// Whether a window manager has announced itself on the root window of an X display, for the tests
// that start one and must wait until it runs.
#pragma once

#include <QString>

#include <xcb/xcb.h>

#include <cstdlib>

inline bool windowManagerRunning(const QString& display)
{
    xcb_connection_t* connection = xcb_connect(display.toLocal8Bit().constData(), nullptr);
    bool running = false;
    if (!xcb_connection_has_error(connection)) {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        const char name[] = "_NET_SUPPORTING_WM_CHECK";
        xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 1, sizeof(name) - 1, name), nullptr);
        if (atom && atom->atom != XCB_ATOM_NONE) {
            xcb_get_property_reply_t* property = xcb_get_property_reply(
                connection, xcb_get_property(connection, 0, root, atom->atom, XCB_ATOM_WINDOW, 0, 1), nullptr);
            running = property && xcb_get_property_value_length(property) > 0;
            std::free(property);
        }
        std::free(atom);
    }
    xcb_disconnect(connection);
    return running;
}
