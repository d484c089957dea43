#include "PromptPanelTextSize.h"

#include <QWidget>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr char environmentProperty[] = "promptPanelTextSize";

} // namespace

QString toRawValue(PromptPanelTextSize size)
{
    switch (size) {
    case PromptPanelTextSize::system:
        return u"system"_s;
    case PromptPanelTextSize::comfortable:
        return u"comfortable"_s;
    case PromptPanelTextSize::large:
        return u"large"_s;
    }
    return u"system"_s;
}

std::optional<PromptPanelTextSize> promptPanelTextSizeFromRawValue(const QString& raw)
{
    for (const PromptPanelTextSize size : allPromptPanelTextSizes) {
        if (toRawValue(size) == raw)
            return size;
    }
    return std::nullopt;
}

QString localizedTitleKey(PromptPanelTextSize size)
{
    return u"settings.text.size."_s + toRawValue(size);
}

const PromptPanelTextSizeMetrics& metrics(PromptPanelTextSize size)
{
    static const PromptPanelTextSizeMetrics table[] = {
        {13, 13, QFont::Bold, 10, 3, 0.0, 13},
        {15, 15, QFont::DemiBold, 12, 2, 2.0, 15},
        {17, 17, QFont::DemiBold, 13, 1, 2.0, 17},
    };
    return table[int(size)];
}

QFont textStyleFont(PromptTextStyle style, PromptPanelTextSize size)
{
    // The styles at the standard size, from which every size scales.
    struct Style {
        double pixels;
        QFont::Weight weight;
    };
    static const Style styles[] = {{10.0, QFont::Normal},
                                   {11.0, QFont::Normal},
                                   {13.0, QFont::Normal},
                                   {13.0, QFont::DemiBold},
                                   {17.0, QFont::Normal}};
    const Style& chosen = styles[int(style)];
    QFont font;
    font.setPixelSize(int(std::lround(chosen.pixels * metrics(size).baseFontPixels / 13.0)));
    font.setWeight(chosen.weight);
    return font;
}

QFont tileTitleFont(PromptPanelTextSize size)
{
    QFont font;
    font.setPixelSize(metrics(size).tileTitlePixels);
    font.setWeight(metrics(size).tileTitleWeight);
    return font;
}

QFont tileBodyFont(PromptPanelTextSize size)
{
    QFont font;
    font.setPixelSize(metrics(size).tileBodyPixels);
    return font;
}

void promptInterfaceTextSize(QWidget* root, PromptPanelTextSize size)
{
    QFont font = root->font();
    font.setPixelSize(metrics(size).baseFontPixels);
    font.setWeight(QFont::Normal);
    root->setFont(font);
    root->setProperty(environmentProperty, toRawValue(size));
}

PromptPanelTextSize promptPanelTextSizeOf(const QWidget* widget)
{
    for (; widget; widget = widget->parentWidget()) {
        const QVariant value = widget->property(environmentProperty);
        if (value.isValid())
            return promptPanelTextSizeFromRawValue(value.toString()).value_or(PromptPanelTextSize::system);
    }
    return PromptPanelTextSize::system;
}
