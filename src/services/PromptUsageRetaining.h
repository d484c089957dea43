// The part of the usage records that a reload needs: dropping records of prompts that are gone.
#pragma once

#include <QSet>
#include <QString>

class PromptUsageRetaining {
public:
    virtual ~PromptUsageRetaining() = default;
    // Keeps the records of these prompt ids; writes only when that changed something.
    virtual void retain(const QSet<QString>& promptIDs) = 0;
};
