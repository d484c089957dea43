#include "AppLog.h"
#include "PromptSorter.h"
#include "PromptUsageStore.h"
#include "ReferenceDate.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <limits>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QDateTime today = QDateTime(QDate(2026, 11, 23), QTime(9, 0), Qt::UTC);
const QDateTime yesterday = today.addDays(-1);

PromptItem prompt(const QString& id)
{
    PromptItem item;
    item.id = id;
    return item;
}

QStringList idsOf(const QList<PromptItem>& prompts)
{
    QStringList ids;
    for (const PromptItem& item : prompts)
        ids.append(item.id);
    return ids;
}

} // namespace

class TestPromptUsage : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QStringList m_log;

    QString usagePath() const { return m_home->filePath(u".velmora/prompt-usage.json"_s); }

    void writeUsageFile(const QByteArray& content)
    {
        QDir().mkpath(m_home->filePath(u".velmora"_s));
        QFile file(usagePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_log.clear();
        AppLog::setSinkForTesting([this](AppLog::Category, const QString& line) { m_log.append(line); });
    }

    void cleanup() { AppLog::setSinkForTesting(nullptr); }

    void missingFileIsEmptyAndSilent()
    {
        PromptUsageStore store(m_home->path());
        QVERIFY(store.records().isEmpty());
        QVERIFY(m_log.isEmpty());
    }

    void copiesAreCountedAndReadBack()
    {
        {
            PromptUsageStore store(m_home->path());
            store.recordSuccessfulCopy(u"b"_s, yesterday);
            store.recordSuccessfulCopy(u"a"_s, yesterday);
            store.recordSuccessfulCopy(u"a"_s, today.addMSecs(250));
        }
        struct stat info = {};
        QCOMPARE(::stat(QFile::encodeName(usagePath()).constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 0777), 0600);
        QCOMPARE(QFileInfo(m_home->filePath(u".velmora"_s)).permissions() & QFile::ReadGroup, 0);

        QCOMPARE(PromptUsageStore(m_home->path()).records(),
                 (QHash<QString, PromptUsageRecord>{{u"a"_s, {u"a"_s, today.addMSecs(250), 2}},
                                                    {u"b"_s, {u"b"_s, yesterday, 1}}}));

        // Sorted by id, keys sorted, times as seconds since 2001.
        QFile file(usagePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray json = file.readAll();
        QVERIFY(json.indexOf("\"a\"") < json.indexOf("\"b\""));
        QVERIFY(json.indexOf("lastUsedAt") < json.indexOf("promptID"));
        QVERIFY(json.contains(QByteArray::number(ReferenceDate::toSeconds(yesterday), 'f', 0)));
        QVERIFY(m_log.isEmpty());
    }

    void duplicatesMergeAndNegativeCountsClamp()
    {
        const double earlier = ReferenceDate::toSeconds(yesterday);
        const double later = ReferenceDate::toSeconds(today);
        writeUsageFile(QStringLiteral(R"([
            {"promptID":"x","lastUsedAt":%2,"successfulCopyCount":3},
            {"promptID":"x","lastUsedAt":%1,"successfulCopyCount":7},
            {"promptID":"neg","lastUsedAt":%1,"successfulCopyCount":-4}])")
                           .arg(earlier, 0, 'f', 3)
                           .arg(later, 0, 'f', 3)
                           .toUtf8());
        PromptUsageStore store(m_home->path());
        QCOMPARE(store.records(), (QHash<QString, PromptUsageRecord>{{u"x"_s, {u"x"_s, today, 7}},
                                                                     {u"neg"_s, {u"neg"_s, yesterday, 0}}}));
        store.recordSuccessfulCopy(u"neg"_s, today);
        QCOMPARE(store.records()[u"neg"_s].successfulCopyCount, 1);
        QCOMPARE(PromptUsageStore(m_home->path()).records()[u"x"_s].successfulCopyCount, 7); // written once
    }

    void undecodableFilesDropEverything_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("not JSON") << QByteArray("[{");
        QTest::newRow("an object, not an array") << QByteArray(R"({"promptID":"a"})");
        QTest::newRow("a missing key") << QByteArray(R"([{"promptID":"a","lastUsedAt":1},
            {"promptID":"b","lastUsedAt":1,"successfulCopyCount":2}])");
        QTest::newRow("ISO text date") << QByteArray(
            R"([{"promptID":"a","lastUsedAt":"2026-01-01T00:00:00Z","successfulCopyCount":2}])");
        QTest::newRow("fractional count")
            << QByteArray(R"([{"promptID":"a","lastUsedAt":1,"successfulCopyCount":2.5}])");
    }

    void undecodableFilesDropEverything()
    {
        QFETCH(QByteArray, content);
        writeUsageFile(content);
        PromptUsageStore store(m_home->path());
        QVERIFY(store.records().isEmpty());
        QCOMPARE(m_log.size(), 1);
        QVERIFY(m_log[0].startsWith(u"Load prompt usage failed error="_s));
        QFile file(usagePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), content); // left as it is until the next write
    }

    void countStopsAtTheLargestValue()
    {
        writeUsageFile(R"([{"promptID":"max","lastUsedAt":0,"successfulCopyCount":9223372036854775807}])");
        PromptUsageStore store(m_home->path());
        QCOMPARE(store.records()[u"max"_s].successfulCopyCount, std::numeric_limits<qint64>::max());
        store.recordSuccessfulCopy(u"max"_s, today);
        QCOMPARE(store.records()[u"max"_s].successfulCopyCount, std::numeric_limits<qint64>::max());
        QCOMPARE(store.records()[u"max"_s].lastUsedAt, today);
    }

    void retainAndRemoveWriteOnlyOnChange()
    {
        PromptUsageStore store(m_home->path());
        store.recordSuccessfulCopy(u"a"_s, today);
        store.recordSuccessfulCopy(u"b"_s, today);
        QFile::remove(usagePath()); // any write would bring it back
        store.retain({u"a"_s, u"b"_s, u"c"_s});
        store.remove(u"unknown"_s);
        QVERIFY(!QFileInfo::exists(usagePath()));
        store.retain({u"a"_s});
        QCOMPARE(store.records().keys(), QStringList{u"a"_s});
        QCOMPARE(PromptUsageStore(m_home->path()).records().keys(), QStringList{u"a"_s});
        store.remove(u"a"_s);
        QVERIFY(PromptUsageStore(m_home->path()).records().isEmpty());
    }

    void failedWriteKeepsMemory()
    {
        PromptUsageStore store(m_home->path());
        store.recordSuccessfulCopy(u"a"_s, yesterday);
        QFile::remove(usagePath());
        QVERIFY(QDir().mkpath(usagePath())); // a folder where the file should be
        store.recordSuccessfulCopy(u"a"_s, today);
        QCOMPARE(store.records().value(u"a"_s), (PromptUsageRecord{u"a"_s, yesterday, 1}));
        QCOMPARE(m_log.size(), 2); // the writer's line, then the store's
        QVERIFY(m_log.first().startsWith(u"Secure data write failed file=.velmora/prompt-usage.json"_s));
        QVERIFY(m_log.last().startsWith(u"Save prompt usage failed recordCount=1 error=POSIXError"_s));
    }

    void sorting_data()
    {
        QTest::addColumn<PromptSortMode>("mode");
        QTest::addColumn<QStringList>("expected");
        // a: 2 copies yesterday; b: 1 copy yesterday; c, d: never; e: 1 copy today.
        QTest::newRow("manual keeps the input")
            << PromptSortMode::manual << QStringList{u"c"_s, u"a"_s, u"b"_s, u"d"_s, u"e"_s};
        QTest::newRow("recent: later use first, unused keep their order, ties by position")
            << PromptSortMode::recent << QStringList{u"e"_s, u"a"_s, u"b"_s, u"c"_s, u"d"_s};
        QTest::newRow("frequent: count first, then later use, not position")
            << PromptSortMode::frequent << QStringList{u"a"_s, u"e"_s, u"b"_s, u"c"_s, u"d"_s};
    }

    void sorting()
    {
        QFETCH(PromptSortMode, mode);
        QFETCH(QStringList, expected);
        const QHash<QString, PromptUsageRecord> usage{
            {u"a"_s, {u"a"_s, yesterday, 2}}, {u"b"_s, {u"b"_s, yesterday, 1}}, {u"e"_s, {u"e"_s, today, 1}}};
        const QList<PromptItem> prompts{prompt(u"c"_s), prompt(u"a"_s), prompt(u"b"_s), prompt(u"d"_s),
                                        prompt(u"e"_s)};
        QCOMPARE(idsOf(PromptSorter::sorted(prompts, mode, usage)), expected);
    }
};

QTEST_GUILESS_MAIN(TestPromptUsage)
#include "tst_promptusage.moc"
