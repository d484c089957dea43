// Records what an update checker shows: its window's states and its desktop notifications.
#pragma once

#include "DesktopNotifying.h"
#include "UpdateCheckPresenting.h"

#include <QList>

class FakeUpdateCheckPresenter : public UpdateCheckPresenting {
public:
    void presentChecking() override { ++checkingShown; }
    void presentOutcome(const UpdateCheckOutcome& outcome) override { outcomes.append(outcome); }

    int checkingShown = 0;
    QList<UpdateCheckOutcome> outcomes;
};

class FakeDesktopNotifier : public DesktopNotifying {
public:
    void notify(const DesktopNotification& notification) override { notifications.append(notification); }

    QList<DesktopNotification> notifications;
};
