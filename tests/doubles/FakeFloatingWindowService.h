// A window manager that records focus requests and says what the test wants about focus and blending.
#pragma once

#include "FloatingWindowServicing.h"

#include <QList>

class FakeFloatingWindowService : public FloatingWindowServicing {
public:
    struct Activation {
        quint64 window = 0;
        quint32 timestamp = 0;
        quint64 currentActive = 0;
        bool operator==(const Activation&) const = default;
    };

    quint64 active = 0;
    quint32 clock = 1000;
    bool compositing = true;
    QList<Activation> activations;
    QList<std::pair<quint64, QString>> prepared;

    void prepareFloatingWindow(quint64 window, const QString& role) override { prepared.append({window, role}); }
    quint64 activeWindow() override { return active; }
    // The window manager grants every request.
    void activateWindow(quint64 window, quint32 timestamp, quint64 currentActive) override
    {
        activations.append({window, timestamp, currentActive});
        active = window;
    }
    quint32 currentTimestamp() override { return ++clock; }
    bool hasCompositingManager() override { return compositing; }
};
