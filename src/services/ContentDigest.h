// The SHA-256 digest that identifies a file's content: workspace versions and project-file trust.
#pragma once

#include <QByteArrayView>
#include <QString>

namespace ContentDigest {

// Lower-case hex. libcrypto uses the processor's SHA instructions where there are any, which makes
// hashing a library at the load limit several times faster than QCryptographicHash.
QString sha256Hex(QByteArrayView bytes);

} // namespace ContentDigest
