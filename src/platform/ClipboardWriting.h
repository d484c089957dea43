// Puts plain text on the desktop's clipboard.
#pragma once

#include <QString>

class ClipboardWriting {
public:
    virtual ~ClipboardWriting() = default;
    // Empties the clipboard, then offers the text; true when the clipboard took it. After a failure
    // the clipboard is empty, never left with the earlier content.
    virtual bool writeText(const QString& text) = 0;
};
