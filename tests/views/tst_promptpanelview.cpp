// The panel's copy path, driven by clicks on its tiles over a real store: what lands on the
// clipboard, the mark on the tile and how long it stays, the selection, usage, the first-run step,
// the sound and the haptic; the variable form; retry; and the hover preview.
#include "FakeClipboard.h"
#include "FakeScheduler.h"
#include "ContextHeaderView.h"
#include "EmptyPromptView.h"
#include "FirstRunChecklistView.h"
#include "PromptPackService.h"
#include "PromptGridStageView.h"
#include "PromptPanelHarness.h"
#include "PromptStoreFixture.h"
#include "PromptTilePreviewModifier.h"
#include "PromptVariableSheet.h"
#include "VelmoraButton.h"
#include "VelmoraSheetHost.h"
#include "VelmoraSymbolButton.h"

#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

namespace {

struct SilentVoice : PromptCopySoundPlayback {
    bool isPlaying() const override { return false; }
    void stop() override {}
    void setCurrentTime(double) override {}
    bool play() override { return true; }
};

} // namespace

class TestPromptPanelView : public QObject {
    Q_OBJECT

    Fixture f;
    FakeScheduler scheduler;
    std::shared_ptr<FakeClipboard> clipboard;
    QStringList sounds;
    std::unique_ptr<PromptPanelHarness> h;
    std::unique_ptr<PromptPanelView> panel;
    QList<PromptPanelView::PromptEditorRequest> editorRequests;
    QList<std::optional<QString>> importerRequests;

    PromptTileView* tile(const QString& id) const { return panel->stage()->tileFor(id); }
    void click(const QString& id) const
    {
        QTest::mouseClick(tile(id), Qt::LeftButton, {}, tile(id)->tileRect().center().toPoint());
    }
    qint64 uses(const QString& id) const { return f.usage->records().value(id).successfulCopyCount; }

private Q_SLOTS:
    void init()
    {
        f.setUp();
        PromptItem withValues = prompt(u"v"_s);
        withValues.text = u"Hello {{name}} from {{place|home}}"_s;
        PromptLoadResult library;
        library.globalPrompts = {prompt(u"a"_s), prompt(u"b"_s), withValues};
        f.load(library);

        scheduler = FakeScheduler();
        clipboard = std::make_shared<FakeClipboard>();
        sounds.clear();
        h = std::make_unique<PromptPanelHarness>(
            *f.store, f.settings.get(), clipboard,
            [this](const QString& name) {
                sounds.append(name);
                return std::make_unique<SilentVoice>();
            },
            [](double, std::function<void()> work) { work(); });
        PromptPanelView::Environment environment{scheduler.scheduler(), [] {
                                                     return QDateTime(QDate(2025, 5, 1), QTime(9, 0),
                                                                      Qt::UTC);
                                                 }};
        editorRequests.clear();
        importerRequests.clear();
        const auto sheet = [] {
            auto* content = new QWidget();
            content->setFixedSize(200, 100);
            return content;
        };
        environment.sheets.promptEditor = [this, sheet](const PromptPanelView::PromptEditorRequest& request) {
            editorRequests.append(request);
            return sheet();
        };
        environment.sheets.promptImporter = [this, sheet](const std::optional<QString>& workspace, const AgentContext&) {
            importerRequests.append(workspace);
            return sheet();
        };
        panel = std::make_unique<PromptPanelView>(h->dependencies(), environment);
        panel->resize(484, 600);
        panel->show();
        h->morph->open(true);
        QVERIFY(QTest::qWaitForWindowExposed(panel.get()));
    }

    void cleanup()
    {
        panel.reset();
        h.reset();
        f.tearDown();
    }

