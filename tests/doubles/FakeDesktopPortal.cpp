// The desktop portal as a test sees it, run on a private session bus: owns
// org.freedesktop.portal.Desktop, answers the host registry and GlobalShortcuts as the portal
// documents them (each Response sent before the reply to its call, as a fast portal may), records
// every call, and takes orders on app.velmora.test.FakePortal at /app/velmora/test:
// SetResponse(s method, u code), Calls() -> s (JSON), Activate(o session, s id, t timestamp).
//   fake_desktop_portal [--without-global-shortcuts]
#include "PortalShortcut.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <map>

using namespace Qt::StringLiterals;

namespace {

const QString globalShortcuts = u"org.freedesktop.portal.GlobalShortcuts"_s;

class FakeDesktopPortal : public QDBusVirtualObject {
public:
    bool offersGlobalShortcuts = true;

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QString member = message.member();
        const QVariantList arguments = message.arguments();
        QJsonObject call{{u"member"_s, member}, {u"path"_s, message.path()}};
        QVariantList reply;
        if (message.interface() == u"app.velmora.test.FakePortal") {
            if (member == u"SetResponse")
                m_responses[arguments.value(0).toString()] = arguments.value(1).toUInt();
            else if (member == u"Calls")
                reply << QString::fromUtf8(QJsonDocument(m_calls).toJson(QJsonDocument::Compact));
            else if (member == u"Activate")
                connection.send(QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_s,
                                                           globalShortcuts, u"Activated"_s)
                                << arguments.value(0) << arguments.value(1) << arguments.value(2)
                                << QVariantMap());
            connection.send(message.createReply(reply));
            return true;
        }
        if (member == u"Get") {
            m_calls.append(call);
            if (offersGlobalShortcuts && arguments.value(0).toString() == globalShortcuts)
                connection.send(message.createReply(QVariant::fromValue(QDBusVariant(1u))));
            else
                connection.send(message.createErrorReply(QDBusError::InvalidArgs, u"No such interface"_s));
            return true;
        }
        if (member == u"Register") {
            call.insert(u"appID"_s, arguments.value(0).toString());
        } else if (member == u"CreateSession" && offersGlobalShortcuts) {
            const auto options = qdbus_cast<QVariantMap>(arguments.value(0));
            const QString session =
                objectPath(u"session"_s, message, options.value(u"session_handle_token"_s));
            call.insert(u"options"_s, QJsonObject::fromVariantMap(options));
            call.insert(u"session"_s, session);
            reply << respond(connection, message, u"CreateSession"_s, options,
                             {{u"session_handle"_s, session}});
        } else if (member == u"BindShortcuts" && offersGlobalShortcuts) {
            const auto options = qdbus_cast<QVariantMap>(arguments.value(3));
            QJsonArray sent;
            QList<PortalShortcut> bound;
            for (const PortalShortcut& shortcut : PortalShortcut::listFrom(arguments.value(1))) {
                sent.append(withID(shortcut));
                const QString trigger = shortcut.options.value(u"preferred_trigger"_s).toString();
                bound.append(PortalShortcut{shortcut.id,
                                            {{u"description"_s, shortcut.options.value(u"description"_s)},
                                             {u"trigger_description"_s, QString(u"Press "_s + trigger)}}});
            }
            call.insert(u"session"_s, arguments.value(0).value<QDBusObjectPath>().path());
            call.insert(u"shortcuts"_s, sent);
            call.insert(u"options"_s, QJsonObject::fromVariantMap(options));
            reply << respond(connection, message, u"BindShortcuts"_s, options,
                             {{u"shortcuts"_s, QVariant::fromValue(bound)}});
        } else if (member != u"Close") {
            return false;
        }
        m_calls.append(call);
        connection.send(message.createReply(reply));
        return true;
    }

private:
    QJsonArray m_calls;
    std::map<QString, uint> m_responses; // by method; 0 unless ordered otherwise

    static QJsonObject withID(const PortalShortcut& shortcut)
    {
        QJsonObject object = QJsonObject::fromVariantMap(shortcut.options);
        object.insert(u"id"_s, shortcut.id);
        return object;
    }

    static QString objectPath(const QString& kind, const QDBusMessage& message, const QVariant& token)
    {
        QString sender = message.service().mid(1);
        sender.replace(u'.', u'_');
        return u"/org/freedesktop/portal/desktop/%1/%2/%3"_s.arg(kind, sender, token.toString());
    }

    // Sends the request's Response at once and gives its path for the reply.
    QVariant respond(const QDBusConnection& connection, const QDBusMessage& message, const QString& method,
                     const QVariantMap& options, const QVariantMap& results)
    {
        const QString request = objectPath(u"request"_s, message, options.value(u"handle_token"_s));
        const uint code = m_responses[method];
        connection.send(
            QDBusMessage::createSignal(request, u"org.freedesktop.portal.Request"_s, u"Response"_s)
            << code << (code == 0 ? results : QVariantMap()));
        return QVariant::fromValue(QDBusObjectPath(request));
    }
};

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    PortalShortcut::registerMetaTypes();
    FakeDesktopPortal portal;
    portal.offersGlobalShortcuts = !application.arguments().contains(u"--without-global-shortcuts"_s);
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.registerVirtualObject(u"/"_s, &portal, QDBusConnection::SubPath) ||
        !bus.registerService(u"org.freedesktop.portal.Desktop"_s))
        return 1;
    return QCoreApplication::exec();
}
