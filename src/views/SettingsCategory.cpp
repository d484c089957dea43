#include "SettingsCategory.h"

#include <algorithm>
#include <iterator>

using namespace Qt::StringLiterals;

namespace {

struct Row {
    SettingsCategory category;
    const char16_t* rawValue;
    const char16_t* titleKey;
    const char16_t* systemImage;
};

constexpr Row rows[] = {
    {SettingsCategory::gettingStarted, u"gettingStarted", u"settings.category.getting.started", u"sparkles"},
    {SettingsCategory::general, u"general", u"settings.category.general", u"gearshape"},
    {SettingsCategory::prompts, u"prompts", u"settings.category.prompts", u"text.bubble"},
    {SettingsCategory::shortcuts, u"shortcuts", u"settings.category.shortcuts", u"keyboard"},
    {SettingsCategory::updates, u"updates", u"settings.category.updates", u"arrow.triangle.2.circlepath"},
};

const Row& row(SettingsCategory category)
{
    return *std::find_if(std::begin(rows), std::end(rows), [category](const Row& each) {
        return each.category == category;
    });
}

} // namespace

QString toRawValue(SettingsCategory category)
{
    return QString::fromUtf16(row(category).rawValue);
}

QString titleKey(SettingsCategory category)
{
    return QString::fromUtf16(row(category).titleKey);
}

QString systemImage(SettingsCategory category)
{
    return QString::fromUtf16(row(category).systemImage);
}
