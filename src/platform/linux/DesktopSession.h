// What kind of desktop session Velmora runs in. Read from the session's environment, never from
// Qt's platform name: Velmora's own windows run through XWayland on a Wayland desktop.
#pragma once

#include <QProcessEnvironment>
#include <QString>

enum class DesktopSessionType { x11, wayland, none };

DesktopSessionType
desktopSessionType(const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment());
QString toRawValue(DesktopSessionType type);
