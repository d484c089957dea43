// What one prompt tile shows, worked out from its state alone: the state itself (PromptTileModel),
// what a screen reader hears and which fonts apply (PromptTilePresentation), and which overlays,
// badges, fill, border, shadows and scale its surface takes (PromptTileAppearance).
#pragma once

#include "AppLanguage.h"
#include "KeyboardShortcutModels.h"
#include "PromptCopyFeedback.h"
#include "PromptModels.h"
#include "PromptPanelLayoutMode.h"
#include "PromptPanelTextSize.h"

#include <QColor>
#include <QFont>
#include <optional>

// A tile's state in a form that doesn't rest on colour.
enum class PromptTileNonColorIndicator { none, selected, copied };

namespace PromptTileTypography {
inline constexpr PromptTextStyle bodyTextStyle = PromptTextStyle::body;
inline constexpr PromptTextStyle titleTextStyle = PromptTextStyle::headline;
inline constexpr PromptTextStyle previewTitleTextStyle = PromptTextStyle::headline;
} // namespace PromptTileTypography

namespace PromptTileAccessibilityDescriptor {
// The title, then the shortcut's phrase when `shortcut` isn't empty, then "pinned", joined by the
// language's list separator.
QString label(const QString& title, const QString& shortcut, bool isPinned, AppLanguage language);
} // namespace PromptTileAccessibilityDescriptor

// Everything a tile is drawn from but its callbacks. Whether the prompt can move is asked only when
// its edit menu opens: each answer walks the workspace, which a render must not do per tile.
struct PromptTileModel {
    PromptPanelTextSize promptPanelTextSize = PromptPanelTextSize::system;
    PromptItem prompt;
    bool isEditable = false;
    std::optional<PromptCopyFeedback> copyFeedback; // this prompt's own only
    bool isSelected = false;
    std::optional<qint64> shortcutNumber;
    PromptTileShortcut tileShortcut;
    PromptPanelLayoutMode layoutMode = PromptPanelLayoutMode::grid;
    bool allowsOrdering = false;
    bool reduceMotion = false;
    AppLanguage language = AppLanguage::english;

    bool operator==(const PromptTileModel&) const = default;

    bool isCopied() const;
    bool isFailed() const;
    // The prompt's own shortcut, else the tile shortcut with the number, else nothing.
    QString shortcutBadgeText() const;
    // Room the title leaves for the accessories at the top trailing corner.
    double titleTrailingInset() const;
};

struct PromptTilePresentation {
    QString accessibilityLabel;
    QString accessibilityHint;
    QString accessibilityValue;
    PromptTextStyle bodyTextStyle = PromptTileTypography::bodyTextStyle;
    PromptTextStyle titleTextStyle = PromptTileTypography::titleTextStyle;
    PromptTextStyle previewTitleTextStyle = PromptTileTypography::previewTitleTextStyle;
    QFont bodyFont;
    QFont titleFont;
    PromptTileNonColorIndicator nonColorIndicator = PromptTileNonColorIndicator::none;
    bool reduceMotion = false;

    bool operator==(const PromptTilePresentation&) const = default;

    static PromptTilePresentation make(const PromptTileModel& model);
};

struct PromptTileAppearance {
    // What stands at the top trailing corner.
    enum class Overlay { none, copiedBadge, retryButton, editControls };

    Overlay overlay = Overlay::none;
    bool showsTopPin = false;  // beside the edit menu
    bool showsMetaPin = false; // in the meta row
    bool showsSelectedBadge = false;
    double fillOpacity = 0.07; // of white
    QColor borderColor;
    double borderWidth = 1.0;
    double copiedBorderOpacity = 0.0; // of the green border
    double accentShadowOpacity = 0.0;
    double blackShadowOpacity = 0.0;
    double scale = 1.0;

    bool operator==(const PromptTileAppearance&) const = default;

    static PromptTileAppearance resolve(const PromptTileModel& model, bool isHovered);
    // The numbers between two appearances at `progress` (0 to 1); the overlays are `to`'s.
    static PromptTileAppearance interpolate(const PromptTileAppearance& from, const PromptTileAppearance& to,
                                            double progress);
};
