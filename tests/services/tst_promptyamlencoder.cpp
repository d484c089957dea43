// Whatever the encoder writes, the reader accepts and gives back: thousands of generated workspaces
// full of quotes, backslashes, comment and key look-alikes, odd Unicode and every kind of line break.
#include "CharacterClasses.h"
#include "PromptConfigLoader.h"
#include "PromptYAMLEncoder.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QStringList pieces = {
    u"\""_s,         u"\\"_s,        u"\\\""_s,      u"#"_s,         u" # "_s,      u":"_s,
    u": "_s,         u"[]"_s,        u"{"_s,         u"'"_s,         u"''"_s,       u"- "_s,
    u"|"_s,          u"null"_s,      u"~"_s,         u"  - id: x"_s, u"prompts:"_s, u"match_paths:"_s,
    u"workspace:"_s, u"  name: y"_s, u"    tags:"_s, u"text: |"_s,   u"\u00A0"_s,   u"\u3000"_s,
    u"测试"_s,       u"e\u0301"_s,   u"😀"_s,         u"\uFEFF"_s,
};
// Every member of the newline class, and CR LF, which reads back as two line breaks.
const QStringList lineBreaks = {u"\n"_s,     u"\r"_s,     u"\r\n"_s,   u"\u000B"_s,
                                u"\u000C"_s, u"\u0085"_s, u"\u2028"_s, u"\u2029"_s};

struct Generator {
    QRandomGenerator random{20240501};

    int below(qsizetype bound) { return int(random.bounded(int(bound))); }

    // A single-line value: no line break and no tab, for which the format has no escape there.
    QString line()
    {
        QString value;
        for (int count = below(7); count > 0; --count) {
            const char32_t scalar = below(4) == 0 ? char32_t(below(0x80)) : char32_t(below(0x110000));
            if (below(2) == 0)
                value += pieces[below(pieces.size())];
            else if (scalar != 0x09 && !CharacterClasses::isNewline(scalar) &&
                     (scalar < 0xD800 || scalar > 0xDFFF))
                value += QString::fromUcs4(&scalar, 1);
        }
        return value;
    }

    QStringList lines(int most)
    {
        QStringList result;
        for (int count = below(most + 1); count > 0; --count)
            result.append(line());
        return result;
    }

    PromptWorkspace workspace()
    {
        PromptWorkspace result;
        result.name = line();
        result.matchPaths = lines(3);
        for (int count = below(5); count > 0; --count) {
            PromptItem item;
            item.id = line();
            item.title = line();
            item.group = line();
            // "unknown" has no spelling that the reader accepts, so no prompt carries it.
            if (const AgentType agent = allAgentTypes[below(allAgentTypes.size())];
                agent != AgentType::unknown)
                item.agent = agent;
            item.isPinned = below(2) == 0;
            if (below(3) == 0)
                item.shortcut = PromptKeyboardShortcut{quint32(below(128)), ShortcutModifiers::command};
            item.tags = lines(3);
            // Block lines may hold tabs and start with anything.
            for (const QString& text : lines(5))
                item.text +=
                    (below(3) == 0 ? u"   \t"_s : QString()) + text + lineBreaks[below(lineBreaks.size())];
            result.prompts.append(item);
        }
        return result;
    }
};

} // namespace

class TestPromptYAMLEncoder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void generatedWorkspacesReadBackAsWritten()
    {
        Generator generate;
        PromptConfigLoader reader(QString(), [] { return AppLanguage::english; });
        for (int round = 0; round < 3000; ++round) {
            const PromptWorkspace written = generate.workspace();
            const QString file =
                QString::fromUtf8(PromptYAMLEncoder::encodeWorkspace(written, true).toUtf8());
            const QByteArray context = "round " + QByteArray::number(round) + ":\n" + file.toUtf8();
            QList<PromptItem> expected = written.prompts;
            for (PromptItem& item : expected) {
                // Each line break becomes one line feed, and the outer ones go.
                QStringList lines;
                for (const QStringView line : CharacterClasses::splitLines(item.text))
                    lines.append(line.toString());
                item.text = CharacterClasses::trimmedNewlines(lines.join(u'\n')).toString();
            }
            QVERIFY2(!file.contains(u'\r') && PromptConfigLoader::hasValidConfigStructure(file),
                     context.constData());
            QVERIFY2(PromptConfigLoader::parseWorkspaceName(file) == written.name, context.constData());
            QVERIFY2(PromptConfigLoader::parseMatchPaths(file) == written.matchPaths, context.constData());
            QVERIFY2(reader.parsePrompts(file) == expected && reader.warnings().isEmpty(),
                     context.constData());
        }
    }
};

QTEST_GUILESS_MAIN(TestPromptYAMLEncoder)
#include "tst_promptyamlencoder.moc"
