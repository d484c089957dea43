// What each tile layout means: its picker entry and the fixed sizes the tiles are placed by.
#pragma once

#include "PromptPanelLayoutMode.h"

#include <QSize>
#include <QString>

namespace PromptPanelLayout {

// In the picker's order.
inline constexpr PromptPanelLayoutMode allModes[] = {PromptPanelLayoutMode::grid,
                                                     PromptPanelLayoutMode::list};

inline constexpr int tileSpacing = 10;

inline bool isList(PromptPanelLayoutMode mode)
{
    return mode == PromptPanelLayoutMode::list;
}

inline QString accessibilityTitleKey(PromptPanelLayoutMode mode)
{
    return isList(mode) ? QStringLiteral("panel.layout.list") : QStringLiteral("panel.layout.grid");
}

inline QString pickerIcon(PromptPanelLayoutMode mode)
{
    return isList(mode) ? QStringLiteral("list.bullet") : QStringLiteral("square.grid.2x2");
}

inline int columnCount(PromptPanelLayoutMode mode)
{
    return isList(mode) ? 1 : 3;
}

inline QSize tileSize(PromptPanelLayoutMode mode)
{
    return isList(mode) ? QSize(410, 82) : QSize(130, 116);
}

inline int tilePadding(PromptPanelLayoutMode mode)
{
    return isList(mode) ? 12 : 14;
}

// The width of a row of tiles: the columns and the gaps between them.
inline int rowWidth(PromptPanelLayoutMode mode)
{
    const int columns = columnCount(mode);
    return columns * tileSize(mode).width() + (columns - 1) * tileSpacing;
}

} // namespace PromptPanelLayout
