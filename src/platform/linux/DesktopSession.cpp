#include "DesktopSession.h"

using namespace Qt::StringLiterals;

DesktopSessionType desktopSessionType(const QProcessEnvironment& environment)
{
    const QString declared = environment.value(u"XDG_SESSION_TYPE"_s).toLower();
    if (declared == u"x11")
        return DesktopSessionType::x11;
    if (declared == u"wayland")
        return DesktopSessionType::wayland;
    if (!environment.value(u"WAYLAND_DISPLAY"_s).isEmpty())
        return DesktopSessionType::wayland;
    if (!environment.value(u"DISPLAY"_s).isEmpty())
        return DesktopSessionType::x11;
    return DesktopSessionType::none;
}

QString toRawValue(DesktopSessionType type)
{
    switch (type) {
    case DesktopSessionType::x11:
        return u"x11"_s;
    case DesktopSessionType::wayland:
        return u"wayland"_s;
    case DesktopSessionType::none:
        return u"none"_s;
    }
    return u"none"_s;
}
