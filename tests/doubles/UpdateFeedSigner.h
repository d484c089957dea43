// An Ed25519 key pair made for one test, to sign update feeds the way a release does.
#pragma once

#include <QByteArray>

#include <openssl/evp.h>
#include <openssl/pem.h>

class UpdateFeedSigner {
public:
    UpdateFeedSigner() : m_key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")) {}
    ~UpdateFeedSigner() { EVP_PKEY_free(m_key); }
    UpdateFeedSigner(const UpdateFeedSigner&) = delete;
    UpdateFeedSigner& operator=(const UpdateFeedSigner&) = delete;

    bool isValid() const { return m_key != nullptr; }

    // The 32 raw bytes of the public key.
    QByteArray publicKey() const
    {
        QByteArray key(32, '\0');
        size_t size = size_t(key.size());
        if (EVP_PKEY_get_raw_public_key(m_key, reinterpret_cast<unsigned char*>(key.data()), &size) != 1)
            return {};
        key.resize(qsizetype(size));
        return key;
    }

    // The 64 raw bytes of the signature of `data`.
    QByteArray sign(const QByteArray& data) const
    {
        QByteArray signature(64, '\0');
        size_t size = size_t(signature.size());
        EVP_MD_CTX* context = EVP_MD_CTX_new();
        const bool signedIt = EVP_DigestSignInit(context, nullptr, nullptr, nullptr, m_key) == 1 &&
                              EVP_DigestSign(context, reinterpret_cast<unsigned char*>(signature.data()),
                                             &size, reinterpret_cast<const unsigned char*>(data.constData()),
                                             size_t(data.size())) == 1;
        EVP_MD_CTX_free(context);
        return signedIt ? signature.left(qsizetype(size)) : QByteArray();
    }

    // The signature file's text: Base64 and a line feed.
    QByteArray signatureText(const QByteArray& data) const { return sign(data).toBase64() + '\n'; }

    QByteArray privateKeyPem() const
    {
        BIO* bio = BIO_new(BIO_s_mem());
        QByteArray text;
        if (PEM_write_bio_PrivateKey(bio, m_key, nullptr, nullptr, 0, nullptr, nullptr) == 1) {
            char* data = nullptr;
            const long size = BIO_get_mem_data(bio, &data);
            text = QByteArray(data, size);
        }
        BIO_free(bio);
        return text;
    }

private:
    EVP_PKEY* m_key;
};
