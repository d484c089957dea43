#include "ClipboardService.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

bool ClipboardService::writeText(const QString& text)
{
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard)
        return false;
    clipboard->clear(QClipboard::Clipboard);
    // Plain text is the only type offered.
    auto* data = new QMimeData;
    data->setText(text);
    clipboard->setMimeData(data, QClipboard::Clipboard);
    const QMimeData* offered = clipboard->mimeData(QClipboard::Clipboard);
    return offered && offered->hasText() && offered->text() == text;
}
