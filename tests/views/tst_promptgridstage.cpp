// The stage of sections: what each section hands its tiles, the one layout choice for every section
// and its preference, the digit lookup, and the virtualisation that keeps a library of 10,000 prompts
// to the tiles in view.
#include "PromptGridStageView.h"
#include "PromptPanelLayout.h"
#include "PromptPanelLayoutPicker.h"
#include "PromptPanelPreferences.h"
#include "PromptPanelRendering.h"
#include "PromptTilePreviewModifier.h"
#include "VelmoraSheetHost.h"
#include "VelmoraSymbolButton.h"

#include <QAccessible>
#include <QMenu>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

PromptItem prompt(const QString& id)
{
    PromptItem item;
    item.id = id;
    item.title = u"Title "_s + id;
    item.text = u"Text of "_s + id;
    return item;
}

// `count` prompts in sections of `perSection`, numbered as the snapshot numbers the first nine.
PanelRenderSnapshot snapshot(int count, int perSection, const QString& prefix = u"p"_s)
{
    PanelRenderSnapshot result;
    for (int index = 0; index < count; ++index) {
        if (index % perSection == 0)
            result.sections.append(PromptSection{u"s%1"_s.arg(index), u"Section %1"_s.arg(index), {}});
        result.visiblePrompts.append(prompt(prefix + QString::number(index)));
        result.sections.last().prompts.append(result.visiblePrompts.last());
        if (index < 9)
            result.shortcutNumbers.insert(result.visiblePrompts.last().id, index + 1);
    }
    result.allowsPromptOrdering = true;
    return result;
}

QStringList boundIDs(const PromptGridStageView& stage)
{
    QStringList ids;
    for (const PromptTileView* tile : stage.tiles())
        ids.append(tile->model().prompt.id);
    return ids;
}

} // namespace

class TestPromptGridStage : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;