    void aClickCopiesAndOnlyASuccessMovesTheSelection()
    {
        click(u"a"_s);
        QCOMPARE(clipboard->contents, u"Text of a"_s);
        QCOMPARE(panel->copyFeedback(), std::optional(PromptCopyFeedback::copied(u"a"_s)));
        QCOMPARE(panel->selectedPromptID(), std::optional(u"a"_s));
        QVERIFY(tile(u"a"_s)->model().isCopied() && tile(u"a"_s)->model().isSelected);
        QCOMPARE(uses(u"a"_s), 1);
        QVERIFY(h->firstRun->hasSuccessfulCopy());
        QCOMPARE(sounds.size(), 1);
        QCOMPARE(h->haptic.performed, 1);

        clipboard->refuses = true;
        click(u"b"_s);
        QCOMPARE(panel->copyFeedback(), std::optional(PromptCopyFeedback::failed(u"b"_s)));
        QCOMPARE(panel->selectedPromptID(), std::optional(u"a"_s));
        QCOMPARE(uses(u"b"_s), 0);
        QCOMPARE(h->haptic.performed, 1);
        QVERIFY(tile(u"b"_s)->retryButton()->isVisible());
        QVERIFY(!tile(u"a"_s)->retryButton()->isVisible());
        QVERIFY(!tile(u"a"_s)->model().copyFeedback);
        // No timer takes a failure away.
        scheduler.advance(5.0);
        QCOMPARE(panel->copyFeedback(), std::optional(PromptCopyFeedback::failed(u"b"_s)));

        clipboard->refuses = false;
        panel->retryCopy(prompt(u"a"_s));
        QVERIFY(clipboard->writes.size() == 1);
        QTest::mouseClick(tile(u"b"_s)->retryButton(), Qt::LeftButton);
        QCOMPARE(clipboard->contents, u"Text of b"_s);
        QCOMPARE(panel->selectedPromptID(), std::optional(u"b"_s));
        QCOMPARE(uses(u"b"_s), 1);
    }

    void theCopiedMarkLasts1point6SecondsAfterTheLastCopy()
    {
        click(u"a"_s);
        scheduler.advance(1.0);
        click(u"a"_s);
        scheduler.advance(0.7); // the first copy's timer has run and found itself stale
        QVERIFY(tile(u"a"_s)->model().isCopied());
        scheduler.advance(0.9);
        QVERIFY(!panel->copyFeedback());
        QVERIFY(!tile(u"a"_s)->model().copyFeedback);
        QCOMPARE(panel->copyFeedbackLifetime().generation, 2);

        // A copied, then B failed: A's timer leaves B's failure alone.
        click(u"a"_s);
        scheduler.advance(0.5);
        clipboard->refuses = true;
        click(u"b"_s);
        scheduler.advance(2.0);
        QCOMPARE(panel->copyFeedback(), std::optional(PromptCopyFeedback::failed(u"b"_s)));
    }

    void theFormCopiesTheRenderedTextAndRemembersTheValues()
    {
        click(u"v"_s);
        QVERIFY(panel->pendingVariableForm());
        QVERIFY(h->morph->isInteractionLocked());
        PromptVariableSheet* sheet = panel->variableSheet();
        QVERIFY(sheet);
        QCOMPARE(sheet->field(u"place"_s)->text(), u"home"_s);
        QLineEdit* name = sheet->field(u"name"_s);
        QTRY_VERIFY(name->hasFocus());

        // A validation failure keeps what was typed and copies nothing.
        sheet->field(u"place"_s)->setFocus();
        QTest::keyClicks(sheet->field(u"place"_s), u" town"_s);
        QTest::keyClick(sheet->field(u"place"_s), Qt::Key_Return);
        QVERIFY(clipboard->writes.isEmpty());
        QCOMPARE(panel->variableSheet(), sheet);
        QCOMPARE(sheet->field(u"place"_s)->text(), u"home town"_s);
        QTRY_VERIFY(name->hasFocus());

        QTest::keyClicks(name, u"Ada"_s);
        QTest::keyClick(name, Qt::Key_Return);
        QCOMPARE(clipboard->contents, u"Hello Ada from home town"_s);
        QVERIFY(!panel->pendingVariableForm());
        QTRY_VERIFY(!panel->sheetHost());
        QVERIFY(!h->morph->isInteractionLocked());
        QCOMPARE(h->values->value(u"name"_s), std::optional(u"Ada"_s));
        QCOMPARE(uses(u"v"_s), 1);
        QCOMPARE(panel->copyFeedback(), std::optional(PromptCopyFeedback::copied(u"v"_s)));
        QCOMPARE(panel->selectedPromptID(), std::optional(u"v"_s));
    }

    void aClipboardFailureInTheFormClosesItAndOffersRetry()
    {
        click(u"v"_s);
        clipboard->refuses = true;
        QTest::keyClicks(panel->variableSheet()->field(u"name"_s), u"Ada"_s);
        panel->variableSheet()->confirmOnce();
        QVERIFY(!panel->pendingVariableForm());
        QCOMPARE(panel->copyFeedback(), std::optional(PromptCopyFeedback::failed(u"v"_s)));
        QVERIFY(tile(u"v"_s)->retryButton()->isVisible());
        QVERIFY(!h->values->value(u"name"_s));
        QCOMPARE(uses(u"v"_s), 0);
        QVERIFY(!h->firstRun->hasSuccessfulCopy());
        QVERIFY(!h->morph->isInteractionLocked());
    }

