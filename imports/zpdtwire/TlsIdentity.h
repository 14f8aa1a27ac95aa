#pragma once

#include "UdpCrypto.h"

#include <memory>
#include <string>

namespace asio::ssl {
class context;
}

namespace zpdt {

/// A server's certificate with its key, made by itself. Clients know it by its fingerprint alone.
class TlsIdentity
{
public:
    /// Reads @p file (PEM, certificate and key), or makes both and writes it, readable by this user only. A file that
    /// holds anything else is an error and stays as it is. False with an English reason in @p error.
    bool load(const std::string &file, std::string &error);

    /// SHA-256 of the certificate, lower-case hexadecimal.
    const std::string &fingerprint() const { return m_fingerprint; }
    std::shared_ptr<asio::ssl::context> serverContext() const { return m_context; }

    /// The certificate in its binary form.
    const std::string &certificate() const { return m_certificate; }
    /// Signs with the certificate's key. False when the library failed.
    bool sign(const Bytes &data, std::string &signature) const;
    /// Whether the owner of a certificate in its binary form has signed @p data.
    static bool verify(const std::string &certificate, const Bytes &data, const std::string &signature);
    /// A secret that holds as long as the key does, a different one for each purpose.
    UdpSecret secret(const std::string &purpose) const;

    /// For clients; whom they trust is decided with the fingerprint after the handshake.
    static std::shared_ptr<asio::ssl::context> clientContext();
    /// Fingerprint of the other side of an OpenSSL connection, empty when it showed no certificate.
    static std::string peerFingerprint(void *ssl);

private:
    std::string m_fingerprint;
    std::string m_certificate;
    std::shared_ptr<asio::ssl::context> m_context;
};

} // namespace zpdt
