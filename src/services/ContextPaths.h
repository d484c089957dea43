// Path text helpers shared by the title analyses and the detection loop. Pure text work: nothing here
// consults the file system.
#pragma once

#include <QString>

namespace ContextPaths {

// Read as a file path, a relative one against the current directory; "." and ".." components, doubled
// and trailing slashes removed. No symbolic link is resolved.
QString standardized(const QString& path);

// The last component of a path; "/" for the root, empty for an empty path.
QString lastPathComponent(const QString& path);

} // namespace ContextPaths
