// An HTTPS server on 127.0.0.1 for tests of the update checks. Its certificate is made here with
// libcrypto and is trusted only through clientConfiguration(). Each path gets a canned answer;
// answers can be cut short, never sent, or sent without a length.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QPointer>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QSslSocket>
#include <QUrl>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

class LocalHttpsServer : public QObject {
public:
    struct Response {
        enum class Mode { normal, truncated, silent, withoutLength };

        int status = 200;
        QByteArray body;
        QList<QPair<QByteArray, QByteArray>> headers;
        Mode mode = Mode::normal;
    };

    struct Request {
        QByteArray path;
        QHash<QByteArray, QByteArray> headers; // names in lower case
    };

    bool start()
    {
        if (!makeCertificate())
            return false;
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(m_certificate);
        configuration.setPrivateKey(m_key);
        configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
        m_server.setSslConfiguration(configuration);
        connect(&m_server, &QTcpServer::pendingConnectionAvailable, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection())
                serve(qobject_cast<QSslSocket*>(socket));
        });
        return m_server.listen(QHostAddress::LocalHost, 0);
    }

    QUrl url(const QString& path, const QString& scheme = QStringLiteral("https")) const
    {
        QUrl url;
        url.setScheme(scheme);
        url.setHost(QStringLiteral("127.0.0.1"));
        url.setPort(m_server.serverPort());
        url.setPath(path);
        return url;
    }

    void setResponse(const QString& path, const Response& response)
    {
        m_responses.insert(path.toUtf8(), response);
    }
    void clearResponses() { m_responses.clear(); }

    int requestCount(const QString& path) const
    {
        int count = 0;
        for (const Request& request : m_requests)
            count += request.path == path.toUtf8() ? 1 : 0;
        return count;
    }
    const QList<Request>& requests() const { return m_requests; }
    void clearRequests() { m_requests.clear(); }

    // A client configuration that trusts this server's certificate.
    QSslConfiguration clientConfiguration() const
    {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates({m_certificate});
        return configuration;
    }

private:
    void serve(QSslSocket* socket)
    {
        if (!socket)
            return;
        socket->setParent(this);
        auto buffer = std::make_shared<QByteArray>();
        connect(socket, &QSslSocket::readyRead, this, [this, socket, buffer] {
            buffer->append(socket->readAll());
            const qsizetype end = buffer->indexOf("\r\n\r\n");
            if (end < 0)
                return;
            const QList<QByteArray> lines = buffer->left(end).split('\n');
            buffer->remove(0, end + 4);
            Request request;
            const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
            request.path = requestLine.value(1);
            for (qsizetype i = 1; i < lines.size(); ++i) {
                const qsizetype colon = lines.at(i).indexOf(':');
                if (colon > 0)
                    request.headers.insert(lines.at(i).left(colon).trimmed().toLower(),
                                           lines.at(i).mid(colon + 1).trimmed());
            }
            m_requests.append(request);
            respond(socket,
                    m_responses.value(request.path, Response{404, "not here", {}, Response::Mode::normal}));
        });
        connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
    }

    static void respond(QSslSocket* socket, const Response& response)
    {
        if (response.mode == Response::Mode::silent)
            return;
        QByteArray head = "HTTP/1.1 " + QByteArray::number(response.status) + " Answer\r\n";
        for (const auto& [name, value] : response.headers)
            head += name + ": " + value + "\r\n";
        head += "Connection: close\r\n";
        if (response.mode == Response::Mode::truncated)
            head += "Content-Length: " + QByteArray::number(response.body.size() * 2) + "\r\n";
        else if (response.mode == Response::Mode::normal)
            head += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
        socket->write(head + "\r\n" + response.body);
        socket->disconnectFromHost();
    }

    bool makeCertificate()
    {
        EVP_PKEY* key = EVP_EC_gen("P-256");
        X509* certificate = X509_new();
        bool made = key && certificate;
        if (made) {
            X509_set_version(certificate, 2);
            ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
            X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
            X509_gmtime_adj(X509_getm_notAfter(certificate), 24 * 3600);
            X509_set_pubkey(certificate, key);
            X509_NAME* name = X509_get_subject_name(certificate);
            X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                       reinterpret_cast<const unsigned char*>("127.0.0.1"), -1, -1, 0);
            X509_set_issuer_name(certificate, name);
            X509V3_CTX context;
            X509V3_set_ctx_nodb(&context);
            X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
            for (const auto& [nid, value] : {std::pair{NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost"},
                                             std::pair{NID_basic_constraints, "critical,CA:TRUE"}}) {
                X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
                made = made && extension && X509_add_ext(certificate, extension, -1) == 1;
                X509_EXTENSION_free(extension);
            }
            made = made && X509_sign(certificate, key, EVP_sha256()) > 0;
        }
        if (made) {
            m_certificate =
                QSslCertificate(pem([&](BIO* bio) { return PEM_write_bio_X509(bio, certificate); }));
            m_key =
                QSslKey(pem([&](BIO* bio) {
                            return PEM_write_bio_PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
                        }),
                        QSsl::Ec);
        }
        X509_free(certificate);
        EVP_PKEY_free(key);
        return made && !m_certificate.isNull() && !m_key.isNull();
    }

    template <typename Write> static QByteArray pem(Write write)
    {
        BIO* bio = BIO_new(BIO_s_mem());
        QByteArray text;
        if (write(bio) == 1) {
            char* data = nullptr;
            const long size = BIO_get_mem_data(bio, &data);
            text = QByteArray(data, size);
        }
        BIO_free(bio);
        return text;
    }

    QSslServer m_server;
    QSslCertificate m_certificate;
    QSslKey m_key;
    QHash<QByteArray, Response> m_responses;
    QList<Request> m_requests;
};