private Q_SLOTS:
    void eachTileGetsItsOwnStateFromTheSection()
    {
        PromptStageState state;
        state.snapshot = snapshot(4, 2);
        state.copyFeedback = PromptCopyFeedback::copied(u"p2"_s);
        state.selectedPromptID = u"p1"_s;
        QList<std::pair<QString, QString>> calls;
        PromptSectionCallbacks callbacks;
        callbacks.isEditablePrompt = [](const PromptItem& item) {
            return item.id == u"p3"_s;
        };
        callbacks.onCopy = [&calls](const PromptItem& item) {
            calls.append({u"copy"_s, item.id});
        };
        callbacks.canMove = [](const PromptItem&, PromptMoveDirection) {
            return true;
        };
        callbacks.onMove = [&calls](const PromptItem& item, PromptMoveDirection) {
            calls.append({u"move"_s, item.id});
        };
        PromptGridStageView stage;
        stage.resize(480, 600);
        stage.setCallbacks(callbacks);
        stage.setState(state);
        stage.show();

        QCOMPARE(boundIDs(stage), (QStringList{u"p0"_s, u"p1"_s, u"p2"_s, u"p3"_s}));
        for (PromptTileView* tile : stage.tiles()) {
            const PromptTileModel& model = tile->model();
            const QString id = model.prompt.id;
            QCOMPARE(model.isCopied(), id == u"p2"_s);
            QCOMPARE(model.isSelected, id == u"p1"_s);
            QCOMPARE(model.isEditable, id == u"p3"_s);
            QCOMPARE(model.shortcutNumber, std::optional<qint64>(id.mid(1).toInt() + 1));
            QVERIFY(model.allowsOrdering);
        }
        QTest::mouseClick(stage.tileFor(u"p2"_s), Qt::LeftButton, {},
                          stage.tileFor(u"p2"_s)->tileRect().center().toPoint());
        stage.tileFor(u"p3"_s)->makeEditMenu(&stage)->actions().at(4)->trigger(); // move down
        QCOMPARE(calls, (QList<std::pair<QString, QString>>{{u"copy"_s, u"p2"_s}, {u"move"_s, u"p3"_s}}));
    }

    void oneLayoutChoiceForAllSectionsStoredAndReadBack()
    {
        QSettings settings(m_dir.filePath(u"layout.ini"_s), QSettings::IniFormat);
        PromptPanelPreferences preferences(&settings);
        QCOMPARE(preferences.layoutMode(), PromptPanelLayoutMode::grid);
        PromptStageState state;
        state.snapshot = snapshot(6, 3);
        PromptGridStageView stage;
        stage.resize(480, 800);
        PromptSectionCallbacks callbacks;
        callbacks.onLayoutModeChange = [&](PromptPanelLayoutMode mode) {
            preferences.setLayoutMode(mode);
            state.layoutMode = preferences.layoutMode();
            stage.setState(state);
        };
        stage.setCallbacks(callbacks);
        stage.setState(state);
        stage.show();

        PromptPanelLayoutPicker* picker = stage.layoutPicker();
        QCOMPARE(stage.findChildren<PromptPanelLayoutPicker*>().size(), 1);
        VelmoraSymbolButton* list = picker->button(PromptPanelLayoutMode::list);
        QCOMPARE(list->toolTip(), u"List"_s);
        QCOMPARE(QAccessible::queryAccessibleInterface(picker->button(PromptPanelLayoutMode::grid))
                     ->text(QAccessible::Value),
                 u"Selected"_s);
        QTest::mouseClick(list, Qt::LeftButton);
        for (const PromptTileView* tile : stage.tiles())
            QCOMPARE(tile->tileRect().size().toSize(),
                     PromptPanelLayout::tileSize(PromptPanelLayoutMode::list));
        QCOMPARE(QAccessible::queryAccessibleInterface(list)->text(QAccessible::Value), u"Selected"_s);
        QCOMPARE(settings.value(u"Velmora.panelLayoutMode.v1"_s).toString(), u"list"_s);
        QCOMPARE(PromptPanelPreferences(&settings).layoutMode(), PromptPanelLayoutMode::list);
    }

    void preferencesFallBackOnAbsentOrUnknownValues_data()
    {
        QTest::addColumn<QString>("layout");
        QTest::addColumn<QString>("size");
        QTest::addColumn<PromptPanelLayoutMode>("expectedLayout");
        QTest::addColumn<PromptPanelTextSize>("expectedSize");
        QTest::newRow("absent") << QString() << QString() << PromptPanelLayoutMode::grid
                                << PromptPanelTextSize::system;
        QTest::newRow("unknown") << u"tiles"_s << u"huge"_s << PromptPanelLayoutMode::grid
                                 << PromptPanelTextSize::system;
        QTest::newRow("stored") << u"list"_s << u"comfortable"_s << PromptPanelLayoutMode::list
                                << PromptPanelTextSize::comfortable;
        QTest::newRow("large") << u"grid"_s << u"large"_s << PromptPanelLayoutMode::grid
                               << PromptPanelTextSize::large;
    }

    void preferencesFallBackOnAbsentOrUnknownValues()
    {
        QFETCH(QString, layout);
        QFETCH(QString, size);
        QSettings settings(m_dir.filePath(u"fallback.ini"_s), QSettings::IniFormat);
        settings.clear();
        if (!layout.isNull())
            settings.setValue(u"Velmora.panelLayoutMode.v1"_s, layout);
        if (!size.isNull())
            settings.setValue(u"Velmora.panelTextSize.v1"_s, size);
        const PromptPanelPreferences preferences(&settings);
        QTEST(preferences.layoutMode(), "expectedLayout");
        QTEST(preferences.textSize(), "expectedSize");
    }

    void digitsFindTheFirstVisiblePromptAndZeroFindsNone()
    {
        PanelRenderSnapshot numbered = snapshot(3, 3);
        numbered.shortcutNumbers.insert(u"p2"_s, 0);
        QVERIFY(!PromptPanelRendering::prompt(0, numbered));
        QVERIFY(!PromptPanelRendering::prompt(-1, numbered));
        QCOMPARE(PromptPanelRendering::prompt(1, numbered)->id, u"p0"_s);
        QVERIFY(!PromptPanelRendering::prompt(9, numbered));
    }

    void onlyTheTilesInViewExistAndANewSnapshotReusesThem()
    {
        PromptStageState state;
        state.snapshot = snapshot(10000, 1000);
        PromptGridStageView stage;
        stage.resize(480, 600);
        stage.setState(state);
        stage.show();
        // The rows that meet 600 points and one more row at each edge, and a partial row where
        // sections meet: a few dozen tiles at most, whatever the library holds.
        const int bound = 3 * ((600 + 2 * 126) / 126 + 3);
        QVERIFY(stage.tileWidgetCount() <= bound);
        QCOMPARE(boundIDs(stage).first(), u"p0"_s);

        stage.scrollToContent(stage.contentHeight());
        QVERIFY(stage.tileWidgetCount() <= bound);
        QCOMPARE(boundIDs(stage).last(), u"p9999"_s);
        stage.scrollToContent(stage.sectionTop(5));
        QVERIFY(boundIDs(stage).contains(u"p5000"_s));
        QVERIFY(stage.tileWidgetCount() <= bound);

        // A new snapshot keeps the widget of every prompt still in view and makes none.
        const int made = stage.tileWidgetCount();
        QHash<QString, PromptTileView*> before;
        for (PromptTileView* tile : stage.tiles())
            before.insert(tile->model().prompt.id, tile);
        PromptStageState next = state;
        next.copyFeedback = PromptCopyFeedback::copied(u"p5001"_s);
        stage.setState(next);
        QCOMPARE(stage.tileWidgetCount(), made);
        for (PromptTileView* tile : stage.tiles())
            QCOMPARE(tile, before.value(tile->model().prompt.id));
        QVERIFY(stage.tileFor(u"p5001"_s)->model().isCopied());

        next.snapshot = snapshot(40, 10, u"q"_s);
        stage.setState(next);
        QCOMPARE(stage.tileWidgetCount(), made);
        QCOMPARE(boundIDs(stage).last(), u"q39"_s);
    }

    void popupsStandBesideTheirAnchorInsideTheScreen_data()
    {
        QTest::addColumn<QRect>("tile");
        QTest::addColumn<QRect>("preview");
        QTest::addColumn<bool>("above");
        QTest::newRow("room below: under the tile")
            << QRect(400, 100, 130, 116) << QRect(255, 218, 420, 330) << false;
        QTest::newRow("no room below: above it")
            << QRect(400, 600, 130, 116) << QRect(255, 268, 420, 330) << true;
        QTest::newRow("at the screen's edge: moved inside")
            << QRect(1200, 100, 80, 116) << QRect(860, 218, 420, 330) << false;
    }

    void popupsStandBesideTheirAnchorInsideTheScreen()
    {
        QFETCH(QRect, tile);
        bool above = false;
        QTEST(PromptTilePreviewModifier::placement(tile, QRect(0, 0, 1280, 800), above), "preview");
        QTEST(above, "above");
        // A sheet at the top centre of its window, kept on the screen.
        QCOMPARE(
            VelmoraSheetHost::placement(QSize(440, 520), QRect(380, 40, 520, 600), QRect(0, 0, 1280, 800)),
            QRect(420, 50, 440, 520));
        QCOMPARE(
            VelmoraSheetHost::placement(QSize(440, 520), QRect(1100, 500, 520, 600), QRect(0, 0, 1280, 800)),
            QRect(840, 280, 440, 520));
    }

    void theLayoutTablesAndRawValues()
    {
        QCOMPARE(PromptPanelLayout::tileSize(PromptPanelLayoutMode::grid), QSize(130, 116));
        QCOMPARE(PromptPanelLayout::tileSize(PromptPanelLayoutMode::list), QSize(410, 82));
        QCOMPARE(PromptPanelLayout::rowWidth(PromptPanelLayoutMode::grid), 410);
        QStringList raw;
        for (const PromptPanelTextSize size : allPromptPanelTextSizes)
            raw << toRawValue(size) << localizedTitleKey(size);
        QCOMPARE(raw, (QStringList{u"system"_s, u"settings.text.size.system"_s, u"comfortable"_s,
                                   u"settings.text.size.comfortable"_s, u"large"_s,
                                   u"settings.text.size.large"_s}));
        QCOMPARE(textStyleFont(PromptTextStyle::title2, PromptPanelTextSize::system).pixelSize(), 17);
        QCOMPARE(textStyleFont(PromptTextStyle::body, PromptPanelTextSize::large).pixelSize(), 17);
    }
};

QTEST_MAIN(TestPromptGridStage)
#include "tst_promptgridstage.moc"
