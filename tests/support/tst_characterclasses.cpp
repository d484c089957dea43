#include "CharacterClasses.h"

#include <QTest>

#include <string>

using namespace Qt::StringLiterals;
using namespace CharacterClasses;

class TestCharacterClasses : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void classMembership_data()
    {
        QTest::addColumn<uint>("character");
        QTest::addColumn<bool>("whitespace");
        QTest::addColumn<bool>("newline");

        QTest::newRow("tab") << 0x09u << true << false;
        QTest::newRow("space") << 0x20u << true << false;
        QTest::newRow("no-break space") << 0xA0u << true << false;
        QTest::newRow("ogham space") << 0x1680u << true << false;
        QTest::newRow("en quad") << 0x2000u << true << false;
        QTest::newRow("hair space") << 0x200Au << true << false;
        QTest::newRow("narrow no-break space") << 0x202Fu << true << false;
        QTest::newRow("medium mathematical space") << 0x205Fu << true << false;
        QTest::newRow("ideographic space") << 0x3000u << true << false;
        QTest::newRow("line feed") << 0x0Au << false << true;
        QTest::newRow("vertical tab") << 0x0Bu << false << true;
        QTest::newRow("form feed") << 0x0Cu << false << true;
        QTest::newRow("carriage return") << 0x0Du << false << true;
        QTest::newRow("next line") << 0x85u << false << true;
        QTest::newRow("line separator") << 0x2028u << false << true;
        QTest::newRow("paragraph separator") << 0x2029u << false << true;
        // Format characters look blank but are in no class.
        QTest::newRow("zero width space") << 0x200Bu << false << false;
        QTest::newRow("byte order mark") << 0xFEFFu << false << false;
        QTest::newRow("mongolian vowel separator") << 0x180Eu << false << false;
        QTest::newRow("unit separator") << 0x1Fu << false << false;
        QTest::newRow("letter") << u'a' + 0u << false << false;
        QTest::newRow("ideograph") << 0x4E2Du << false << false;
        QTest::newRow("supplementary") << 0x20000u << false << false;
    }

    void classMembership()
    {
        QFETCH(uint, character);
        QFETCH(bool, whitespace);
        QFETCH(bool, newline);
        QCOMPARE(isWhitespace(character), whitespace);
        QCOMPARE(isNewline(character), newline);
        QCOMPARE(isWhitespaceOrNewline(character), whitespace || newline);
        QCOMPARE(hasWhiteSpaceProperty(character), whitespace || newline);
        if (character <= 0xFFFF) {
            QCOMPARE(isWhitespaceUnit(char16_t(character)), whitespace);
            QCOMPARE(isNewlineUnit(char16_t(character)), newline);
        }
    }

    void trimmingRemovesOnlyTheNamedClassFromTheEnds()
    {
        const QString text = u"\u3000\t a \u00A0 b\u2028\n"_s;
        QCOMPARE(trimmedWhitespace(text), u"a \u00A0 b\u2028\n"_s);
        QCOMPARE(trimmedWhitespace(u"\n a \n"_s), u"\n a \n"_s);
        QCOMPARE(trimmedNewlines(u"\r\n\n x \n\u2029"_s), u" x "_s);
        QCOMPARE(trimmedWhitespaceAndNewlines(text), u"a \u00A0 b"_s);
        QCOMPARE(trimmedWhitespaceAndNewlines(u" \n\t "_s), u""_s);
    }

    // Long lines are searched several code units at a time: every member must be found wherever it
    // stands, and no neighbour of a member may be taken for one.
    void newlineSearchFindsEveryMemberAtEveryPosition()
    {
        const char16_t members[] = {0x0A, 0x0B, 0x0C, 0x0D, 0x85, 0x2028, 0x2029};
        const char16_t neighbours[] = {0x00,   0x09,   0x0E,   0x20,   0x84,   0x86,
                                       0x8A,   0x8D,   0x2027, 0x202A, 0x2A28, 0x3029,
                                       0x0A0A, 0xFF0A, 0xFFFF, 0xD800, 0x1085, 0x0185};
        std::u16string filler(41, u'x');
        for (char16_t neighbour : neighbours) {
            std::u16string text(41, neighbour);
            QCOMPARE(indexOfNewline(text.data(), 0, qsizetype(text.size())), qsizetype(text.size()));
        }
        for (char16_t member : members) {
            for (qsizetype position = 0; position < 41; ++position) {
                std::u16string text = filler;
                text[position] = member;
                for (qsizetype from = 0; from <= position; from += 3)
                    QCOMPARE(indexOfNewline(text.data(), from, qsizetype(text.size())), position);
                QCOMPARE(indexOfNewline(text.data(), position + 1, qsizetype(text.size())),
                         qsizetype(text.size()));
            }
        }
    }

    void linesSplitAtEachSingleNewlineCharacter_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("lines");

        QTest::newRow("empty text is one empty line") << u""_s << QStringList{u""_s};
        QTest::newRow("line feed") << u"a\nb"_s << QStringList{u"a"_s, u"b"_s};
        QTest::newRow("final newline gives an empty last line") << u"a\n"_s << QStringList{u"a"_s, u""_s};
        QTest::newRow("CR LF separates twice") << u"a\r\nb"_s << QStringList{u"a"_s, u""_s, u"b"_s};
        QTest::newRow("unicode separators")
            << u"a\u2028b\u2029c\u0085d"_s << QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s};
        QTest::newRow("vertical tab and form feed") << u"a\vb\fc"_s << QStringList{u"a"_s, u"b"_s, u"c"_s};
        QTest::newRow("tab is no separator") << u"a\tb"_s << QStringList{u"a\tb"_s};
    }

    void linesSplitAtEachSingleNewlineCharacter()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, lines);
        QStringList actual;
        for (QStringView line : splitLines(text))
            actual.append(line.toString());
        QCOMPARE(actual, lines);
    }
};

QTEST_GUILESS_MAIN(TestCharacterClasses)
#include "tst_characterclasses.moc"
