// The interface text size the user picks for the panel and the sheets, stored under
// Velmora.panelTextSize.v1 as the raw value, and the fonts it gives: the tile's own fonts and the
// named text styles, one table scaled from the size's base font. Sizes are pixels.
#pragma once

#include <QFont>
#include <QString>
#include <optional>

class QWidget;

enum class PromptPanelTextSize { system, comfortable, large };

inline constexpr PromptPanelTextSize allPromptPanelTextSizes[] = {
    PromptPanelTextSize::system, PromptPanelTextSize::comfortable, PromptPanelTextSize::large};

QString toRawValue(PromptPanelTextSize size);
// An unknown value counts as absent.
std::optional<PromptPanelTextSize> promptPanelTextSizeFromRawValue(const QString& raw);
QString localizedTitleKey(PromptPanelTextSize size);

enum class PromptTextStyle { caption, subheadline, body, headline, title2 };

struct PromptPanelTextSizeMetrics {
    int baseFontPixels = 13;
    int tileTitlePixels = 13;
    QFont::Weight tileTitleWeight = QFont::Bold;
    int tileBodyPixels = 10;
    int gridBodyLines = 3;
    double lineSpacing = 0.0; // added between the lines of titles and of the full preview
    int previewBodyPixels = 13;
};

const PromptPanelTextSizeMetrics& metrics(PromptPanelTextSize size);

QFont textStyleFont(PromptTextStyle style, PromptPanelTextSize size);
QFont tileTitleFont(PromptPanelTextSize size);
QFont tileBodyFont(PromptPanelTextSize size);

// On the root of a window or sheet: the base font for everything inside, and the size as the value
// its views read (promptPanelTextSizeOf).
void promptInterfaceTextSize(QWidget* root, PromptPanelTextSize size);
// The size set on the nearest root above `widget`, or `system`.
PromptPanelTextSize promptPanelTextSizeOf(const QWidget* widget);
