// The real velmora on a private X server with openbox and an xterm in front, as a user meets it: the
// capsule at the top centre, the panel opened and closed by the hot key, by D-Bus and by hover, with
// the focus going to the panel and back to the terminal, and the status menu. Screenshots of each
// moment are saved, once without and once with a compositing manager.
#include "XvfbServer.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

struct FreeDeleter {
    void operator()(void* pointer) const { std::free(pointer); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// The test's own connection: finds Velmora's windows by role, follows their mapping, reads the focus
// and takes screenshots.
class ServerView {
public:
    explicit ServerView(const QString& name)
    {
        m_connection = xcb_connect(name.toLocal8Bit().constData(), nullptr);
        if (xcb_connection_has_error(m_connection))
            return;
        m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    }
    ~ServerView() { xcb_disconnect(m_connection); }

    bool isConnected() const { return !xcb_connection_has_error(m_connection); }
    xcb_window_t root() const { return m_root; }

    xcb_atom_t atom(const char* name)
    {
        Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, quint16(std::strlen(name)), name), nullptr));
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }

    QByteArray property(xcb_window_t window, xcb_atom_t name)
    {
        Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, 256),
            nullptr));
        if (!reply)
            return {};
        return QByteArray(static_cast<const char*>(xcb_get_property_value(reply.get())),
                          xcb_get_property_value_length(reply.get()));
    }

    QList<xcb_window_t> children(xcb_window_t window)
    {
        Reply<xcb_query_tree_reply_t> reply(
            xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr));
        QList<xcb_window_t> result;
        if (!reply)
            return result;
        const xcb_window_t* list = xcb_query_tree_children(reply.get());
        for (int index = 0; index < xcb_query_tree_children_length(reply.get()); ++index)
            result.append(list[index]);
        return result;
    }

    // The window with this WM_WINDOW_ROLE, at the top level or inside a window manager's frame.
    xcb_window_t windowWithRole(const QByteArray& role)
    {
        const xcb_atom_t roleAtom = atom("WM_WINDOW_ROLE");
        QList<xcb_window_t> candidates = children(m_root);
        for (xcb_window_t frame : children(m_root))
            candidates += children(frame);
        for (xcb_window_t window : std::as_const(candidates)) {
            if (property(window, roleAtom) == role) {
                // Map and unmap notifications of this window come to this connection.
                const quint32 events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
                xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, &events);
                xcb_flush(m_connection);
                return window;
            }
        }
        return XCB_NONE;
    }

    bool isMapped(xcb_window_t window)
    {
        Reply<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(
            m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
        return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
    }

    // Waits for the window's next map (or unmap) notification.
    bool waitForMapping(xcb_window_t window, bool mapped, int timeout = 10000)
    {
        const quint8 wanted = mapped ? XCB_MAP_NOTIFY : XCB_UNMAP_NOTIFY;
        return QTest::qWaitFor(
            [&] {
                while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
                    Reply<xcb_generic_event_t> owned(event);
                    const quint8 type = event->response_type & 0x7F;
                    const auto* map = reinterpret_cast<xcb_map_notify_event_t*>(event);
                    if (type == wanted && map->window == window)
                        return true;
                }
                return false;
            },
            timeout);
    }

    // Discards notifications that came before the step that follows.
    void drainEvents()
    {
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection))
            std::free(event);
    }

    xcb_window_t activeWindow()
    {
        const QByteArray value = property(m_root, atom("_NET_ACTIVE_WINDOW"));
        return value.size() >= 4 ? *reinterpret_cast<const quint32*>(value.constData()) : XCB_NONE;
    }

    QRect rootGeometry(xcb_window_t window)
    {
        Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
        Reply<xcb_translate_coordinates_reply_t> origin(xcb_translate_coordinates_reply(
            m_connection, xcb_translate_coordinates(m_connection, window, m_root, 0, 0), nullptr));
        if (!geometry || !origin)
            return {};
        return QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
    }

    QImage grab(const QRect& area)
    {
        Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
            m_connection,
            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, qint16(area.x()), qint16(area.y()),
                          quint16(area.width()), quint16(area.height()), ~0u),
            nullptr));
        if (!reply)
            return {};
        return QImage(xcb_get_image_data(reply.get()), area.width(), area.height(), QImage::Format_RGB32).copy();
    }

