#include "PromptSectionView.h"

#include "PromptPanelLayout.h"
#include "PromptPanelLayoutPicker.h"

#include <QFontMetrics>
#include <cmath>

PromptSectionView::PromptSectionView(const PromptSection& section, const PromptStageState& state,
                                     const PromptSectionCallbacks& callbacks, bool showsLayoutPicker)
    : m_section(section), m_state(state), m_callbacks(callbacks), m_showsLayoutPicker(showsLayoutPicker)
{}

PromptTileModel PromptSectionView::tileModel(const PromptItem& prompt) const
{
    PromptTileModel model;
    model.promptPanelTextSize = m_state.textSize;
    model.prompt = prompt;
    model.isEditable = m_callbacks.isEditablePrompt && m_callbacks.isEditablePrompt(prompt);
    if (m_state.copyFeedback && m_state.copyFeedback->promptID == prompt.id)
        model.copyFeedback = m_state.copyFeedback;
    model.isSelected = m_state.selectedPromptID == prompt.id;
    if (const auto number = m_state.snapshot.shortcutNumbers.constFind(prompt.id);
        number != m_state.snapshot.shortcutNumbers.constEnd())
        model.shortcutNumber = *number;
    model.tileShortcut = m_state.tileShortcut;
    model.layoutMode = m_state.layoutMode;
    model.allowsOrdering = m_state.snapshot.allowsPromptOrdering;
    model.reduceMotion = m_state.reduceMotion;
    model.language = m_state.language;
    return model;
}

PromptTileView::Callbacks PromptSectionView::tileCallbacks(const PromptItem& prompt) const
{
    const PromptSectionCallbacks& callbacks = m_callbacks;
    const auto bind =
        [&prompt](const std::function<void(const PromptItem&)>& action) -> std::function<void()> {
        if (!action)
            return {};
        return [action, prompt] {
            action(prompt);
        };
    };
    PromptTileView::Callbacks result;
    result.onCopy = bind(callbacks.onCopy);
    result.onRetry = bind(callbacks.onRetry);
    result.onEdit = bind(callbacks.onEdit);
    result.onDelete = bind(callbacks.onDelete);
    result.onTogglePinned = bind(callbacks.onTogglePinned);
    if (callbacks.canMove)
        result.canMove = [canMove = callbacks.canMove, prompt](PromptMoveDirection direction) {
            return canMove(prompt, direction);
        };
    if (callbacks.onMove)
        result.onMove = [onMove = callbacks.onMove, prompt](PromptMoveDirection direction) {
            onMove(prompt, direction);
        };
    if (callbacks.onTileHover)
        result.onHoverChange = [onHover = callbacks.onTileHover, prompt](bool hovering) {
            onHover(prompt, hovering);
        };
    return result;
}

QFont PromptSectionView::headingFont()
{
    QFont font;
    font.setPixelSize(headingPixels);
    font.setWeight(QFont::DemiBold);
    return font;
}

int PromptSectionView::headingHeight(bool showsLayoutPicker)
{
    static const int text = QFontMetrics(headingFont()).height();
    constexpr int picker = 2 * PromptPanelLayoutPicker::inset + PromptPanelLayoutPicker::buttonSide;
    return showsLayoutPicker ? std::max(text, picker) : text;
}

QRect PromptSectionView::headingRect() const
{
    return {PromptTileView::shadowMargin, 0, PromptPanelLayout::rowWidth(m_state.layoutMode),
            headingHeight(m_showsLayoutPicker)};
}

QRect PromptSectionView::tileFrame(qsizetype index) const
{
    const PromptPanelLayoutMode mode = m_state.layoutMode;
    const int columns = PromptPanelLayout::columnCount(mode);
    const QSize tile = PromptPanelLayout::tileSize(mode);
    const int row = int(index / columns);
    const int column = int(index % columns);
    // The frame holds the tile's shadow margin too; the tile itself stands at the row's position.
    const int top = headingHeight(m_showsLayoutPicker) + headingSpacing - PromptTileView::shadowMargin;
    return {column * (tile.width() + PromptPanelLayout::tileSpacing),
            top + row * (tile.height() + PromptPanelLayout::tileSpacing),
            tile.width() + 2 * PromptTileView::shadowMargin,
            tile.height() + 2 * PromptTileView::shadowMargin};
}

int PromptSectionView::rowCount(qsizetype tiles, PromptPanelLayoutMode mode)
{
    const int columns = PromptPanelLayout::columnCount(mode);
    return int((tiles + columns - 1) / columns);
}

int PromptSectionView::height(qsizetype tiles, PromptPanelLayoutMode mode, bool showsLayoutPicker)
{
    const int rows = rowCount(tiles, mode);
    const int tileHeight = PromptPanelLayout::tileSize(mode).height();
    return headingHeight(showsLayoutPicker) +
           (rows > 0 ? headingSpacing + rows * tileHeight + (rows - 1) * PromptPanelLayout::tileSpacing : 0);
}

std::pair<qsizetype, qsizetype> PromptSectionView::tilesBetween(int top, int bottom) const
{
    const PromptPanelLayoutMode mode = m_state.layoutMode;
    const int columns = PromptPanelLayout::columnCount(mode);
    const int pitch = PromptPanelLayout::tileSize(mode).height() + PromptPanelLayout::tileSpacing;
    const int firstTop = headingHeight(m_showsLayoutPicker) + headingSpacing;
    const int rows = rowCount(m_section.prompts.size(), mode);
    const int firstRow = std::clamp(int(std::floor(double(top - firstTop) / pitch)), 0, rows);
    const int endRow = std::clamp(int(std::floor(double(bottom - firstTop) / pitch)) + 1, 0, rows);
    if (endRow <= firstRow)
        return {0, 0};
    return {qsizetype(firstRow) * columns, std::min(m_section.prompts.size(), qsizetype(endRow) * columns)};
}
