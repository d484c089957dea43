// What an update check finds: the newer version it announces, or why it failed. Velmora only tells
// of a new version and links to it; it never downloads or installs anything itself.
#pragma once

#include "AppError.h"

#include <QList>
#include <QString>
#include <QUrl>
#include <optional>

// A newer version than the running one, as the feed describes it.
struct UpdateAnnouncement {
    QString version;        // the dotted version that was compared, e.g. "1.4.2"
    QString displayVersion; // what the user reads: the short version string, else `version`
    QUrl link;              // an https page where the user gets it

    bool operator==(const UpdateAnnouncement&) const = default;
};

// Why a check failed, in the words the user is told; the AppError beside it holds the details.
enum class UpdateCheckFailure {
    offline = 0,   // the server could not be reached, or did not answer in time
    server = 1,    // an HTTP or TLS error, an unsafe redirect, a body too large or cut short
    signature = 2, // the feed's signature is missing, malformed or does not match
    feed = 3,      // the signed feed could not be understood
};

QString toRawValue(UpdateCheckFailure failure);

struct UpdateCheckOutcome {
    enum class Kind { upToDate, updateAvailable, failed };

    Kind kind = Kind::upToDate;
    QString currentVersion;
    std::optional<UpdateAnnouncement> announcement; // with updateAvailable
    std::optional<UpdateCheckFailure> failure;      // with failed
    AppError error;                                 // with failed

    bool operator==(const UpdateCheckOutcome&) const = default;

    static UpdateCheckOutcome upToDate(const QString& currentVersion);
    static UpdateCheckOutcome updateAvailable(const QString& currentVersion,
                                              const UpdateAnnouncement& announcement);
    static UpdateCheckOutcome failed(const QString& currentVersion, UpdateCheckFailure failure,
                                     const AppError& error);
};

// Versions compared as dotted numbers: "1.10" is newer than "1.9", and "1.2" equals "1.2.0".
namespace DottedVersion {

// One or more decimal numbers joined by single dots, nothing else; absent when the text isn't one.
std::optional<QList<quint64>> parse(const QString& text);

// Negative, zero or positive as `lhs` is older than, equal to or newer than `rhs`.
int compare(const QList<quint64>& lhs, const QList<quint64>& rhs);

} // namespace DottedVersion
