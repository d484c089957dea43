#include "CharacterClasses.h"
#include "PanelRenderSnapshotBuilder.h"
#include "PromptStoreFixture.h"

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

Q_DECLARE_METATYPE(PanelEmptyState)
Q_DECLARE_METATYPE(std::optional<PromptWorkspaceSource>)

namespace {

using Kind = PanelEmptyStateReason::Kind;
using Action = EmptyPromptAction;

PanelEmptyState state(Kind kind, const QList<Action>& actions)
{
    return {{kind, {}}, actions};
}

const PanelEmptyState unavailable =
    state(Kind::unavailable, {Action::manageWorkspaces, Action::importPrompts});
const PanelEmptyState recognizedCursor{PanelEmptyStateReason::recognizedUnbound(u"Cursor"_s),
                                       {Action::bindWorkspace}};

QList<PromptItem> numbered(const QString& prefix, int count)
{
    QList<PromptItem> prompts;
    for (int index = 1; index <= count; ++index)
        prompts.append(prompt(prefix + QString::number(index)));
    return prompts;
}

PanelRenderSnapshotBuilder::MatchDetailsProvider matching(const std::optional<PromptWorkspace>& workspace)
{
    return [workspace](const AgentContext&) {
        ContextMatchDetails details;
        details.workspace = workspace;
        return details;
    };
}

AgentContext contextOf(AgentType agent)
{
    AgentContext context = AgentContext::unknown();
    context.agent = agent;
    return context;
}

} // namespace

class TestPanelRenderSnapshot : public QObject {
    Q_OBJECT

    Fixture f;

    PanelRenderSnapshot make(const QString& search, const std::optional<PromptWorkspace>& active,
                             AgentType agent = AgentType::unknown, bool needsPermission = false)
    {
        return PanelRenderSnapshotBuilder::make(*f.store, contextOf(agent), search, needsPermission,
                                                matching(active));
    }

private Q_SLOTS:
    void init() { f.setUp(); }
    void cleanup() { f.tearDown(); }

    // One row for each rule, in order; each input also holds for later rules, which must not win.
    void resolve_data()
    {
        QTest::addColumn<QString>("facts");
        QTest::addColumn<PanelEmptyState>("expected");
        QTest::newRow("search, editable")
            << u"search workspaces editable empty active agent"_s
            << state(Kind::noSearchResults, {Action::clearSearch, Action::createPrompt});
        QTest::newRow("search") << u"search agent advanced permission"_s
                                << state(Kind::noSearchResults, {Action::clearSearch});
        QTest::newRow("no workspaces")
            << u"agent advanced permission"_s
            << state(Kind::noWorkspaces, {Action::createWorkspace, Action::installOrImport});
        QTest::newRow("editable and empty")
            << u"workspaces editable empty active agent advanced permission"_s
            << state(Kind::editableWorkspaceEmpty, {Action::createPrompt, Action::importPrompts});
        QTest::newRow("recognised, unbound") << u"workspaces agent advanced permission"_s << recognizedCursor;
        QTest::newRow("permission") << u"workspaces empty active advanced permission"_s
                                    << state(Kind::automationPermission, {Action::openAutomationSettings});
        QTest::newRow("otherwise") << u"workspaces empty active agent permission"_s << unavailable;
    }

    void resolve()
    {
        QFETCH(QString, facts);
        QFETCH(PanelEmptyState, expected);
        const QStringList words = facts.split(u' ');
        PanelEmptyStateInput input;
        input.hasSearchText = words.contains(u"search"_s);
        input.hasWorkspaces = words.contains(u"workspaces"_s);
        input.isActiveWorkspaceEditable = words.contains(u"editable"_s);
        if (words.contains(u"empty"_s))
            input.activeWorkspaceHasPrompts = false;
        if (words.contains(u"agent"_s))
            input.recognizedAgentName = u"Cursor"_s;
        input.hasActiveWorkspace = words.contains(u"active"_s);
        input.advancedAutomaticMatchingEnabled = words.contains(u"advanced"_s);
        input.needsAutomationPermission = words.contains(u"permission"_s);
        QCOMPARE(PanelEmptyState::resolve(input), expected);
    }

