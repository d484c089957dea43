#include "X11FrontmostApplicationProvider.h"

#include "AppLog.h"

#include <QFileInfo>
#include <QSocketNotifier>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

struct FreeDeleter {
    void operator()(void* pointer) const { std::free(pointer); }
};
template <typename T> using XcbReply = std::unique_ptr<T, FreeDeleter>;

xcb_atom_t internAtom(xcb_connection_t* connection, const char* name)
{
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, 0, static_cast<quint16>(std::strlen(name)), name);
    XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

// "instance\0class\0"; either part may be missing.
std::pair<QString, QString> wmClassParts(const xcb_get_property_reply_t* reply)
{
    if (!reply || reply->format != 8)
        return {};
    const char* data = static_cast<const char*>(xcb_get_property_value(reply));
    const int length = xcb_get_property_value_length(reply);
    const QList<QByteArray> parts = QByteArray(data, length).split('\0');
    const QString instance = parts.size() > 0 ? QString::fromLocal8Bit(parts.at(0)) : QString();
    const QString wmClass = parts.size() > 1 ? QString::fromLocal8Bit(parts.at(1)) : QString();
    return {instance, wmClass};
}

qint64 cardinalValue(const xcb_get_property_reply_t* reply)
{
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply) < 4)
        return 0;
    return *static_cast<const quint32*>(xcb_get_property_value(reply));
}

// The canonical path of a process's program, or an empty string (gone, or not ours to see).
QString executableOfProcess(qint64 pid)
{
    if (pid <= 0)
        return {};
    QString target = QFileInfo(u"/proc/%1/exe"_s.arg(pid)).symLinkTarget();
    if (target.endsWith(u" (deleted)"))
        target.chop(QStringView(u" (deleted)").size());
    return target.isEmpty() ? QString() : QFileInfo(target).canonicalFilePath();
}

} // namespace

struct X11FrontmostApplicationProvider::Private {
    X11FrontmostApplicationProvider* owner = nullptr;
    Options options;
    DesktopEntryIndex desktopEntries;

    xcb_connection_t* connection = nullptr;
    xcb_window_t root = XCB_NONE;
    xcb_atom_t activeWindowAtom = XCB_ATOM_NONE;
    xcb_atom_t pidAtom = XCB_ATOM_NONE;
    std::unique_ptr<QSocketNotifier> notifier;

    xcb_window_t activeWindow = XCB_NONE;
    std::optional<FrontmostApplication> application;

    Private(X11FrontmostApplicationProvider* owner, Options options)
        : owner(owner), options(std::move(options)),
          desktopEntries(this->options.applicationDirectories.value_or(
              DesktopEntryIndex::applicationDirectories(QProcessEnvironment::systemEnvironment())))
    {}

    bool connect();
    void disconnect();
    void processEvents(bool readSocket);
    bool updateActiveWindow();
};

bool X11FrontmostApplicationProvider::Private::connect()
{
    if (options.session != DesktopSessionType::x11)
        return false;
    int screenNumber = 0;
    xcb_connection_t* candidate =
        xcb_connect(options.displayName.isEmpty() ? nullptr : options.displayName.constData(), &screenNumber);
    if (xcb_connection_has_error(candidate)) {
        xcb_disconnect(candidate);
        AppLog::context(u"Frontmost application X11 connection failed"_s);
        return false;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(candidate));
    for (int index = 0; index < screenNumber && screens.rem; ++index)
        xcb_screen_next(&screens);
    if (!screens.rem) {
        xcb_disconnect(candidate);
        AppLog::context(u"Frontmost application X11 connection failed"_s);
        return false;
    }
    connection = candidate;
    root = screens.data->root;
    activeWindowAtom = internAtom(connection, "_NET_ACTIVE_WINDOW");
    pidAtom = internAtom(connection, "_NET_WM_PID");

    // Our own connection's event mask: whatever Qt selected on the root window stays as it was.
    const quint32 mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection);

    notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, owner, [this] { processEvents(true); });
    return true;
}

void X11FrontmostApplicationProvider::Private::disconnect()
{
    notifier.reset();
    if (connection)
        xcb_disconnect(connection);
    connection = nullptr;
    root = XCB_NONE;
}

