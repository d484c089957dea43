#include "PromptTilePresentation.h"

#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

QString PromptTileAccessibilityDescriptor::label(const QString& title, const QString& shortcut, bool isPinned,
                                                 AppLanguage language)
{
    QStringList parts{title};
    if (!shortcut.isEmpty())
        parts.append(L10n::text(u"accessibility.prompt.tile.shortcut"_s, language).arg(shortcut));
    if (isPinned)
        parts.append(L10n::text(u"prompt.pinned"_s, language));
    return parts.join(L10n::text(u"list.separator"_s, language));
}

bool PromptTileModel::isCopied() const
{
    return copyFeedback && copyFeedback->kind == PromptCopyFeedback::Kind::copied;
}

bool PromptTileModel::isFailed() const
{
    return copyFeedback && copyFeedback->kind == PromptCopyFeedback::Kind::failed;
}

QString PromptTileModel::shortcutBadgeText() const
{
    if (prompt.shortcut)
        return prompt.shortcut->displayString();
    if (shortcutNumber)
        return tileShortcut.modifierDisplay() + QString::number(*shortcutNumber);
    return {};
}

double PromptTileModel::titleTrailingInset() const
{
    if (!isEditable)
        return 0.0;
    return prompt.isPinned ? 38.0 : 20.0;
}

PromptTilePresentation PromptTilePresentation::make(const PromptTileModel& model)
{
    PromptTilePresentation result;
    const AppLanguage language = model.language;
    result.accessibilityLabel = PromptTileAccessibilityDescriptor::label(
        model.prompt.title, model.shortcutBadgeText(), model.prompt.isPinned, language);
    result.accessibilityHint = L10n::text(u"accessibility.prompt.tile.hint"_s, language);
    if (model.isCopied()) {
        result.accessibilityValue = L10n::text(u"prompt.copied"_s, language);
        result.nonColorIndicator = PromptTileNonColorIndicator::copied;
    } else if (model.isFailed()) {
        result.accessibilityValue = L10n::text(u"action.retry.copy"_s, language);
        result.nonColorIndicator =
            model.isSelected ? PromptTileNonColorIndicator::selected : PromptTileNonColorIndicator::none;
    } else if (model.isSelected) {
        result.accessibilityValue = L10n::text(u"prompt.selected"_s, language);
        result.nonColorIndicator = PromptTileNonColorIndicator::selected;
    }
    result.bodyFont = tileBodyFont(model.promptPanelTextSize);
    result.titleFont = tileTitleFont(model.promptPanelTextSize);
    result.reduceMotion = model.reduceMotion;
    return result;
}

PromptTileAppearance PromptTileAppearance::resolve(const PromptTileModel& model, bool isHovered)
{
    using namespace VelmoraColors;
    PromptTileAppearance result;
    const bool copied = model.isCopied();
    const bool selected = model.isSelected;
    if (model.copyFeedback)
        result.overlay = copied ? Overlay::copiedBadge : Overlay::retryButton;
    else if (model.isEditable)
        result.overlay = Overlay::editControls;
    result.showsTopPin = result.overlay == Overlay::editControls && model.prompt.isPinned;
    result.showsMetaPin = model.prompt.isPinned && !model.isEditable;
    result.showsSelectedBadge = selected && !copied;

    result.fillOpacity = copied ? 0.15 : selected ? 0.11 : isHovered ? 0.105 : 0.07;
    result.borderWidth = selected ? 1.6 : 1.0;
    result.borderColor = selected ? Brand::accent()
                         : copied ? white(0.26)
                                  : withOpacity(Brand::steel(), isHovered ? 0.7 : 0.5);
    result.copiedBorderOpacity = copied ? 0.42 : 0.0;
    result.accentShadowOpacity = selected ? 0.22 : 0.0;
    result.blackShadowOpacity = selected || isHovered ? 0.1 : 0.0;
    result.scale = copied && !model.reduceMotion ? 0.992 : 1.0;
    return result;
}

PromptTileAppearance PromptTileAppearance::interpolate(const PromptTileAppearance& from,
                                                       const PromptTileAppearance& to, double progress)
{
    const auto mix = [progress](double a, double b) {
        return a + (b - a) * progress;
    };
    PromptTileAppearance result = to;
    result.fillOpacity = mix(from.fillOpacity, to.fillOpacity);
    result.borderWidth = mix(from.borderWidth, to.borderWidth);
    result.borderColor = QColor::fromRgbF(float(mix(from.borderColor.redF(), to.borderColor.redF())),
                                          float(mix(from.borderColor.greenF(), to.borderColor.greenF())),
                                          float(mix(from.borderColor.blueF(), to.borderColor.blueF())),
                                          float(mix(from.borderColor.alphaF(), to.borderColor.alphaF())));
    result.copiedBorderOpacity = mix(from.copiedBorderOpacity, to.copiedBorderOpacity);
    result.accentShadowOpacity = mix(from.accentShadowOpacity, to.accentShadowOpacity);
    result.blackShadowOpacity = mix(from.blackShadowOpacity, to.blackShadowOpacity);
    result.scale = mix(from.scale, to.scale);
    return result;
}
