// `cmake --install` into a temporary prefix, run from outside the source tree: every file where a
// desktop looks for it, each icon the size its folder says, and the installed app starting there.
#include "XvfbServer.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

class TestInstall : public QObject {
    Q_OBJECT

    QTemporaryDir m_prefix;
    QTemporaryDir m_elsewhere; // the working folder, far from the source tree

private Q_SLOTS:
    void initTestCase()
    {
        QProcess install;
        install.setWorkingDirectory(m_elsewhere.path());
        install.setProcessChannelMode(QProcess::MergedChannels);
        install.start(u"cmake"_s,
                      {u"--install"_s, QStringLiteral(VELMORA_BUILD_DIR), u"--prefix"_s, m_prefix.path()});
        QVERIFY(install.waitForFinished(120000));
        QVERIFY2(install.exitCode() == 0, install.readAll().constData());
    }

    void installsEveryFile_data()
    {
        QTest::addColumn<QString>("path");
        QStringList paths{u"bin/velmora"_s,
                          u"share/applications/app.velmora.Velmora.desktop"_s,
                          u"share/metainfo/app.velmora.Velmora.metainfo.xml"_s,
                          u"share/icons/hicolor/scalable/apps/app.velmora.Velmora.svg"_s,
                          u"share/icons/hicolor/symbolic/apps/app.velmora.Velmora-symbolic.svg"_s,
                          u"share/man/man1/velmora.1.gz"_s,
                          u"share/doc/velmora/copyright"_s,
                          u"share/doc/velmora/changelog.gz"_s};
#ifdef VELMORA_CLI_BINARY
        paths << u"bin/velmora-cli"_s << u"share/man/man1/velmora-cli.1.gz"_s;
#endif
        // The app looks for its sounds at <exe dir>/../share/velmora/sounds.
        const QDir sounds(QStringLiteral(VELMORA_SOURCE_DIR) + u"/resources/sounds"_s);
        for (const QString& sound : sounds.entryList({u"*.wav"_s}, QDir::Files))
            paths << u"bin/../share/velmora/sounds/"_s + sound;
        for (const QString& path : std::as_const(paths))
            QTest::newRow(qPrintable(path)) << path;
    }

    void installsEveryFile()
    {
        QFETCH(QString, path);
        QVERIFY(QFileInfo(m_prefix.filePath(path)).isFile());
    }

    void eachIconHasTheSizeOfItsFolder()
    {
        const QDir hicolor(m_prefix.filePath(u"share/icons/hicolor"_s));
        QStringList folders;
        for (const QString& folder : hicolor.entryList({u"*x*"_s}, QDir::Dirs)) {
            const QImage icon(hicolor.filePath(folder + u"/apps/app.velmora.Velmora.png"_s));
            const int size = folder.section(u'x', 0, 0).toInt();
            QVERIFY2(!icon.isNull(), qPrintable(folder));
            QCOMPARE(icon.size(), QSize(size, size));
            folders << folder;
        }
        folders.sort();
        QCOMPARE(folders, (QStringList{u"128x128"_s, u"16x16"_s, u"24x24"_s, u"256x256"_s, u"32x32"_s,
                                       u"48x48"_s, u"512x512"_s, u"64x64"_s}));
    }

    void installedAppStartsOutsideTheSourceTree()
    {
        if (!XvfbServer::available() || QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
            QSKIP("Xvfb or dbus-daemon is not installed (scripts/setup installs both)");
        XvfbServer server;
        QVERIFY(server.start());
        QVERIFY(!server.startSessionBus().isEmpty());
        const QDBusConnection bus = QDBusConnection::connectToBus(server.busAddress(), u"install"_s);
        QProcessEnvironment environment = server.environment();
        environment.insert(u"HOME"_s, m_elsewhere.path());
        environment.insert(u"XDG_CONFIG_HOME"_s, m_elsewhere.filePath(u".config"_s));

        QProcess velmora;
        velmora.setWorkingDirectory(m_elsewhere.path());
        velmora.setProcessEnvironment(environment);
        velmora.start(m_prefix.filePath(u"bin/velmora"_s), {});
        QVERIFY(velmora.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT(bus.interface()->isServiceRegistered(u"app.velmora.Velmora"_s).value(),
                                 20000);
        ::kill(pid_t(velmora.processId()), SIGTERM);
        QVERIFY(velmora.waitForFinished(20000));
        QCOMPARE(velmora.exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(TestInstall)
#include "tst_install.moc"
