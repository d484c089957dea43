// velmora-cli copy on a private X server: the text stays on the clipboard after the tool has exited,
// served by a detached process of its own that leaves when another owner takes the clipboard.
#include "CliRunner.h"
#include "XvfbServer.h"

#include <QTest>

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>

using namespace Qt::StringLiterals;

namespace {

// Our living children named velmora-cli: the servers, handed to this process as their subreaper.
QList<pid_t> clipboardServers()
{
    QList<pid_t> servers;
    const QStringList entries = QDir(u"/proc"_s).entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        QFile stat(u"/proc/"_s + entry + u"/stat"_s);
        if (entry.toInt() == 0 || !stat.open(QIODevice::ReadOnly))
            continue;
        // pid (comm) state ppid ...
        const QByteArray line = stat.readAll();
        const QList<QByteArray> rest = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (line.contains("(velmora-cli)") && rest.value(0) != "Z" && rest.value(1).toInt() == ::getpid())
            servers.append(pid_t(entry.toInt()));
    }
    return servers;
}

} // namespace

class TestCliClipboard : public QObject {
    Q_OBJECT

    XvfbServer m_server;
    std::unique_ptr<CliRunner> m_cli;

    QByteArray clipboard() const
    {
        QProcess xclip;
        xclip.setProcessEnvironment(m_cli->environment);
        xclip.start(u"xclip"_s, {u"-o"_s, u"-selection"_s, u"clipboard"_s});
        xclip.waitForFinished(10000);
        return xclip.readAllStandardOutput();
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!XvfbServer::available() || QStandardPaths::findExecutable(u"xclip"_s).isEmpty())
            QSKIP("Xvfb or xclip is not installed (scripts/setup installs both)");
        QVERIFY(m_server.start());
        // Detached servers become children of this process, so the test can see them leave.
        QCOMPARE(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
        m_cli = std::make_unique<CliRunner>();
        m_cli->environment.insert(u"DISPLAY"_s, m_server.display());
        m_cli->write(u".velmora/global.yaml"_s,
                     "prompts:\n  - id: one\n    title: One\n    text: First text\n"
                     "  - id: two\n    title: Two\n    text: \"Second {{x|y}}\"\n");
    }

    void cleanupTestCase()
    {
        for (const pid_t server : clipboardServers()) {
            ::kill(server, SIGTERM);
            ::waitpid(server, nullptr, 0);
        }
    }

    void theCopyOutlivesTheToolUntilAnotherOwnerComes()
    {
        const CliResult first = m_cli->run({u"copy"_s, u"one"_s});
        QCOMPARE(first.exitCode, 0);
        QCOMPARE(first.standardOutput, "Copied\n");
        QCOMPARE(clipboard(), "First text");
        const QList<pid_t> servers = clipboardServers();
        QCOMPARE(servers.size(), 1);

        QCOMPARE(m_cli->run({u"copy"_s, u"two"_s}).exitCode, 0);
        QCOMPARE(clipboard(), "Second y");
        // The first server saw the clipboard taken and left.
        auto reaped = [server = servers.first(), done = false]() mutable {
            done = done || ::waitpid(server, nullptr, WNOHANG) == server;
            return done;
        };
        QTRY_VERIFY_WITH_TIMEOUT(reaped(), 20000);
        QCOMPARE(clipboardServers().size(), 1);
        QVERIFY(m_cli->read(u".velmora/prompt-usage.json"_s).contains("\"one\""));
    }
};

QTEST_GUILESS_MAIN(TestCliClipboard)
#include "tst_cliclipboard.moc"
