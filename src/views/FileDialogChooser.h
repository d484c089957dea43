// Files chosen in a modal QFileDialog: the desktop's own dialog where the platform theme offers one,
// else Qt's.
#pragma once

#include "FileChoosing.h"

class FileDialogChooser : public FileChoosing {
public:
    std::optional<QString> chooseFileToOpen(QWidget* parent, const QString& title, const QString& acceptLabel,
                                            const QStringList& suffixes) override;
    std::optional<QString> chooseFileToSave(QWidget* parent, const QString& title, const QString& acceptLabel,
                                            const QString& proposedName) override;
};
