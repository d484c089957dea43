// The update mechanism: two automatic settings kept between runs, a silent check and a check with a
// window. Velmora's own checker tells of new versions; it never installs them.
#pragma once

#include "UpdateCheckModels.h"

#include <QObject>

class UpdateChecking : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual bool automaticallyChecksForUpdates() const = 0;
    virtual void setAutomaticallyChecksForUpdates(bool enabled) = 0;
    virtual bool automaticallyDownloadsUpdates() const = 0;
    virtual void setAutomaticallyDownloadsUpdates(bool enabled) = 0;

    // A check without a window: a newer version is announced, nothing else is shown.
    virtual void checkForUpdatesInBackground() = 0;
    // A check with a window that shows its progress and its outcome.
    virtual void checkForUpdates() = 0;

Q_SIGNALS:
    // A newer version than the running one was found.
    void updateAnnounced(const UpdateAnnouncement& announcement);
};