// Reads what the server sent (or, with readSocket false, only what earlier replies left queued) and
// follows the active window. The socket is drained each time: a notifier that fired is not fired again
// for events already read into the queue.
void X11FrontmostApplicationProvider::Private::processEvents(bool readSocket)
{
    if (!connection)
        return;
    bool activeWindowMoved = false;
    for (;;) {
        xcb_generic_event_t* event =
            readSocket ? xcb_poll_for_event(connection) : xcb_poll_for_queued_event(connection);
        if (!event)
            break;
        if ((event->response_type & ~0x80) == XCB_PROPERTY_NOTIFY) {
            const auto* notify = reinterpret_cast<const xcb_property_notify_event_t*>(event);
            if (notify->window == root && notify->atom == activeWindowAtom)
                activeWindowMoved = true;
        }
        std::free(event);
    }

    if (const int error = xcb_connection_has_error(connection)) {
        // The display is gone: stop listening, or a closed socket would wake us without end.
        AppLog::context(u"Frontmost application X11 connection lost code=%1"_s.arg(error));
        disconnect();
        activeWindow = XCB_NONE;
        if (application) {
            application.reset();
            Q_EMIT owner->applicationActivated();
        }
        return;
    }

    // Our own requests may queue further changes while they wait for their replies.
    bool changed = false;
    while (activeWindowMoved && connection) {
        changed = updateActiveWindow() || changed;
        activeWindowMoved = false;
        while (xcb_generic_event_t* event = xcb_poll_for_queued_event(connection)) {
            if ((event->response_type & ~0x80) == XCB_PROPERTY_NOTIFY) {
                const auto* notify = reinterpret_cast<const xcb_property_notify_event_t*>(event);
                if (notify->window == root && notify->atom == activeWindowAtom)
                    activeWindowMoved = true;
            }
            std::free(event);
        }
    }
    if (changed)
        Q_EMIT owner->applicationActivated();
}

// Follows _NET_ACTIVE_WINDOW; true when another window of another process than ours became active.
// No active window (a window closed, the desktop clicked) keeps the last application frontmost.
bool X11FrontmostApplicationProvider::Private::updateActiveWindow()
{
    const xcb_get_property_cookie_t activeCookie =
        xcb_get_property(connection, 0, root, activeWindowAtom, XCB_ATOM_WINDOW, 0, 1);
    XcbReply<xcb_get_property_reply_t> activeReply(xcb_get_property_reply(connection, activeCookie, nullptr));
    if (!activeReply || activeReply->format != 32 || xcb_get_property_value_length(activeReply.get()) < 4)
        return false;
    const xcb_window_t window = *static_cast<const xcb_window_t*>(xcb_get_property_value(activeReply.get()));
    if (window == XCB_NONE || window == activeWindow)
        return false;

    const xcb_get_property_cookie_t pidCookie =
        xcb_get_property(connection, 0, window, pidAtom, XCB_ATOM_CARDINAL, 0, 1);
    const xcb_get_property_cookie_t classCookie =
        xcb_get_property(connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 1024);
    xcb_generic_error_t* error = nullptr;
    XcbReply<xcb_get_property_reply_t> pidReply(xcb_get_property_reply(connection, pidCookie, &error));
    std::free(error);
    error = nullptr;
    XcbReply<xcb_get_property_reply_t> classReply(xcb_get_property_reply(connection, classCookie, &error));
    // A window that vanished before we looked is no application to report.
    const bool vanished = error && error->error_code == XCB_WINDOW;
    std::free(error);
    if (vanished)
        return false;

    const qint64 pid = cardinalValue(pidReply.get());
    if (pid != 0 && pid == options.ownProcessIdentifier)
        return false;

    const auto [instance, wmClass] = wmClassParts(classReply.get());
    const std::optional<DesktopEntry> entry =
        desktopEntries.match(instance, wmClass, [pid] { return executableOfProcess(pid); });

    FrontmostApplication found;
    found.processIdentifier = pid;
    if (entry) {
        found.name = entry->name.isEmpty() ? wmClass : entry->name;
        found.bundleIdentifier = entry->id;
    } else {
        found.name = wmClass;
        if (!wmClass.isEmpty())
            found.bundleIdentifier = wmClass;
    }
    activeWindow = window;
    application = found;
    return true;
}

X11FrontmostApplicationProvider::X11FrontmostApplicationProvider(Options options, QObject* parent)
    : FrontmostApplicationProviding(parent), d(std::make_unique<Private>(this, std::move(options)))
{
    if (d->connect())
        d->updateActiveWindow();
}

X11FrontmostApplicationProvider::~X11FrontmostApplicationProvider()
{
    d->disconnect();
}

std::optional<FrontmostApplication> X11FrontmostApplicationProvider::frontmostApplication() const
{
    return d->application;
}

bool X11FrontmostApplicationProvider::isConnected() const
{
    return d->connection != nullptr;
}

DesktopSessionType X11FrontmostApplicationProvider::session() const
{
    return d->options.session;
}

xcb_connection_t* X11FrontmostApplicationProvider::connection() const
{
    return d->connection;
}

quint32 X11FrontmostApplicationProvider::activeWindow() const
{
    return d->activeWindow;
}

void X11FrontmostApplicationProvider::processQueuedEvents()
{
    d->processEvents(false);
}