private:
    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_NONE;
};

bool haveBinaries()
{
    for (const QString& name : {u"Xvfb"_s, u"openbox"_s, u"xterm"_s, u"xdotool"_s, u"dbus-daemon"_s}) {
        if (QStandardPaths::findExecutable(name).isEmpty())
            return false;
    }
    return true;
}

} // namespace

class TestPanelWindow : public QObject {
    Q_OBJECT

    XvfbServer m_server;
    QTemporaryDir m_home;
    QString m_shots;
    std::unique_ptr<QProcess> m_windowManager;
    std::unique_ptr<QProcess> m_terminal;
    std::unique_ptr<QProcess> m_compositor;
    std::unique_ptr<QProcess> m_velmora;
    std::unique_ptr<ServerView> m_display;
    std::unique_ptr<QDBusConnection> m_bus;
    xcb_window_t m_terminalWindow = XCB_NONE;

    std::unique_ptr<QProcess> startProcess(const QString& program, const QStringList& arguments)
    {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = m_server.environment();
        environment.insert(u"HOME"_s, m_home.path());
        environment.insert(u"XDG_CONFIG_HOME"_s, m_home.filePath(u".config"_s));
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(program, arguments);
        return process->waitForStarted(5000) ? std::move(process) : nullptr;
    }

    static void stop(std::unique_ptr<QProcess>& process)
    {
        if (!process)
            return;
        process->terminate();
        if (!process->waitForFinished(5000))
            process->kill();
        process->waitForFinished(5000);
        process.reset();
    }

