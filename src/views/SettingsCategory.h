// The categories of the settings window's sidebar, in their order, with the title key and the icon
// of each.
#pragma once

#include <QString>

enum class SettingsCategory { gettingStarted, general, prompts, shortcuts, updates };

inline constexpr SettingsCategory allSettingsCategories[] = {
    SettingsCategory::gettingStarted, SettingsCategory::general, SettingsCategory::prompts,
    SettingsCategory::shortcuts, SettingsCategory::updates};

QString toRawValue(SettingsCategory category);
QString titleKey(SettingsCategory category);
QString systemImage(SettingsCategory category);
