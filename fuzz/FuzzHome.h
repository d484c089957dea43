// A home folder with an empty ~/.velmora for targets that read files, made once per process, and a
// silent log: the readers log a failure for most inputs, and the system log is no place for that.
#pragma once

#include "AppLog.h"
#include "FuzzRequire.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

inline QString fuzzHome()
{
    static QTemporaryDir home;
    static const bool ready = [] {
        AppLog::setSinkForTesting([](AppLog::Category, const QString&) {});
        return home.isValid() && QDir().mkpath(home.filePath(QStringLiteral(".velmora")));
    }();
    require(ready);
    return home.path();
}

inline void writeFuzzFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    require(file.write(bytes) == bytes.size());
}

inline QByteArray readFuzzFile(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}
