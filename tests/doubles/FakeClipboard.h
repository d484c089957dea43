// A clipboard that remembers what it took, and can refuse.
#pragma once

#include "ClipboardWriting.h"

#include <QStringList>

class FakeClipboard : public ClipboardWriting {
public:
    bool writeText(const QString& text) override
    {
        contents.clear();
        if (refuses)
            return false;
        contents = text;
        writes.append(text);
        return true;
    }

    bool refuses = false;
    QString contents;
    QStringList writes;
};
