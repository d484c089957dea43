// Reading project folders out of terminal and IDE window titles.

#include "IDEWorkspaceDetector.h"
#include "TerminalContextDetector.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(std::optional<QString>)

namespace {

std::optional<QString> none()
{
    return std::nullopt;
}

std::optional<QString> home(const QString& rest = {})
{
    return QDir::homePath() + rest;
}

} // namespace

class TestWindowTitleAnalysis : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void terminalPath_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<std::optional<QString>>("expected");
        const auto row = [](const char* name, const QString& title, std::optional<QString> path) {
            QTest::newRow(name) << title << path;
        };
        row("shell prompt with a home path", u"me@box: ~/src/app"_s, home(u"/src/app"_s));
        row("host and path joined by a colon", u"me@box:/srv/app"_s, u"/srv/app"_s);
        row("quoted path keeps its blanks", uR"(vim "/Users/a/My Project/x")"_s, u"/Users/a/My Project/x"_s);
        row("unquoted path stops at the blank", u"vim /Users/a/My Project/x"_s, u"/Users/a/My"_s);
        row("apostrophe-quoted path", u"cd '/tmp/my dir'"_s, u"/tmp/my dir"_s);
        row("a failed double-quoted path doesn't stop the apostrophe form", uR"("/," then '/opt/x y')"_s,
            u"/opt/x y"_s);
        row("a failed quoted path doesn't stop the token scan", uR"("/;" and /var/log)"_s, u"/var/log"_s);
        row("only the first quoted match counts", uR"("/;" "/opt/my dir")"_s, u"/opt/my"_s);
        row("em dash against the path", u"project\u2014/Users/a/x"_s, u"/Users/a/x"_s);
        row("en dash against the path", u"project\u2013/b/c"_s, u"/b/c"_s);
        row("middle dot against the path", u"zsh\u00b7/d/e"_s, u"/d/e"_s);
        row("tab separates", u"zsh\t/tab/path"_s, u"/tab/path"_s);
        row("line separator splits", u"zsh\u2028/line/path"_s, u"/line/path"_s);
        row("trailing commas and semicolons go", u"at /a/b,;, now"_s, u"/a/b"_s);
        row("a trailing dot stays", u"in /a/b."_s, u"/a/b."_s);
        row("line suffixes are cut at the colon", u"main.cpp:42 /src/x:10:5"_s, u"/src/x"_s);
        row("brackets and parentheses are trimmed", u"[/opt/proj] (x)"_s, u"/opt/proj"_s);
        row("parenthesised home path", u"(~/code)"_s, home(u"/code"_s));
        row("dot components and trailing slash", u"/a/./b/../c/"_s, u"/a/c"_s);
        row("first candidate wins", u"/first /second"_s, u"/first"_s);
        row("lone tilde", u"~"_s, none());
        row("lone slash", u"/ and nothing"_s, none());
        row("tilde slash is the home directory", u"~/"_s, home());
        row("tilde name stays relative", u"~name/x"_s, QDir::cleanPath(QDir::currentPath() + u"/~name/x"_s));
        row("no path", u"bash"_s, none());
        row("relative path", u"src/app"_s, none());
        row("empty", u""_s, none());
    }

    void terminalPath()
    {
        QFETCH(QString, title);
        QFETCH(std::optional<QString>, expected);
        QCOMPARE(TerminalContextDetector::workspacePath(title), expected);
    }

    void terminalApp()
    {
        QVERIFY(TerminalContextDetector::isTerminalApp(u"iTerm2"_s));
        QVERIFY(TerminalContextDetector::isTerminalApp(u"Claude Code Terminal"_s));
        QVERIFY(TerminalContextDetector::isTerminalApp(u"Konsole"_s));
        QVERIFY(!TerminalContextDetector::isTerminalApp(u"Cursor"_s));
    }

    void ideApp_data()
    {
        QTest::addColumn<QString>("appName");
        QTest::addColumn<bool>("isIDE");
        const auto row = [](const QString& name, bool isIDE) {
            QTest::newRow(qPrintable(name)) << name << isIDE;
        };
        row(u"Antigravity IDE"_s, true);
        row(u"Antigravity"_s, false);
        row(u"Cursor Nightly"_s, true);
        row(u"Visual Studio Code - Insiders"_s, true);
        row(u"Code"_s, true);
        row(u"Code Insiders"_s, false);
        row(u"VSCode Remote"_s, true);
        row(u"Windsurf Next"_s, true);
        row(u"Devin"_s, true);
        row(u"Trae CN"_s, true);
        row(u"Zed"_s, true);
        row(u"Zed Preview"_s, false);
        row(u"JetBrains Gateway"_s, true);
        row(u"IntelliJ IDEA Ultimate"_s, true);
        for (const char* name :
             {"PyCharm", "WebStorm", "GoLand", "CLion", "PhpStorm", "RubyMine", "DataGrip", "Rider"})
            row(QString::fromLatin1(name) + u" 2025"_s, true);
        row(u"Kiro"_s, true);
        row(u"Kiro Beta"_s, false);
        row(u"OpenCode"_s, true);
        row(u"OpenCode Beta"_s, true);
        row(u"OpenCode Dev"_s, true);
        row(u"OpenCode Nightly"_s, false);
        row(u"ZCode"_s, true);
        row(u"Terminal"_s, false);
        row(u"Code - OSS"_s, true);
        row(u"VSCodium"_s, true);
    }

    void ideApp()
    {
        QFETCH(QString, appName);
        QFETCH(bool, isIDE);
        QCOMPARE(IDEWorkspaceDetector::isIDEApp(appName), isIDE);
    }

    void idePath_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("known");
        QTest::addColumn<std::optional<QString>>("expected");
        const auto row = [](const char* name, const QString& title, const QStringList& known,
                            std::optional<QString> path) {
            QTest::newRow(name) << title << known << path;
        };

        row("full path in other capitals keeps the known capitals",
            u"index.ts \u2014 /users/a/web \u2014 Cursor"_s, {u"/Users/a/Web"_s}, u"/Users/a/Web"_s);
        row("a nested project beats its parent", u"x \u2014 /a/proj/sub/file.c"_s,
            {u"/a/proj"_s, u"/a/proj/sub"_s}, u"/a/proj/sub"_s);
        row("equal lengths keep the given order", u"/a/xx and /b/xx"_s, {u"/b/xx"_s, u"/a/xx"_s}, u"/b/xx"_s);
        row("a title holding a deeper path matches the known one", u"/a/b/c - Code"_s, {u"/a/b"_s},
            u"/a/b"_s);
        row("known paths are standardised", u"/a/web - Code"_s, {u""_s, u"/a/./web/"_s}, u"/a/web"_s);
        row("a deeper home path in the title", u"~/b/c \u2014 Code"_s, {QDir::homePath() + u"/b"_s},
            QDir::homePath() + u"/b/c"_s);
        row("a title path that is a parent of a known one", u"/x/y \u2014 Code"_s, {u"/x/y/z"_s}, u"/x/y"_s);
        row("an unrelated path goes on to the folder name", u"/other/thing web"_s, {u"/a/web"_s},
            u"/a/web"_s);
        row("folder name in the title", u"WEB | Cursor"_s, {u"/a/Web"_s}, u"/a/Web"_s);
        row("two folders of the same name never match by name", u"web \u2014 Zed"_s,
            {u"/a/web"_s, u"/b/web"_s}, none());
        row("duplicates of one path are ambiguous as well", u"web \u2014 Zed"_s, {u"/a/web"_s, u"/a/web"_s},
            none());
        row("no known paths, no result", u"/a/b \u2014 Code"_s, {}, none());
        row("nothing related", u"notes \u2014 Code"_s, {u"/a/web"_s}, none());
    }

    void idePath()
    {
        QFETCH(QString, title);
        QFETCH(QStringList, known);
        QFETCH(std::optional<QString>, expected);
        QCOMPARE(IDEWorkspaceDetector::workspacePath(title, known), expected);
    }

    void ideName_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<std::optional<QString>>("expected");
        QTest::newRow("em dash") << u"main.rs \u2014 velmora \u2014 Zed"_s << std::optional(u"main.rs"_s);
        QTest::newRow("hyphen") << u"proj - Visual Studio Code"_s << std::optional(u"proj"_s);
        QTest::newRow("en dash") << u"a \u2013 b"_s << std::optional(u"a"_s);
        QTest::newRow("bar") << u"a | b"_s << std::optional(u"a"_s);
        QTest::newRow("em dash before hyphen") << u"x - y \u2014 z"_s << std::optional(u"x - y"_s);
        QTest::newRow("leading separator goes to the next one")
            << u" \u2014 rest - app"_s << std::optional(u"\u2014 rest"_s);
        QTest::newRow("leading separator only, whole title") << u" | app"_s << std::optional(u"| app"_s);
        QTest::newRow("no separator") << u"  JustTitle \n"_s << std::optional(u"JustTitle"_s);
        QTest::newRow("dash without blanks is no separator") << u"a\u2014b"_s << std::optional(u"a\u2014b"_s);
        QTest::newRow("only blanks") << u" \t\u3000 "_s << none();
        QTest::newRow("empty") << u""_s << none();
    }

    void ideName()
    {
        QFETCH(QString, title);
        QFETCH(std::optional<QString>, expected);
        QCOMPARE(IDEWorkspaceDetector::workspaceName(title), expected);
    }
};

QTEST_GUILESS_MAIN(TestWindowTitleAnalysis)
#include "tst_windowtitleanalysis.moc"
