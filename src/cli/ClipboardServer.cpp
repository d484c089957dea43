#include "ClipboardServer.h"

#include "ClipboardService.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QProcess>
#include <QTimer>

#include <xcb/xcb.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int serverStartTimeoutMilliseconds = 60000;

QByteArray readStandardInput()
{
    QByteArray input;
    char buffer[65536];
    for (;;) {
        const ssize_t count = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (count > 0)
            input.append(buffer, count);
        else if (count == 0 || errno != EINTR)
            return input;
    }
}

bool displayReachable()
{
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const bool reachable = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return reachable;
}

char readStatus(int fd)
{
    char status = ClipboardServer::failed;
    ssize_t count = 0;
    do {
        count = ::read(fd, &status, 1);
    } while (count < 0 && errno == EINTR);
    // No byte: the server died before it owned the clipboard.
    return count == 1 ? status : char(ClipboardServer::failed);
}

// The clipboard's owner as the X server has it, asked on a connection of our own. Qt may signal a
// new owner before it has seen its own loss, so its own answer can still say "ours" at that moment.
class ClipboardOwner {
public:
    ClipboardOwner() : m_connection(xcb_connect(nullptr, nullptr))
    {
        const xcb_intern_atom_cookie_t cookie = xcb_intern_atom(m_connection, 0, 9, "CLIPBOARD");
        if (xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(m_connection, cookie, nullptr)) {
            m_clipboard = reply->atom;
            std::free(reply);
        }
    }
    ~ClipboardOwner() { xcb_disconnect(m_connection); }
    ClipboardOwner(const ClipboardOwner&) = delete;
    ClipboardOwner& operator=(const ClipboardOwner&) = delete;

    xcb_window_t current() const
    {
        xcb_get_selection_owner_reply_t* reply = xcb_get_selection_owner_reply(
            m_connection, xcb_get_selection_owner(m_connection, m_clipboard), nullptr);
        const xcb_window_t owner = reply ? reply->owner : xcb_window_t(XCB_NONE);
        std::free(reply);
        return owner;
    }

private:
    xcb_connection_t* m_connection;
    xcb_atom_t m_clipboard = XCB_NONE;
};

// The server proper, in the detached process: owns the clipboard and reports on `readyFd`.
int serve(int argc, char* argv[], const QString& text, int readyFd)
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication application(argc, argv);
    QClipboard* clipboard = QGuiApplication::clipboard();
    ClipboardService service;
    const char status = service.writeText(text) && clipboard->ownsClipboard() ? ClipboardServer::serving
                                                                              : ClipboardServer::refused;
    [[maybe_unused]] const ssize_t written = ::write(readyFd, &status, 1);
    ::close(readyFd);
    if (status != ClipboardServer::serving)
        return status;

    // A new owner arrives as an event, so nothing is missed before the loop runs.
    const ClipboardOwner owner;
    const xcb_window_t ours = owner.current();
    QObject::connect(clipboard, &QClipboard::changed, &application, [&owner, ours](QClipboard::Mode mode) {
        if (mode == QClipboard::Clipboard && owner.current() != ours)
            QGuiApplication::quit();
    });
    QTimer::singleShot(ClipboardServer::lifetime, &application, &QGuiApplication::quit);
    return QGuiApplication::exec();
}

} // namespace

namespace ClipboardServer {

int run(int argc, char* argv[])
{
    const QString text = QString::fromUtf8(readStandardInput());
    if (!displayReachable())
        return noDisplay;

    int ready[2];
    if (::pipe(ready) != 0)
        return failed;
    // Forked before anything of Qt exists, while this process has a single thread.
    const pid_t server = ::fork();
    if (server < 0)
        return failed;
    if (server > 0) {
        ::close(ready[1]);
        return readStatus(ready[0]);
    }

    ::close(ready[0]);
    // Its own session, so that the terminal's hang-up or Ctrl+C doesn't end it; and nothing of the
    // starting process's pipes, whose reader waits for them to close.
    ::setsid();
    if (const int null = ::open("/dev/null", O_RDWR); null >= 0) {
        for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::dup2(null, fd);
        if (null > STDERR_FILENO)
            ::close(null);
    }
    return serve(argc, argv, text, ready[1]);
}

} // namespace ClipboardServer

bool DetachedClipboardWriter::writeText(const QString& text)
{
    m_status = ClipboardServer::failed;
    QProcess server;
    server.start(QCoreApplication::applicationFilePath(),
                 {QString::fromLatin1(ClipboardServer::internalOption)});
    if (!server.waitForStarted())
        return false;
    server.write(text.toUtf8());
    server.closeWriteChannel();
    if (!server.waitForFinished(serverStartTimeoutMilliseconds)) {
        server.kill();
        server.waitForFinished();
        return false;
    }
    using namespace ClipboardServer;
    const int code = server.exitCode();
    if (server.exitStatus() == QProcess::NormalExit &&
        (code == serving || code == noDisplay || code == refused))
        m_status = Status(code);
    return m_status == ClipboardServer::serving;
}