    // The edge cases, through the builder, which fills the input from the store, context and search.
    // Facts: user workspaces loaded; the active workspace's source and whether it has prompts; the
    // agent; advanced matching. The detector always reports the automation permission missing.
    void emptyStateOfABuild_data()
    {
        QTest::addColumn<QString>("facts");
        QTest::addColumn<QString>("search");
        QTest::addColumn<PanelEmptyState>("expected");
        QTest::newRow("blanks are no search")
            << u"workspaces user advanced"_s << u" \t\n\u3000"_s
            << state(Kind::editableWorkspaceEmpty, {Action::createPrompt, Action::importPrompts});
        QTest::newRow("search in a project") << u"workspaces project prompts cursor advanced"_s << u" x "_s
                                             << state(Kind::noSearchResults, {Action::clearSearch});
        QTest::newRow("no workspaces, only global prompts")
            << u"cursor advanced"_s << QString()
            << state(Kind::noWorkspaces, {Action::createWorkspace, Action::installOrImport});
        QTest::newRow("read-only empty workspace, recognised agent")
            << u"workspaces project cursor"_s << QString() << unavailable;
        QTest::newRow("recognised, unbound, permission missing")
            << u"workspaces cursor advanced"_s << QString() << recognizedCursor;
        QTest::newRow("unknown agent, permission missing")
            << u"workspaces advanced"_s << QString()
            << state(Kind::automationPermission, {Action::openAutomationSettings});
        QTest::newRow("unknown agent, permission missing, advanced off")
            << u"workspaces"_s << QString() << unavailable;
    }

    void emptyStateOfABuild()
    {
        QFETCH(QString, facts);
        QFETCH(QString, search);
        QFETCH(PanelEmptyState, expected);
        const QStringList words = facts.split(u' ');
        f.setUp(words.contains(u"advanced"_s));
        PromptLoadResult result;
        result.globalPrompts = numbered(u"g"_s, 2);
        if (words.contains(u"workspaces"_s))
            result.workspaces = {workspace(u"w"_s, numbered(u"w"_s, 1))};
        f.load(result);
        std::optional<PromptWorkspace> active;
        if (words.contains(u"user"_s) || words.contains(u"project"_s)) {
            active = workspace(u"active"_s,
                               words.contains(u"prompts"_s) ? numbered(u"a"_s, 2) : QList<PromptItem>{});
            active->source = words.contains(u"user"_s) ? PromptWorkspaceSource::userWorkspace
                                                       : PromptWorkspaceSource::projectConfig;
        }
        const AgentType agent = words.contains(u"cursor"_s) ? AgentType::cursor : AgentType::unknown;
        const PanelRenderSnapshot snapshot = make(search, active, agent, true);
        QCOMPARE((PanelEmptyState{snapshot.emptyReason, snapshot.emptyActions}), expected);
        QCOMPARE(snapshot.allowsPromptOrdering,
                 CharacterClasses::trimmedWhitespaceAndNewlines(search).isEmpty());
        QCOMPARE(snapshot.activeWorkspace, active);
    }

