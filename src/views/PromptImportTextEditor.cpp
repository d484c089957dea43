#include "PromptImportTextEditor.h"

#include "CharacterClasses.h"
#include "PromptImportParser.h"
#include "UTF8ByteCount.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"

#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMimeData>
#include <QStringDecoder>
#include <QUrl>

#include <cerrno>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

std::optional<QString> firstLocalFile(const QMimeData* source)
{
    if (!source->hasUrls())
        return std::nullopt;
    const QList<QUrl> urls = source->urls();
    for (const QUrl& url : urls) {
        if (url.isLocalFile())
            return url.toLocalFile();
    }
    return std::nullopt;
}

} // namespace

PromptImportTextEditor::PromptImportTextEditor(AppLanguage language, QWidget* parent)
    : QPlainTextEdit(parent), m_language(language)
{
    QFont font = this->font();
    font.setPixelSize(13);
    setFont(font);
    setTabChangesFocus(true);
    // On the fields' neutral colour, as the single-line fields of the sheets.
    const QColor border = VelmoraColors::withOpacity(VelmoraColors::secondaryText(), 0.2);
    setStyleSheet(u"PromptImportTextEditor { border: 1px solid %1; border-radius: 8px; padding: 4px; "
                  u"background-color: %2; color: %3; selection-background-color: %4; }"_s.arg(
                      border.name(QColor::HexArgb), Brand::neutral().name(), Brand::textPrimary().name(),
                      Brand::accent().name()));
}

bool PromptImportTextEditor::isPackFile(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    return suffix == u"yaml" || suffix == u"yml";
}

Expected<QString> PromptImportTextEditor::readTextFile(const QString& path, AppLanguage language)
{
    const auto refused = [&](const char* key, int errnoValue) -> AppError {
        const QString message = L10n::text(u"linux.error.with.file.name"_s, language)
                                    .arg(L10n::text(QString::fromLatin1(key), language), QFileInfo(path).fileName());
        return AppError::posix(errnoValue, message);
    };
    // A pipe or a device is never opened: the read could block or act on the device.
    if (!QFileInfo(path).isFile())
        return refused("linux.import.file.unreadable", EINVAL);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return refused("linux.import.file.unreadable", EIO);
    // Blanks around the text don't count, so a file may be somewhat larger than the limit; one far
    // larger is refused without being read whole.
    constexpr qint64 readLimit = 2 * PromptImportParser::maximumTextBytes + 4;
    const QByteArray bytes = file.read(readLimit + 1);
    if (file.error() != QFileDevice::NoError)
        return refused("linux.import.file.unreadable", EIO);
    if (bytes.size() > readLimit)
        return refused("linux.import.text.too.large", EFBIG);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return refused("linux.import.file.unreadable", EILSEQ);
    if (utf8ByteCount(CharacterClasses::trimmedWhitespaceAndNewlines(text)) > PromptImportParser::maximumTextBytes)
        return refused("linux.import.text.too.large", EFBIG);
    return text;
}

void PromptImportTextEditor::keyPressEvent(QKeyEvent* event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && event->modifiers().testFlag(Qt::ControlModifier)) {
        Q_EMIT importRequested();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

bool PromptImportTextEditor::canInsertFromMimeData(const QMimeData* source) const
{
    return firstLocalFile(source).has_value() || QPlainTextEdit::canInsertFromMimeData(source);
}

void PromptImportTextEditor::insertFromMimeData(const QMimeData* source)
{
    const std::optional<QString> path = firstLocalFile(source);
    if (!path) {
        QPlainTextEdit::insertFromMimeData(source);
        return;
    }
    if (isPackFile(*path)) {
        Q_EMIT packFileDropped(*path);
        return;
    }
    const Expected<QString> text = readTextFile(*path, m_language);
    if (!text) {
        Q_EMIT fileRefused(text.error().description);
        return;
    }
    // A drop has put the cursor at the drop point already.
    textCursor().insertText(*text);
}
