// Runs the built velmora-cli over a temporary home and preferences, as a user would from a terminal,
// with no display and no session bus unless a test gives them.
#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

struct CliResult {
    int exitCode = -1; // -1: crashed or timed out
    QByteArray standardOutput;
    QByteArray standardError;

    QJsonObject json() const { return QJsonDocument::fromJson(standardOutput).object(); }
};

class CliRunner {
public:
    CliRunner() : environment(QProcessEnvironment::systemEnvironment())
    {
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_TYPE", "VELMORA_WORKSPACE"})
            environment.remove(QString::fromLatin1(name));
        environment.insert(QStringLiteral("HOME"), home.path());
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral(".config")));
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                           QStringLiteral("unix:path=") + path(QStringLiteral("no-bus")));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }

    QString path(const QString& relative) const { return home.filePath(relative); }
    QString preferencesPath() const { return path(QStringLiteral(".config/Velmora/Velmora.conf")); }

    void write(const QString& relative, const QByteArray& bytes) const
    {
        QDir().mkpath(QFileInfo(path(relative)).path());
        QFile file(path(relative));
        if (file.open(QIODevice::WriteOnly))
            file.write(bytes);
    }

    QByteArray read(const QString& relative) const
    {
        QFile file(path(relative));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void setPreference(const QString& key, const QVariant& value) const
    {
        QSettings(preferencesPath(), QSettings::IniFormat).setValue(key, value);
    }

    // Waits in the event loop, so that a bus service of the test can answer meanwhile.
    CliResult run(const QStringList& arguments, const QByteArray& input = {}) const
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        QSignalSpy finished(&process, &QProcess::finished);
        process.start(QStringLiteral(VELMORA_CLI_BINARY), arguments);
        process.write(input);
        process.closeWriteChannel();
        if (finished.isEmpty() && !finished.wait(60000))
            process.kill();
        const bool exited = process.exitStatus() == QProcess::NormalExit && !finished.isEmpty();
        return {exited ? process.exitCode() : -1, process.readAllStandardOutput(),
                process.readAllStandardError()};
    }

    QTemporaryDir home;
    QProcessEnvironment environment;
};
