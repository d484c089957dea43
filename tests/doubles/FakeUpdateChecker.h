// An update checker that records what it was asked and keeps its two settings in memory.
#pragma once

#include "UpdateChecking.h"

class FakeUpdateChecker : public UpdateChecking {
public:
    bool automaticallyChecksForUpdates() const override { return checks; }
    void setAutomaticallyChecksForUpdates(bool enabled) override { checks = enabled; }
    bool automaticallyDownloadsUpdates() const override { return downloads; }
    void setAutomaticallyDownloadsUpdates(bool enabled) override { downloads = enabled; }
    void checkForUpdatesInBackground() override { ++backgroundChecks; }
    void checkForUpdates() override { ++windowChecks; }

    void announce(const UpdateAnnouncement& announcement) { Q_EMIT updateAnnounced(announcement); }

    bool checks = false;
    bool downloads = false;
    int backgroundChecks = 0;
    int windowChecks = 0;
};
