// The files through which a Linux desktop knows Velmora pass their validators and agree with the
// build: the desktop entry, the AppStream metainfo, the man pages and the Debian changelog.
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>
#include <QVersionNumber>
#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString source = QStringLiteral(VELMORA_SOURCE_DIR);
const QStringList manPages{source + u"/packaging/man/velmora.1"_s,
                           source + u"/packaging/man/velmora-cli.1"_s};

struct Outcome {
    int exitCode = -1;
    QString output; // standard output and error, interleaved
};

Outcome run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    // mandoc finds the pages that one names (.Xr) in the working folder.
    process.setWorkingDirectory(source + u"/packaging/man"_s);
    process.start(program, arguments);
    if (!process.waitForFinished(60000))
        return {};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAll())};
}

} // namespace

class TestPackageFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void validatorsAcceptTheFiles_data()
    {
        QTest::addColumn<QString>("tool");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("rejected"); // output lines that fail the test
        QTest::newRow("desktop entry")
            << u"desktop-file-validate"_s << QStringList{source + u"/resources/app.velmora.Velmora.desktop"_s}
            << u"error|warning"_s;
        QTest::newRow("metainfo") << u"appstreamcli"_s
                                  << QStringList{u"validate"_s, u"--no-net"_s,
                                                 source + u"/resources/app.velmora.Velmora.metainfo.xml"_s}
                                  << u"^[EW]:"_s;
        QTest::newRow("man pages") << u"mandoc"_s << QStringList{u"-T"_s, u"lint"_s} + manPages << u"."_s;
    }

    void validatorsAcceptTheFiles()
    {
        QFETCH(QString, tool);
        QFETCH(QStringList, arguments);
        QFETCH(QString, rejected);
        if (QStandardPaths::findExecutable(tool).isEmpty())
            QSKIP(qPrintable(tool + u" is not installed (scripts/setup installs it)"_s));
        const Outcome outcome = run(tool, arguments);
        QVERIFY2(outcome.exitCode == 0, qPrintable(outcome.output));
        const QRegularExpression rejectedLine(rejected, QRegularExpression::MultilineOption);
        QVERIFY2(!rejectedLine.match(outcome.output).hasMatch(), qPrintable(outcome.output));
    }

    void newestReleaseIsTheProjectVersion()
    {
        QFile metainfo(source + u"/resources/app.velmora.Velmora.metainfo.xml"_s);
        QVERIFY(metainfo.open(QIODevice::ReadOnly));
        QList<QVersionNumber> releases;
        QXmlStreamReader reader(&metainfo);
        while (!reader.atEnd()) {
            if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"release")
                releases.append(QVersionNumber::fromString(reader.attributes().value(u"version"_s)));
        }
        QVERIFY(!reader.hasError());
        QVERIFY(!releases.isEmpty());
        // Listed newest first, as AppStream wants them.
        QCOMPARE(releases.first(), *std::max_element(releases.cbegin(), releases.cend()));
        QCOMPARE(releases.first().toString(), QStringLiteral(VELMORA_VERSION));

        QFile changelog(source + u"/packaging/debian/changelog"_s);
        QVERIFY(changelog.open(QIODevice::ReadOnly));
        const QString firstLine = QString::fromUtf8(changelog.readLine());
        QCOMPARE(firstLine.section(u'(', 1).section(u')', 0, 0), QStringLiteral(VELMORA_VERSION));
    }

    void manPageNamesEveryCommandAndOptionOfTheHelp()
    {
#ifndef VELMORA_CLI_BINARY
        QSKIP("The velmora-cli target doesn't exist yet: there is no help to hold the man page to");
#else
        if (QStandardPaths::findExecutable(u"mandoc"_s).isEmpty())
            QSKIP("mandoc is not installed (scripts/setup installs it)");
        const Outcome help = run(QStringLiteral(VELMORA_CLI_BINARY), {u"--lang"_s, u"en"_s, u"--help"_s});
        QCOMPARE(help.exitCode, 0);
        Outcome page = run(u"mandoc"_s, {u"-T"_s, u"ascii"_s, manPages[1]});
        QCOMPARE(page.exitCode, 0);
        page.output.remove(QRegularExpression(u".\b"_s)); // bold and underline as overstrikes

        // Each command row of the help: two blanks, the command's words, its arguments in capitals
        // or brackets, then its summary behind two blanks or more.
        QStringList commands;
        bool inCommands = false;
        for (const QString& line : help.output.split(u'\n')) {
            if (line.trimmed().compare(u"commands:"_s, Qt::CaseInsensitive) == 0) {
                inCommands = true;
            } else if (inCommands && line.startsWith(u"  "_s)) {
                QStringList words;
                for (const QString& word : line.trimmed().section(u"  "_s, 0, 0).split(u' ')) {
                    if (!QRegularExpression(u"^[a-z][a-z-]*$"_s).match(word).hasMatch())
                        break;
                    words << word;
                }
                commands << words.join(u' ');
            } else if (inCommands) {
                break;
            }
        }
        QVERIFY2(commands.size() >= 10, qPrintable(help.output));
        for (const QString& command : std::as_const(commands)) {
            const QRegularExpression entry(u"^ {3,}"_s + QRegularExpression::escape(command) + u"( |$)"_s,
                                           QRegularExpression::MultilineOption);
            QVERIFY2(entry.match(page.output).hasMatch(), qPrintable(u"the man page lacks "_s + command));
        }
        auto options = QRegularExpression(u"--[a-z][a-z-]*"_s).globalMatch(help.output);
        while (options.hasNext()) {
            const QString option = options.next().captured();
            QVERIFY2(page.output.contains(option), qPrintable(u"the man page lacks "_s + option));
        }
#endif
    }
};

QTEST_GUILESS_MAIN(TestPackageFiles)
#include "tst_packagefiles.moc"
