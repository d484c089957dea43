#include "FreedesktopNotificationService.h"

#include "AppLog.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace {

QString name(const char* text)
{
    return QString::fromLatin1(text);
}

} // namespace

FreedesktopNotificationService::FreedesktopNotificationService(const QDBusConnection& connection,
                                                               UrlOpener openUrl, QObject* parent)
    : QObject(parent), m_connection(connection), m_openUrl(std::move(openUrl))
{
    m_connection.connect(name(serviceName), name(objectPath), name(interfaceName), u"ActionInvoked"_s, this,
                         SLOT(actionInvoked(uint, QString)));
    m_connection.connect(name(serviceName), name(objectPath), name(interfaceName), u"NotificationClosed"_s,
                         this, SLOT(notificationClosed(uint, uint)));
}

void FreedesktopNotificationService::notify(const DesktopNotification& notification)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(name(serviceName), name(objectPath), name(interfaceName), u"Notify"_s);
    const QStringList actions = {u"default"_s, notification.defaultActionLabel};
    const QVariantMap hints = {{u"desktop-entry"_s, u"app.velmora.Velmora"_s}};
    call << u"Velmora"_s << uint(0) << u"app.velmora.Velmora"_s << notification.summary << notification.body
         << actions << hints << int(-1);

    auto* watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, link = notification.defaultActionUrl] {
                watcher->deleteLater();
                const QDBusPendingReply<uint> reply = *watcher;
                if (reply.isError()) {
                    const QDBusError error = reply.error();
                    AppLog::ui(u"Show update notification failed error=%1"_s.arg(
                        AppLog::errorSummary(AppError{.typeName = u"QDBusError"_s,
                                                      .domain = error.name(),
                                                      .code = qint64(error.type()),
                                                      .description = error.message()})));
                    return;
                }
                m_links.insert(reply.value(), link);
            });
}

void FreedesktopNotificationService::actionInvoked(uint id, const QString& actionKey)
{
    if (actionKey != u"default"_s || !m_links.contains(id))
        return;
    const QUrl link = m_links.value(id);
    if (m_openUrl && link.isValid())
        m_openUrl(link);
}

void FreedesktopNotificationService::notificationClosed(uint id, uint reason)
{
    Q_UNUSED(reason);
    m_links.remove(id);
}
