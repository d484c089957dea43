// The editor of the import sheet: plain text, where Return starts a line and Ctrl+Return asks for the
// import. A file dropped or pasted on it is never inserted as its address: a `.yaml` or `.yml` file
// is offered as a pack, another file's text goes in at the drop point.
#pragma once

#include "AppError.h"
#include "AppLanguage.h"

#include <QPlainTextEdit>

class PromptImportTextEditor : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit PromptImportTextEditor(AppLanguage language, QWidget* parent = nullptr);

    // A file's text as the editor takes it: a regular file, strictly UTF-8, its trimmed text within
    // the import's size limit. The error names the file.
    static Expected<QString> readTextFile(const QString& path, AppLanguage language);
    static bool isPackFile(const QString& path);

Q_SIGNALS:
    void importRequested();
    void packFileDropped(const QString& path);
    // A dropped file inserted nothing, for this reason.
    void fileRefused(const QString& message);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;

private:
    AppLanguage m_language;
};
