// Pasted text into previews: both section styles, the limits at their edges, identifiers, and the
// prompts made from previews.

#include "Localization.h"
#include "PromptImportParser.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QString defaultTitle(int number)
{
    return AppLocalizationCatalog::shared()
        .string(u"prompt.import.default.title"_s, AppLanguage::english)
        .arg(QString::number(number));
}

QStringList field(const QList<PromptImportPreview>& previews, QString PromptImportPreview::*member)
{
    QStringList values;
    for (const PromptImportPreview& preview : previews)
        values.append(preview.*member);
    return values;
}

QString sections(int count)
{
    QString text;
    for (int i = 0; i < count; ++i)
        text += u"## T%1\nbody %1\n"_s.arg(i);
    return text;
}

} // namespace

class TestPromptImportParser : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void parse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("titles");
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QStringList>("ids");
        const QString sixty(60, u'a');
        // Sixty user-perceived characters of two code points each.
        const QString combined = QString(u"e\u0301"_s).repeated(60);
        QTest::newRow("empty") << u""_s << QStringList() << QStringList() << QStringList();
        QTest::newRow("blank") << u" \n\t\u3000\r\n"_s << QStringList() << QStringList() << QStringList();
        QTest::newRow("title, body, separator, body")
            << u"## Alpha\nbody\n---\nsecond"_s << QStringList{u"Alpha"_s, defaultTitle(2)}
            << QStringList{u"body"_s, u"second"_s}
            << QStringList{u"preview-0-alpha"_s, u"preview-1-prompt-2"_s};
        QTest::newRow("a title alone keeps its index")
            << u"## Only a title\n## Next\ntext"_s << QStringList{u"Next"_s} << QStringList{u"text"_s}
            << QStringList{u"preview-1-next"_s};
        QTest::newRow("no space, or nothing after the hashes: ordinary lines")
            << u"##NoSpace\n## \nline"_s << QStringList{u"##NoSpace"_s} << QStringList{u"##\nline"_s}
            << QStringList{u"preview-0-nospace"_s};
        QTest::newRow("indented marker, body kept as it is")
            << u"one\n   ---\n  two\n\n  three"_s << QStringList{defaultTitle(1), defaultTitle(2)}
            << QStringList{u"one"_s, u"two\n\n  three"_s}
            << QStringList{u"preview-0-prompt-1"_s, u"preview-1-prompt-2"_s};
        QTest::newRow("blank-separated, titled block")
            << u"Title\nBody line\n\n  Single line block  "_s << QStringList{u"Title"_s, defaultTitle(2)}
            << QStringList{u"Body line"_s, u"Single line block"_s}
            << QStringList{u"preview-0-title"_s, u"preview-1-prompt-2"_s};
        QTest::newRow("a sentence is no title")
            << u"A full sentence.\nMore"_s << QStringList{defaultTitle(1)}
            << QStringList{u"A full sentence.\nMore"_s} << QStringList{u"preview-0-prompt-1"_s};
        QTest::newRow("nor is a Chinese one")
            << u"完整的句子。\n更多"_s << QStringList{defaultTitle(1)} << QStringList{u"完整的句子。\n更多"_s}
            << QStringList{u"preview-0-prompt-1"_s};
        QTest::newRow("60 characters make a title")
            << sixty + u"\nx"_s << QStringList{sixty} << QStringList{u"x"_s}
            << QStringList{u"preview-0-"_s + sixty};
        QTest::newRow("61 do not") << sixty + u"b\nx"_s << QStringList{defaultTitle(1)}
                                   << QStringList{sixty + u"b\nx"_s} << QStringList{u"preview-0-prompt-1"_s};
        QTest::newRow("characters, not code points")
            << combined + u"\nx"_s << QStringList{combined} << QStringList{u"x"_s}
            << QStringList{u"preview-0-"_s + combined};
        QTest::newRow("same titles, different ids")
            << u"## Same\na\n## Same\nb"_s << QStringList{u"Same"_s, u"Same"_s} << QStringList{u"a"_s, u"b"_s}
            << QStringList{u"preview-0-same"_s, u"preview-1-same"_s};
    }

    void parse()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, titles);
        QFETCH(QStringList, texts);
        QFETCH(QStringList, ids);
        const QList<PromptImportPreview> previews = PromptImportParser::parse(text, AppLanguage::english);
        QCOMPARE(field(previews, &PromptImportPreview::title), titles);
        QCOMPARE(field(previews, &PromptImportPreview::text), texts);
        QCOMPARE(field(previews, &PromptImportPreview::id), ids);
    }

    void limits()
    {
        const QList<PromptImportPreview> first200 =
            PromptImportParser::parse(sections(250), AppLanguage::english);
        QCOMPARE(first200.size(), 200);
        QCOMPARE(first200.last().title, u"T199"_s);

        // 174762 three-byte characters and two ASCII letters: 524288 bytes, padded with blanks that
        // the trim takes off.
        const QString atLimit = u"  \n"_s + QString(174762, u'中') + u"ab\n\t"_s;
        QCOMPARE(PromptImportParser::parse(atLimit, AppLanguage::english).size(), 1);
        QVERIFY(PromptImportParser::parse(QString(atLimit + u"c"_s), AppLanguage::english).isEmpty());
        QVERIFY(PromptImportParser::parse(QString(524289, u'x'), AppLanguage::english).isEmpty());
    }

    void punctuationTitleGetsAUUID()
    {
        const auto previews = PromptImportParser::parse(u"## !!!\nbody"_s, AppLanguage::english);
        QCOMPARE(previews.size(), 1);
        static const QRegularExpression uuid(u"^preview-0-[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$"_s);
        QVERIFY2(uuid.match(previews[0].id).hasMatch(), qPrintable(previews[0].id));
        // The shared rule's "workspace" stays when it is what the title says.
        QCOMPARE(PromptImportParser::slug(u"Work!space"), u"workspace"_s);
    }

    void makePromptsNumbersPastExistingIDs()
    {
        const QList<PromptImportPreview> previews = {{u"p0"_s, u"Hello"_s, u"one"_s},
                                                     {u"p1"_s, u"Hello"_s, u"two"_s},
                                                     {u"p2"_s, u"Tab\tTitle"_s, u"a\tb"_s}};
        const QList<PromptItem> prompts =
            PromptImportParser::makePrompts(previews, {u"imported-hello"_s}, AppLanguage::zhHans);
        QCOMPARE(prompts.size(), 3);
        QCOMPARE(prompts[0].id, u"imported-hello-2"_s);
        QCOMPARE(prompts[1].id, u"imported-hello-3"_s);
        QCOMPARE(prompts[2].id, u"imported-tab-title"_s);
        QCOMPARE(prompts[2].title, u"Tab Title"_s);
        QCOMPARE(prompts[2].text, u"a\tb"_s); // block text may hold tabs
        QCOMPARE(prompts[1].text, u"two"_s);
        QCOMPARE(prompts[0].group, AppLocalizationCatalog::shared().string(u"prompt.import.default.group"_s,
                                                                           AppLanguage::zhHans));
        QCOMPARE(prompts[0].tags, QStringList{u"import"_s});
        QCOMPARE(prompts[0].agent, std::nullopt);
        QVERIFY(!prompts[0].isPinned && !prompts[0].shortcut);
    }
};

QTEST_GUILESS_MAIN(TestPromptImportParser)
#include "tst_promptimportparser.moc"