    void cancellingTheFormCopiesNothing()
    {
        click(u"v"_s);
        QTest::keyClick(panel->variableSheet()->field(u"name"_s), Qt::Key_Escape);
        QVERIFY(!panel->pendingVariableForm());
        QTRY_VERIFY(!panel->sheetHost());
        QVERIFY(clipboard->writes.isEmpty());
        QVERIFY(!h->morph->isInteractionLocked());
    }

    void theDeleteQuestionHoldsThePanelUntilAnswered()
    {
        panel->requestDelete(prompt(u"a"_s));
        QVERIFY(h->morph->isInteractionLocked());
        QVERIFY(panel->sheetHost());
        QTRY_VERIFY(panel->sheetHost()->isActiveWindow());
        QTest::keyClick(panel->sheetHost(), Qt::Key_Escape);
        QVERIFY(!panel->pendingDeletePrompt());
        QVERIFY(!h->morph->isInteractionLocked());
        // Nothing was deleted: the global prompts can't be, and Escape only cancels.
        QCOMPARE(f.store->globalPrompts().size(), 3);
    }

    void theHoverPreviewOpensLateAndGoesWithThePanel()
    {
        PromptTileView* a = tile(u"a"_s);
        panel->handleTileHover(prompt(u"a"_s), true);
        scheduler.advance(0.69);
        QVERIFY(!panel->previewPrompt());
        scheduler.advance(0.02);
        QCOMPARE(panel->previewPrompt()->id, u"a"_s);
        PromptTilePreviewModifier* preview = panel->stage()->previewModifier();
        QVERIFY(preview->isPresented());
        QCOMPARE(preview->anchor(), a);
        QVERIFY(preview->window()->windowFlags().testFlag(Qt::WindowTransparentForInput));

        // Moving on to B: A's end changes nothing, B's preview comes after its own delay.
        panel->handleTileHover(prompt(u"b"_s), true);
        panel->handleTileHover(prompt(u"a"_s), false);
        QCOMPARE(panel->hoveredPromptID(), std::optional(u"b"_s));
        scheduler.advance(0.7);
        QCOMPARE(panel->previewPrompt()->id, u"b"_s);

        h->morph->close(true, [] {});
        QVERIFY(!panel->previewPrompt());
        QVERIFY(!preview->isPresented());
        QVERIFY(!panel->selectedPromptID());
    }

    void theToolbarOffersWhatCanBeDone()
    {
        VelmoraButton* add = panel->addPromptButton();
        QVERIFY(add->isVisible());
        QCOMPARE(add->label().title, u"Prompt"_s);
        QVERIFY(!add->isEnabled());
        QCOMPARE(add->toolTip(), text("help.add.prompt.disabled"));
        h->languages->setSelection(AppLanguage::zhHans);
        QTRY_COMPARE(panel->settingsButton()->label().title,
                     L10n::text(u"action.settings"_s, AppLanguage::zhHans));
        QCOMPARE(add->label().title, u"Prompt"_s);

        QSignalSpy manager(panel.get(), &PromptPanelView::openWorkspaceManagerRequested);
        QSignalSpy settings(panel.get(), &PromptPanelView::openSettingsRequested);
        QTest::mouseClick(panel->workspaceButton(), Qt::LeftButton);
        QCOMPARE(manager.size(), 1);
        QVERIFY(!manager.at(0).at(0).isValid()); // no active workspace
        QTest::mouseClick(panel->settingsButton(), Qt::LeftButton);
        QCOMPARE(settings.size(), 1);

        QTest::mouseClick(panel->importButton(), Qt::LeftButton);
        QCOMPARE(importerRequests, (QList<std::optional<QString>>{std::nullopt}));
        QVERIFY(panel->showPromptImporter() && h->morph->isInteractionLocked());
        panel->sheetHost()->reject();
        QVERIFY(!panel->showPromptImporter() && !h->morph->isInteractionLocked());

        const QString folder = f.makeFolder(u"shop"_s);
        const std::optional<PromptWorkspace> shop = f.store->createWorkspace(u"Shop"_s, folder);
        QVERIFY(shop);
        AgentContext context;
        context.agent = AgentType::vscode;
        context.frontmostAppName = u"Code"_s;
        context.workspacePath = folder;
        h->morph->setPinnedContext(context);
        QTRY_VERIFY(add->isEnabled());
        QCOMPARE(add->toolTip(), L10n::text(u"help.add.prompt.enabled"_s, AppLanguage::zhHans));
        QTest::mouseClick(add, Qt::LeftButton);
        QCOMPARE(editorRequests.size(), 1);
        QCOMPARE(editorRequests.at(0).targetWorkspaceID, shop->id);
        QVERIFY(!editorRequests.at(0).editingPrompt);
        QVERIFY(panel->showPromptEditor() && h->morph->isInteractionLocked());
        panel->sheetHost()->accept();
        QVERIFY(!panel->showPromptEditor() && !h->morph->isInteractionLocked());
        QTest::mouseClick(panel->workspaceButton(), Qt::LeftButton);
        QCOMPARE(manager.at(1).at(0), QVariant(shop->id));
    }