    void digitsFollowTheVisibleOrder_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("search");
        QTest::addColumn<QStringList>("numberedIDs");
        QTest::newRow("twelve prompts: nine digits")
            << 12 << QString()
            << QStringList{u"p1"_s, u"p2"_s, u"p3"_s, u"p4"_s, u"p5"_s, u"p6"_s, u"p7"_s, u"p8"_s, u"p9"_s};
        QTest::newRow("three prompts") << 3 << QString() << QStringList{u"p1"_s, u"p2"_s, u"p3"_s};
        QTest::newRow("a search: digit 1 is the first match")
            << 12 << u"TITLE P1"_s << QStringList{u"p1"_s, u"p10"_s, u"p11"_s, u"p12"_s};
        QTest::newRow("a search without matches") << 12 << u"nothing"_s << QStringList();
    }

    void digitsFollowTheVisibleOrder()
    {
        QFETCH(int, count);
        QFETCH(QString, search);
        QFETCH(QStringList, numberedIDs);
        const PanelRenderSnapshot snapshot = make(search, workspace(u"w"_s, numbered(u"p"_s, count)));
        QHash<QString, qint64> expected;
        for (int index = 0; index < numberedIDs.size(); ++index)
            expected.insert(numberedIDs[index], index + 1);
        QCOMPARE(snapshot.shortcutNumbers, expected);
    }

    void repeatedProjectIDKeepsItsFirstDigit()
    {
        PromptWorkspace project = workspace(u"project"_s, {prompt(u"x"_s), prompt(u"y"_s), prompt(u"x"_s)});
        project.source = PromptWorkspaceSource::projectConfig;
        const PanelRenderSnapshot snapshot = make({}, project);
        QCOMPARE(snapshot.shortcutNumbers, (QHash<QString, qint64>{{u"x"_s, 1}, {u"y"_s, 2}}));
    }

    // The scan runs over the folded fields joined together: it must never match across two of them,
    // and must see the new text of a workspace edited since the last build.
    void searchKeepsToOneFieldAndToTheCurrentText()
    {
        PromptItem item = prompt(u"w1"_s, u"Bc"_s);
        item.title = u"xA"_s;
        PromptWorkspace active = workspace(u"w"_s, {item});
        PromptLoadResult result;
        result.workspaces = {active};
        f.load(result);
        QCOMPARE(make(u"xa"_s, active).visiblePromptIDs(), QStringList{u"w1"_s});
        const QString acrossFields = u"a"_s + QChar(0) + u"b"_s;
        QVERIFY(make(acrossFields, active).visiblePrompts.isEmpty());
        QVERIFY(!f.store->promptMatchesSearch(item, acrossFields));
        active.prompts[0].text = u"Fresh words"_s;
        QCOMPARE(make(u"FRESH"_s, active).visiblePromptIDs(), QStringList{u"w1"_s});
    }

    void editableIDsAreTheUserWorkspaceOwnPrompts_data()
    {
        QTest::addColumn<std::optional<PromptWorkspaceSource>>("source");
        QTest::addColumn<bool>("editable");
        QTest::newRow("user workspace") << std::optional(PromptWorkspaceSource::userWorkspace) << true;
        QTest::newRow("project") << std::optional(PromptWorkspaceSource::projectConfig) << false;
        QTest::newRow("global") << std::optional(PromptWorkspaceSource::global) << false;
        QTest::newRow("sample") << std::optional(PromptWorkspaceSource::transientSample) << false;
        QTest::newRow("none, globals visible") << std::optional<PromptWorkspaceSource>() << false;
    }

    void editableIDsAreTheUserWorkspaceOwnPrompts()
    {
        QFETCH(std::optional<PromptWorkspaceSource>, source);
        QFETCH(bool, editable);
        PromptLoadResult result;
        result.globalPrompts = numbered(u"g"_s, 2);
        f.load(result);
        std::optional<PromptWorkspace> active;
        if (source) {
            active = workspace(u"w"_s, numbered(u"w"_s, 2));
            active->source = *source;
        }
        const PanelRenderSnapshot snapshot = make({}, active);
        QCOMPARE(snapshot.visiblePrompts.size(), source ? 4 : 2);
        const QSet<QString> expected = editable ? QSet<QString>{u"w1"_s, u"w2"_s} : QSet<QString>{};
        QCOMPARE(snapshot.editablePromptIDs, expected);
        QCOMPARE(PanelRenderSnapshotBuilder::editablePromptIDs(active), expected);
    }
};

QTEST_GUILESS_MAIN(TestPanelRenderSnapshot)
#include "tst_panelrendersnapshot.moc"
