#include "UpdateBundleValues.h"

#ifndef VELMORA_UPDATE_FEED_URL
#define VELMORA_UPDATE_FEED_URL ""
#endif
#ifndef VELMORA_UPDATE_PUBLIC_ED_KEY
#define VELMORA_UPDATE_PUBLIC_ED_KEY ""
#endif

namespace {

std::optional<QString> nonEmpty(const char* value)
{
    const QString text = QString::fromUtf8(value);
    if (text.isEmpty())
        return std::nullopt;
    return text;
}

} // namespace

UpdateBundleValues UpdateBundleValues::compiledIn()
{
    return UpdateBundleValues{nonEmpty(VELMORA_UPDATE_PUBLIC_ED_KEY), nonEmpty(VELMORA_UPDATE_FEED_URL)};
}
