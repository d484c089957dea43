// The desktop clipboard through Qt. Velmora keeps running, so it keeps owning the selection after a
// copy and other programs can paste it.
#pragma once

#include "ClipboardWriting.h"

class ClipboardService final : public ClipboardWriting {
public:
    bool writeText(const QString& text) override;
};
