#include "AppLog.h"

#include <QLoggingCategory>
#include <QTest>

#include <cerrno>

using namespace Qt::StringLiterals;

class TestAppLog : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fileContext_data()
    {
        QTest::addColumn<std::optional<QString>>("path");
        QTest::addColumn<QString>("expected");
        QTest::newRow("absent") << std::optional<QString>() << u"none"_s;
        QTest::newRow("workspace file")
            << std::optional<QString>(u"/home/ann/.velmora/workspaces/work.yaml"_s)
            << u"workspaces/work.yaml"_s;
        QTest::newRow("other home, same file")
            << std::optional<QString>(u"/srv/x/y/workspaces/work.yaml"_s) << u"workspaces/work.yaml"_s;
        QTest::newRow("file in the root") << std::optional<QString>(u"/work.yaml"_s) << u"work.yaml"_s;
    }

    void fileContext()
    {
        QFETCH(std::optional<QString>, path);
        QFETCH(QString, expected);
        QCOMPARE(AppLog::fileContext(path), expected);
    }

    void errorSummaryNamesTypeDomainAndCode()
    {
        const AppError error = AppError::posix(EACCES, u"Secret /home/ann/prompt text"_s);
        const QString summary = AppLog::errorSummary(error);
        QVERIFY(summary.endsWith(u" code=13"_s));
        QCOMPARE(summary, u"POSIXError domain=NSPOSIXErrorDomain code=13"_s);
        QVERIFY(!summary.contains(u"Secret"_s)); // the description may hold paths or text
    }

    void linesReachTheirCategory()
    {
        QList<std::pair<AppLog::Category, QString>> lines;
        AppLog::setSinkForTesting([&](AppLog::Category category, const QString& line) {
            lines.append({category, line});
        });
        AppLog::persistence(u"Save workspace failed workspaceID=w"_s);
        AppLog::ui(u"Update launch at login failed error=x"_s);
        AppLog::setSinkForTesting(nullptr);
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines[0].first, AppLog::Category::persistence);
        QCOMPARE(lines[1].second, u"Update launch at login failed error=x"_s);
        QCOMPARE(QByteArray(AppLog::loggingCategory(AppLog::Category::context).categoryName()),
                 QByteArray("app.velmora.context"));
    }
};

QTEST_GUILESS_MAIN(TestAppLog)
#include "tst_applog.moc"
