// The diagnostic form of the structural check: it refuses exactly what the check refuses, and names
// the first line at fault.
#include "PromptConfigLoader.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestPromptConfigDiagnostics : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void firstStructuralFailureNamesTheLine_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("lineNumber"); // -1: accepted
        QTest::addColumn<QString>("line");
        const QString item = u"prompts:\n  - id: a\n"_s;
        QTest::newRow("valid") << item + u"    text: |\n      a\ttab inside a block\n"_s << -1 << QString();
        QTest::newRow("tab") << item + u"    title:\tx\n"_s << 3 << u"    title:\tx"_s;
        QTest::newRow("no colon") << item + u"    tittle x\n"_s << 3 << u"    tittle x"_s;
        QTest::newRow("flow value") << u"# note\n\nworkspace:\n  name: [x]\n"_s << 4 << u"  name: [x]"_s;
        QTest::newRow("after CR LF") << u"prompts:\r\n  - id: a\r\n   bad: 3\r\n"_s << 5 << u"   bad: 3"_s;
        QTest::newRow("empty") << QString() << 0 << QString();
        QTest::newRow("comments only") << u"# a\n# b\n"_s << 0 << QString();
    }

    void firstStructuralFailureNamesTheLine()
    {
        QFETCH(QString, text);
        QFETCH(int, lineNumber);
        QFETCH(QString, line);
        const auto failure = PromptConfigLoader::firstStructuralFailure(text);
        QCOMPARE(PromptConfigLoader::hasValidConfigStructure(text), lineNumber < 0);
        QCOMPARE(failure.has_value(), lineNumber >= 0);
        if (failure) {
            QCOMPARE(failure->lineNumber, lineNumber);
            QCOMPARE(failure->line.toString(), line);
        }
    }
};

QTEST_GUILESS_MAIN(TestPromptConfigDiagnostics)
#include "tst_promptconfigdiagnostics.moc"
