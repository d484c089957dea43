#include "FileDialogChooser.h"

#include <QFileDialog>

using namespace Qt::StringLiterals;

namespace {

std::optional<QString> run(QFileDialog& dialog)
{
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().constFirst();
}

} // namespace

std::optional<QString> FileDialogChooser::chooseFileToOpen(QWidget* parent, const QString& title,
                                                           const QString& acceptLabel, const QStringList& suffixes)
{
    QFileDialog dialog(parent, title);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    QStringList patterns;
    for (const QString& suffix : suffixes)
        patterns.append(u"*."_s + suffix);
    dialog.setNameFilter(patterns.join(u' '));
    dialog.setLabelText(QFileDialog::Accept, acceptLabel);
    return run(dialog);
}

std::optional<QString> FileDialogChooser::chooseFileToSave(QWidget* parent, const QString& title,
                                                           const QString& acceptLabel, const QString& proposedName)
{
    QFileDialog dialog(parent, title);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    // Added before the dialog asks about replacing, so the question is about the file written.
    dialog.setDefaultSuffix(u"yaml"_s);
    dialog.selectFile(proposedName);
    dialog.setLabelText(QFileDialog::Accept, acceptLabel);
    return run(dialog);
}