    QVariant velmoraProperty(const QString& name)
    {
        QDBusMessage get = QDBusMessage::createMethodCall(u"app.velmora.Velmora"_s, u"/app/velmora/Velmora"_s,
                                                          u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
        get << u"app.velmora.Velmora1"_s << name;
        const QDBusMessage reply = m_bus->call(get, QDBus::Block, 5000);
        return reply.arguments().isEmpty() ? QVariant() : reply.arguments().first().value<QDBusVariant>().variant();
    }

    void callVelmora(const QString& method)
    {
        m_bus->call(QDBusMessage::createMethodCall(u"app.velmora.Velmora"_s, u"/app/velmora/Velmora"_s,
                                                   u"app.velmora.Velmora1"_s, method),
                    QDBus::Block, 5000);
    }

    void xdotool(const QStringList& arguments)
    {
        auto process = startProcess(u"xdotool"_s, arguments);
        QVERIFY(process);
        QVERIFY(process->waitForFinished(10000));
    }

    void save(const QImage& image, const QString& name, int scale = 1)
    {
        const QString suffix = m_compositor ? u"-composited"_s : QString();
        const QImage scaled = scale == 1 ? image : image.scaled(image.size() * scale);
        QVERIFY(scaled.save(QDir(m_shots).filePath(name + suffix + u".png"_s)));
    }

    // The area once it has stayed the same for 150 ms: an animation, and the compositing manager's
    // repainting of it, have ended.
    QImage settled(const QRect& area)
    {
        QImage previous = m_display->grab(area);
        QElapsedTimer unchanged;
        unchanged.start();
        const bool still = QTest::qWaitFor(
            [&] {
                const QImage current = m_display->grab(area);
                if (current != previous) {
                    previous = current;
                    unchanged.restart();
                }
                return unchanged.elapsed() >= 150;
            },
            5000);
        return still ? previous : QImage();
    }

    // Opens the panel by `open`, checks it where, how big and focused it should be, then closes it by
    // `close` and checks that the terminal has the focus again.
    void openAndClose(const std::function<void()>& open, const std::function<void()>& close, const QString& shot)
    {
        const xcb_window_t panel = m_display->windowWithRole("velmora-panel");
        QVERIFY(panel != XCB_NONE);
        QVERIFY(!m_display->isMapped(panel));
        m_display->drainEvents();
        open();
        QVERIFY(m_display->waitForMapping(panel, true));
        if (!shot.isEmpty())
            save(m_display->grab(QRect(360, 0, 560, 540)), shot + u"-opening"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_display->activeWindow(), panel, 10000);
        QCOMPARE(velmoraProperty(u"PanelState"_s).toString(), u"open"_s);
        // Three prompts in one section, in a grid: one row, 480 points high, 4 under the capsule.
        QCOMPARE(m_display->rootGeometry(panel), QRect(380, 28, 520, 480));
        // Opening the panel doesn't change what the user works in.
        QCOMPARE(velmoraProperty(u"Title"_s).toString(), u"Terminal"_s);
        if (!shot.isEmpty()) {
            const QImage open = settled(QRect(360, 0, 560, 540));
            QVERIFY(!open.isNull());
            save(open, shot + u"-open"_s);
        }
        close();
        QVERIFY(m_display->waitForMapping(panel, false));
        QCOMPARE(velmoraProperty(u"PanelState"_s).toString(), u"hidden"_s);
        QTRY_COMPARE_WITH_TIMEOUT(m_display->activeWindow(), m_terminalWindow, 10000);
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!haveBinaries())
            QSKIP("Xvfb, openbox, xterm, xdotool or dbus-daemon is missing (scripts/setup installs them)");
        m_shots = qEnvironmentVariable("VELMORA_SCREENSHOT_DIR", QDir::temp().filePath(u"velmora-screenshots"_s));
        QVERIFY(QDir().mkpath(m_shots));
        QVERIFY(m_server.start());
        const QString address = m_server.startSessionBus();
        QVERIFY(!address.isEmpty());
        m_bus = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(address, u"panel-test"_s));
        QVERIFY(m_bus->isConnected());
        m_display = std::make_unique<ServerView>(m_server.display());
        QVERIFY(m_display->isConnected());

        QVERIFY(QDir(m_home.path()).mkpath(u".velmora/workspaces"_s));
        QVERIFY(QDir(m_home.path()).mkpath(u".config/Velmora"_s));
        QFile global(m_home.filePath(u".velmora/global.yaml"_s));
        QVERIFY(global.open(QIODevice::WriteOnly));
        global.write("prompts:\n"
                     "  - id: review\n    title: Review this change\n    text: Review.\n"
                     "  - id: tests\n    title: Write the missing tests\n    text: Tests.\n"
                     "  - id: explain\n    title: Explain the design\n    text: Explain.\n");
        global.close();
        QFile settings(m_home.filePath(u".config/Velmora/Velmora.conf"_s));
        QVERIFY(settings.open(QIODevice::WriteOnly));
        // The welcome guide of a first run would take the focus this test follows.
        settings.write("[General]\nVelmora.hoverOpenEnabled.v1=true\nVelmora.firstRunWelcomeCompleted.v1=true\n");
        settings.close();