    void theFirstRunCardLeadsToACopyAndGoesWhenDone()
    {
        auto* card = panel->findChild<FirstRunChecklistView*>();
        QVERIFY(card && card->isVisible());
        QSignalSpy manager(panel.get(), &PromptPanelView::openWorkspaceManagerRequested);
        QTest::mouseClick(card->actionButton(FirstRunStep::workspace), Qt::LeftButton);
        QCOMPARE(manager.size(), 1);
        QVERIFY(!card->snapshot().completed.contains(FirstRunStep::successfulCopy));
        click(u"a"_s);
        QTRY_VERIFY(card->snapshot().completed.contains(FirstRunStep::successfulCopy));
        QTest::mouseClick(card->doneButton(), Qt::LeftButton);
        QTRY_VERIFY(!card->isVisible());
        QVERIFY(h->firstRun->isDismissed());
    }

    void anEmptyLibraryInstallsTheFirstBuiltInPackOfItsLanguage()
    {
        h->languages->setSelection(AppLanguage::zhHans);
        f.load(PromptLoadResult());
        auto* empty = panel->findChild<EmptyPromptView*>();
        QTRY_VERIFY(empty->isVisible() && empty->secondaryControl());
        QVERIFY(empty->secondaryControl()->isEnabled());
        QTest::mouseClick(empty->secondaryControl(), Qt::LeftButton);
        const PromptPack& pack = PromptPackService::builtInPacks(AppLanguage::zhHans).first();
        const QList<PromptWorkspace> workspaces = f.store->workspaces();
        QCOMPARE(workspaces.size(), 1);
        QCOMPARE(workspaces.first().name, pack.workspace.name);
        QVERIFY(QFile::exists(*workspaces.first().fileURL));
    }

    void aDeleteIsConfirmedCancelledOrRefused()
    {
        const QString folder = f.makeFolder(u"shop"_s);
        const std::optional<PromptWorkspace> shop = f.store->createWorkspace(u"Shop"_s, folder);
        QVERIFY(shop && f.store->addPrompt(prompt(u"w1"_s), shop->id) && f.store->addPrompt(prompt(u"w2"_s), shop->id));
        AgentContext context;
        context.agent = AgentType::vscode;
        context.workspacePath = folder;
        h->morph->setPinnedContext(context);
        QTRY_VERIFY(tile(u"w1"_s));
        click(u"w1"_s);
        click(u"w2"_s);
        const auto answer = [this](const char* key) {
            const QList<VelmoraButton*> buttons = panel->sheetHost()->findChildren<VelmoraButton*>();
            for (VelmoraButton* button : buttons) {
                if (button->text() == text(key)) {
                    QVERIFY(!button->isDefault());
                    button->click();
                }
            }
        };

        panel->requestDelete(prompt(u"w1"_s));
        QVERIFY(panel->isDeleteConfirmationPresented());
        answer("action.cancel");
        QVERIFY(!panel->isDeleteConfirmationPresented() && !h->morph->isInteractionLocked());
        QCOMPARE(uses(u"w1"_s), 1);

        panel->requestDelete(prompt(u"w1"_s));
        answer("action.delete");
        QVERIFY(!panel->isDeleteConfirmationPresented());
        QVERIFY(!idsOf(f.store->workspaces().constFirst().prompts).contains(u"w1"_s));
        QCOMPARE(uses(u"w1"_s), 0);

        // The file became a folder: the store refuses, and nothing is lost.
        QVERIFY(QFile::remove(*f.store->workspaces().constFirst().fileURL));
        QVERIFY(QDir().mkpath(*f.store->workspaces().constFirst().fileURL));
        panel->requestDelete(prompt(u"w2"_s));
        answer("action.delete");
        QVERIFY(!panel->isDeleteConfirmationPresented() && !h->morph->isInteractionLocked());
        QVERIFY(idsOf(f.store->workspaces().constFirst().prompts).contains(u"w2"_s));
        QCOMPARE(uses(u"w2"_s), 1);
        QVERIFY(f.store->lastErrorMessage());
        QTRY_COMPARE(panel->header()->errorLabel()->text(), *f.store->lastErrorMessage());
    }
};

QTEST_MAIN(TestPromptPanelView)
#include "tst_promptpanelview.moc"
