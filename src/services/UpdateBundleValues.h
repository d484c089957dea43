// The update configuration compiled into this build: the feed's URL and the Base64 Ed25519 key that
// signs it (CMake cache values VELMORA_UPDATE_FEED_URL and VELMORA_UPDATE_PUBLIC_ED_KEY). Both are
// empty unless a build sets them, and an unconfigured build's check opens the download page.
#pragma once

#include <QString>
#include <optional>

struct UpdateBundleValues {
    std::optional<QString> publicKey; // absent when empty
    std::optional<QString> feedURL;   // absent when empty

    bool operator==(const UpdateBundleValues&) const = default;

    static UpdateBundleValues compiledIn();
};
