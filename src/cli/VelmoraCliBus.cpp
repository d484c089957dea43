// velmora-cli: the commands that ask the running Velmora, over the session bus.
#include "VelmoraCli.h"

#include <QCommandLineParser>
#include <QDBusConnection>
#include <QDBusMessage>

using namespace Qt::StringLiterals;

namespace {

const QString serviceName = u"app.velmora.Velmora"_s;
const QString objectPath = u"/app/velmora/Velmora"_s;
const QString interfaceName = u"app.velmora.Velmora1"_s;

} // namespace

int VelmoraCli::toggle(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const auto status = parse(parser, command, arguments, 0, 0))
        return *status;
    return callRunningApp(u"TogglePanel"_s);
}

int VelmoraCli::hide(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const auto status = parse(parser, command, arguments, 0, 0))
        return *status;
    return callRunningApp(u"HidePanel"_s);
}

int VelmoraCli::reload(const Command& command, const QStringList& arguments)
{
    QCommandLineParser parser;
    if (const auto status = parse(parser, command, arguments, 0, 0))
        return *status;
    return callRunningApp(u"Reload"_s);
}

int VelmoraCli::callRunningApp(const QString& method)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return fail(text("linux.cli.error.no.session.bus"));
    const QDBusMessage reply =
        bus.call(QDBusMessage::createMethodCall(serviceName, objectPath, interfaceName, method));
    if (reply.type() == QDBusMessage::ErrorMessage) {
        if (reply.errorName() == u"org.freedesktop.DBus.Error.ServiceUnknown" ||
            reply.errorName() == u"org.freedesktop.DBus.Error.NameHasNoOwner")
            return fail(text("linux.cli.error.not.running"));
        return fail(reply.errorName() + u": "_s + reply.errorMessage());
    }
    // Reload answers with the status line of the reload it started.
    if (method == u"Reload")
        printStatus(reply.arguments().value(0).toString());
    return success;
}
