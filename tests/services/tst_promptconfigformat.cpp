// The prompt file format: the structural check, the extraction passes, agent names, slugs and the
// identifiers made unique across a load.

#include "Localization.h"
#include "PromptConfigLoader.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QString lines(std::initializer_list<const char*> list)
{
    QStringList result;
    for (const char* line : list)
        result.append(QString::fromUtf8(line));
    return result.join(u'\n');
}

QString text(const char* key, AppLanguage language = AppLanguage::english)
{
    return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), language);
}

PromptConfigLoader makeLoader(AppLanguage language = AppLanguage::english)
{
    return PromptConfigLoader(u"/nonexistent-home"_s, [language] { return language; });
}

// The prompts of a file, read by a loader of their own.
QList<PromptItem> parsed(const QString& file)
{
    return makeLoader().parsePrompts(file);
}

PromptItem item(const QString& id, const QString& title = u"Title"_s)
{
    PromptItem prompt;
    prompt.id = id;
    prompt.title = title;
    return prompt;
}

QStringList idsOf(const QList<PromptItem>& prompts)
{
    QStringList ids;
    for (const PromptItem& prompt : prompts)
        ids.append(prompt.id);
    return ids;
}

} // namespace

class TestPromptConfigFormat : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // --- Structural check ---

    void structure_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("valid");

        // Sections and their order
        QTest::newRow("workspace then prompts")
            << lines({"workspace:", "  name: Team", "  match_paths:", "    - /src/a", "prompts:", "  - id: a",
                      "    title: A", "    text: |", "      hello"})
            << true;
        QTest::newRow("prompts then workspace")
            << lines({"prompts:", "  - id: a", "    title: A", "workspace:", "  name: Team"}) << true;
        QTest::newRow("empty mapping form") << u"workspace: {}"_s << true;
        QTest::newRow("empty list form") << u"prompts: []"_s << true;
        QTest::newRow("workspace with a value") << u"workspace: Team"_s << false;
        QTest::newRow("prompts with an inline list") << u"prompts: [a]"_s << false;
        QTest::newRow("no section at all") << u"other: 1"_s << false;
        QTest::newRow("empty file") << u""_s << false;
        QTest::newRow("comments only") << lines({"# a", "   # b", ""}) << false;
        QTest::newRow("other key with anything under it")
            << lines({"version: 2", "  anything: [goes, {here}]", "      deep", "prompts: []"}) << true;
        QTest::newRow("margin line without colon") << lines({"prompts: []", "loose"}) << false;
        QTest::newRow("indented lines outside sections") << lines({"prompts: []", "   odd: [x]"}) << true;
        QTest::newRow("empty form ends the section")
            << lines({"prompts:", "  - id: a", "prompts: []", "    bad: [x]"}) << true;

        // Workspace mapping
        QTest::newRow("workspace key at 3 spaces") << lines({"workspace:", "   name: x"}) << false;
        QTest::newRow("workspace key at 4 spaces") << lines({"workspace:", "    name: x"}) << false;
        QTest::newRow("workspace other key ignored") << lines({"workspace:", "  color: [red]"}) << true;
        QTest::newRow("workspace line without colon") << lines({"workspace:", "  name"}) << false;
        QTest::newRow("empty name") << lines({"workspace:", "  name:"}) << false;
        QTest::newRow("empty quoted name") << lines({"workspace:", "  name: \"\""}) << true;
        QTest::newRow("match paths empty list form") << lines({"workspace:", "  match_paths: []"}) << true;
        QTest::newRow("match paths inline value") << lines({"workspace:", "  match_paths: /a"}) << false;
        QTest::newRow("match paths entries at 4 and 6")
            << lines({"workspace:", "  match_paths:", "    - /a", "      - '/b c'", "  name: n"}) << true;
        QTest::newRow("match path entry with bracket")
            << lines({"workspace:", "  match_paths:", "    - [x]"}) << false;
        QTest::newRow("match path entry without value")
            << lines({"workspace:", "  match_paths:", "    -"}) << false;
        QTest::newRow("match path entry without dash")
            << lines({"workspace:", "  match_paths:", "    /a"}) << false;
        QTest::newRow("match path entry after name")
            << lines({"workspace:", "  name: n", "    - /a"}) << false;

        // Prompt items
        QTest::newRow("item key at column 4 and 4 spaces")
            << lines({"prompts:", "  - title: A", "    id: a", "    pinned: yes", "    shortcut: 35:1048576"})
            << true;
        QTest::newRow("item opening with unknown key") << lines({"prompts:", "  - color: red"}) << false;
        QTest::newRow("item without colon") << lines({"prompts:", "  - foo"}) << false;
        QTest::newRow("item line without dash") << lines({"prompts:", "  id: a"}) << false;
        QTest::newRow("unknown key at 4 passes")
            << lines({"prompts:", "  - id: a", "    color: [x]"}) << true;
        QTest::newRow("key at 4 before any item") << lines({"prompts:", "    id: a"}) << false;
        QTest::newRow("item at 3 spaces") << lines({"prompts:", "   - id: a"}) << false;
        QTest::newRow("key at 5 spaces") << lines({"prompts:", "  - id: a", "     title: A"}) << false;
        QTest::newRow("key at 6 spaces") << lines({"prompts:", "  - id: a", "      title: A"}) << false;
        QTest::newRow("key at 4 without colon") << lines({"prompts:", "  - id: a", "    loose"}) << false;
        QTest::newRow("empty title") << lines({"prompts:", "  - id: a", "    title:"}) << false;
        QTest::newRow("empty id") << lines({"prompts:", "  - id:"}) << false;
        QTest::newRow("empty text") << lines({"prompts:", "  - id: a", "    text:"}) << false;
        QTest::newRow("empty tags opens a list")
            << lines({"prompts:", "  - tags:", "      - a", "      - \"b\"", "    id: x"}) << true;
        QTest::newRow("tag entry with bracket") << lines({"prompts:", "  - tags:", "      - [a]"}) << false;
        QTest::newRow("tag entry without a list") << lines({"prompts:", "  - id: a", "      - x"}) << false;
        QTest::newRow("inline tags") << lines({"prompts:", "  - tags: a, b"}) << true;
        QTest::newRow("bracket tags") << lines({"prompts:", "  - tags: [a, b]"}) << false;
        QTest::newRow("quoted bracket tags") << lines({"prompts:", "  - tags: \"[a, b]\""}) << true;
        QTest::newRow("empty list tags") << lines({"prompts:", "  - tags: []"}) << true;

        // Scalars
        QTest::newRow("null title") << lines({"prompts:", "  - title: null"}) << false;
        QTest::newRow("NULL title") << lines({"prompts:", "  - title: NULL"}) << false;
        QTest::newRow("tilde title") << lines({"prompts:", "  - title: ~"}) << false;
        QTest::newRow("quoted null title") << lines({"prompts:", "  - title: \"null\""}) << true;
        QTest::newRow("title with colons") << lines({"prompts:", "  - title: a: b: c"}) << true;
        QTest::newRow("title with braces") << lines({"prompts:", "  - title: {x}"}) << false;
        QTest::newRow("escaped quotes") << lines({"prompts:", "  - title: \"say \\\"hi\\\"\""}) << true;
        QTest::newRow("unclosed double quote") << lines({"prompts:", "  - title: \"abc"}) << false;
        QTest::newRow("bare quote inside") << lines({"prompts:", "  - title: \"a\"b\""}) << false;
        QTest::newRow("backslash before closing quote")
            << lines({"prompts:", "  - title: \"ab\\\""}) << false;
        QTest::newRow("single double quote") << lines({"prompts:", "  - title: \""}) << false;
        QTest::newRow("doubled single quote") << lines({"prompts:", "  - title: 'it''s'"}) << true;
        QTest::newRow("lone single quote inside") << lines({"prompts:", "  - title: 'it's'"}) << false;
        QTest::newRow("plain bar title") << lines({"prompts:", "  - title: |"}) << true;

        // Comments
        QTest::newRow("comment after value") << lines({"prompts:", "  - title: Foo # note"}) << true;
        QTest::newRow("comment without space") << lines({"prompts:", "  - title: Foo#[x]"}) << true;
        QTest::newRow("comment after section key") << lines({"prompts: # note", "  - id: a"}) << true;
        QTest::newRow("hash inside double quotes") << lines({"prompts:", "  - title: \"a # b\""}) << true;
        QTest::newRow("hash inside single quotes") << lines({"prompts:", "  - title: 'a # b'"}) << true;
        QTest::newRow("quote left open hides the hash")
            << lines({"prompts:", "  - title: it's # [note]"}) << false;
        QTest::newRow("escaped quote keeps quote open")
            << lines({"prompts:", "  - title: \"a\\\" # [b]\""}) << true;
        QTest::newRow("comment lines between items")
            << lines({"prompts:", "# about a", "  - id: a", "    # indented comment", "    title: A"})
            << true;
        QTest::newRow("text bar with comment opens block")
            << lines({"prompts:", "  - id: a", "    text: | # note", "      a: [b]\t{c}"}) << true;

        // Blocks
        QTest::newRow("block content holds anything")
            << lines({"prompts:", "  - id: a", "    text: |", "      key: [x] {y} \"z 'w # v",
                      "      prompts:", "      match_paths:", "", "        indented more", "  - id: b"})
            << true;
        QTest::newRow("folded marker opens block too")
            << lines({"prompts:", "  - id: a", "    text: >", "      a: [b]"}) << true;
        QTest::newRow("block content below 6 spaces is a key")
            << lines({"prompts:", "  - id: a", "    text: |", "     x"}) << false;
        QTest::newRow("block ends at a key at 4")
            << lines({"prompts:", "  - id: a", "    text: |", "      x", "    title: T", "      y"}) << false;

        // Tabs
        QTest::newRow("tab in block content")
            << lines({"prompts:", "  - id: a", "    text: |", "      a\tb"}) << true;
        QTest::newRow("tab in a comment") << lines({"prompts: []", "# a\tb"}) << false;
        QTest::newRow("tab in a quoted value") << lines({"prompts:", "  - title: \"a\tb\""}) << false;
        QTest::newRow("tab in a short block line")
            << lines({"prompts:", "  - id: a", "    text: |", "    \tx"}) << false;

        // Line ends
        QTest::newRow("CR LF file")
            << u"workspace:\r\n  name: x\r\nprompts:\r\n  - id: a\r\n    text: |\r\n      b\r\n"_s << true;
        QTest::newRow("unicode line separator") << u"prompts:\u2028  - id: a"_s << true;
    }

    void structure()
    {
        QFETCH(QString, file);
        QFETCH(bool, valid);
        QCOMPARE(PromptConfigLoader::hasValidConfigStructure(file), valid);
    }

    void commentRule_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("content");

        QTest::newRow("leading spaces and trailing blanks") << u"   a: b \t"_s << u"a: b"_s;
        QTest::newRow("hash ends the line") << u"a: b # c"_s << u"a: b"_s;
        QTest::newRow("hash without space") << u"a: b#c"_s << u"a: b"_s;
        QTest::newRow("whole line comment") << u"  # c"_s << u""_s;
        QTest::newRow("hash in double quotes") << u"a: \"b # c\" # d"_s << u"a: \"b # c\""_s;
        QTest::newRow("hash in single quotes") << u"a: 'b # c' # d"_s << u"a: 'b # c'"_s;
        QTest::newRow("other quote inside is plain") << u"a: \"it's\" # d"_s << u"a: \"it's\""_s;
        QTest::newRow("backslash protects in double quotes")
            << u"a: \"b\\\" # c\" # d"_s << u"a: \"b\\\" # c\""_s;
        QTest::newRow("backslash is plain in single quotes") << u"a: 'b\\' # c"_s << u"a: 'b\\'"_s;
        QTest::newRow("unclosed quote keeps the rest") << u"a: \"b # c"_s << u"a: \"b # c"_s;
        QTest::newRow("ideographic space trimmed") << u"a: b\u3000"_s << u"a: b"_s;
    }

    void commentRule()
    {
        QFETCH(QString, line);
        QFETCH(QString, content);
        QCOMPARE(PromptConfigLoader::structuralContent(line).toString(), content);
    }

    void fieldSplit()
    {
        // Key and value joined by "|", or nothing for no field.
        const auto split = [](const QString& line) {
            const auto field = PromptConfigLoader::structuralField(line);
            return field ? field->key.toString() + u'|' + field->value.toString() : QString();
        };
        QCOMPARE(split(u" key : value: more "_s), u"key|value: more"_s);
        QCOMPARE(split(u"\"a:b\": c"_s), u"\"a|b\": c"_s); // quotes don't protect the colon
        QCOMPARE(split(u"key:"_s), u"key|"_s);
        QCOMPARE(split(u"no colon"_s), QString());
        QCOMPARE(split(u" : value"_s), QString());
    }

    void fieldTest_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("valid");

        QTest::newRow("text bar") << u"text"_s << u"|"_s << true;
        QTest::newRow("text folded") << u"text"_s << u">"_s << true;
        QTest::newRow("text empty") << u"text"_s << u""_s << false;
        QTest::newRow("tags empty") << u"tags"_s << u""_s << true;
        QTest::newRow("tags empty list") << u"tags"_s << u"[]"_s << true;
        QTest::newRow("tags list") << u"tags"_s << u"[a]"_s << false;
        QTest::newRow("title empty") << u"title"_s << u""_s << false;
        QTest::newRow("title empty list") << u"title"_s << u"[]"_s << false;
        QTest::newRow("pinned plain") << u"pinned"_s << u"true"_s << true;
        QTest::newRow("shortcut tilde") << u"shortcut"_s << u"~"_s << false;
        QTest::newRow("other key anything") << u"color"_s << u"[{"_s << true;
        QTest::newRow("other key empty") << u"color"_s << u""_s << true;
    }

    void fieldTest()
    {
        QFETCH(QString, key);
        QFETCH(QString, value);
        QFETCH(bool, valid);
        QCOMPARE(PromptConfigLoader::isValidPromptField(key, value), valid);
    }

    void scalarTestTrimsNewlinesToo()
    {
        QVERIFY(PromptConfigLoader::isStructuralScalar(u"\n \"a\" \u2028"_s));
        QVERIFY(!PromptConfigLoader::isStructuralScalar(u" \u3000 "_s));
        QVERIFY(!PromptConfigLoader::isStructuralScalar(u" Null "_s));
        QVERIFY(PromptConfigLoader::isStructuralScalar(u"nulls"_s));
        QVERIFY(PromptConfigLoader::isStructuralScalar(u"''"_s));
        QVERIFY(!PromptConfigLoader::isStructuralScalar(u"'"_s));
    }

    // --- Value cleaning ---

    void cleanScalar_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("cleaned");

        QTest::newRow("plain trimmed") << u" \u00A0plain value\n"_s << u"plain value"_s;
        QTest::newRow("double quotes") << u"\"a b\""_s << u"a b"_s;
        QTest::newRow("escaped quote") << u"\"say \\\"hi\\\"\""_s << u"say \"hi\""_s;
        QTest::newRow("escaped backslash") << u"\"a\\\\b\""_s << u"a\\b"_s;
        QTest::newRow("no newline escape") << u"\"a\\nb\""_s << u"a\\nb"_s;
        // \" is undone before \\, so three backslashes and a quote become one backslash and a quote.
        QTest::newRow("escape order") << u"\"\\\\\\\"\""_s << u"\\\""_s;
        QTest::newRow("single quotes stripped only") << u"'it''s'"_s << u"it''s"_s;
        QTest::newRow("single quotes keep backslash") << u"'a\\\"b'"_s << u"a\\\"b"_s;
        QTest::newRow("one double quote") << u"\""_s << u"\""_s;
        QTest::newRow("one single quote") << u"'"_s << u"'"_s;
        QTest::newRow("empty double quotes") << u"\"\""_s << u""_s;
        QTest::newRow("mixed quotes stay") << u"\"a'"_s << u"\"a'"_s;
        QTest::newRow("comment is kept") << u"\"Foo\" # note"_s << u"\"Foo\" # note"_s;
    }

    void cleanScalar()
    {
        QFETCH(QString, value);
        QFETCH(QString, cleaned);
        QCOMPARE(PromptConfigLoader::cleanScalar(value), cleaned);
    }

    // --- Workspace name and match paths ---

    void workspaceName_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("found");
        QTest::addColumn<QString>("name");

        QTest::newRow("simple") << lines({"workspace:", "  name: Team A"}) << true << u"Team A"_s;
        QTest::newRow("quoted empty") << lines({"workspace:", "  name: \"\""}) << true << u""_s;
        QTest::newRow("after other keys and blank lines")
            << lines({"workspace:", "  match_paths:", "    - /a", "", "  name: 'Q'"}) << true << u"Q"_s;
        QTest::newRow("first name wins")
            << lines({"workspace:", "  name: one", "  name: two"}) << true << u"one"_s;
        QTest::newRow("comment is part of the name")
            << lines({"workspace:", "  name: x # y"}) << true << u"x # y"_s;
        QTest::newRow("none") << lines({"prompts: []"}) << false << QString();
        QTest::newRow("name outside the mapping")
            << lines({"workspace:", "other:", "  name: x"}) << false << QString();
        QTest::newRow("mapping reopened")
            << lines({"workspace:", "x: 1", "workspace:", "  name: later"}) << true << u"later"_s;
        QTest::newRow("inline empty mapping") << lines({"workspace: {}", "  name: x"}) << false << QString();
        QTest::newRow("name inside prompt text")
            << lines({"prompts:", "  - id: a", "    text: |", "      workspace:", "      name: Evil"})
            << false << QString();
        QTest::newRow("workspace line inside prompt text")
            << lines({"prompts:", "  - id: a", "    text: |", "      x", "workspace:", "  name: Evil"})
            << false << QString();
        // Extraction alone reads such a file (project files): a prompt list inside the mapping.
        QTest::newRow("text at the margin ends the mapping")
            << lines({"workspace:", "  prompts:", "  - text: |", "      x", "margin text", "  - id: b",
                      "  name: Late"})
            << false << QString();
        QTest::newRow("indented text keeps the mapping")
            << lines({"workspace:", "  prompts:", "  - text: |", "      x", "  - id: b", "  name: Late"})
            << true << u"Late"_s;
        QTest::newRow("after the block closes") << lines({"prompts:", "  - id: a", "    text: |", "      x",
                                                          "  - id: b", "workspace:", "  name: Ok"})
                                                << true << u"Ok"_s;
    }

    void workspaceName()
    {
        QFETCH(QString, file);
        QFETCH(bool, found);
        QFETCH(QString, name);
        const std::optional<QString> parsed = PromptConfigLoader::parseWorkspaceName(file);
        QCOMPARE(parsed.has_value(), found);
        if (found)
            QCOMPARE(*parsed, name);
    }

    void matchPaths_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("paths");

        QTest::newRow("block list") << lines({"workspace:", "  match_paths:", "    - /src/a",
                                              "    - \"/src/b c\"", "    -'/x'"})
                                    << QStringList{u"/src/a"_s, u"/src/b c"_s, u"/x"_s};
        QTest::newRow("empty list form")
            << lines({"workspace:", "  match_paths: []", "    - /a"}) << QStringList{};
        QTest::newRow("blank lines and indented keys keep the list")
            << lines({"workspace:", "  match_paths:", "    - /a", "", "  name: n", "    - /b",
                      "prompts:", "  - /c"})
            << QStringList{u"/a"_s, u"/b"_s};
        QTest::newRow("two lists add up")
            << lines({"workspace:", "  match_paths:", "    - /a", "x:", "match_paths:", "- /b"})
            << QStringList{u"/a"_s, u"/b"_s};
        QTest::newRow("entries inside prompt text are text")
            << lines({"prompts:", "  - id: a", "    text: |", "      match_paths:", "      - /evil"})
            << QStringList{};
    }

    void matchPaths()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, paths);
        QCOMPARE(PromptConfigLoader::parseMatchPaths(file), paths);
    }

    // --- Prompts ---

    void fullItem()
    {
        PromptConfigLoader loader = makeLoader();
        const auto prompts = loader.parsePrompts(lines({
            "workspace:",
            "  name: W",
            "prompts:",
            "  - id: review",
            "    title: \"Review: code\"",
            "    group: Quality",
            "    agent: Claude_Code",
            "    pinned: YES",
            "    shortcut: 35:1048576",
            "    tags: a, b",
            "    text: |",
            "      First line  ",
            "",
            "        indented",
            "      last",
            "",
            "  - title: Second",
        }));
        QCOMPARE(prompts.size(), 2);
        // Trailing spaces on a line survive; empty lines at the ends of the block don't.
        QCOMPARE(prompts[0], (PromptItem{u"review"_s,
                                         u"Review: code"_s,
                                         u"Quality"_s,
                                         AgentType::claudeCode,
                                         u"First line  \n\n  indented\nlast"_s,
                                         {u"a"_s, u"b"_s},
                                         true,
                                         PromptKeyboardShortcut{35, 1048576}}));
        QCOMPARE(prompts[1].title, u"Second"_s);
        QCOMPARE(prompts[1].text, u"Second"_s); // no text: the title
        QVERIFY(loader.warnings().isEmpty());
    }

    void absentFieldsTakeTheirDefaults_data()
    {
        QTest::addColumn<AppLanguage>("language");
        QTest::newRow("english") << AppLanguage::english;
        QTest::newRow("chinese") << AppLanguage::zhHans;
    }

    void absentFieldsTakeTheirDefaults()
    {
        QFETCH(AppLanguage, language);
        PromptConfigLoader loader = makeLoader(language);
        const QString file = lines({"prompts:", "  - pinned: on"});
        const auto prompts = loader.parsePrompts(file);
        QCOMPARE(prompts.size(), 1);
        const PromptItem& prompt = prompts[0];
        QCOMPARE(prompt.title, text("prompt.untitled", language));
        QCOMPARE(prompt.group, text("prompt.default.common.group", language));
        QCOMPARE(prompt.text, prompt.title);
        QVERIFY(!prompt.agent);
        QVERIFY(!prompt.isPinned); // "on" is no yes
        QVERIFY(!prompt.shortcut);
        QVERIFY(prompt.tags.isEmpty());
        QVERIFY(QRegularExpression(u"^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"_s)
                    .match(prompt.id)
                    .hasMatch());
        QVERIFY(loader.parsePrompts(file)[0].id != prompt.id); // new at each load
    }

    void pinnedValues_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("pinned");
        QTest::newRow("true") << u"true"_s << true;
        QTest::newRow("YES") << u"YES"_s << true;
        QTest::newRow("1") << u"1"_s << true;
        QTest::newRow("quoted True") << u"\"True\""_s << true;
        QTest::newRow("on") << u"on"_s << false;
        QTest::newRow("false") << u"false"_s << false;
        QTest::newRow("y") << u"y"_s << false;
    }

    void pinnedValues()
    {
        QFETCH(QString, value);
        QFETCH(bool, pinned);
        const auto prompts = parsed(QString(u"prompts:\n  - id: a\n    pinned: "_s + value));
        QCOMPARE(prompts.size(), 1);
        QCOMPARE(prompts[0].isPinned, pinned);
    }

    void invalidShortcutIsDroppedSilently()
    {
        PromptConfigLoader loader = makeLoader();
        const auto prompts = loader.parsePrompts(
            lines({"prompts:", "  - id: a", "    shortcut: 35", "  - id: b", "    shortcut: 35:131072"}));
        QCOMPARE(prompts.size(), 2);
        QVERIFY(!prompts[0].shortcut);
        QVERIFY(!prompts[1].shortcut); // shift alone is no modifier
        QVERIFY(loader.warnings().isEmpty());
    }

    void tags_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("tags");

        QTest::newRow("inline") << lines({"prompts:", "  - id: a", "    tags: a, b"})
                                << QStringList{u"a"_s, u"b"_s};
        QTest::newRow("inline keeps blank piece")
            << lines({"prompts:", "  - id: a", "    tags: a,, ,b"}) << QStringList{u"a"_s, u""_s, u"b"_s};
        QTest::newRow("empty list") << lines({"prompts:", "  - id: a", "    tags: []"}) << QStringList{};
        QTest::newRow("quoted brackets")
            << lines({"prompts:", "  - id: a", "    tags: \"[a, b]\""}) << QStringList{u"[a"_s, u"b]"_s};
        QTest::newRow("block list") << lines({"prompts:", "  - id: a", "    tags:", "      - one",
                                              "      - \"two words\"", "      -three"})
                                    << QStringList{u"one"_s, u"two words"_s, u"three"_s};
        QTest::newRow("comment ends block list")
            << lines({"prompts:", "  - id: a", "    tags:", "      - one", "      # note", "      - two"})
            << QStringList{u"one"_s};
        QTest::newRow("blank line ends block list")
            << lines({"prompts:", "  - id: a", "    tags:", "      - one", "", "      - two"})
            << QStringList{u"one"_s};
        QTest::newRow("last tags line wins")
            << lines({"prompts:", "  - id: a", "    tags: a", "    tags:", "      - b"})
            << QStringList{u"b"_s};
    }

    void tags()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, tags);
        const auto prompts = parsed(file);
        QCOMPARE(prompts.size(), 1);
        QCOMPARE(prompts[0].tags, tags);
    }

    void nextItemAfterBlockTagListIsAPrompt()
    {
        const auto prompts = parsed(lines({"prompts:", "  - id: a", "    tags:", "      - x", "  - id: b"}));
        QCOMPARE(idsOf(prompts), (QStringList{u"a"_s, u"b"_s}));
        QCOMPARE(prompts[0].tags, QStringList{u"x"_s});
        QVERIFY(prompts[1].tags.isEmpty());
    }

    void extractionHasNoCommentRule()
    {
        const auto prompts = parsed(lines(
            {"prompts:", "  - id: a", "    title: Foo # note", "  - id: b", "    title: \"Foo\" # note"}));
        QCOMPARE(prompts.size(), 2);
        QCOMPARE(prompts[0].title, u"Foo # note"_s);
        QCOMPARE(prompts[1].title, u"\"Foo\" # note"_s);

        QVERIFY(parsed(lines({"prompts: # note", "  - id: a"})).isEmpty());
        QVERIFY(parsed(lines({"prompts: []", "  - id: a"})).isEmpty());
    }

    void blockText_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("texts");

        QTest::newRow("comment after bar opens block")
            << lines({"prompts:", "  - id: a", "    text: | # note", "      body"}) << QStringList{u"body"_s};
        QTest::newRow("anything after bar is dropped")
            << lines({"prompts:", "  - id: a", "    text: |-", "      body"}) << QStringList{u"body"_s};
        QTest::newRow("short lines keep their spaces")
            << lines({"prompts:", "  - id: a", "    text: |", "      x", "    tags: y", "key: z"})
            << QStringList{u"x\n    tags: y\nkey: z"_s};
        QTest::newRow("keys at 6 are text") << lines({"prompts:", "  - id: a", "    text: |",
                                                      "      prompts:", "      match_paths:", "      - x"})
                                            << QStringList{u"prompts:\nmatch_paths:\n- x"_s};
        QTest::newRow("tabs kept") << lines({"prompts:", "  - id: a", "    text: |", "      a\tb"})
                                   << QStringList{u"a\tb"_s};
        QTest::newRow("empty block is empty text")
            << lines({"prompts:", "  - id: a", "    title: T", "    text: |", "  - id: b", "    title: U"})
            << QStringList{u""_s, u"U"_s};
        QTest::newRow("plain text") << lines({"prompts:", "  - id: a", "    text: 'one line'"})
                                    << QStringList{u"one line"_s};
        QTest::newRow("folded marker is plain")
            << lines({"prompts:", "  - id: a", "    text: >", "      body"}) << QStringList{u">"_s};
        QTest::newRow("CR LF adds empty lines")
            << u"prompts:\r\n  - id: a\r\n    text: |\r\n      one\r\n      two\r\n"_s
            << QStringList{u"one\n\ntwo"_s};
        QTest::newRow("block closed by dash at 2 only")
            << lines({"prompts:", "  - id: a", "    text: |", "      x", "    - y", "- z", "  -",
                      "  - title: b"})
            << QStringList{u"x\n    - y\n- z"_s, u"b"_s};
    }

    void blockText()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, texts);
        QStringList actual;
        for (const PromptItem& prompt : parsed(file))
            actual.append(prompt.text);
        QCOMPARE(actual, texts);
    }

    void lastKeyWinsAndKeysComeInAnyOrder()
    {
        const auto prompts = parsed(lines({"prompts:", "  - text: first", "    title: A", "    id: x",
                                           "    title: B", "    text: second"}));
        QCOMPARE(prompts.size(), 1);
        QCOMPARE(prompts[0].id, u"x"_s);
        QCOMPARE(prompts[0].title, u"B"_s);
        QCOMPARE(prompts[0].text, u"second"_s);
    }

    void linesOutsidePromptsAndUnknownLinesAreSkipped()
    {
        const auto prompts = parsed(lines({"title: before", "  - id: early", "prompts:", "  - foo",
                                           "  - id: a", "    Title: upper", "    title :x"}));
        QCOMPARE(idsOf(prompts), QStringList{u"a"_s});
        QCOMPARE(prompts[0].title, text("prompt.untitled"));
    }

    void agents_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("kept");
        QTest::addColumn<std::optional<AgentType>>("agent");
        QTest::addColumn<AppLanguage>("language");
        const AppLanguage english = AppLanguage::english;

        QTest::newRow("underscore and case")
            << u"Claude_Code"_s << true << std::optional(AgentType::claudeCode) << english;
        QTest::newRow("star") << u"\"*\""_s << true << std::optional<AgentType>() << english;
        QTest::newRow("any") << u"ANY"_s << true << std::optional<AgentType>() << english;
        QTest::newRow("all") << u"all"_s << true << std::optional<AgentType>() << english;
        QTest::newRow("empty quotes") << u"''"_s << true << std::optional<AgentType>() << english;
        QTest::newRow("unknown name") << u"gemini"_s << false << std::optional<AgentType>() << english;
        QTest::newRow("unknown raw value") << u"unknown"_s << false << std::optional<AgentType>() << english;
        QTest::newRow("warning in the provider's language")
            << u"Gemini"_s << false << std::optional<AgentType>() << AppLanguage::zhHans;
    }

    void agents()
    {
        QFETCH(QString, value);
        QFETCH(bool, kept);
        QFETCH(std::optional<AgentType>, agent);
        QFETCH(AppLanguage, language);
        PromptConfigLoader loader = makeLoader(language);
        const auto prompts = loader.parsePrompts(
            QString(u"prompts:\n  - id: a\n    agent: "_s + value + u"\n  - id: b\n    tags: t"_s));
        if (kept) {
            QCOMPARE(idsOf(prompts), (QStringList{u"a"_s, u"b"_s}));
            QCOMPARE(prompts[0].agent, agent);
            QVERIFY(loader.warnings().isEmpty());
        } else {
            // The prompt is dropped with one warning naming the value; the next prompt is whole.
            QCOMPARE(idsOf(prompts), QStringList{u"b"_s});
            QCOMPARE(prompts[0].tags, QStringList{u"t"_s});
            QCOMPARE(loader.warnings(),
                     QStringList{
                         text("error.invalid.agent", language).arg(PromptConfigLoader::cleanScalar(value))});
        }
    }

    void agentSpellings_data()
    {
        QTest::addColumn<QString>("spelling");
        QTest::addColumn<AgentType>("agent");

        const std::pair<AgentType, QStringList> table[] = {
            {AgentType::antigravity, {u"antigravity"_s}},
            {AgentType::antigravityIDE, {u"antigravity-ide"_s, u"antigravity ide"_s}},
            {AgentType::codex, {u"codex"_s}},
            {AgentType::claudeDesktop, {u"claude"_s, u"claude-desktop"_s, u"claude desktop"_s}},
            {AgentType::claudeCode, {u"claude-code"_s, u"claude code"_s}},
            {AgentType::cursor, {u"cursor"_s}},
            {AgentType::vscode,
             {u"vscode"_s, u"vs code"_s, u"vs-code"_s, u"code"_s, u"visual-studio-code"_s,
              u"visual studio code"_s}},
            {AgentType::ghostty, {u"ghostty"_s}},
            {AgentType::terminal, {u"terminal"_s, u"term"_s, u"shell"_s}},
            {AgentType::hermes, {u"hermes"_s, u"hermes-desktop"_s, u"hermes desktop"_s}},
            {AgentType::windsurf, {u"windsurf"_s, u"devin"_s, u"devin-desktop"_s, u"devin desktop"_s}},
            {AgentType::trae, {u"trae"_s, u"trae-ide"_s, u"trae ide"_s}},
            {AgentType::zed, {u"zed"_s}},
            {AgentType::jetbrains,
             {u"jetbrains"_s, u"intellij"_s, u"intellij idea"_s, u"intellij-idea"_s, u"pycharm"_s,
              u"webstorm"_s, u"goland"_s, u"clion"_s, u"phpstorm"_s, u"rubymine"_s, u"datagrip"_s,
              u"rider"_s}},
            {AgentType::kiro, {u"kiro"_s}},
            {AgentType::kimi, {u"kimi"_s, u"kimi-desktop"_s, u"kimi desktop"_s}},
            {AgentType::openCode,
             {u"opencode"_s, u"open-code"_s, u"open code"_s, u"opencode-desktop"_s, u"opencode desktop"_s}},
            {AgentType::zcode, {u"zcode"_s, u"z code"_s, u"z-code"_s}},
            {AgentType::chrome, {u"chrome"_s, u"google-chrome"_s, u"google chrome"_s}},
            {AgentType::arc, {u"arc"_s}},
            {AgentType::safari, {u"safari"_s}},
            {AgentType::edge, {u"edge"_s, u"microsoft-edge"_s, u"microsoft edge"_s}},
            {AgentType::firefox, {u"firefox"_s}},
            {AgentType::brave, {u"brave"_s, u"brave-browser"_s, u"brave browser"_s}},
        };
        for (const auto& [agent, spellings] : table) {
            for (const QString& spelling : spellings)
                QTest::newRow(qPrintable(spelling)) << spelling << agent;
        }
        QTest::newRow("trimmed, upper case, underscores")
            << u"\t Visual_Studio_Code\u2028"_s << AgentType::vscode;
    }

    void agentSpellings()
    {
        QFETCH(QString, spelling);
        QFETCH(AgentType, agent);
        QCOMPARE(PromptConfigLoader::parseAgent(spelling), std::optional(agent));
    }

    void everyRawValueButUnknownIsASpelling()
    {
        for (AgentType agent : allAgentTypes) {
            if (agent != AgentType::unknown)
                QCOMPARE(PromptConfigLoader::parseAgent(toRawValue(agent)), std::optional(agent));
        }
        QVERIFY(!PromptConfigLoader::parseAgent(u"claude  code"_s));
        QVERIFY(!PromptConfigLoader::parseAgent(u"vs_code_"_s));
        QVERIFY(!PromptConfigLoader::parseAgent(u""_s));
    }

    // --- Slugs ---

    void slug_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("slug");

        QTest::newRow("words") << u"My App"_s << u"my-app"_s;
        QTest::newRow("runs kept") << u"  a  b "_s << u"a--b"_s;
        QTest::newRow("symbols dropped") << u"C++ & Rust!"_s << u"c--rust"_s;
        QTest::newRow("underscore and dash") << u"-snake_case-x-"_s << u"snake_case-x"_s;
        QTest::newRow("CJK") << u"中文 项目"_s << u"中文-项目"_s;
        QTest::newRow("kana and hangul") << u"カナ 한글"_s << u"カナ-한글"_s;
        QTest::newRow("supplementary ideograph") << u"\U00020000x"_s << u"\U00020000x"_s;
        QTest::newRow("combining mark kept") << u"Cafe\u0301"_s << u"cafe\u0301"_s;
        QTest::newRow("accented letters lowered") << u"ÜBER"_s << u"über"_s;
        QTest::newRow("other numbers kept") << u"Step ② ¾"_s << u"step-②-¾"_s;
        QTest::newRow("all white space kinds") << u"a\tb\nc\u3000d\u00A0e\u2028f"_s << u"a-b-c-d-e-f"_s;
        QTest::newRow("emoji dropped") << u"🚀 Launch"_s << u"launch"_s;
        QTest::newRow("empty") << u""_s << u"workspace"_s;
        QTest::newRow("only symbols") << u"!!! ..."_s << u"workspace"_s;
        QTest::newRow("only dashes") << u"- -"_s << u"workspace"_s;
    }

    void slug()
    {
        QFETCH(QString, input);
        QFETCH(QString, slug);
        QCOMPARE(PromptConfigLoader::slug(input), slug);
    }

    // --- Unique identifiers ---

    void laterHoldersOfAnIdentifierAreRenumbered()
    {
        PromptConfigLoader loader = makeLoader();
        QList<PromptItem> global = {item(u"a"_s), item(u"a"_s)};
        QList<PromptWorkspace> workspaces(2);
        workspaces[0].prompts = {item(u"a-2"_s), item(u"b"_s)};
        workspaces[1].prompts = {item(u"b"_s), item(u"a"_s)};
        loader.makePromptIDsGloballyUnique(global, workspaces);
        QCOMPARE(idsOf(global), (QStringList{u"a"_s, u"a-2"_s}));
        QCOMPARE(idsOf(workspaces[0].prompts), (QStringList{u"a-2-2"_s, u"b"_s}));
        QCOMPARE(idsOf(workspaces[1].prompts), (QStringList{u"b-2"_s, u"a-3"_s}));
        const QString format = text("warning.duplicate.prompt.id");
        QCOMPARE(loader.warnings(),
                 (QStringList{format.arg(u"a"_s, u"a-2"_s), format.arg(u"a-2"_s, u"a-2-2"_s),
                              format.arg(u"b"_s, u"b-2"_s), format.arg(u"a"_s, u"a-3"_s)}));
    }

    void blankIdentifierTakesTheSlugOfItsTitle()
    {
        PromptConfigLoader loader = makeLoader();
        QList<PromptItem> global = {item(u" \n"_s, u"Fix Bugs"_s), item(u""_s, u"Fix Bugs"_s),
                                    item(u""_s, u"!"_s)};
        QList<PromptWorkspace> workspaces;
        loader.makePromptIDsGloballyUnique(global, workspaces);
        QCOMPARE(idsOf(global), (QStringList{u"fix-bugs"_s, u"fix-bugs-2"_s, u"workspace"_s}));
        QCOMPARE(loader.warnings().size(), 3); // a blank id counts as a change
    }

    void uniqueIdentifiersWithoutDuplicatesGiveNoWarning()
    {
        PromptConfigLoader loader = makeLoader();
        QList<PromptItem> global = {item(u"a"_s)};
        QList<PromptWorkspace> workspaces(1);
        workspaces[0].prompts = {item(u"b"_s), item(u" a"_s)};
        loader.makePromptIDsGloballyUnique(global, workspaces);
        QCOMPARE(idsOf(workspaces[0].prompts), (QStringList{u"b"_s, u" a"_s}));
        QVERIFY(loader.warnings().isEmpty());
    }

    void manyCopiesOfOneIdentifierAreNumberedInOrder()
    {
        PromptConfigLoader loader = makeLoader();
        QList<PromptItem> global;
        for (int i = 0; i < 5000; ++i)
            global.append(item(u"x"_s));
        global.append(item(u"x-7"_s));
        QList<PromptWorkspace> workspaces;
        loader.makePromptIDsGloballyUnique(global, workspaces);
        QCOMPARE(global[0].id, u"x"_s);
        QCOMPARE(global[4999].id, u"x-5000"_s);
        QCOMPARE(global[5000].id, u"x-7-2"_s);
        QCOMPARE(loader.warnings().size(), 5000);
    }
};

QTEST_GUILESS_MAIN(TestPromptConfigFormat)
#include "tst_promptconfigformat.moc"
