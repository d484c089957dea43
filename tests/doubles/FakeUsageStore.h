// Usage records in memory; counts the writes a retention causes.
#pragma once

#include "PromptUsageRetaining.h"

#include <QStringList>

class FakeUsageStore : public PromptUsageRetaining {
public:
    void retain(const QSet<QString>& promptIDs) override
    {
        QSet<QString> kept = recordIDs;
        kept.intersect(promptIDs);
        if (kept != recordIDs) {
            recordIDs = kept;
            ++writes;
        }
    }

    QSet<QString> recordIDs;
    int writes = 0;
};
