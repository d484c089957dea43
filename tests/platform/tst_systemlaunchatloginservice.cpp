// Launch at login over XDG autostart, in a temporary config home: the entry written is valid and
// starts the program, the status read back covers every state, and failures change nothing.

#include "SystemLaunchAtLoginService.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

bool writeFile(const QString& path, const QByteArray& content, bool executable = false)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(content);
    file.close();
    if (executable)
        file.setPermissions(file.permissions() | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther);
    return true;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

} // namespace

class TestSystemLaunchAtLoginService : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_configHome;
    QString m_systemConfig;
    QString m_program;
    QString m_marker;

    SystemLaunchAtLoginService service(const QString& program) const
    {
        return SystemLaunchAtLoginService({m_configHome, {m_systemConfig}, program});
    }

    QString systemEntryPath() const { return m_systemConfig + u"/autostart/velmora.desktop"_s; }

    // A program in a folder whose name holds `folderName`; running it leaves the marker file.
    QString makeProgram(const QString& folderName)
    {
        const QString path = m_dir->filePath(folderName + u"/velmora"_s);
        const QByteArray script = "#!/bin/sh\necho started > '" + m_marker.toUtf8() + "'\n";
        return writeFile(path, script, true) ? path : QString();
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_configHome = m_dir->filePath(u"config"_s);
        m_systemConfig = m_dir->filePath(u"xdg"_s);
        m_marker = m_dir->filePath(u"started"_s);
        m_program = makeProgram(u"My Apps"_s);
        QVERIFY(!m_program.isEmpty());
    }

    void registerWritesAValidEntryThatStartsTheProgram_data()
    {
        QTest::addColumn<QString>("folderName");
        QTest::addColumn<bool>("glibLaunches");
        QTest::newRow("space") << u"My Apps"_s << true;
        QTest::newRow("quote, dollar, backtick") << u"it's \"$HOME\" `x`"_s << true;
        QTest::newRow("backslash") << u"back\\slash"_s << true;
        QTest::newRow("non-ASCII") << u"程序 Ünïcode"_s << true;
        // The entry is right ("%%"), but GLib looks the program up before it undoes "%%".
        QTest::newRow("percent") << u"100% sure"_s << false;
    }

    void registerWritesAValidEntryThatStartsTheProgram()
    {
        QFETCH(QString, folderName);
        QFETCH(bool, glibLaunches);
        const QString program = makeProgram(folderName);
        QVERIFY(!program.isEmpty());
        auto login = service(program);
        QVERIFY(login.registerLoginItem());

        const QString entry = m_configHome + u"/autostart/velmora.desktop"_s;
        QCOMPARE(login.userEntryPath(), entry);
        const QByteArray content = contentOf(entry);
        QVERIFY(content.startsWith("[Desktop Entry]\n"));
        QVERIFY(content.contains("\nType=Application\n"));
        QVERIFY(content.contains("\nName=Velmora\n"));
        QVERIFY(content.contains("\nIcon="));
        QVERIFY(content.contains("\nX-GNOME-Autostart-enabled=true\n"));
        QCOMPARE(login.statusRawValue(), SystemLaunchAtLoginService::enabledRawValue);

        if (QStandardPaths::findExecutable(u"desktop-file-validate"_s).isEmpty())
            QSKIP("desktop-file-validate is not installed (package desktop-file-utils)");
        QProcess validate;
        validate.setProcessChannelMode(QProcess::MergedChannels);
        validate.start(u"desktop-file-validate"_s, {entry});
        QVERIFY(validate.waitForFinished());
        const QByteArray report = validate.readAll();
        QVERIFY2(validate.exitCode() == 0 && !report.contains("error"), report.constData());

        // GLib's launcher reads Exec as GNOME's session does.
        if (!glibLaunches)
            return;
        if (QStandardPaths::findExecutable(u"gio"_s).isEmpty())
            QSKIP("gio is not installed (package libglib2.0-bin)");
        QFile::remove(m_marker);
        QProcess launch;
        launch.setProcessChannelMode(QProcess::MergedChannels);
        launch.start(u"gio"_s, {u"launch"_s, entry});
        QVERIFY(launch.waitForFinished());
        QVERIFY2(launch.exitCode() == 0, launch.readAll().constData());
        QTRY_VERIFY(QFile::exists(m_marker));
    }

    void execValueFollowsTheQuotingRules_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("exec");
        QTest::newRow("plain") << u"/usr/bin/velmora"_s << u"/usr/bin/velmora"_s;
        QTest::newRow("space") << u"/opt/My Apps/velmora"_s << u"\"/opt/My Apps/velmora\""_s;
        QTest::newRow("percent") << u"/opt/100%/velmora"_s << u"/opt/100%%/velmora"_s;
        // Inside quotes \" \$ \` \\ are escaped, and then every backslash doubled for the value.
        QTest::newRow("dollar") << u"/opt/$x/velmora"_s << u"\"/opt/\\\\$x/velmora\""_s;
        QTest::newRow("backslash") << u"/opt/a\\b"_s << u"\"/opt/a\\\\\\\\b\""_s;
    }

    void execValueFollowsTheQuotingRules()
    {
        QFETCH(QString, path);
        QFETCH(QString, exec);
        QCOMPARE(SystemLaunchAtLoginService::execValue(path), std::optional<QString>(exec));
    }

    void unusableExecutablePathsAreRefused()
    {
        QCOMPARE(SystemLaunchAtLoginService::execValue(u"velmora"_s), std::nullopt);
        QCOMPARE(SystemLaunchAtLoginService::execValue(u"/opt/line\nbreak"_s), std::nullopt);
        auto login = service(u"relative/velmora"_s);
        const Expected<void> result = login.registerLoginItem();
        QVERIFY(!result);
        QCOMPARE(result.error().code, qint64(SystemLaunchAtLoginService::executableUnusable));
        QVERIFY(!QFile::exists(login.userEntryPath()));
    }

    void statusReadBack_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<int>("rawStatus");
        const QByteArray exec = "Exec=\"" + QByteArray("%PROGRAM%") + "\"\n";
        const QByteArray head = "[Desktop Entry]\nType=Application\nName=Velmora\n";
        QTest::newRow("in force") << head + exec << 1;
        QTest::newRow("in force, comments and other groups")
            << "# written by hand\n\n" + head + exec + "\n[Desktop Action x]\nName=X\n"
            << 1;
        QTest::newRow("hidden") << head + exec + "Hidden=true\n" << 0;
        QTest::newRow("turned off by the startup tool") << head + exec + "X-GNOME-Autostart-enabled=false\n"
                                                        << 0;
        QTest::newRow("program gone") << head + "Exec=\"%PROGRAM%-gone\"\n" << 3;
        QTest::newRow("program found on PATH") << head + "Exec=sh -c true\n" << 1;
        QTest::newRow("program not on PATH") << head + "Exec=velmora-nowhere-to-be-found\n" << 3;
        QTest::newRow("TryExec gone") << head + exec + "TryExec=/nonexistent/velmora\n" << 3;
        QTest::newRow("no Exec") << head << 3;
        QTest::newRow("unterminated quote") << head + "Exec=\"/usr/bin/velmora\n" << 3;
        QTest::newRow("not a desktop entry") << QByteArray("just some text\n") << -1;
        QTest::newRow("main group not first") << "[Other]\nA=b\n" + head + exec << -1;
        QTest::newRow("no Type") << "[Desktop Entry]\nName=Velmora\n" + exec << -1;
        QTest::newRow("not an application")
            << QByteArray("[Desktop Entry]\nType=Link\nURL=https://velmora.app\n") << -1;
        QTest::newRow("invalid UTF-8") << head + "Comment=\xff\xfe\n" + exec << -1;
        QTest::newRow("empty file") << QByteArray() << -1;
    }

    void statusReadBack()
    {
        QFETCH(QByteArray, entry);
        QFETCH(int, rawStatus);
        auto login = service(m_program);
        QVERIFY(writeFile(login.userEntryPath(), QByteArray(entry).replace("%PROGRAM%", m_program.toUtf8())));
        QCOMPARE(login.statusRawValue(), rawStatus);
    }

    void noEntryIsNotRegistered()
    {
        auto login = service(m_program);
        QCOMPARE(login.statusRawValue(), SystemLaunchAtLoginService::notRegisteredRawValue);
        QVERIFY(login.unregisterLoginItem()); // nothing to remove is no failure
        QVERIFY(!QFileInfo::exists(m_configHome));
    }

    void anEntryThatCantBeReadIsUnavailable()
    {
        auto login = service(m_program);
        QVERIFY(QDir().mkpath(login.userEntryPath())); // a folder where the entry should be
        QCOMPARE(login.statusRawValue(), SystemLaunchAtLoginService::unreadableRawValue);
    }

    void unregisterRemovesTheUserEntry()
    {
        auto login = service(m_program);
        QVERIFY(login.registerLoginItem());
        QVERIFY(login.unregisterLoginItem());
        QVERIFY(!QFile::exists(login.userEntryPath()));
        QCOMPARE(login.statusRawValue(), 0);
    }

    void aSystemEntryIsHiddenByAUserOne()
    {
        const QByteArray systemEntry = "[Desktop Entry]\nType=Application\nName=Velmora\nExec=sh -c true\n";
        QVERIFY(writeFile(systemEntryPath(), systemEntry));
        auto login = service(m_program);
        QCOMPARE(login.statusRawValue(), 1);

        QVERIFY(login.unregisterLoginItem());
        const QByteArray userEntry = contentOf(login.userEntryPath());
        QVERIFY(userEntry.contains("\nHidden=true\n"));
        QCOMPARE(login.statusRawValue(), 0);
        QCOMPARE(contentOf(systemEntryPath()), systemEntry);

        QVERIFY(login.registerLoginItem());
        QVERIFY(!contentOf(login.userEntryPath()).contains("Hidden"));
        QCOMPARE(login.statusRawValue(), 1);
        QCOMPARE(contentOf(systemEntryPath()), systemEntry);
    }

    void theFirstSystemFolderWithTheEntryCounts()
    {
        const QString second = m_dir->filePath(u"xdg-second"_s);
        QVERIFY(writeFile(second + u"/autostart/velmora.desktop"_s,
                          "[Desktop Entry]\nType=Application\nName=V\nExec=sh\nHidden=true\n"));
        SystemLaunchAtLoginService login({m_configHome, {m_systemConfig, second}, m_program});
        QCOMPARE(login.statusRawValue(), 0);
        QVERIFY(writeFile(systemEntryPath(), "[Desktop Entry]\nType=Application\nName=V\nExec=sh\n"));
        QCOMPARE(login.statusRawValue(), 1);
    }

    void aPlainFileAsTheAutostartFolderMakesRegisterFail()
    {
        QVERIFY(writeFile(m_configHome + u"/autostart"_s, "not a folder"));
        auto login = service(m_program);
        const Expected<void> result = login.registerLoginItem();
        QVERIFY(!result);
        QCOMPARE(result.error().code, qint64(SystemLaunchAtLoginService::folderNotCreated));
        QVERIFY(!result.error().description.isEmpty());
        QCOMPARE(contentOf(m_configHome + u"/autostart"_s), QByteArray("not a folder"));
    }

    void aFolderInPlaceOfTheEntryMakesRegisterAndUnregisterFail()
    {
        auto login = service(m_program);
        QVERIFY(QDir().mkpath(login.userEntryPath()));
        const Expected<void> registered = login.registerLoginItem();
        QVERIFY(!registered);
        QCOMPARE(registered.error().code, qint64(SystemLaunchAtLoginService::entryNotWritten));
        QVERIFY(QFileInfo(login.userEntryPath()).isDir());
        const Expected<void> unregistered = login.unregisterLoginItem();
        QVERIFY(!unregistered);
        QCOMPARE(unregistered.error().code, qint64(SystemLaunchAtLoginService::entryNotRemoved));
        QVERIFY(QFileInfo(login.userEntryPath()).isDir());
    }

    void aFailedRegisterLeavesTheOldEntry()
    {
        auto login = service(u"relative/velmora"_s);
        const QByteArray old = "[Desktop Entry]\nType=Application\nName=Velmora\nExec=sh\nHidden=true\n";
        QVERIFY(writeFile(login.userEntryPath(), old));
        QVERIFY(!login.registerLoginItem());
        QCOMPARE(contentOf(login.userEntryPath()), old);
        QCOMPARE(QDir(m_configHome + u"/autostart"_s)
                     .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{u"velmora.desktop"_s});
    }

    void standardLocationsFollowTheBaseDirectoryRules()
    {
        QProcessEnvironment environment;
        environment.insert(u"HOME"_s, u"/home/ada"_s);
        environment.insert(u"XDG_CONFIG_HOME"_s, u"relative/config"_s); // not absolute: ignored
        environment.insert(u"XDG_CONFIG_DIRS"_s, u"/etc/one::relative:/etc/two"_s);
        auto locations = SystemLaunchAtLoginService::standardLocations(environment);
        QCOMPARE(locations.configHome, u"/home/ada/.config"_s);
        QCOMPARE(locations.configDirs, (QStringList{u"/etc/one"_s, u"/etc/two"_s}));
        QVERIFY(QFileInfo(locations.executablePath).isAbsolute());

        environment.insert(u"XDG_CONFIG_HOME"_s, u"/srv/config"_s);
        environment.remove(u"XDG_CONFIG_DIRS"_s);
        environment.insert(u"APPIMAGE"_s, u"/home/ada/Velmora.AppImage"_s);
        locations = SystemLaunchAtLoginService::standardLocations(environment);
        QCOMPARE(locations.configHome, u"/srv/config"_s);
        QCOMPARE(locations.configDirs, QStringList{u"/etc/xdg"_s});
        QCOMPARE(locations.executablePath, u"/home/ada/Velmora.AppImage"_s);
    }

    void openingTheLoginItemsShowsTheAutostartFolder()
    {
        QList<QUrl> opened;
        SystemLaunchAtLoginService login({m_configHome, {m_systemConfig}, m_program},
                                         [&opened](const QUrl& url) { opened.append(url); });
        QVERIFY(QDir().mkpath(m_configHome));
        login.openSystemSettingsLoginItems();
        QVERIFY(login.registerLoginItem());
        login.openSystemSettingsLoginItems();
        QCOMPARE(opened, (QList<QUrl>{QUrl::fromLocalFile(m_configHome),
                                      QUrl::fromLocalFile(m_configHome + u"/autostart"_s)}));
    }
};

QTEST_GUILESS_MAIN(TestSystemLaunchAtLoginService)
#include "tst_systemlaunchatloginservice.moc"
