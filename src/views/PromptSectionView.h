// One section of the panel: its heading row (the group's title, and the layout picker on the first
// section) over its tiles in a grid of three fixed columns or in one column. The stage places
// sections by arithmetic and asks a section, for each tile it shows, what that tile is and does.
#pragma once

#include "PanelRenderSnapshot.h"
#include "PromptTileView.h"

#include <QRect>
#include <functional>
#include <optional>

// The state of one render that every section and tile shares.
struct PromptStageState {
    PanelRenderSnapshot snapshot;
    std::optional<QString> editableWorkspaceID;
    std::optional<PromptCopyFeedback> copyFeedback;
    std::optional<QString> selectedPromptID;
    std::optional<PromptItem> previewPrompt;
    PromptTileShortcut tileShortcut;
    PromptPanelLayoutMode layoutMode = PromptPanelLayoutMode::grid;
    PromptPanelTextSize textSize = PromptPanelTextSize::system;
    bool reduceMotion = false;
    AppLanguage language = AppLanguage::english;
};

// What the tiles' actions do, each for the prompt of the tile.
struct PromptSectionCallbacks {
    std::function<bool(const PromptItem&)> isEditablePrompt;
    std::function<void(const PromptItem&)> onCopy;
    std::function<void(const PromptItem&)> onRetry;
    std::function<void(const PromptItem&)> onEdit;
    std::function<void(const PromptItem&)> onDelete;
    std::function<void(const PromptItem&)> onTogglePinned;
    std::function<bool(const PromptItem&, PromptMoveDirection)> canMove;
    std::function<void(const PromptItem&, PromptMoveDirection)> onMove;
    std::function<void(const PromptItem&, bool)> onTileHover;
    std::function<void(PromptPanelLayoutMode)> onLayoutModeChange;
};

class PromptSectionView {
public:
    static constexpr int headingPixels = 15;
    static constexpr int headingTrailingInset = 20;
    static constexpr int headingSpacing = 8; // between the heading row and the tiles

    PromptSectionView(const PromptSection& section, const PromptStageState& state,
                      const PromptSectionCallbacks& callbacks, bool showsLayoutPicker);

    const PromptSection& section() const { return m_section; }
    bool showsLayoutPicker() const { return m_showsLayoutPicker; }

    PromptTileModel tileModel(const PromptItem& prompt) const;
    PromptTileView::Callbacks tileCallbacks(const PromptItem& prompt) const;

    static QFont headingFont();
    static int headingHeight(bool showsLayoutPicker);
    // From the section's top left: the heading row, and the widget frame of the tile at `index`
    // (the tile and its shadow margin).
    QRect headingRect() const;
    QRect tileFrame(qsizetype index) const;
    static int rowCount(qsizetype tiles, PromptPanelLayoutMode mode);
    static int height(qsizetype tiles, PromptPanelLayoutMode mode, bool showsLayoutPicker);
    // The tiles whose rows meet the band from `top` to `bottom` (section coordinates), as [first, end).
    std::pair<qsizetype, qsizetype> tilesBetween(int top, int bottom) const;

private:
    const PromptSection& m_section;
    const PromptStageState& m_state;
    const PromptSectionCallbacks& m_callbacks;
    bool m_showsLayoutPicker;
};
