// One prompt tile as a user meets it: which overlay, badges, fill and border each state shows, what
// a screen reader hears, how much text fits at each size, the edit menu, and the pointer.
#include "PromptTileText.h"
#include "PromptTileView.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSymbolButton.h"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using Overlay = PromptTileAppearance::Overlay;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

QString text(const char* key, AppLanguage language = AppLanguage::english)
{
    return L10n::text(QString::fromLatin1(key), language);
}

PromptTileModel model(bool editable = false, bool pinned = false)
{
    PromptTileModel result;
    result.prompt.id = u"p1"_s;
    result.prompt.title = u"Review"_s;
    result.prompt.text = u"Check the change."_s;
    result.prompt.isPinned = pinned;
    result.isEditable = editable;
    result.tileShortcut = PromptTileShortcut{ShortcutModifiers::command};
    return result;
}

void hover(PromptTileView& tile, bool inside)
{
    const QPointF at = inside ? tile.tileRect().center() : QPointF(1.0, 1.0);
    QMouseEvent move(QEvent::MouseMove, at, tile.mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(&tile, &move);
}

} // namespace

class TestPromptTileView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statesShowTheirOverlaysBadgesAndSurface_data()
    {
        QTest::addColumn<int>("feedback"); // 0 none, 1 copied, 2 failed
        QTest::addColumn<bool>("selected");
        QTest::addColumn<bool>("hovered");
        QTest::addColumn<bool>("editable");
        QTest::addColumn<bool>("pinned");
        QTest::addColumn<Overlay>("overlay");
        QTest::addColumn<QString>("badges"); // T top pin, M meta pin, S selected badge
        QTest::addColumn<double>("fill");
        QTest::addColumn<QColor>("border");
        QTest::addColumn<double>("borderWidth");
        QTest::addColumn<QString>("value");
        QTest::addColumn<PromptTileNonColorIndicator>("indicator");

        using I = PromptTileNonColorIndicator;
        const QColor steel = VelmoraColors::withOpacity(Brand::steel(), 0.5);
        const QColor steelHovered = VelmoraColors::withOpacity(Brand::steel(), 0.7);
        const QColor accent = Brand::accent();
        QTest::newRow("at rest") << 0 << false << false << false << false << Overlay::none << u""_s << 0.07
                                 << steel << 1.0 << u""_s << I::none;
        QTest::newRow("hovered") << 0 << false << true << false << false << Overlay::none << u""_s << 0.105
                                 << steelHovered << 1.0 << u""_s << I::none;
        QTest::newRow("selected beats hovered")
            << 0 << true << true << false << false << Overlay::none << u"S"_s << 0.11 << accent << 1.6
            << text("prompt.selected") << I::selected;
        QTest::newRow("copied and selected: no selected badge")
            << 1 << true << false << true << false << Overlay::copiedBadge << u""_s << 0.15 << accent << 1.6
            << text("prompt.copied") << I::copied;
        QTest::newRow("copied") << 1 << false << true << false << false << Overlay::copiedBadge << u""_s
                                << 0.15 << VelmoraColors::white(0.26) << 1.0 << text("prompt.copied")
                                << I::copied;
        QTest::newRow("failed and selected: retry and selected badge")
            << 2 << true << false << true << false << Overlay::retryButton << u"S"_s << 0.11 << accent << 1.6
            << text("action.retry.copy") << I::selected;
        QTest::newRow("failed") << 2 << false << false << false << false << Overlay::retryButton << u""_s
                                << 0.07 << steel << 1.0 << text("action.retry.copy") << I::none;
        QTest::newRow("editable") << 0 << false << false << true << false << Overlay::editControls << u""_s
                                  << 0.07 << steel << 1.0 << u""_s << I::none;
        QTest::newRow("editable pinned: pin at the top")
            << 0 << false << false << true << true << Overlay::editControls << u"T"_s << 0.07 << steel << 1.0
            << u""_s << I::none;
        QTest::newRow("read-only pinned: pin in the meta row")
            << 0 << false << false << false << true << Overlay::none << u"M"_s << 0.07 << steel << 1.0
            << u""_s << I::none;
        QTest::newRow("feedback hides the menu and its pin")
            << 1 << false << false << true << true << Overlay::copiedBadge << u""_s << 0.15
            << VelmoraColors::white(0.26) << 1.0 << text("prompt.copied") << I::copied;
    }

    void statesShowTheirOverlaysBadgesAndSurface()
    {
        QFETCH(int, feedback);
        QFETCH(bool, selected);
        QFETCH(bool, hovered);
        QFETCH(bool, editable);
        QFETCH(bool, pinned);
        PromptTileModel state = model(editable, pinned);
        state.isSelected = selected;
        state.reduceMotion = true;
        if (feedback == 1)
            state.copyFeedback = PromptCopyFeedback::copied(u"p1"_s);
        if (feedback == 2)
            state.copyFeedback = PromptCopyFeedback::failed(u"p1"_s);
        PromptTileView tile;
        tile.setModel(state);
        tile.show();
        hover(tile, hovered);

        const PromptTileAppearance shown = tile.shownAppearance();
        QTEST(shown.overlay, "overlay");
        QString badges;
        badges += shown.showsTopPin ? u"T"_s : QString();
        badges += shown.showsMetaPin ? u"M"_s : QString();
        badges += shown.showsSelectedBadge ? u"S"_s : QString();
        QTEST(badges, "badges");
        QTEST(shown.fillOpacity, "fill");
        QTEST(shown.borderColor, "border");
        QTEST(shown.borderWidth, "borderWidth");
        QCOMPARE(shown.copiedBorderOpacity, feedback == 1 ? 0.42 : 0.0);
        QFETCH(Overlay, overlay);
        QCOMPARE(tile.retryButton()->isVisible(), overlay == Overlay::retryButton);
        QCOMPARE(tile.moreButton()->isVisible(), overlay == Overlay::editControls);
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&tile);
        QCOMPARE(accessible->role(), QAccessible::Button);
        QTEST(accessible->text(QAccessible::Value), "value");
        QTEST(tile.presentation().nonColorIndicator, "indicator");
    }

    void theShortcutBadgeAndTheLabel_data()
    {
        QTest::addColumn<bool>("ownShortcut");
        QTest::addColumn<bool>("numbered");
        QTest::addColumn<bool>("pinned");
        QTest::addColumn<AppLanguage>("language");
        QTest::addColumn<QString>("badge");
        QTest::addColumn<QString>("label");
        QTest::newRow("own shortcut beats the number")
            << true << true << false << AppLanguage::english << u"Ctrl+Shift+R"_s
            << u"Review, Shortcut Ctrl+Shift+R"_s;
        QTest::newRow("the number") << false << true << true << AppLanguage::english << u"Ctrl+3"_s
                                    << u"Review, Shortcut Ctrl+3, Pinned"_s;
        QTest::newRow("nothing adds no part")
            << false << false << true << AppLanguage::english << u""_s << u"Review, Pinned"_s;
        QTest::newRow("Chinese") << false << true << true << AppLanguage::zhHans << u"Ctrl+3"_s
                                 << u"Review，快捷键 Ctrl+3，已置顶"_s;
    }

    void theShortcutBadgeAndTheLabel()
    {
        QFETCH(bool, ownShortcut);
        QFETCH(bool, numbered);
        QFETCH(bool, pinned);
        QFETCH(AppLanguage, language);
        PromptTileModel state = model(false, pinned);
        state.language = language;
        if (ownShortcut)
            state.prompt.shortcut =
                PromptKeyboardShortcut{15, ShortcutModifiers::command | ShortcutModifiers::shift};
        if (numbered)
            state.shortcutNumber = 3;
        QTEST(state.shortcutBadgeText(), "badge");
        PromptTileView tile;
        tile.setModel(state);
        QTEST(QAccessible::queryAccessibleInterface(&tile)->text(QAccessible::Name), "label");
        QCOMPARE(QAccessible::queryAccessibleInterface(&tile)->text(QAccessible::Description),
                 text("accessibility.prompt.tile.hint", language));
    }

    void bodyLinesFollowTheTextSizeAndLayout_data()
    {
        QTest::addColumn<PromptPanelTextSize>("size");
        QTest::addColumn<PromptPanelLayoutMode>("layout");
        QTest::addColumn<int>("lines");
        QTest::newRow("grid, system") << PromptPanelTextSize::system << PromptPanelLayoutMode::grid << 3;
        QTest::newRow("grid, comfortable")
            << PromptPanelTextSize::comfortable << PromptPanelLayoutMode::grid << 2;
        QTest::newRow("grid, large") << PromptPanelTextSize::large << PromptPanelLayoutMode::grid << 1;
        QTest::newRow("list, system") << PromptPanelTextSize::system << PromptPanelLayoutMode::list << 2;
        QTest::newRow("list, large") << PromptPanelTextSize::large << PromptPanelLayoutMode::list << 2;
    }

    void bodyLinesFollowTheTextSizeAndLayout()
    {
        QFETCH(PromptPanelTextSize, size);
        QFETCH(PromptPanelLayoutMode, layout);
        PromptTileModel state = model();
        state.promptPanelTextSize = size;
        state.layoutMode = layout;
        state.shortcutNumber = 1;
        state.prompt.title = u"A title that needs two lines in every size and layout of tile there is"_s;
        state.prompt.text = u"word "_s.repeated(400);
        PromptTileView tile;
        tile.setModel(state);
        QVERIFY(tile.titleLines().size() <= 2);
        QVERIFY(tile.titleLines().last().endsWith(QChar(0x2026)));
        // A short title leaves the body all of its lines.
        state.prompt.title = u"Short"_s;
        tile.setModel(state);
        QTEST(int(tile.bodyLines().size()), "lines");
        QVERIFY(tile.bodyLines().last().endsWith(QChar(0x2026)));
    }

    void hugeAndUnusualTextsLayOutLikeShortOnes_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<QString>("firstLine");
        QTest::newRow("1 MiB on one line")
            << u"x"_s.repeated(1 << 19) + u"y"_s.repeated(1 << 19) << QString();
        QTest::newRow("10,000 lines") << u"line\n"_s.repeated(10000) << u"line"_s;
        QTest::newRow("control characters as spaces") << u"a\tb\ac\r\nd"_s << u"a b c"_s;
        QTest::newRow("CJK, right-to-left and emoji") << u"审查 مراجعة 🚀 review"_s << QString();
    }

    void hugeAndUnusualTextsLayOutLikeShortOnes()
    {
        QFETCH(QString, body);
        PromptTileModel state = model();
        state.prompt.text = body;
        PromptTileView tile;
        tile.setModel(state);
        QVERIFY(!tile.bodyLines().isEmpty());
        QVERIFY(tile.bodyLines().size() <= 3);
        QVERIFY(PromptTileText::displayPrefix(body).size() <= PromptTileText::prefixLimit);
        QFETCH(QString, firstLine);
        if (!firstLine.isEmpty())
            QCOMPARE(tile.bodyLines().first(), firstLine);
        // Half a surrogate pair is never kept at the cut.
        const QString emoji = u"a"_s.repeated(PromptTileText::prefixLimit - 1) + u"🚀"_s;
        QCOMPARE(PromptTileText::displayPrefix(emoji).size(), PromptTileText::prefixLimit - 1);
    }

    void theEditMenu_data()
    {
        QTest::addColumn<bool>("allowsOrdering");
        QTest::addColumn<bool>("pinned");
        QTest::addColumn<QList<bool>>("moves"); // up, down, top, bottom enabled
        QTest::addColumn<QString>("pinItem");
        QTest::newRow("ordering off disables every move")
            << false << false << QList<bool>{false, false, false, false} << text("action.pin");
        QTest::newRow("ordering on asks for each move")
            << true << true << QList<bool>{false, true, false, true} << text("action.unpin");
    }

    void theEditMenu()
    {
        QFETCH(bool, allowsOrdering);
        QFETCH(bool, pinned);
        PromptTileModel state = model(true, pinned);
        state.allowsOrdering = allowsOrdering;
        QStringList calls;
        PromptTileView::Callbacks callbacks;
        callbacks.canMove = [](PromptMoveDirection direction) {
            return direction == PromptMoveDirection::down || direction == PromptMoveDirection::bottom;
        };
        callbacks.onEdit = [&calls] {
            calls << u"edit"_s;
        };
        callbacks.onTogglePinned = [&calls] {
            calls << u"pin"_s;
        };
        callbacks.onDelete = [&calls] {
            calls << u"delete"_s;
        };
        callbacks.onMove = [&calls](PromptMoveDirection direction) {
            calls << u"move %1"_s.arg(int(direction));
        };
        PromptTileView tile;
        tile.setModel(state);
        tile.setCallbacks(callbacks);
        QCOMPARE(tile.moreButton()->toolTip(), text("help.more"));
        QMenu* menu = tile.makeEditMenu(&tile);
        QList<QAction*> items;
        for (QAction* action : menu->actions()) {
            if (!action->isSeparator())
                items.append(action);
        }
        QCOMPARE(menu->actions().size(), 9);
        QCOMPARE(items.size(), 7);
        QCOMPARE(items.at(0)->text(), text("action.edit"));
        QTEST(items.at(1)->text(), "pinItem");
        QCOMPARE(items.at(6)->text(), text("action.delete"));
        QFETCH(QList<bool>, moves);
        for (int index = 0; index < 4; ++index)
            QCOMPARE(items.at(2 + index)->isEnabled(), moves.at(index));
        for (QAction* item : std::as_const(items))
            item->trigger();
        QStringList expected{u"edit"_s, u"pin"_s};
        for (int index = 0; index < 4; ++index) {
            if (moves.at(index))
                expected << u"move %1"_s.arg(index);
        }
        expected << u"delete"_s;
        QCOMPARE(calls, expected);
    }

    void aClickOnTheShapeCopiesAndRetryOnlyRetries()
    {
        int copies = 0;
        int retries = 0;
        QList<bool> hovers;
        PromptTileView::Callbacks callbacks;
        callbacks.onCopy = [&copies] {
            ++copies;
        };
        callbacks.onRetry = [&retries] {
            ++retries;
        };
        callbacks.onHoverChange = [&hovers](bool hovering) {
            hovers << hovering;
        };
        PromptTileView tile;
        PromptTileModel state = model();
        state.copyFeedback = PromptCopyFeedback::failed(u"p1"_s);
        tile.setModel(state);
        tile.setCallbacks(callbacks);
        tile.show();
        QVERIFY(QTest::qWaitForWindowExposed(&tile));

        QTest::mouseClick(&tile, Qt::LeftButton, {}, tile.tileRect().center().toPoint());
        QCOMPARE(copies, 1);
        // The rounded corner and the shadow margin are outside the tile.
        QTest::mouseClick(&tile, Qt::LeftButton, {}, tile.tileRect().topLeft().toPoint() + QPoint(2, 2));
        QTest::mouseClick(&tile, Qt::LeftButton, {}, QPoint(2, tile.height() / 2));
        QCOMPARE(copies, 1);
        QTest::mouseClick(tile.retryButton(), Qt::LeftButton);
        QCOMPARE(retries, 1);
        QCOMPARE(copies, 1);
        QCOMPARE(tile.retryButton()->toolTip(), text("action.retry.copy"));

        hover(tile, true);
        hover(tile, true);
        hover(tile, false);
        QCOMPARE(hovers, (QList<bool>{true, false}));
    }

    void buttonStylesFollowPressAndEnabledState_data()
    {
        using namespace VelmoraColors;
        QTest::addColumn<VelmoraButtonStyle>("style");
        QTest::addColumn<bool>("variant"); // isPrimary, or isDestructive for the settings style
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("pressed");
        QTest::addColumn<QColor>("foreground");
        QTest::addColumn<QColor>("top");
        QTest::addColumn<QColor>("bottom");
        const auto row = [](const char* name) -> QTestData& {
            return QTest::newRow(name);
        };
        row("primary pressed") << VelmoraButtonStyle::primary << false << true << true << Brand::onAccent()
                               << withOpacity(Brand::accent(), 0.78) << withOpacity(Brand::accent(), 0.78);
        row("primary disabled") << VelmoraButtonStyle::primary << false << false << false
                                << withOpacity(Brand::onAccent(), 0.55) << withOpacity(Brand::accent(), 0.28)
                                << withOpacity(Brand::accent(), 0.28);
        row("secondary disabled") << VelmoraButtonStyle::secondary << false << false << true
                                  << withOpacity(Brand::steel(), 0.38) << withOpacity(Brand::surface(), 0.16)
                                  << withOpacity(Brand::surface(), 0.16);
        row("settings, destructive") << VelmoraButtonStyle::settingsAction << true << true << false << red()
                                     << red(0.14) << red(0.14);
        row("toolbar, primary, pressed") << VelmoraButtonStyle::toolbar << true << true << true
                                         << QColor(Qt::black) << white(0.78) << white(0.78);
        row("panel action, pressed") << VelmoraButtonStyle::panelAction << false << true << true << white(0.9)
                                     << white(0.14) << white(0.09);
        row("bottom toolbar, disabled") << VelmoraButtonStyle::bottomToolbar << false << false << false
                                        << white(0.46) << white(0.075) << white(0.075);
    }

    void buttonStylesFollowPressAndEnabledState()
    {
        QFETCH(VelmoraButtonStyle, style);
        QFETCH(bool, variant);
        QFETCH(bool, enabled);
        QFETCH(bool, pressed);
        const VelmoraButtonLook look = VelmoraButtonLook::resolve(style, variant, variant, enabled, pressed);
        QTEST(look.foreground, "foreground");
        QTEST(look.backgroundTop, "top");
        QTEST(look.backgroundBottom, "bottom");
        QCOMPARE(look.pressedScale, 0.98);
    }

    void pressingShrinksUnlessMotionIsReduced()
    {
        VelmoraButton button(VelmoraButtonStyle::secondary, {u"Copy"_s});
        button.show();
        QTest::mousePress(&button, Qt::LeftButton);
        QTRY_COMPARE(button.pressScale(), 0.98);
        QTest::mouseRelease(&button, Qt::LeftButton);
        QTRY_COMPARE(button.pressScale(), 1.0);
        button.setReduceMotion(true);
        QTest::mousePress(&button, Qt::LeftButton);
        QCOMPARE(button.pressScale(), 1.0);
        QTest::mouseRelease(&button, Qt::LeftButton);
    }

    void anotherPromptStartsWithoutTheOldHover()
    {
        QList<std::pair<QString, bool>> hovers;
        PromptTileView tile;
        const auto bind = [&](const QString& id) {
            PromptTileModel state = model();
            state.prompt.id = id;
            tile.setModel(state);
            PromptTileView::Callbacks callbacks;
            callbacks.onHoverChange = [&hovers, id](bool hovering) {
                hovers.append({id, hovering});
            };
            tile.setCallbacks(callbacks);
        };
        bind(u"a"_s);
        tile.show();
        hover(tile, true);
        bind(u"b"_s);
        QVERIFY(!tile.isHovered());
        QCOMPARE(hovers, (QList<std::pair<QString, bool>>{{u"a"_s, true}, {u"a"_s, false}}));
    }
};

QTEST_MAIN(TestPromptTileView)
#include "tst_prompttileview.moc"
