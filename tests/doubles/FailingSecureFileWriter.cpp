#include "FailingSecureFileWriter.h"

#include "AppLog.h"
#include "SecureFileWriter.h"

#include <QFile>
#include <QSaveFile>

#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

int failingIndex = -1;
FailingSecureFileWriter::Filter filter;
QStringList counted;

// True when this call is the one to fail.
bool failsNow(const QString& kind, const QString& path)
{
    if (filter && !filter(path))
        return false;
    counted.append(kind + u' ' + path);
    return counted.size() - 1 == failingIndex;
}

Expected<void> write(const QByteArray& data, const QString& path, const QString& failureLine)
{
    Expected<void> result;
    if (failsNow(u"write"_s, path)) {
        result = AppError::posix(EIO);
    } else {
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit() ||
            !QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner))
            result = AppError::posix(EIO);
    }
    if (!result)
        AppLog::persistence(failureLine.arg(AppLog::fileContext(path), QString::number(data.size()),
                                            AppLog::errorSummary(result.error())));
    return result;
}

} // namespace

namespace FailingSecureFileWriter {

void failAt(int index, Filter countedCalls)
{
    failingIndex = index;
    filter = std::move(countedCalls);
    counted.clear();
}

QStringList calls()
{
    return counted;
}

} // namespace FailingSecureFileWriter

namespace SecureFileWriter {

Expected<void> writeData(const QByteArray& data, const QString& path)
{
    return write(data, path, u"Secure data write failed file=%1 bytes=%2 error=%3"_s);
}

Expected<void> writeString(const QString& text, const QString& path)
{
    return write(text.toUtf8(), path, u"Secure string write failed file=%1 bytes=%2 error=%3"_s);
}

Expected<void> restrictDirectoryToCurrentUser(const QString& directory)
{
    if (!failsNow(u"restrict"_s, directory) &&
        QFile::setPermissions(directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        return {};
    const AppError error = AppError::posix(EIO);
    AppLog::persistence(u"Set secure directory permissions failed directory=%1 error=%2"_s.arg(
        AppLog::fileContext(directory), AppLog::errorSummary(error)));
    return error;
}

} // namespace SecureFileWriter
