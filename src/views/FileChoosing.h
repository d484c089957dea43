// The choice of a file by the user, behind an interface so that the sheets run in tests without a
// dialog. The real one is FileDialogChooser.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

class QWidget;

class FileChoosing {
public:
    virtual ~FileChoosing() = default;

    // One existing file whose name ends in `.<suffix>` for one of `suffixes`; nothing on cancel.
    virtual std::optional<QString> chooseFileToOpen(QWidget* parent, const QString& title,
                                                    const QString& acceptLabel, const QStringList& suffixes) = 0;
    // A file to write, proposed as `proposedName`; `.yaml` is added to a name without a suffix, and
    // replacing an existing file was confirmed. Nothing on cancel.
    virtual std::optional<QString> chooseFileToSave(QWidget* parent, const QString& title,
                                                    const QString& acceptLabel, const QString& proposedName) = 0;
};
