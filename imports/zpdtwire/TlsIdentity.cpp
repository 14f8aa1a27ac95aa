#include "TlsIdentity.h"

#include <asio/ssl/context.hpp>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace zpdt {

namespace {

template <auto Free>
struct Freer
{
    template <typename T>
    void operator()(T *p) const
    {
        Free(p);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freer<X509_free>>;
using Digester = std::unique_ptr<EVP_MD_CTX, Freer<EVP_MD_CTX_free>>;
using Memory = std::unique_ptr<BIO, Freer<BIO_free_all>>;

constexpr long kTenYears = 3650L * 24 * 3600;

std::string fingerprintOf(const X509 *certificate)
{
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    if (!certificate || X509_digest(certificate, EVP_sha256(), hash, &size) != 1)
        return {};
    static const char kDigits[] = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        text += kDigits[hash[i] >> 4];
        text += kDigits[hash[i] & 15];
    }
    return text;
}

/// Certificate and key as PEM; empty when OpenSSL failed.
std::string makePem()
{
    Key key(EVP_EC_gen("P-256"));
    Certificate certificate(X509_new());
    if (!key || !certificate)
        return {};
    unsigned char serial[8];
    if (RAND_bytes(serial, sizeof(serial)) != 1)
        return {};
    serial[0] &= 0x7f;
    std::uint64_t number = 0;
    for (unsigned char byte : serial)
        number = number << 8 | byte;
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), number);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -24 * 3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kTenYears);
    X509_set_pubkey(certificate.get(), key.get());
    X509_NAME *name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char *>("transfer service"),
                               -1, -1, 0);
    X509_set_issuer_name(certificate.get(), name);
    if (X509_sign(certificate.get(), key.get(), EVP_sha256()) == 0)
        return {};
    Memory out(BIO_new(BIO_s_mem()));
    if (!out || PEM_write_bio_X509(out.get(), certificate.get()) != 1 ||
        PEM_write_bio_PrivateKey(out.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) != 1)
        return {};
    char *data = nullptr;
    const long size = BIO_get_mem_data(out.get(), &data);
    return std::string(data, static_cast<std::size_t>(size));
}

bool writePrivate(const std::filesystem::path &file, const std::string &text)
{
    namespace fs = std::filesystem;
    const fs::path temporary = file.string() + ".new";
    std::error_code failed;
    fs::remove(temporary, failed);
    {
        // Closed to others while it is still empty.
        std::ofstream out(temporary, std::ios::binary);
        fs::permissions(temporary, fs::perms::owner_read | fs::perms::owner_write, failed);
        if (!out || failed)
            return false;
        out << text;
        out.close();
        if (!out)
            return false;
    }
    fs::rename(temporary, file, failed);
    return !failed;
}

std::shared_ptr<asio::ssl::context> plainContext(asio::ssl::context::method method)
{
    auto context = std::make_shared<asio::ssl::context>(method);
    SSL_CTX *native = context->native_handle();
    SSL_CTX_set_min_proto_version(native, TLS1_2_VERSION);
    // The library would rather take AES-256, which costs a tenth more of the time that is nearly all cipher on a fast
    // line.
    SSL_CTX_set_ciphersuites(native, "TLS_AES_128_GCM_SHA256:TLS_CHACHA20_POLY1305_SHA256:TLS_AES_256_GCM_SHA384");
    SSL_CTX_set_options(native, SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    // Every connection stands for itself; there is nothing to resume and nothing to keep in memory.
    SSL_CTX_set_session_cache_mode(native, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_num_tickets(native, 0);
    return context;
}

} // namespace

bool TlsIdentity::load(const std::string &file, std::string &error)
{
    namespace fs = std::filesystem;
    const fs::path path = fs::u8path(file);
    std::error_code failed;
    if (!fs::exists(path, failed)) {
        const std::string pem = makePem();
        if (pem.empty() || !writePrivate(path, pem)) {
            error = "cannot make the transfer certificate " + file;
            return false;
        }
    }
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    const std::string pem = text.str();
    Memory certificateText(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    Memory keyText(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    Certificate certificate(PEM_read_bio_X509(certificateText.get(), nullptr, nullptr, nullptr));
    Key key(PEM_read_bio_PrivateKey(keyText.get(), nullptr, nullptr, nullptr));
    auto context = plainContext(asio::ssl::context::tls_server);
    SSL_CTX *native = context->native_handle();
    if (!certificate || !key || SSL_CTX_use_certificate(native, certificate.get()) != 1 ||
        SSL_CTX_use_PrivateKey(native, key.get()) != 1 || SSL_CTX_check_private_key(native) != 1) {
        error = "no usable certificate with its key in " + file;
        return false;
    }
    m_fingerprint = fingerprintOf(certificate.get());
    unsigned char *binary = nullptr;
    const int size = i2d_X509(certificate.get(), &binary);
    m_certificate.assign(reinterpret_cast<char *>(binary), size > 0 ? std::size_t(size) : 0);
    OPENSSL_free(binary);
    m_context = std::move(context);
    return true;
}

bool TlsIdentity::sign(const Bytes &data, std::string &signature) const
{
    const Digester digester(EVP_MD_CTX_new());
    EVP_PKEY *key = m_context ? SSL_CTX_get0_privatekey(m_context->native_handle()) : nullptr;
    std::size_t size = key ? std::size_t(EVP_PKEY_get_size(key)) : 0;
    signature.resize(size);
    const bool good = key && digester && EVP_DigestSignInit(digester.get(), nullptr, EVP_sha256(), nullptr, key) == 1 &&
                      EVP_DigestSign(digester.get(), reinterpret_cast<unsigned char *>(&signature[0]), &size,
                                     data.data(), data.size()) == 1;
    signature.resize(good ? size : 0);
    return good;
}

bool TlsIdentity::verify(const std::string &certificate, const Bytes &data, const std::string &signature)
{
    const auto *bytes = reinterpret_cast<const unsigned char *>(certificate.data());
    const Certificate parsed(d2i_X509(nullptr, &bytes, long(certificate.size())));
    EVP_PKEY *key = parsed ? X509_get0_pubkey(parsed.get()) : nullptr;
    const Digester digester(EVP_MD_CTX_new());
    return key && digester && EVP_DigestVerifyInit(digester.get(), nullptr, EVP_sha256(), nullptr, key) == 1 &&
           EVP_DigestVerify(digester.get(), reinterpret_cast<const unsigned char *>(signature.data()), signature.size(),
                            data.data(), data.size()) == 1;
}

UdpSecret TlsIdentity::secret(const std::string &purpose) const
{
    unsigned char *binary = nullptr;
    const int size = m_context ? i2d_PrivateKey(SSL_CTX_get0_privatekey(m_context->native_handle()), &binary) : 0;
    const std::size_t length = size > 0 ? std::size_t(size) : 0;
    const UdpSecret out = udpMac(binary, length, {{purpose.data(), purpose.size()}});
    OPENSSL_clear_free(binary, length);
    return out;
}

std::shared_ptr<asio::ssl::context> TlsIdentity::clientContext()
{
    return plainContext(asio::ssl::context::tls_client);
}

std::string TlsIdentity::peerFingerprint(void *ssl)
{
    const Certificate certificate(SSL_get1_peer_certificate(static_cast<SSL *>(ssl)));
    return fingerprintOf(certificate.get());
}

} // namespace zpdt
