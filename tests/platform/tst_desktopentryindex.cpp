// Which installed application a window belongs to: desktop entries read from real folders, matched
// by StartupWMClass, then by id, then by the window's executable.

#include "DesktopEntryIndex.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

bool writeFile(const QString& path, const QByteArray& contents)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

QByteArray entry(const QByteArray& name, const QByteArray& extra = {})
{
    return "[Desktop Entry]\nType=Application\nName=" + name + "\n" + extra;
}

} // namespace

class TestDesktopEntryIndex : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parsesTheMainGroupOnly()
    {
        const auto parsed = DesktopEntryIndex::parse(
            u"code"_s,
            "# comment\n[Desktop Entry]\nName=Visual Studio Code\nName[de]=Anders\nType=Application\n"
            "StartupWMClass=Code\nExec=/usr/share/code/code --unity-launch %F\n"
            "[Desktop Action new-empty-window]\nName=New Empty Window\nExec=other\n");
        QVERIFY(parsed);
        QCOMPARE(parsed->id, u"code"_s);
        QCOMPARE(parsed->name, u"Visual Studio Code"_s);
        QCOMPARE(parsed->startupWMClass, u"Code"_s);
        QCOMPARE(parsed->program, u"/usr/share/code/code"_s);
    }

    void programOfExec_data()
    {
        QTest::addColumn<QByteArray>("keys");
        QTest::addColumn<QString>("program");
        QTest::newRow("plain") << QByteArray("Exec=xterm -e top") << u"xterm"_s;
        QTest::newRow("quoted with a blank")
            << QByteArray(R"(Exec="/opt/My App/run" %U)") << u"/opt/My App/run"_s;
        QTest::newRow("escaped quote inside quotes")
            << QByteArray(R"(Exec="/opt/a\"b" %U)") << u"/opt/a\"b"_s;
        QTest::newRow("env prefix") << QByteArray(
                                           "Exec=env GDK_BACKEND=x11 FOO=1 /snap/bin/code --new-window")
                                    << u"/snap/bin/code"_s;
        QTest::newRow("try exec when exec is empty") << QByteArray("Exec=\nTryExec=zed") << u"zed"_s;
        QTest::newRow("an escaped blank still separates") << QByteArray(R"(Exec=/opt/a\sb)") << u"/opt/a"_s;
        QTest::newRow("an escaped blank inside quotes")
            << QByteArray(R"(Exec="/opt/a\sb" %f)") << u"/opt/a b"_s;
    }

    void programOfExec()
    {
        QFETCH(QByteArray, keys);
        QFETCH(QString, program);
        const auto parsed = DesktopEntryIndex::parse(u"x"_s, entry("X", keys));
        QVERIFY(parsed);
        QCOMPARE(parsed->program, program);
    }

    void skipsWhatIsNoApplication()
    {
        QCOMPARE(DesktopEntryIndex::parse(u"x"_s, "[Desktop Entry]\nType=Link\nName=X\nURL=http://x\n"),
                 std::nullopt);
        QCOMPARE(DesktopEntryIndex::parse(u"x"_s, entry("X", "Hidden=true\n")), std::nullopt);
        QCOMPARE(DesktopEntryIndex::parse(u"x"_s, "[Other Group]\nType=Application\nName=X\n"), std::nullopt);
        QCOMPARE(DesktopEntryIndex::parse(u"x"_s, QByteArray()), std::nullopt);
    }

    void xdgFolders()
    {
        QProcessEnvironment environment;
        environment.insert(u"HOME"_s, u"/home/u"_s);
        QCOMPARE(DesktopEntryIndex::applicationDirectories(environment),
                 (QStringList{u"/home/u/.local/share/applications"_s, u"/usr/local/share/applications"_s,
                              u"/usr/share/applications"_s}));
        environment.insert(u"XDG_DATA_HOME"_s, u"/data/home"_s);
        environment.insert(u"XDG_DATA_DIRS"_s, u"/a:relative:/b/:/a"_s);
        QCOMPARE(DesktopEntryIndex::applicationDirectories(environment),
                 (QStringList{u"/data/home/applications"_s, u"/a/applications"_s, u"/b/applications"_s}));
    }

    void idsAndPrecedence()
    {
        QTemporaryDir user;
        QTemporaryDir system;
        QVERIFY(writeFile(system.filePath(u"firefox.desktop"_s), entry("Firefox System")));
        QVERIFY(writeFile(user.filePath(u"firefox.desktop"_s), entry("Firefox Mine")));
        QVERIFY(writeFile(system.filePath(u"kde4/konsole.desktop"_s), entry("Konsole")));
        // The user's hidden entry hides the system one of the same id.
        QVERIFY(writeFile(user.filePath(u"xterm.desktop"_s), entry("XTerm", "Hidden=true\n")));
        QVERIFY(writeFile(system.filePath(u"xterm.desktop"_s), entry("XTerm")));
        QVERIFY(writeFile(system.filePath(u"notes.txt"_s), entry("Not a desktop file")));

        const DesktopEntryIndex index({user.path(), system.path(), system.filePath(u"missing"_s)});
        QStringList seen;
        for (const DesktopEntry& each : index.entries())
            seen.append(each.id + u'=' + each.name);
        QCOMPARE(seen, (QStringList{u"firefox=Firefox Mine"_s, u"kde4-konsole=Konsole"_s}));
    }

    void matchingOrder()
    {
        QTemporaryDir applications;
        const QString bin = QFileInfo(applications.path()).canonicalFilePath() + u"/bin"_s;
        QVERIFY(writeFile(bin + u"/fancy-editor"_s, "#!/bin/sh\n"));
        QVERIFY(writeFile(bin + u"/shared"_s, "#!/bin/sh\n"));
        QVERIFY(
            writeFile(applications.filePath(u"a-by-class.desktop"_s),
                      entry("By Class", "StartupWMClass=Code\nExec=" + bin.toUtf8() + "/fancy-editor\n")));
        QVERIFY(writeFile(applications.filePath(u"b-by-instance.desktop"_s),
                          entry("By Instance", "StartupWMClass=crx_abc\n")));
        QVERIFY(writeFile(applications.filePath(u"code.desktop"_s), entry("By Id")));
        QVERIFY(writeFile(applications.filePath(u"org.gnome.Terminal.desktop"_s), entry("Terminal")));
        QVERIFY(writeFile(applications.filePath(u"one.desktop"_s),
                          entry("One", "Exec=" + bin.toUtf8() + "/shared\n")));
        QVERIFY(writeFile(applications.filePath(u"two.desktop"_s),
                          entry("Two", "Exec=" + bin.toUtf8() + "/shared %F\n")));
        const DesktopEntryIndex index({applications.path()});

        const auto idOf = [&](const QString& instance, const QString& wmClass,
                              const QString& executable = {}) -> QString {
            int asked = 0;
            const auto found = index.match(instance, wmClass, [&] {
                ++asked;
                return executable;
            });
            const QString id = found ? found->id : u"-"_s;
            return id + u'/' + QString::number(asked);
        };

        // StartupWMClass first, the instance before the class; the executable is never asked then.
        QCOMPARE(idOf(u"code"_s, u"Code"_s), u"a-by-class/0"_s);
        QCOMPARE(idOf(u"crx_abc"_s, u"Code"_s), u"b-by-instance/0"_s);
        // Then the id, either part, any case.
        QCOMPARE(idOf(u"ORG.GNOME.TERMINAL"_s, u"Gnome-terminal"_s), u"org.gnome.Terminal/0"_s);
        QCOMPARE(idOf(u"xterm"_s, u"org.gnome.terminal"_s), u"org.gnome.Terminal/0"_s);
        // Then the executable, which must start exactly one entry.
        QCOMPARE(idOf(u"fe"_s, u"FancyEditor"_s, bin + u"/fancy-editor"_s), u"a-by-class/1"_s);
        QCOMPARE(idOf(u"sh"_s, u"Shared"_s, bin + u"/shared"_s), u"-/1"_s);
        QCOMPARE(idOf(u"nothing"_s, u"Nothing"_s), u"-/1"_s);
        QCOMPARE(idOf(QString(), QString()), u"-/1"_s);
    }
};

QTEST_GUILESS_MAIN(TestDesktopEntryIndex)
#include "tst_desktopentryindex.moc"
