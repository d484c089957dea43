// Desktop notifications: a short message outside Velmora's windows, with one default action.
#pragma once

#include <QString>
#include <QUrl>

struct DesktopNotification {
    QString summary;
    QString body;
    QString defaultActionLabel;
    QUrl defaultActionUrl; // opened when the user activates the notification

    bool operator==(const DesktopNotification&) const = default;
};

class DesktopNotifying {
public:
    virtual ~DesktopNotifying() = default;

    virtual void notify(const DesktopNotification& notification) = 0;
};
