#include "PromptVariables.h"

#include <QTest>

using namespace Qt::StringLiterals;

using Values = QHash<QString, QString>;
Q_DECLARE_METATYPE(Values)

class TestPromptVariables : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listing_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("names"); // as written
        QTest::addColumn<QStringList>("normalized");
        QTest::addColumn<QStringList>("defaults"); // "<none>" for no default

        const QString none = u"<none>"_s;
        QTest::newRow("empty marker")
            << u"a {{}} b {{   }}"_s << QStringList{} << QStringList{} << QStringList{};
        QTest::newRow("empty name with default")
            << u"{{|x}}"_s << QStringList{} << QStringList{} << QStringList{};
        QTest::newRow("empty default differs from none")
            << u"{{a|}} {{b}}"_s << QStringList{u"a"_s, u"b"_s} << QStringList{u"a"_s, u"b"_s}
            << QStringList{u""_s, none};
        QTest::newRow("names trimmed, defaults untouched")
            << u"{{ City | Paris }}"_s << QStringList{u"City"_s} << QStringList{u"city"_s}
            << QStringList{u" Paris "_s};
        QTest::newRow("further bars belong to the default")
            << u"{{a|b|c}}"_s << QStringList{u"a"_s} << QStringList{u"a"_s} << QStringList{u"b|c"_s};
        QTest::newRow("triple braces") << u"{{{a}}}"_s << QStringList{} << QStringList{} << QStringList{};
        QTest::newRow("closing brace inside")
            << u"{{a} b}}"_s << QStringList{} << QStringList{} << QStringList{};
        QTest::newRow("nested opening hides the inner marker")
            << u"{{a {{b}}"_s << QStringList{} << QStringList{} << QStringList{};
        QTest::newRow("unclosed opening swallows a later marker")
            << u"{{a then text {{b}}"_s << QStringList{} << QStringList{} << QStringList{};
        QTest::newRow("no closing at all")
            << u"{{x and more"_s << QStringList{} << QStringList{} << QStringList{};
        QTest::newRow("first spelling and default win") << u"{{Name}} {{NAME|z}}"_s << QStringList{u"Name"_s}
                                                        << QStringList{u"name"_s} << QStringList{none};
        QTest::newRow("line breaks inside the name")
            << u"{{\n first\nline \t}}"_s << QStringList{u"first\nline"_s} << QStringList{u"first\nline"_s}
            << QStringList{none};
        QTest::newRow("ideographic space is trimmed") << u"{{\u3000项目\u3000}}"_s << QStringList{u"项目"_s}
                                                      << QStringList{u"项目"_s} << QStringList{none};
        QTest::newRow("default keeps its line breaks")
            << u"{{body|line one\nline two}}"_s << QStringList{u"body"_s} << QStringList{u"body"_s}
            << QStringList{u"line one\nline two"_s};
        QTest::newRow("a rejected marker is not searched again, the next is found")
            << u"{{a{}} {{b}}"_s << QStringList{u"b"_s} << QStringList{u"b"_s} << QStringList{none};
    }

    void listing()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, names);
        QFETCH(QStringList, normalized);
        QFETCH(QStringList, defaults);
        QStringList gotNames, gotNormalized, gotDefaults;
        for (const PromptVariable& variable : PromptVariableParser::variables(text)) {
            gotNames.append(variable.name);
            gotNormalized.append(variable.normalizedName);
            gotDefaults.append(variable.defaultValue.value_or(u"<none>"_s));
        }
        QCOMPARE(gotNames, names);
        QCOMPARE(gotNormalized, normalized);
        QCOMPARE(gotDefaults, defaults);
    }

    void rendering_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Values>("values");
        QTest::addColumn<QString>("expected");

        QTest::newRow("both spellings take one value")
            << u"{{Name}} and {{NAME|z}}"_s << Values{{u"name"_s, u"Ada"_s}} << u"Ada and Ada"_s;
        QTest::newRow("exact lower-case key wins")
            << u"{{NAME}}"_s << Values{{u"Name"_s, u"a"_s}, {u"name"_s, u"b"_s}} << u"b"_s;
        QTest::newRow("first key in ascending order wins among other spellings")
            << u"{{name}}"_s << Values{{u"NAME"_s, u"a"_s}, {u"Name"_s, u"b"_s}} << u"a"_s;
        QTest::newRow("keys are trimmed")
            << u"{{city}}"_s << Values{{u"  City\n"_s, u"Paris"_s}} << u"Paris"_s;
        QTest::newRow("empty value replaces") << u"[{{a}}]"_s << Values{{u"a"_s, u""_s}} << u"[]"_s;
        QTest::newRow("no value keeps the marker, default unused")
            << u"Hi {{ who | you }}!"_s << Values{} << u"Hi {{ who | you }}!"_s;
        QTest::newRow("values are not scanned again")
            << u"{{a}} {{other}}"_s << Values{{u"a"_s, u"{{other}}"_s}} << u"{{other}} {{other}}"_s;
        QTest::newRow("rejected markers stay")
            << u"{{{a}}} {{a} b}}"_s << Values{{u"a"_s, u"X"_s}} << u"{{{a}}} {{a} b}}"_s;
        QTest::newRow("CJK names") << u"修复 {{项目}} 的 {{模块|核心}}"_s
                                   << Values{{u"项目"_s, u"Velmora"_s}, {u"模块"_s, u"加载器"_s}}
                                   << u"修复 Velmora 的 加载器"_s;
        QTest::newRow("text around markers is copied")
            << u"a{{x}}b{{y}}c"_s << Values{{u"x"_s, u"1"_s}, {u"y"_s, u"2"_s}} << u"a1b2c"_s;
    }

    void rendering()
    {
        QFETCH(QString, text);
        QFETCH(Values, values);
        QFETCH(QString, expected);
        QCOMPARE(PromptVariableParser::render(text, values), expected);
    }
};

QTEST_GUILESS_MAIN(TestPromptVariables)
#include "tst_promptvariables.moc"
