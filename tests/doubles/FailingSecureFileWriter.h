// Linked in place of SecureFileWriter (a test that adds FailingSecureFileWriter.cpp to its sources
// gets these definitions instead of the library's): writes as the real one does, replacing the whole
// file at mode 600, until the chosen call, which fails with EIO, logs as the real one would and
// leaves the disk untouched.
#pragma once

#include <QString>
#include <QStringList>
#include <functional>

namespace FailingSecureFileWriter {

// Which calls count; by default every one.
using Filter = std::function<bool(const QString& path)>;

// Fails the counted call of this index (0 is the first after the call); -1 fails none.
void failAt(int index, Filter counted = {});
// "write <path>" or "restrict <path>" for each counted call since failAt.
QStringList calls();

} // namespace FailingSecureFileWriter
