// Every store operation that writes, with the secure writer failing at each of its calls in turn:
// the operation fails, memory and disk stay as they were, and the user gets a status and an error.
// A usage record alone may fail without failing its operation: the change it counts stands.

#include "FailingSecureFileWriter.h"
#include "LibraryWriteOperations.h"

#include "AppLog.h"

#include <cerrno>

using namespace Qt::StringLiterals;
using namespace LibraryWriteOperations;

Q_DECLARE_METATYPE(Operation)

namespace {

const QString usageFile = u"prompt-usage.json"_s;

} // namespace

class TestWriteFaults : public QObject {
    Q_OBJECT

    Library library;
    QStringList logs;

    // The calls with the library's folder cut off, the same for every new library.
    QStringList callsInLibrary() const
    {
        return FailingSecureFileWriter::calls().replaceInStrings(library.rootPath, u"<root>"_s);
    }

private Q_SLOTS:
    void init()
    {
        FailingSecureFileWriter::failAt(-1);
        library.setUp(u"m4rk3r"_s);
        FailingSecureFileWriter::failAt(-1); // counts from here
        logs.clear();
        AppLog::setSinkForTesting([this](AppLog::Category, const QString& line) { logs.append(line); });
    }
    void cleanup()
    {
        AppLog::setSinkForTesting(nullptr);
        FailingSecureFileWriter::failAt(-1);
    }

    void eachFailingWriteLeavesEverythingAsItWas_data()
    {
        QTest::addColumn<Operation>("operation");
        for (const Operation& operation : operations())
            QTest::newRow(operation.name) << operation;
    }

    void eachFailingWriteLeavesEverythingAsItWas()
    {
        QFETCH(Operation, operation);
        QVERIFY(operation.run(library));
        const QStringList calls = callsInLibrary();
        QVERIFY2(!calls.isEmpty(), "the operation writes nothing");

        for (int index = 0; index < calls.size(); ++index) {
            const QByteArray step = calls[index].toUtf8();
            // Usage records are written after the change they count and never fail it.
            const bool countsUsage = calls.value(index).endsWith(usageFile) ||
                                     (calls[index].startsWith(u"restrict"_s) && calls.value(index + 1).endsWith(usageFile));
            init();
            const Snapshot before = library.snapshot();
            FailingSecureFileWriter::failAt(index);
            QCOMPARE(operation.run(library), countsUsage);
            QCOMPARE(callsInLibrary().value(index), calls[index]);
            QVERIFY2(!logs.isEmpty(), step);
            const Snapshot after = library.snapshot();
            if (countsUsage) {
                QCOMPARE(after.usage, before.usage);
                QCOMPARE(after.files.value(usageFile), before.files.value(usageFile));
                continue;
            }
            expectUnchanged(before, after, operation);
            QVERIFY2(!library.store->statusMessage().isEmpty(), step);
            QVERIFY2(!library.store->lastErrorMessage().value_or(QString()).isEmpty(), step);
        }
    }

    // A copy has succeeded whatever happens to its record: the old records stay, on disk and in memory.
    void aFailedUsageWriteKeepsTheOldRecords()
    {
        const Snapshot before = library.snapshot();
        for (int index = 0; index < 2; ++index) {
            logs.clear();
            FailingSecureFileWriter::failAt(index);
            library.store->usageStore()->recordSuccessfulCopy(u"b"_s, QDateTime::currentDateTimeUtc());
            QCOMPARE(library.snapshot(), before);
            QCOMPARE(logs.size(), 2); // the writer's line, then the store's
            QCOMPARE(logs.last(), u"Save prompt usage failed recordCount=2 error="_s + AppLog::errorSummary(AppError::posix(EIO)));
        }
    }
};

QTEST_GUILESS_MAIN(TestWriteFaults)
#include "tst_writefaults.moc"
