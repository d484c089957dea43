#include "X11FloatingWindowService.h"

#include <QByteArray>
#include <QGuiApplication>
#include <QHash>
#include <QList>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace {

struct FreeDeleter {
    void operator()(void* pointer) const { std::free(pointer); }
};
template <typename T> using XcbReply = std::unique_ptr<T, FreeDeleter>;

constexpr quint32 allDesktops = 0xFFFFFFFF;
constexpr quint32 sourceApplication = 1;

} // namespace

struct X11FloatingWindowService::Private {
    xcb_connection_t* connection = nullptr; // Qt's; not ours to close
    xcb_window_t root = XCB_NONE;
    int screenNumber = 0;
    QHash<QByteArray, xcb_atom_t> atoms;

    // The clock: a connection of our own with a window whose property changes report the time.
    xcb_connection_t* clockConnection = nullptr;
    xcb_window_t clockWindow = XCB_NONE;

    ~Private()
    {
        if (clockConnection)
            xcb_disconnect(clockConnection);
    }

    xcb_atom_t atom(const char* name)
    {
        const auto found = atoms.constFind(QByteArray(name));
        if (found != atoms.constEnd())
            return *found;
        XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, quint16(std::strlen(name)), name), nullptr));
        const xcb_atom_t value = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        atoms.insert(QByteArray(name), value);
        return value;
    }

    quint32 windowProperty(xcb_window_t window, xcb_atom_t property)
    {
        XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            connection, xcb_get_property(connection, 0, window, property, XCB_ATOM_WINDOW, 0, 1), nullptr));
        if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
            return XCB_NONE;
        return *static_cast<const quint32*>(xcb_get_property_value(reply.get()));
    }

    void setCardinals(xcb_window_t window, const char* property, xcb_atom_t type, const QList<quint32>& values)
    {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(property), type, 32,
                            quint32(values.size()), values.constData());
    }

    bool openClock()
    {
        if (clockConnection)
            return true;
        int screen = 0;
        xcb_connection_t* candidate = xcb_connect(nullptr, &screen);
        if (xcb_connection_has_error(candidate)) {
            xcb_disconnect(candidate);
            return false;
        }
        xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(candidate));
        clockWindow = xcb_generate_id(candidate);
        const quint32 events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(candidate, XCB_COPY_FROM_PARENT, clockWindow, screens.data->root, -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
        clockConnection = candidate;
        return true;
    }
};

std::unique_ptr<X11FloatingWindowService> X11FloatingWindowService::create()
{
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11 || !x11->connection())
        return nullptr;
    auto d = std::make_unique<Private>();
    d->connection = x11->connection();
    // Qt's connection is to $DISPLAY, and so is its screen.
    int screen = 0;
    char* host = nullptr;
    int display = 0;
    if (xcb_parse_display(nullptr, &host, &display, &screen) == 0)
        screen = 0;
    std::free(host);
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(d->connection));
    for (int index = 0; index < screen && screens.rem; ++index)
        xcb_screen_next(&screens);
    if (!screens.rem)
        return nullptr;
    d->root = screens.data->root;
    d->screenNumber = screen;
    return std::unique_ptr<X11FloatingWindowService>(new X11FloatingWindowService(std::move(d)));
}

X11FloatingWindowService::X11FloatingWindowService(std::unique_ptr<Private> d) : d(std::move(d)) {}

X11FloatingWindowService::~X11FloatingWindowService() = default;

void X11FloatingWindowService::prepareFloatingWindow(quint64 window, const QString& role)
{
    const auto id = xcb_window_t(window);
    const QByteArray roleBytes = role.toUtf8();
    xcb_change_property(d->connection, XCB_PROP_MODE_REPLACE, id, d->atom("WM_WINDOW_ROLE"), XCB_ATOM_STRING, 8,
                        quint32(roleBytes.size()), roleBytes.constData());
    // The window manager drops these at each unmapping; Qt adds its own to them when it maps.
    d->setCardinals(id, "_NET_WM_STATE", XCB_ATOM_ATOM,
                    {d->atom("_NET_WM_STATE_ABOVE"), d->atom("_NET_WM_STATE_STICKY"),
                     d->atom("_NET_WM_STATE_SKIP_TASKBAR"), d->atom("_NET_WM_STATE_SKIP_PAGER")});
    d->setCardinals(id, "_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, {allDesktops});
    xcb_flush(d->connection);
}

quint64 X11FloatingWindowService::activeWindow()
{
    return d->windowProperty(d->root, d->atom("_NET_ACTIVE_WINDOW"));
}

void X11FloatingWindowService::activateWindow(quint64 window, quint32 timestamp, quint64 currentActive)
{
    const auto id = xcb_window_t(window);
    // Without a window manager nobody answers the request below: the focus is set directly.
    if (d->windowProperty(d->root, d->atom("_NET_SUPPORTING_WM_CHECK")) == XCB_NONE) {
        xcb_set_input_focus(d->connection, XCB_INPUT_FOCUS_PARENT, id, timestamp);
        xcb_flush(d->connection);
        return;
    }
    // Focus-stealing prevention compares the request's time with the window's last user time, which
    // Qt may keep on a window of its own.
    const xcb_window_t userTimeWindow = d->windowProperty(id, d->atom("_NET_WM_USER_TIME_WINDOW"));
    d->setCardinals(userTimeWindow != XCB_NONE ? userTimeWindow : id, "_NET_WM_USER_TIME", XCB_ATOM_CARDINAL,
                    {timestamp});

    xcb_client_message_event_t message;
    std::memset(&message, 0, sizeof message);
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = id;
    message.type = d->atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = sourceApplication;
    message.data.data32[1] = timestamp;
    message.data.data32[2] = quint32(currentActive);
    xcb_send_event(d->connection, 0, d->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(d->connection);
}

quint32 X11FloatingWindowService::currentTimestamp()
{
    if (!d->openClock())
        return XCB_CURRENT_TIME;
    xcb_connection_t* connection = d->clockConnection;
    // A zero-length append changes nothing but still reports the server's time.
    xcb_change_property(connection, XCB_PROP_MODE_APPEND, d->clockWindow, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0,
                        nullptr);
    xcb_flush(connection);
    while (xcb_generic_event_t* event = xcb_wait_for_event(connection)) {
        XcbReply<xcb_generic_event_t> owned(event);
        if ((event->response_type & 0x7F) == XCB_PROPERTY_NOTIFY)
            return reinterpret_cast<xcb_property_notify_event_t*>(event)->time;
    }
    return XCB_CURRENT_TIME;
}

bool X11FloatingWindowService::hasCompositingManager()
{
    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(d->screenNumber);
    XcbReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        d->connection, xcb_get_selection_owner(d->connection, d->atom(name.constData())), nullptr));
    return reply && reply->owner != XCB_NONE;
}
