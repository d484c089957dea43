#include "X11WindowTitleReader.h"

#include "AppLanguage.h"
#include "AppLog.h"
#include "X11FrontmostApplicationProvider.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

struct FreeDeleter {
    void operator()(void* pointer) const { std::free(pointer); }
};
template <typename T> using XcbReply = std::unique_ptr<T, FreeDeleter>;

// Titles longer than this are cut; no title bar shows that much.
constexpr quint32 maximumTitleLongs = 4096;

xcb_atom_t internAtom(xcb_connection_t* connection, const char* name)
{
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, 0, static_cast<quint16>(std::strlen(name)), name);
    XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

QString readFailure(int code)
{
    const QString details = L10n::text(u"error.code"_s).arg(QString::number(code));
    return L10n::text(u"error.window.title.read"_s).arg(details);
}

} // namespace

X11WindowTitleReader::X11WindowTitleReader(X11FrontmostApplicationProvider& provider) : m_provider(provider)
{}

WindowTitleReadResult X11WindowTitleReader::readFrontWindowTitle()
{
    WindowTitleReadResult result;
    xcb_connection_t* connection = m_provider.connection();
    if (!connection) {
        // A lasting state of the session, not a passing failure: one line in the log is enough.
        if (!m_loggedUnavailable) {
            AppLog::context(u"Window title X11 unavailable"_s);
            m_loggedUnavailable = true;
        }
        result.errorMessage = L10n::text(u"error.window.title.script.init"_s);
        return result;
    }

    const xcb_window_t window = m_provider.activeWindow();
    if (window == XCB_NONE)
        return result;

    if (m_utf8String == XCB_ATOM_NONE) {
        m_utf8String = internAtom(connection, "UTF8_STRING");
        m_netWMName = internAtom(connection, "_NET_WM_NAME");
    }
    const xcb_get_property_cookie_t netCookie =
        xcb_get_property(connection, 0, window, m_netWMName, m_utf8String, 0, maximumTitleLongs);
    const xcb_get_property_cookie_t legacyCookie = xcb_get_property(
        connection, 0, window, XCB_ATOM_WM_NAME, XCB_GET_PROPERTY_TYPE_ANY, 0, maximumTitleLongs);

    xcb_generic_error_t* netError = nullptr;
    xcb_generic_error_t* legacyError = nullptr;
    XcbReply<xcb_get_property_reply_t> netReply(xcb_get_property_reply(connection, netCookie, &netError));
    XcbReply<xcb_get_property_reply_t> legacyReply(
        xcb_get_property_reply(connection, legacyCookie, &legacyError));
    const int errorCode = netError ? netError->error_code : legacyError ? legacyError->error_code : 0;
    std::free(netError);
    std::free(legacyError);
    const int connectionError = xcb_connection_has_error(connection);
    // Events that arrived while we waited sit in the queue, where the socket notifier can't see them.
    // This also lets the provider give up a broken connection.
    m_provider.processQueuedEvents();

    if (connectionError != 0) {
        AppLog::context(u"Window title X11 read failed code=%1"_s.arg(connectionError));
        result.errorMessage = readFailure(connectionError);
        return result;
    }
    // A window that closed has no title, as a process without a front window has none.
    if (errorCode == XCB_WINDOW)
        return result;
    if (errorCode != 0) {
        AppLog::context(u"Window title X11 read failed code=%1"_s.arg(errorCode));
        result.errorMessage = readFailure(errorCode);
        return result;
    }

    if (netReply && netReply->type == m_utf8String && netReply->format == 8 &&
        xcb_get_property_value_length(netReply.get()) > 0) {
        result.title = QString::fromUtf8(static_cast<const char*>(xcb_get_property_value(netReply.get())),
                                         xcb_get_property_value_length(netReply.get()));
        return result;
    }
    if (legacyReply && legacyReply->format == 8 && xcb_get_property_value_length(legacyReply.get()) > 0) {
        const QByteArray bytes(static_cast<const char*>(xcb_get_property_value(legacyReply.get())),
                               xcb_get_property_value_length(legacyReply.get()));
        if (m_compoundText == XCB_ATOM_NONE)
            m_compoundText = internAtom(connection, "COMPOUND_TEXT");
        // STRING is Latin-1 by definition; a client that wrote anything else says so by the type.
        if (legacyReply->type == m_utf8String)
            result.title = QString::fromUtf8(bytes);
        else if (legacyReply->type == m_compoundText)
            result.title = decodeCompoundText(bytes);
        else
            result.title = QString::fromLatin1(bytes);
    }
    return result;
}

QString X11WindowTitleReader::decodeCompoundText(const QByteArray& bytes)
{
    QString text;
    QByteArray segment;
    bool utf8 = false;
    const auto flush = [&] {
        text += utf8 ? QString::fromUtf8(segment) : QString::fromLatin1(segment);
        segment.clear();
    };
    for (qsizetype index = 0; index < bytes.size(); ++index) {
        if (bytes.at(index) != '\x1b') {
            segment.append(bytes.at(index));
            continue;
        }
        // An escape sequence: intermediate bytes 0x20 to 0x2F, then one final byte.
        qsizetype end = index + 1;
        while (end < bytes.size() && bytes.at(end) >= 0x20 && bytes.at(end) <= 0x2F)
            ++end;
        const QByteArray sequence = bytes.mid(index + 1, end - index);
        if (sequence == "%G" || sequence == "%@") {
            flush();
            utf8 = sequence == "%G";
        }
        index = end;
    }
    flush();
    return text;
}
