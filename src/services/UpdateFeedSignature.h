// The update feed is signed: an Ed25519 signature of its exact bytes, in Base64, published beside
// it. Nothing in a feed is read before its signature has been checked against the built-in key.
#pragma once

#include "AppError.h"

#include <QByteArray>

namespace UpdateFeedSignature {

inline constexpr qsizetype publicKeySize = 32;
inline constexpr qsizetype signatureSize = 64;

// `signatureText` is the Base64 text of the signature file; surrounding white space is allowed.
// `publicKey` holds the 32 raw bytes of the key.
Expected<void> verify(const QByteArray& feed, const QByteArray& signatureText, const QByteArray& publicKey);

} // namespace UpdateFeedSignature
