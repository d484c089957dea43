// A file chooser that answers from a queue the test fills, and records what it was asked.
#pragma once

#include "FileChoosing.h"

#include <QList>

class FakeFileChooser : public FileChoosing {
public:
    struct Request {
        QString title;
        QString acceptLabel;
        QStringList suffixes;
        QString proposedName;
    };

    QList<std::optional<QString>> answers; // taken from the front; empty: a cancel
    QList<Request> requests;

    std::optional<QString> chooseFileToOpen(QWidget*, const QString& title, const QString& acceptLabel,
                                            const QStringList& suffixes) override
    {
        requests.append({title, acceptLabel, suffixes, {}});
        return answers.isEmpty() ? std::nullopt : answers.takeFirst();
    }

    std::optional<QString> chooseFileToSave(QWidget*, const QString& title, const QString& acceptLabel,
                                            const QString& proposedName) override
    {
        requests.append({title, acceptLabel, {}, proposedName});
        return answers.isEmpty() ? std::nullopt : answers.takeFirst();
    }
};
