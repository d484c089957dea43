// Small rules of the freedesktop.org desktop entry format shared by the autostart entry and the
// index of installed applications.
#pragma once

#include <QString>

namespace DesktopEntryFormat {

// Undoes the value escapes \s \n \t \r \\; any other backslash is left for the Exec quoting rules.
QString unescapedValue(const QString& value);

} // namespace DesktopEntryFormat