        m_windowManager = startProcess(u"openbox"_s, {});
        QVERIFY(m_windowManager);
        // A window mapped before the window manager manages the screen would never get the focus.
        QTRY_VERIFY_WITH_TIMEOUT(!m_display->property(m_display->root(), m_display->atom("_NET_SUPPORTING_WM_CHECK"))
                                      .isEmpty(),
                                 20000);
        m_terminal = startProcess(u"xterm"_s, {u"-geometry"_s, u"80x24+100+300"_s});
        QVERIFY(m_terminal);
        QTRY_VERIFY_WITH_TIMEOUT(m_display->activeWindow() != XCB_NONE, 20000);
        m_terminalWindow = m_display->activeWindow();
        xdotool({u"mousemove"_s, u"100"_s, u"700"_s});
    }

    void cleanupTestCase()
    {
        stop(m_velmora);
        stop(m_compositor);
        stop(m_terminal);
        stop(m_windowManager);
    }

    void panelComesAndGoesWithTheFocus_data()
    {
        QTest::addColumn<bool>("composited");
        QTest::newRow("no compositing manager") << false;
        QTest::newRow("xcompmgr") << true;
    }

    void panelComesAndGoesWithTheFocus()
    {
        QFETCH(bool, composited);
        if (composited) {
            if (QStandardPaths::findExecutable(u"xcompmgr"_s).isEmpty())
                QSKIP("xcompmgr is missing (scripts/setup installs it)");
            m_compositor = startProcess(u"xcompmgr"_s, {});
            QVERIFY(m_compositor);
        }
        stop(m_velmora);
        m_velmora = startProcess(QStringLiteral(VELMORA_BINARY), {});
        QVERIFY(m_velmora);
        QTRY_COMPARE_WITH_TIMEOUT(velmoraProperty(u"Title"_s).toString(), u"Terminal"_s, 20000);

        // The capsule: at the top centre, drawn the same with a compositing manager or without.
        xcb_window_t capsule = XCB_NONE;
        QTRY_VERIFY_WITH_TIMEOUT((capsule = m_display->windowWithRole("velmora-capsule")) != XCB_NONE, 10000);
        QTRY_VERIFY(m_display->isMapped(capsule));
        QCOMPARE(m_display->rootGeometry(capsule), QRect(621, 0, 38, 24));
        const QRect capsuleArea(611, 0, 58, 34);
        const QImage rest = settled(capsuleArea);
        QVERIFY(!rest.isNull());
        save(rest, u"capsule"_s, 6);
        QCOMPARE(rest.pixel(29, 12), m_display->grab(QRect(640, 12, 1, 1)).pixel(0, 0));
        // The desktop shows around it, as far from it.
        QCOMPARE(rest.pixel(0, 0), m_display->grab(QRect(1200, 10, 1, 1)).pixel(0, 0));

        openAndClose([this] { xdotool({u"key"_s, u"super+shift+p"_s}); },
                     [this] { xdotool({u"key"_s, u"super+shift+p"_s}); }, u"panel"_s);
        openAndClose([this] { callVelmora(u"TogglePanel"_s); }, [this] { callVelmora(u"TogglePanel"_s); }, {});

        // The status menu, under the capsule.
        xdotool({u"mousemove"_s, u"640"_s, u"12"_s, u"click"_s, u"3"_s});
        QImage menu;
        QTRY_VERIFY_WITH_TIMEOUT((menu = m_display->grab(QRect(560, 0, 360, 200))).pixel(200, 80) != rest.pixel(0, 0),
                                 10000);
        menu = settled(QRect(560, 0, 360, 200));
        save(menu, u"menu"_s);
        xdotool({u"key"_s, u"Escape"_s});
        xdotool({u"mousemove"_s, u"100"_s, u"700"_s});
        QTRY_COMPARE_WITH_TIMEOUT(m_display->grab(QRect(760, 80, 1, 1)).pixel(0, 0), rest.pixel(0, 0), 10000);

        // Hover: the capsule brightens, the panel opens after a moment and closes once the pointer left.
        openAndClose(
            [&] {
                xdotool({u"mousemove"_s, u"640"_s, u"12"_s});
                QImage hovered;
                QTRY_VERIFY((hovered = m_display->grab(capsuleArea)) != rest);
                save(hovered, u"capsule-hovered"_s, 6);
            },
            [this] { xdotool({u"mousemove"_s, u"100"_s, u"700"_s}); }, {});
    }
};

QTEST_GUILESS_MAIN(TestPanelWindow)
#include "tst_panelwindow.moc"
