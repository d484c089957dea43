// A desktop whose answers the test sets: each change is announced as the real probe announces it.
#pragma once

#include "DesktopSessionProbing.h"

class FakeDesktopSessionProbe : public DesktopSessionProbing {
public:
    DesktopSessionReport current;
    int refreshCalls = 0;

    DesktopSessionReport report() const override { return current; }
    void refresh() override { ++refreshCalls; }
    void answer(const DesktopSessionReport& report)
    {
        current = report;
        Q_EMIT reportChanged();
    }
};
