#include "FileManagerReveal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace FileManagerReveal {

QString nearestExistingFolder(const QString& path)
{
    QString candidate = QDir::cleanPath(QDir::isAbsolutePath(path) ? path : QDir::root().absoluteFilePath(path));
    while (!QFileInfo(candidate).isDir()) {
        const QString parent = QFileInfo(candidate).path();
        if (parent == candidate)
            return u"/"_s;
        candidate = parent;
    }
    return candidate;
}

void reveal(const QString& path)
{
    if (QFileInfo::exists(path)) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s, u"org.freedesktop.FileManager1"_s,
            u"ShowItems"_s);
        call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
        if (QDBusConnection::sessionBus().call(call, QDBus::Block, 3000).type() == QDBusMessage::ReplyMessage)
            return;
    }
    const QFileInfo info(path);
    QDesktopServices::openUrl(
        QUrl::fromLocalFile(info.isDir() ? nearestExistingFolder(path) : nearestExistingFolder(info.path())));
}

} // namespace FileManagerReveal
