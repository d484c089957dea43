// A private X server (and, on request, a private session bus) for tests of the X11 layer.
#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QString>

#include <memory>
#include <unistd.h>

class XvfbServer {
public:
    ~XvfbServer() { stop(); }

    static bool available() { return !QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty(); }

    // Starts Xvfb on a free display; returns false when it could not.
    bool start()
    {
        int fds[2];
        if (::pipe(fds) != 0)
            return false;
        m_xvfb = std::make_unique<QProcess>();
        m_xvfb->setProgram(QStringLiteral("Xvfb"));
        m_xvfb->setArguments({QStringLiteral("-displayfd"), QString::number(fds[1]),
                              QStringLiteral("-screen"), QStringLiteral("0"), QStringLiteral("1280x800x24"),
                              QStringLiteral("-nolisten"), QStringLiteral("tcp")});
        m_xvfb->setChildProcessModifier([fd = fds[0]] { ::close(fd); });
        m_xvfb->start();
        ::close(fds[1]);
        if (!m_xvfb->waitForStarted(5000)) {
            ::close(fds[0]);
            return false;
        }
        QByteArray number;
        char c = 0;
        while (::read(fds[0], &c, 1) == 1 && c != '\n')
            number.append(c);
        ::close(fds[0]);
        if (number.isEmpty())
            return false;
        m_display = QStringLiteral(":") + QString::fromLatin1(number);
        return true;
    }

    // Starts a session bus of its own; returns its address, or an empty string.
    QString startSessionBus()
    {
        m_bus = std::make_unique<QProcess>();
        m_bus->start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                     QStringLiteral("--print-address=1")});
        if (!m_bus->waitForStarted(5000) || !m_bus->waitForReadyRead(5000))
            return {};
        m_busAddress = QString::fromUtf8(m_bus->readLine()).trimmed();
        return m_busAddress;
    }

    QString display() const { return m_display; }
    QString busAddress() const { return m_busAddress; }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), m_display);
        environment.insert(QStringLiteral("XDG_SESSION_TYPE"), QStringLiteral("x11"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
        if (!m_busAddress.isEmpty())
            environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_busAddress);
        return environment;
    }

    void stop()
    {
        for (auto* process : {m_bus.get(), m_xvfb.get()}) {
            if (process && process->state() != QProcess::NotRunning) {
                process->terminate();
                if (!process->waitForFinished(3000))
                    process->kill();
                process->waitForFinished(3000);
            }
        }
    }

private:
    std::unique_ptr<QProcess> m_xvfb;
    std::unique_ptr<QProcess> m_bus;
    QString m_display;
    QString m_busAddress;
};
