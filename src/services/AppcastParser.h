// Reads an update feed: an RSS 2.0 appcast with the update namespace. Each item describes one
// release; only items with an enclosure marked for Linux count, the others belong to other systems.
#pragma once

#include "AppError.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>
#include <optional>

struct AppcastItem {
    QString version;               // sparkle:version, the dotted number that is compared
    QList<quint64> versionNumbers; // `version` parsed
    QString shortVersionString;    // sparkle:shortVersionString, for display; may be empty
    std::optional<QUrl> link;      // the item's https link, when it has one

    bool operator==(const AppcastItem&) const = default;
};

namespace AppcastParser {

inline constexpr auto updateNamespace = "http://www.andymatuschak.org/xml-namespaces/sparkle";

// The Linux item with the highest version. Fails on malformed XML, a document type declaration,
// a document that isn't an appcast, no Linux item, or a Linux item with an unparsable version or a
// link that isn't https.
Expected<AppcastItem> newestLinuxItem(const QByteArray& feed);

} // namespace AppcastParser
