#include "UpdateFeedSignature.h"

#include "UpdateCheckErrors.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include <memory>

namespace {

struct KeyDeleter {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct ContextDeleter {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

AppError signatureError(UpdateCheckErrors::Code code)
{
    // A failed call leaves its reasons queued on this thread, where a TLS connection would read them.
    ERR_clear_error();
    return UpdateCheckErrors::make(code, UpdateCheckFailure::signature);
}

} // namespace

namespace UpdateFeedSignature {

Expected<void> verify(const QByteArray& feed, const QByteArray& signatureText, const QByteArray& publicKey)
{
    const auto decoded =
        QByteArray::fromBase64Encoding(signatureText.trimmed(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded || signatureText.trimmed().isEmpty())
        return signatureError(UpdateCheckErrors::signatureNotBase64);
    const QByteArray signature = *decoded;
    if (signature.size() != signatureSize)
        return signatureError(UpdateCheckErrors::signatureWrongLength);
    if (publicKey.size() != publicKeySize)
        return signatureError(UpdateCheckErrors::publicKeyUnusable);

    const std::unique_ptr<EVP_PKEY, KeyDeleter> key(EVP_PKEY_new_raw_public_key(
        EVP_PKEY_ED25519, nullptr, reinterpret_cast<const unsigned char*>(publicKey.constData()),
        size_t(publicKey.size())));
    const std::unique_ptr<EVP_MD_CTX, ContextDeleter> context(EVP_MD_CTX_new());
    if (!key || !context || EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, key.get()) != 1)
        return signatureError(UpdateCheckErrors::publicKeyUnusable);
    // Ed25519 signs the message itself, in one pass.
    const int verified =
        EVP_DigestVerify(context.get(), reinterpret_cast<const unsigned char*>(signature.constData()),
                         size_t(signature.size()), reinterpret_cast<const unsigned char*>(feed.constData()),
                         size_t(feed.size()));
    if (verified != 1)
        return signatureError(UpdateCheckErrors::signatureMismatch);
    return {};
}

} // namespace UpdateFeedSignature
