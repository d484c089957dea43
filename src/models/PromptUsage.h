// How often and when a prompt was last copied, keyed by prompt id.
#pragma once

#include <QDateTime>
#include <QString>

struct PromptUsageRecord {
    QString promptID;
    QDateTime lastUsedAt;
    qint64 successfulCopyCount = 0;

    bool operator==(const PromptUsageRecord&) const = default;
};
