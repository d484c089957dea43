// Which facility holds the global hot key, chosen once at start from the session: the X11 grab in an
// X11 session; in a Wayland session the desktop portal's GlobalShortcuts where it answers, since an
// X11 grab there hears keys only while an X11 window has focus; else none, and the user binds
// "velmora-cli toggle" in the desktop's own keyboard settings.
#pragma once

#include "DesktopSession.h"
#include "HotKeyRegistering.h"

#include <QDBusConnection>
#include <QString>
#include <memory>

enum class HotKeyFacility { x11Grab, portal, none };

// In a Wayland session this introduces the application to the portal as `applicationID` first, then
// asks whether it offers GlobalShortcuts; it blocks for both, once, at start.
HotKeyFacility chooseHotKeyFacility(DesktopSessionType session, const QDBusConnection& bus,
                                    const QString& applicationID);

// The facility's registrar. That of `none` answers HotKeyRegistrationStatus::unavailable to every
// installation and registration and touches nothing.
std::unique_ptr<HotKeyRegistering> makeHotKeyRegistrar(HotKeyFacility facility, DesktopSessionType session,
                                                       const QDBusConnection& bus,
                                                       const QString& applicationID);
