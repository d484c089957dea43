// The views above and instead of the panel's tiles, each over the values the panel hands it: the
// header's summary, banners and count; the detection popover; the search field's clear button; the
// workspace picker's three rows over a real store; an issue banner's actions; and each empty state.
#include "ConfigIssueBanner.h"
#include "ContextHeaderView.h"
#include "ContextStatusBanner.h"
#include "EmptyPromptView.h"
#include "EnvironmentInfoPopoverView.h"
#include "EnvironmentOverviewPresentation.h"
#include "PanelText.h"
#include "ProjectConfigTrustBanner.h"
#include "PromptStoreFixture.h"
#include "SearchVelmoraView.h"
#include "SourceNoticeView.h"
#include "VelmoraButton.h"
#include "VelmoraSymbolButton.h"
#include "WorkspacePickerView.h"

#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;
using Kind = PanelEmptyStateReason::Kind;

namespace {

AgentContext browser(const QString& title)
{
    AgentContext context;
    context.frontmostAppName = u"Google Chrome"_s;
    context.frontWindowTitle = title;
    context.agent = AgentType::chrome;
    return context;
}

QString chrome()
{
    return displayName(AgentType::chrome, AppLanguage::english);
}

} // namespace

class TestPanelContextViews : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statusSummaryAndTheUnboundBanner_data()
    {
        QTest::addColumn<AgentContext>("context");
        QTest::addColumn<bool>("hasWorkspace");
        QTest::addColumn<QString>("summary");
        QTest::addColumn<QString>("banner"); // empty: none
        const QString claude = displayName(AgentType::claudeCode, AppLanguage::english);
        AgentContext terminal;
        terminal.agent = AgentType::claudeCode;
        QTest::newRow("waiting") << AgentContext::unknown() << false << text("context.waiting") << u""_s;
        QTest::newRow("a browser with an AI service")
            << browser(u"New chat - Claude - Google Chrome"_s) << false << u"Claude · "_s + chrome()
            << text("workspace.unbound.current").arg(u"Claude · "_s + chrome());
        QTest::newRow("a plain browser tab") << browser(u"Docs"_s) << false << chrome()
                                             << text("workspace.unbound.current").arg(chrome());
        QTest::newRow("bound") << terminal << true << claude << u""_s;
    }

    void statusSummaryAndTheUnboundBanner()
    {
        QFETCH(AgentContext, context);
        QFETCH(bool, hasWorkspace);
        QFETCH(QString, summary);
        QFETCH(QString, banner);
        ContextHeaderView header;
        header.resize(460, 200);
        header.show();
        ContextHeaderView::State state;
        state.context = context;
        state.promptCount = 12;
        if (hasWorkspace)
            state.workspace = workspace(u"web"_s);
        header.setState(state);
        QCOMPARE(header.summaryLabel()->fullText(), summary);
        QCOMPARE(header.statusBanner()->isVisible(), !banner.isEmpty());
        QCOMPARE(header.statusBanner()->text(), banner);
        QCOMPARE(header.countLabel()->text(), u"12"_s);
        QVERIFY(!header.errorLabel()->isVisible());
    }

    void theTrustBannerStandsBeforeTheTrustedNotice()
    {
        ContextHeaderView header;
        header.show();
        QStringList trusted;
        header.onTrustProjectConfig = [&trusted](const QString& path) { trusted.append(path); };
        ContextHeaderView::State state;
        state.workspace = workspace(u"project"_s);
        state.workspace->source = PromptWorkspaceSource::projectConfig;
        state.matchDetails.projectConfigPath = u"/home/ada/code/shop/.velmora.yaml"_s;
        state.matchDetails.projectConfigRequiresTrust = true;
        state.errorMessage = u"The file changed on disk."_s;
        header.setState(state);
        QVERIFY(header.trustBanner()->isVisible());
        QVERIFY(!header.sourceNotice()->isVisible());
        QCOMPARE(header.trustBanner()->fileNameLabel()->fullText(), u".velmora.yaml"_s);
        QVERIFY(header.errorLabel()->isVisible());
        QCOMPARE(header.errorLabel()->text(), u"The file changed on disk."_s);
        QTest::mouseClick(header.trustBanner()->trustButton(), Qt::LeftButton);
        QCOMPARE(trusted, QStringList{u"/home/ada/code/shop/.velmora.yaml"_s});

        state.matchDetails.projectConfigRequiresTrust = false;
        header.setState(state);
        QVERIFY(!header.trustBanner()->isVisible());
        QVERIFY(header.sourceNotice()->isVisible());
        QCOMPARE(header.sourceNotice()->text(), text("project.config.trusted.notice"));
        state.workspace->source = PromptWorkspaceSource::userWorkspace;
        header.setState(state);
        QVERIFY(!header.sourceNotice()->isVisible());
    }

    void thePopoverShowsTheDetectionAndClosesIntoTheState()
    {
        ContextHeaderView header;
        header.show();
        QVERIFY(QTest::qWaitForWindowExposed(&header));
        QList<bool> writes;
        ContextHeaderView::State state;
        header.onShowDebugDetailsChange = [&](bool show) {
            writes.append(show);
            state.showDebugDetails = show;
            header.setState(state);
        };
        state.context.frontmostAppName = u"Code"_s;
        state.context.agent = AgentType::vscode;
        state.context.frontWindowTitle = u"secret.txt — shop"_s;
        state.context.workspacePath = u"/home/ada/code/shop/"_s;
        state.context.detectionSource = ContextDetectionSource::ideWorkspace;
        PromptWorkspace web = workspace(u"web"_s);
        web.name = u"Web shop"_s;
        web.fileURL = u"/home/ada/.velmora/workspaces/web.yaml"_s;
        web.source = PromptWorkspaceSource::userWorkspace;
        state.workspace = web;
        state.matchDetails.workspace = web;
        state.matchDetails.detectionSource = ContextDetectionSource::manualBinding;
        state.matchDetails.agentBinding = AgentWorkspaceBinding{u"b"_s, AgentType::vscode, u"Code"_s, {}, u"web"_s, false, {}};
        state.matchDetails.projectConfigPath = u"/home/ada/code/shop/.velmora.yml"_s;
        state.needsAutomationPermission = true;
        state.detectionErrorMessage = u"No active window"_s;
        state.statusMessage = u"Loaded 2 files"_s;
        header.setState(state);
        QCOMPARE(header.infoButton()->accessibleName(), text("debug.show"));

        QTest::mouseClick(header.infoButton(), Qt::LeftButton);
        QCOMPARE(writes, QList<bool>{true});
        EnvironmentInfoPopoverView* popover = header.popover();
        QVERIFY(popover && popover->isVisible());
        QCOMPARE(header.infoButton()->accessibleName(), text("debug.hide"));
        QCOMPARE(popover->rowValues(),
                 (QStringList{u"Code"_s, state.context.sanitizedWindowTitle(AppLanguage::english),
                              displayName(AgentType::vscode, AppLanguage::english), u"shop"_s, u"Web shop"_s,
                              displayName(ContextDetectionSource::manualBinding, AppLanguage::english), u"Web shop"_s}));
        QVERIFY(!popover->rowValues().contains(u"secret.txt — shop"_s));
        QCOMPARE(popover->hints(), (QStringList{text("automation.permission.hint"), u"No active window"_s}));
        QCOMPARE(popover->toolTip(),
                 u"Loaded 2 files\n"_s + text("debug.file") + u": web.yaml\n"_s + text("debug.package.type") + u": "_s +
                     displayName(PromptWorkspaceSource::userWorkspace, AppLanguage::english) + u"\n"_s +
                     text("debug.project.config") + u": .velmora.yml"_s);

        QTest::keyClick(popover, Qt::Key_Escape);
        QCOMPARE(writes, (QList<bool>{true, false}));
        QVERIFY(!popover->isVisible());
    }

    void aBindingValueNeedsABindingAndAWorkspace()
    {
        ContextMatchDetails details;
        const std::optional<PromptWorkspace> web = workspace(u"web"_s);
        QCOMPARE(EnvironmentOverviewPresentation::bindingValue(web, details, AppLanguage::english), text("common.none"));
        details.legacyBinding = ContextBinding{};
        QCOMPARE(EnvironmentOverviewPresentation::bindingValue(web, details, AppLanguage::english), u"web"_s);
        QCOMPARE(EnvironmentOverviewPresentation::bindingValue(std::nullopt, details, AppLanguage::english),
                 text("common.none"));
    }

    void theClearButtonWaitsForMoreThanBlanks()
    {
        SearchVelmoraView search;
        search.show();
        search.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&search));
        QStringList reported;
        search.onSearchQueryChange = [&reported](const QString& query) { reported.append(query); };
        QTest::keyClicks(search.field(), u"  "_s);
        QVERIFY(!search.clearButton()->isVisible());
        QTest::keyClicks(search.field(), u"a"_s);
        QVERIFY(search.clearButton()->isVisible());
        QCOMPARE(search.clearButton()->toolTip(), text("action.clear.search"));
        search.field()->clearFocus();
        QTest::mouseClick(search.clearButton(), Qt::LeftButton);
        QCOMPARE(search.searchText(), QString());
        QVERIFY(search.isFocused());
        QCOMPARE(reported, (QStringList{u" "_s, u"  "_s, u"  a"_s, u""_s}));
        QVERIFY(!search.clearButton()->isVisible());
    }

    void thePickerChoosesOneOfThreeRows()
    {
        Fixture f;
        f.setUp();
        WorkspacePickerView picker(*f.store);
        AgentContext code;
        code.agent = AgentType::vscode;
        code.frontmostAppName = u"Code"_s;
        picker.setContext(code, AppLanguage::english, PromptPanelTextSize::system);
        QCOMPARE(picker.row(), WorkspacePickerView::Row::noWorkspaces);
        QCOMPARE(picker.helpLabel()->text(), text("workspace.none.help"));

        PromptLoadResult library;
        library.workspaces = {workspace(u"web"_s), workspace(u"api"_s)};
        f.load(library);
        picker.setContext(code, AppLanguage::english, PromptPanelTextSize::system);
        QCOMPARE(picker.row(), WorkspacePickerView::Row::unbound);
        QVERIFY(!picker.createButton()); // nothing would open the editor
        QVERIFY(picker.bindingsButton());
        QCOMPARE(picker.menu()->actions().size(), 2);
        bool created = false;
        picker.onCreateAndBindWorkspace = [&created] { created = true; };
        picker.setContext(code, AppLanguage::english, PromptPanelTextSize::system);
        QCOMPARE(picker.createButton()->toolTip(), text("action.create.and.bind.workspace"));
        picker.createButton()->click();
        QVERIFY(created);

        picker.menu()->actions().at(1)->trigger(); // binds Code to api
        picker.setContext(code, AppLanguage::english, PromptPanelTextSize::system);
        QCOMPARE(picker.row(), WorkspacePickerView::Row::selection);
        QCOMPARE(picker.selectionButton()->text(), u"api"_s);
        QVERIFY(!picker.selectionButton()->isEnabled());
        QVERIFY(f.store->bindContext(code, u"web"_s));
        picker.setContext(code, AppLanguage::english, PromptPanelTextSize::system);
        QVERIFY(picker.selectionButton()->isEnabled());
        QCOMPARE(picker.menu()->actions().size(), 2);

        picker.setContext(AgentContext::unknown(), AppLanguage::english, PromptPanelTextSize::system);
        QCOMPARE(picker.row(), WorkspacePickerView::Row::selection);
        QCOMPARE(picker.selectionButton()->text(), text("common.not.bound"));
        QVERIFY(picker.menu()->actions().isEmpty());
        QVERIFY(!picker.selectionButton()->isEnabled());
        f.tearDown();
    }

    void anIssueBannerOffersOnlyItsActions_data()
    {
        using Action = PromptConfigRecoveryAction;
        QTest::addColumn<QSet<Action>>("offered");
        QTest::addColumn<bool>("showsManager");
        QTest::addColumn<bool>("canShowFiles");
        QTest::addColumn<QStringList>("buttons");
        const QString reload = text("action.reload.config"), show = text("action.show.in.finder"),
                      manager = text("action.open.workspace.manager");
        const QSet<Action> all{Action::reload, Action::showInFinder, Action::openWorkspaceManager};
        QTest::newRow("none") << QSet<Action>{} << true << true << QStringList{};
        QTest::newRow("all") << all << true << true << QStringList{reload, show, manager};
        QTest::newRow("outside the panel") << all << false << true << QStringList{reload, show};
        QTest::newRow("no file manager") << all << true << false << QStringList{reload, manager};
    }

    void anIssueBannerOffersOnlyItsActions()
    {
        QFETCH(QSet<PromptConfigRecoveryAction>, offered);
        QFETCH(bool, showsManager);
        QFETCH(bool, canShowFiles);
        QFETCH(QStringList, buttons);
        Fixture f;
        f.setUp();
        PromptConfigIssue issue;
        issue.displayName = u"web.yaml"_s;
        issue.message = u"Line 3: a tab"_s;
        issue.fileURL = f.homePath() + u"/.velmora/workspaces/web.yaml"_s;
        issue.recoveryActions = offered;
        QStringList shown;
        ConfigIssueBanner::Actions actions;
        if (canShowFiles)
            actions.showInFileManager = [&shown](const QString& path) { shown.append(path); };
        actions.openWorkspaceManager = [] {};
        ConfigIssueBanner banner(issue, *f.store, showsManager, actions, AppLanguage::english,
                                 PromptPanelTextSize::system);
        QStringList titles;
        for (const QPushButton* button : banner.buttons())
            titles.append(button->text());
        QCOMPARE(titles, buttons);
        const QList<QLabel*> labels = banner.findChildren<QLabel*>();
        QVERIFY(std::any_of(labels.cbegin(), labels.cend(), [&](const QLabel* label) { return label->text() == issue.message; }));
        if (QPushButton* show = banner.button(PromptConfigRecoveryAction::showInFinder)) {
            show->click();
            QCOMPARE(shown, QStringList{issue.fileURL});
        }
        if (QPushButton* reload = banner.button(PromptConfigRecoveryAction::reload)) {
            reload->click();
            QVERIFY(f.store->isReloading());
        }
        f.tearDown();
    }

    void eachEmptyStateShowsItsWayOut_data()
    {
        QTest::addColumn<PanelEmptyState>("state");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("primary");
        QTest::addColumn<QString>("primaryCall");
        QTest::addColumn<QString>("secondary"); // empty: none
        QTest::addColumn<QString>("secondaryCall");
        using A = EmptyPromptAction;
        const auto state = [](PanelEmptyStateReason reason, QList<A> actions) { return PanelEmptyState{reason, actions}; };
        QTest::newRow("no results, editable") << state({Kind::noSearchResults, {}}, {A::clearSearch, A::createPrompt})
            << u"magnifyingglass"_s << text("empty.no.search.title") << text("action.clear.search") << u"clear"_s
            << text("action.create.prompt") << u"create prompt"_s;
        QTest::newRow("no results, read-only") << state({Kind::noSearchResults, {}}, {A::clearSearch})
            << u"magnifyingglass"_s << text("empty.no.search.title") << text("action.clear.search") << u"clear"_s
            << u""_s << u""_s;
        QTest::newRow("no workspaces") << state({Kind::noWorkspaces, {}}, {A::createWorkspace, A::installOrImport})
            << u"folder.badge.plus"_s << text("empty.no.workspaces.title") << text("action.create.first.workspace")
            << u"create workspace"_s << text("action.install.builtin.pack") << u"install"_s;
        QTest::newRow("empty workspace") << state({Kind::editableWorkspaceEmpty, {}}, {A::createPrompt, A::importPrompts})
            << u"square.grid.2x2"_s << text("empty.no.prompts.title") << text("action.create.prompt")
            << u"create prompt"_s << text("action.import.batch") << u"import"_s;
        QTest::newRow("automation") << state({Kind::automationPermission, {}}, {A::openAutomationSettings, A::manageWorkspaces})
            << u"lock.open"_s << text("empty.automation.title") << text("action.open.system.settings")
            << u"settings"_s << u""_s << u""_s;
        QTest::newRow("unavailable") << state({Kind::unavailable, {}}, {A::manageWorkspaces, A::importPrompts})
            << u"square.grid.2x2"_s << text("empty.unavailable.title") << text("action.manage.workspaces")
            << u"manage"_s << text("action.import.batch") << u"import"_s;
        QTest::newRow("unbound") << state(PanelEmptyStateReason::recognizedUnbound(u"Codex"_s), {A::bindWorkspace})
            << u"link.badge.plus"_s << text("empty.unbound.title").arg(u"Codex"_s)
            << text("action.bind.existing.workspace") << u"bind api"_s << u""_s << u""_s;
    }

    void eachEmptyStateShowsItsWayOut()
    {
        QFETCH(PanelEmptyState, state);
        QFETCH(QString, icon);
        QFETCH(QString, title);
        QFETCH(QString, primary);
        QFETCH(QString, primaryCall);
        QFETCH(QString, secondary);
        QFETCH(QString, secondaryCall);
        QStringList calls;
        const auto call = [&calls](const QString& name) { return [&calls, name] { calls.append(name); }; };
        EmptyPromptView view;
        view.setCallbacks({call(u"install"_s), call(u"clear"_s), call(u"manage"_s), call(u"create workspace"_s),
                           call(u"create prompt"_s), call(u"import"_s), call(u"settings"_s),
                           [&calls](const QString& id) { calls.append(u"bind "_s + id); }});
        view.setState(state, {workspace(u"web"_s), workspace(u"api"_s)}, true, AppLanguage::english,
                      PromptPanelTextSize::system);
        view.show();
        QCOMPARE(view.iconName(), icon);
        QCOMPARE(view.title(), title);
        QCOMPARE(view.primaryControl()->text(), primary);
        if (QMenu* menu = view.bindMenu())
            menu->actions().at(1)->trigger();
        else
            view.primaryControl()->click();
        QCOMPARE(calls, QStringList{primaryCall});
        QCOMPARE(view.secondaryControl() != nullptr, !secondary.isEmpty());
        if (view.secondaryControl()) {
            QCOMPARE(view.secondaryControl()->text(), secondary);
            view.secondaryControl()->click();
            QCOMPARE(calls, (QStringList{primaryCall, secondaryCall}));
        }
        // Without workspaces the bind menu can't open, and without a pack to install the button is off.
        view.setState(state, {}, false, AppLanguage::english, PromptPanelTextSize::system);
        if (state.reason.kind == Kind::recognizedUnbound)
            QVERIFY(!view.primaryControl()->isEnabled());
        if (state.actions.size() > 1 && state.actions.at(1) == EmptyPromptAction::installOrImport)
            QVERIFY(!view.secondaryControl()->isEnabled());
    }
};

QTEST_MAIN(TestPanelContextViews)
#include "tst_panelcontextviews.moc"
