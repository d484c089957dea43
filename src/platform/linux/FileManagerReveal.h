// Shows a file in the desktop's file manager: selected in its folder through the freedesktop
// FileManager1 interface, else its folder opened; a file that has gone opens the nearest folder that
// still exists.
#pragma once

#include <QString>

namespace FileManagerReveal {

// The folder itself for an existing folder, else the nearest existing ancestor; "/" at worst.
QString nearestExistingFolder(const QString& path);
void reveal(const QString& path);

} // namespace FileManagerReveal
