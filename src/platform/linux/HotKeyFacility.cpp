#include "HotKeyFacility.h"

#include "PortalHotKeyRegistrar.h"
#include "X11HotKeyRegistrar.h"

namespace {

class UnavailableHotKeyRegistrar : public HotKeyRegistering {
public:
    qint32 installEventHandler(PressHandler, HotKeyHandlerReference&) override
    {
        return HotKeyRegistrationStatus::unavailable;
    }
    void removeEventHandler(HotKeyHandlerReference) override {}
    qint32 registerHotKey(const PromptKeyboardShortcut&, HotKeyID, HotKeyReference&) override
    {
        return HotKeyRegistrationStatus::unavailable;
    }
    qint32 unregisterHotKey(HotKeyReference) override
    {
        return HotKeyRegistrationStatus::unknownRegistration;
    }
};

} // namespace

HotKeyFacility chooseHotKeyFacility(DesktopSessionType session, const QDBusConnection& bus,
                                    const QString& applicationID)
{
    if (session == DesktopSessionType::x11)
        return HotKeyFacility::x11Grab;
    if (session != DesktopSessionType::wayland || !bus.isConnected())
        return HotKeyFacility::none;
    // Portals without the host registry know the application by its connection; nothing to do there.
    PortalHotKeyRegistrar::introduceApplication(bus, applicationID);
    return PortalHotKeyRegistrar::offersGlobalShortcuts(bus) ? HotKeyFacility::portal : HotKeyFacility::none;
}

std::unique_ptr<HotKeyRegistering> makeHotKeyRegistrar(HotKeyFacility facility, DesktopSessionType session,
                                                       const QDBusConnection& bus,
                                                       const QString& applicationID)
{
    switch (facility) {
    case HotKeyFacility::x11Grab:
        return std::make_unique<X11HotKeyRegistrar>(session);
    case HotKeyFacility::portal:
        return std::make_unique<PortalHotKeyRegistrar>(bus, applicationID);
    case HotKeyFacility::none:
        break;
    }
    return std::make_unique<UnavailableHotKeyRegistrar>();
}
