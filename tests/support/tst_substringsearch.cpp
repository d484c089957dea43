#include "SubstringSearch.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSubstringSearch : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void agreesWithIndexOf_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("needle");
        QTest::newRow("empty needle") << u"abc"_s << QString();
        QTest::newRow("empty text") << QString() << u"a"_s;
        QTest::newRow("longer than the text") << u"abc"_s << u"abcd"_s;
        QTest::newRow("the whole text") << u"rollback"_s << u"rollback"_s;
        QTest::newRow("first and last fit, middle doesn't")
            << u"r______k r______k rollbacc rollback"_s << u"rollback"_s;
        QTest::newRow("first of several") << u"xx ab ab ab"_s << u"ab"_s;
        QTest::newRow("one unit, in the tail") << u"aaaaaaaaaaaaaaaaaaaaz"_s << u"z"_s;
        QTest::newRow("absent") << u"the quick brown fox jumps over the lazy dog"_s << u"cat"_s;
        QTest::newRow("Chinese and a surrogate pair") << u"请审查当前改动 🚀 并注明文件"_s << u"🚀 并"_s;
    }

    void agreesWithIndexOf()
    {
        QFETCH(QString, text);
        QFETCH(QString, needle);
        QCOMPARE(SubstringSearch(needle).indexIn(text), text.indexOf(needle));
    }

    // Every start position, across the boundaries of the blocks the search compares at once.
    void findsTheNeedleAtEveryPosition()
    {
        for (const QString& needle :
             {u"k"_s, u"ok"_s, u"rollback"_s, u"a longer needle, beyond one block"_s}) {
            for (qsizetype position = 0; position <= 40; ++position) {
                const QString text = QString(position, u'o') + needle + QString(position % 11, u'k');
                QCOMPARE(SubstringSearch(needle).indexIn(text), text.indexOf(needle));
                QCOMPARE(SubstringSearch(needle).indexIn(QStringView(text).first(text.size() - 1)),
                         QStringView(text).first(text.size() - 1).indexOf(needle));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestSubstringSearch)
#include "tst_substringsearch.moc"
