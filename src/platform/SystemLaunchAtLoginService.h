// Launch at login through XDG autostart: the entry autostart/velmora.desktop in the user's config
// folder. Registering writes it, unregistering removes it (or hides an entry the system installed),
// and the status is read back from whichever entry is in force. Plain file work; no display needed.
#pragma once

#include "LaunchAtLoginServicing.h"

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <optional>

class SystemLaunchAtLoginService final : public LaunchAtLoginServicing {
public:
    static constexpr auto entryFileName = "velmora.desktop";

    // The raw status values this service reports (see launchAtLoginStatusFromRawValue).
    static constexpr int notRegisteredRawValue = 0;
    static constexpr int enabledRawValue = 1;
    static constexpr int notFoundRawValue = 3;
    static constexpr int unreadableRawValue = -1;

    // The error codes of this service's AppErrors.
    enum ErrorCode { folderNotCreated = 1, entryNotWritten = 2, entryNotRemoved = 3, executableUnusable = 4 };

    struct Locations {
        QString configHome;     // $XDG_CONFIG_HOME
        QStringList configDirs; // $XDG_CONFIG_DIRS, most important first
        QString executablePath; // the program the entry starts, an absolute path
    };

    // The folders the XDG base directory rules name for this environment, and this process's own
    // executable (the AppImage itself when run from one).
    static Locations
    standardLocations(const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment());

    using UrlOpener = std::function<void(const QUrl&)>;

    explicit SystemLaunchAtLoginService(Locations locations, UrlOpener openUrl = {});

    Expected<void> registerLoginItem() override;
    Expected<void> unregisterLoginItem() override;
    int statusRawValue() const override;
    // Opens the autostart folder (its config folder while it doesn't exist yet) in the file manager.
    void openSystemSettingsLoginItems() override;

    QString userEntryPath() const;

    // The Exec value that starts `executablePath` with no arguments, quoted and escaped by the
    // Desktop Entry rules; absent for a path that isn't absolute or holds control characters.
    static std::optional<QString> execValue(const QString& executablePath);

private:
    QString autostartFolder() const;
    std::optional<QString> systemEntryPath() const;
    Expected<void> writeUserEntry(bool hidden);

    Locations m_locations;
    UrlOpener m_openUrl;
};
