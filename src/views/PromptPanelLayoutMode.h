// How the panel lays out its prompt tiles, stored under Velmora.panelLayoutMode.v1 as the raw value.
#pragma once

#include <QString>

enum class PromptPanelLayoutMode { grid, list };

inline QString toRawValue(PromptPanelLayoutMode mode)
{
    return mode == PromptPanelLayoutMode::list ? QStringLiteral("list") : QStringLiteral("grid");
}

// The raw value of `list` gives list; anything else, or nothing, gives grid.
inline PromptPanelLayoutMode promptPanelLayoutModeFromStored(const QString& raw)
{
    return raw == toRawValue(PromptPanelLayoutMode::list) ? PromptPanelLayoutMode::list
                                                          : PromptPanelLayoutMode::grid;
}
