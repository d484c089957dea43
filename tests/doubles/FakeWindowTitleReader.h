// A window title the test sets, with the reads counted.
#pragma once

#include "WindowTitleReading.h"

class FakeWindowTitleReader : public WindowTitleReading {
public:
    WindowTitleReadResult readFrontWindowTitle() override
    {
        ++readCount;
        return result;
    }

    WindowTitleReadResult result;
    int readCount = 0;
};
