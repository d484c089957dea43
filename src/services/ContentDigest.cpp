#include "ContentDigest.h"

#include <openssl/evp.h>

QString ContentDigest::sha256Hex(QByteArrayView bytes)
{
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    // Fails only when libcrypto cannot allocate its context; no digest then matches any stored one.
    if (EVP_Digest(bytes.data(), size_t(bytes.size()), digest, &length, EVP_sha256(), nullptr) != 1)
        return {};
    return QString::fromLatin1(QByteArray::fromRawData(reinterpret_cast<const char*>(digest), int(length)).toHex());
}
