// Desktop notifications through org.freedesktop.Notifications on the session bus. Activating a
// notification (its default action) opens its link.
#pragma once

#include "DesktopNotifying.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <functional>

class FreedesktopNotificationService final : public QObject, public DesktopNotifying {
    Q_OBJECT

public:
    static constexpr auto serviceName = "org.freedesktop.Notifications";
    static constexpr auto objectPath = "/org/freedesktop/Notifications";
    static constexpr auto interfaceName = "org.freedesktop.Notifications";

    using UrlOpener = std::function<void(const QUrl&)>;

    FreedesktopNotificationService(const QDBusConnection& connection, UrlOpener openUrl,
                                   QObject* parent = nullptr);

    // Sends the notification and returns; a desktop without a notification service logs one line.
    void notify(const DesktopNotification& notification) override;

private Q_SLOTS:
    void actionInvoked(uint id, const QString& actionKey);
    void notificationClosed(uint id, uint reason);

private:
    QDBusConnection m_connection;
    UrlOpener m_openUrl;
    QHash<uint, QUrl> m_links; // notifications still shown, by the id the server gave them
};
