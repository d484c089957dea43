#include "SecureFileWriter.h"

#include "AppLog.h"

#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Writes to a temporary file beside the target (created at 600 by mkstemp), flushes it to disk and
// renames it over the target, so that the replace is atomic and survives a crash.
Expected<void> replaceAtomically(const QByteArray& data, const QString& path)
{
    const QFileInfo target(path);
    QByteArray temporary =
        QFile::encodeName(target.absolutePath() + u"/."_s + target.fileName() + u".velmora-XXXXXX"_s);
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return AppError::posix(errno);

    auto fail = [&](int error) -> Expected<void> {
        ::close(fd);
        ::unlink(temporary.constData());
        return AppError::posix(error);
    };
    if (::fchmod(fd, SecureFileWriter::userReadWritePermissions) != 0)
        return fail(errno);
    qsizetype written = 0;
    while (written < data.size()) {
        const ssize_t n = ::write(fd, data.constData() + written, size_t(data.size() - written));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return fail(errno);
        }
        written += n;
    }
    if (::fsync(fd) != 0)
        return fail(errno);
    if (::close(fd) != 0) {
        const int error = errno;
        ::unlink(temporary.constData());
        return AppError::posix(error);
    }
    if (::rename(temporary.constData(), QFile::encodeName(target.absoluteFilePath()).constData()) != 0) {
        const int error = errno;
        ::unlink(temporary.constData());
        return AppError::posix(error);
    }
    // Make the rename itself durable.
    const int directory =
        ::open(QFile::encodeName(target.absolutePath()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory >= 0) {
        ::fsync(directory);
        ::close(directory);
    }
    return {};
}

Expected<void> write(const QByteArray& data, const QString& path, const QString& failureLine)
{
    Expected<void> result = replaceAtomically(data, path);
    if (result) {
        if (::chmod(QFile::encodeName(path).constData(), SecureFileWriter::userReadWritePermissions) != 0) {
            result = AppError::posix(errno);
            AppLog::persistence(u"Set secure file permissions failed file=%1 error=%2"_s.arg(
                AppLog::fileContext(path), AppLog::errorSummary(result.error())));
        }
    }
    if (!result) {
        AppLog::persistence(failureLine.arg(AppLog::fileContext(path), QString::number(data.size()),
                                            AppLog::errorSummary(result.error())));
    }
    return result;
}

} // namespace

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
    if (::chmod(QFile::encodeName(directory).constData(), userOnlyDirectoryPermissions) == 0)
        return {};
    const AppError error = AppError::posix(errno);
    AppLog::persistence(u"Set secure directory permissions failed directory=%1 error=%2"_s.arg(
        AppLog::fileContext(directory), AppLog::errorSummary(error)));
    return error;
}

} // namespace SecureFileWriter
