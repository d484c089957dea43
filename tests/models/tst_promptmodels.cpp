#include "PromptModels.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

PromptItem prompt(const QString& id, const QString& group, bool pinned = false)
{
    PromptItem item;
    item.id = id;
    item.title = id.toUpper();
    item.group = group;
    item.isPinned = pinned;
    return item;
}

// "a:G", "b:G*" (pinned) ... -> prompts
PromptWorkspace workspaceOf(const QStringList& entries)
{
    PromptWorkspace workspace;
    workspace.id = u"w"_s;
    for (const QString& entry : entries) {
        const QStringList parts = entry.split(u':');
        const bool pinned = parts[1].endsWith(u'*');
        workspace.prompts.append(prompt(parts[0], pinned ? parts[1].chopped(1) : parts[1], pinned));
    }
    return workspace;
}

QStringList idsOf(const PromptWorkspace& workspace)
{
    QStringList ids;
    for (const PromptItem& item : workspace.prompts)
        ids.append(item.id);
    return ids;
}

} // namespace

Q_DECLARE_METATYPE(PromptMoveDirection)

class TestPromptModels : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void moves_data()
    {
        QTest::addColumn<QStringList>("prompts");
        QTest::addColumn<QString>("moved");
        QTest::addColumn<PromptMoveDirection>("direction");
        QTest::addColumn<bool>("canMove");
        QTest::addColumn<QStringList>("after");

        const QStringList simple{u"a:G"_s, u"b:G"_s, u"c:G"_s};
        QTest::newRow("up swaps with the previous peer")
            << simple << u"b"_s << PromptMoveDirection::up << true << QStringList{u"b"_s, u"a"_s, u"c"_s};
        QTest::newRow("up at the first peer")
            << simple << u"a"_s << PromptMoveDirection::up << false << simple;
        QTest::newRow("top at the first peer")
            << simple << u"a"_s << PromptMoveDirection::top << false << simple;
        QTest::newRow("down at the last peer")
            << simple << u"c"_s << PromptMoveDirection::down << false << simple;
        QTest::newRow("top moves to the first peer index")
            << simple << u"c"_s << PromptMoveDirection::top << true << QStringList{u"c"_s, u"a"_s, u"b"_s};
        QTest::newRow("bottom from the first")
            << simple << u"a"_s << PromptMoveDirection::bottom << true << QStringList{u"b"_s, u"c"_s, u"a"_s};
        QTest::newRow("bottom from the last-but-one peer ends the group")
            << simple << u"b"_s << PromptMoveDirection::bottom << true << QStringList{u"a"_s, u"c"_s, u"b"_s};
        QTest::newRow("unknown id") << simple << u"zz"_s << PromptMoveDirection::down << false << simple;

        const QStringList mixedPins{u"p:G*"_s, u"u:G"_s};
        for (auto direction : {PromptMoveDirection::up, PromptMoveDirection::down, PromptMoveDirection::top,
                               PromptMoveDirection::bottom}) {
            QTest::addRow("pinned and unpinned alone, pinned, %d", int(direction))
                << mixedPins << u"p"_s << direction << false << mixedPins;
            QTest::addRow("pinned and unpinned alone, unpinned, %d", int(direction))
                << mixedPins << u"u"_s << direction << false << mixedPins;
        }

        const QStringList jumpPin{u"a:G"_s, u"p:G*"_s, u"b:G"_s};
        QTest::newRow("up jumps over a prompt of the other pin state")
            << jumpPin << u"b"_s << PromptMoveDirection::up << true << QStringList{u"b"_s, u"p"_s, u"a"_s};
        QTest::newRow("bottom of the first unpinned peer past a pinned one")
            << jumpPin << u"a"_s << PromptMoveDirection::bottom << true
            << QStringList{u"p"_s, u"b"_s, u"a"_s};

        const QStringList otherGroup{u"a:A"_s, u"x:B"_s, u"b:A"_s};
        QTest::newRow("never crosses another group; interleaved groups gather")
            << otherGroup << u"b"_s << PromptMoveDirection::up << true << QStringList{u"b"_s, u"a"_s, u"x"_s};
        QTest::newRow("interleaved groups gather after a move in the other group")
            << QStringList{u"a:A"_s, u"x:B"_s, u"b:A"_s, u"y:B"_s} << u"y"_s << PromptMoveDirection::top
            << true << QStringList{u"a"_s, u"b"_s, u"y"_s, u"x"_s};
        QTest::newRow("a lone prompt of its group")
            << otherGroup << u"x"_s << PromptMoveDirection::down << false << otherGroup;
    }

    void moves()
    {
        QFETCH(QStringList, prompts);
        QFETCH(QString, moved);
        QFETCH(PromptMoveDirection, direction);
        QFETCH(bool, canMove);
        QFETCH(QStringList, after);

        PromptWorkspace workspace = workspaceOf(prompts);
        QCOMPARE(workspace.canMovePrompt(moved, direction), canMove);
        QCOMPARE(workspace.movePrompt(moved, direction), canMove);
        QStringList expectedIDs;
        for (const QString& entry : after)
            expectedIDs.append(entry.section(u':', 0, 0));
        QCOMPARE(idsOf(workspace), expectedIDs);
    }

    void storageString_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<quint32>("keyCode");
        QTest::addColumn<quint64>("modifiers");

        QTest::newRow("command") << u"35:1048576"_s << true << 35u << quint64(1048576);
        QTest::newRow("control shift") << u"35:393216"_s << true << 35u << quint64(393216);
        QTest::newRow("device bits and caps lock are dropped")
            << u"18:1114380"_s << true << 18u << quint64(1048576);
        QTest::newRow("bits above 32 are dropped") << u"18:4296015872"_s << true << 18u << quint64(1048576);
        QTest::newRow("empty parts are dropped") << u"::35::1048576:"_s << true << 35u << quint64(1048576);
        QTest::newRow("shift alone is no modifier") << u"35:131072"_s << false << 0u << quint64(0);
        QTest::newRow("no modifier part") << u"35"_s << false << 0u << quint64(0);
        QTest::newRow("three parts") << u"35:1048576:1"_s << false << 0u << quint64(0);
        QTest::newRow("non-numeric key") << u"x:1048576"_s << false << 0u << quint64(0);
        QTest::newRow("non-numeric modifiers") << u"35:cmd"_s << false << 0u << quint64(0);
        QTest::newRow("negative key") << u"-1:1048576"_s << false << 0u << quint64(0);
        QTest::newRow("key over 32 bits") << u"4294967296:1048576"_s << false << 0u << quint64(0);
        QTest::newRow("blank inside") << u"35: 1048576"_s << false << 0u << quint64(0);
    }

    void storageString()
    {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        QFETCH(quint32, keyCode);
        QFETCH(quint64, modifiers);
        const auto shortcut = PromptKeyboardShortcut::fromStorageString(text);
        QCOMPARE(shortcut, valid ? std::optional(PromptKeyboardShortcut{keyCode, modifiers}) : std::nullopt);
        if (shortcut)
            QCOMPARE(PromptKeyboardShortcut::fromStorageString(shortcut->storageString()), shortcut);
    }

    void rawValuesRoundTrip()
    {
        QCOMPARE(allAgentTypes.size(), size_t(25));
        QCOMPARE(toRawValue(AgentType::antigravityIDE), u"antigravity-ide"_s);
        QCOMPARE(toRawValue(AgentType::openCode), u"opencode"_s);
        for (AgentType agent : allAgentTypes)
            QCOMPARE(agentTypeFromRawValue(toRawValue(agent)), agent);
        QCOMPARE(agentTypeFromRawValue(u"Claude-Code"_s), std::nullopt);
        QCOMPARE(allAgentTypes.front(), AgentType::antigravity);
        QCOMPARE(allAgentTypes[13], AgentType::jetbrains); // the right column starts here
        QCOMPARE(promptSortModeFromRawValue(u"frequent"_s), PromptSortMode::frequent);
        QCOMPARE(promptSortModeFromRawValue(u"Frequent"_s), std::nullopt);
        QCOMPARE(promptWorkspaceSourceFromRawValue(u"transientSample"_s),
                 PromptWorkspaceSource::transientSample);
    }

    void packPreview_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("titles");
        QTest::newRow("seven prompts") << 7 << 5;
        QTest::newRow("three prompts") << 3 << 3;
        QTest::newRow("none") << 0 << 0;
    }

    void packPreview()
    {
        QFETCH(int, count);
        QFETCH(int, titles);
        PromptPackImportPreview preview;
        for (int i = 0; i < count; ++i)
            preview.pack.workspace.prompts.append(prompt(u"p%1"_s.arg(i), i % 2 ? u"B"_s : u"A"_s));
        QCOMPARE(preview.sampleTitles().size(), titles);
        if (titles > 0)
            QCOMPARE(preview.sampleTitles().first(), u"P0"_s);
        const QStringList expectedGroups = QStringList{u"A"_s, u"B"_s}.first(std::min(count, 2));
        QCOMPARE(preview.groups(), expectedGroups);
    }

    void displayNamePath()
    {
        PromptWorkspace workspace;
        QCOMPARE(workspace.displayNamePath(), L10n::text(u"workspace.not.saved"_s));
        QVERIFY(!workspace.displayNamePath().isEmpty());
        workspace.fileURL = u"/home/u/.velmora/workspaces/work.yaml"_s;
        QCOMPARE(workspace.displayNamePath(), u"work.yaml"_s);
    }
};

QTEST_GUILESS_MAIN(TestPromptModels)
#include "tst_promptmodels.moc"
