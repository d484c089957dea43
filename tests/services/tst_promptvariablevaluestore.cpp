#include "PromptVariableValueStore.h"
#include "ReferenceDate.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestPromptVariableValueStore : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<QSettings> m_settings;
    const QDateTime m_start = QDateTime(QDate(2026, 11, 1), QTime(8, 0), Qt::UTC);
    const QString m_key = QString::fromLatin1(PromptVariableValueStore::defaultsKey);

    void store(const QByteArray& json) { m_settings->setValue(m_key, json); }

private Q_SLOTS:
    void init()
    {
        m_settings = std::make_unique<QSettings>(m_dir.filePath(u"prefs.ini"_s), QSettings::IniFormat);
        m_settings->clear();
    }

    void namesMatchTrimmedAndCaseless()
    {
        PromptVariableValueStore values(m_settings.get());
        values.record(u"x"_s, u"Name"_s, m_start);
        QCOMPARE(values.value(u" NAME "_s), std::optional<QString>(u"x"_s));
        QCOMPARE(values.value(u"   "_s), std::nullopt);
        QCOMPARE(PromptVariableValueStore(m_settings.get()).value(u"name"_s), std::optional<QString>(u"x"_s));
    }

    void emptyValuesAndBlankNamesChangeNothing()
    {
        PromptVariableValueStore values(m_settings.get());
        values.record(u"kept"_s, u"city"_s, m_start);
        values.record(QString(), u"city"_s, m_start.addSecs(1));
        values.record(u"x"_s, u" \n"_s, m_start.addSecs(2));
        values.record(u"  "_s, u"spaces"_s, m_start.addSecs(3)); // blanks are a value
        QCOMPARE(values.value(u"city"_s), std::optional<QString>(u"kept"_s));
        QCOMPARE(values.value(u"spaces"_s), std::optional<QString>(u"  "_s));
        QCOMPARE(values.records().size(), 2);
    }

    void theFiftyFirstNamePushesOutTheOldest()
    {
        PromptVariableValueStore values(m_settings.get());
        for (int i = 0; i < 50; ++i)
            values.record(u"v"_s, u"name%1"_s.arg(i), m_start.addSecs(i));
        values.record(u"again"_s, u"name0"_s, m_start.addSecs(100)); // the oldest becomes the newest
        values.record(u"v"_s, u"name50"_s, m_start.addSecs(101));
        QCOMPARE(values.records().size(), 50);
        QCOMPARE(values.value(u"name0"_s), std::optional<QString>(u"again"_s));
        QCOMPARE(values.value(u"name1"_s), std::nullopt);
        QCOMPARE(values.value(u"name50"_s), std::optional<QString>(u"v"_s));
    }

    void storedRecordsAreCleaned()
    {
        const double t = ReferenceDate::toSeconds(m_start);
        store(QStringLiteral(R"([{"normalizedName":"a","value":"old","updatedAt":%1},
            {"normalizedName":"b","value":"","updatedAt":%1},
            {"normalizedName":"  ","value":"x","updatedAt":%1},
            {"normalizedName":" A ","value":"same time, last wins","updatedAt":%1},
            {"normalizedName":"c","value":"later","updatedAt":%2},
            {"normalizedName":"C","value":"earlier","updatedAt":%1}])")
                  .arg(t, 0, 'f', 3)
                  .arg(t + 60, 0, 'f', 3)
                  .toUtf8());
        PromptVariableValueStore values(m_settings.get());
        QCOMPARE(values.records().size(), 2);
        QCOMPARE(values.value(u"a"_s), std::optional<QString>(u"same time, last wins"_s));
        QCOMPARE(values.value(u"c"_s), std::optional<QString>(u"later"_s));
        QCOMPARE(values.records().first().normalizedName, u"a"_s);

        values.record(u"new"_s, u"d"_s, m_start);
        const auto written = PromptVariableValueStore::decode(m_settings->value(m_key).toByteArray());
        QCOMPARE(written.size(), 3); // the empty value and the blank name are gone from the preference
    }

    void unreadablePreferenceGivesNothing_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::newRow("not JSON") << QVariant(QByteArray("nope"));
        QTest::newRow("record missing a key")
            << QVariant(QByteArray(R"([{"normalizedName":"a","value":"x"}])"));
        QTest::newRow("text instead of data") << QVariant(u"[]"_s);
    }

    void unreadablePreferenceGivesNothing()
    {
        QFETCH(QVariant, stored);
        m_settings->setValue(m_key, stored);
        PromptVariableValueStore values(m_settings.get());
        QVERIFY(values.records().isEmpty());
        values.record(u"x"_s, u"a"_s, m_start);
        QCOMPARE(PromptVariableValueStore(m_settings.get()).value(u"a"_s), std::optional<QString>(u"x"_s));
    }
};

QTEST_GUILESS_MAIN(TestPromptVariableValueStore)
#include "tst_promptvariablevaluestore.moc"
