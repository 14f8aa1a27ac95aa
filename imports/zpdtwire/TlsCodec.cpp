#include "TlsCodec.h"

#include "TlsIdentity.h"

#include <asio/ssl/context.hpp>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <cstring>

namespace zpdt {

namespace {
constexpr std::size_t kLeastInput = 16 * 1024;
constexpr std::size_t kMostInput = 256 * 1024;
} // namespace

struct TlsCodec::Ssl
{
    std::shared_ptr<asio::ssl::context> context;
    SSL *ssl = nullptr;
    ~Ssl() { SSL_free(ssl); }
};

/// What OpenSSL takes for the line.
struct TlsCodec::Line
{
    static int write(BIO *bio, const char *data, std::size_t size, std::size_t *written)
    {
        auto *self = static_cast<TlsCodec *>(BIO_get_data(bio));
        self->m_out.insert(self->m_out.end(), data, data + size);
        *written = size;
        return 1;
    }
    static int read(BIO *bio, char *data, std::size_t size, std::size_t *got)
    {
        auto *self = static_cast<TlsCodec *>(BIO_get_data(bio));
        BIO_clear_retry_flags(bio);
        *got = std::min(size, self->m_inEnd - self->m_inBegin);
        if (*got == 0) {
            BIO_set_retry_read(bio);
            return 0;
        }
        std::memcpy(data, self->m_in.data() + self->m_inBegin, *got);
        self->m_inBegin += *got;
        return 1;
    }
    static long control(BIO *, int command, long, void *) { return command == BIO_CTRL_FLUSH ? 1 : 0; }
    static const BIO_METHOD *method()
    {
        static const BIO_METHOD *const only = [] {
            BIO_METHOD *made = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "transfer line");
            BIO_meth_set_write_ex(made, write);
            BIO_meth_set_read_ex(made, read);
            BIO_meth_set_ctrl(made, control);
            return made;
        }();
        return only;
    }
};

TlsCodec::TlsCodec(std::shared_ptr<asio::ssl::context> context, bool server)
    : m_ssl(std::make_unique<Ssl>())
{
    m_ssl->context = std::move(context);
    m_ssl->ssl = SSL_new(m_ssl->context->native_handle());
    BIO *bio = BIO_new(Line::method());
    BIO_set_data(bio, this);
    BIO_set_init(bio, 1);
    SSL_set_bio(m_ssl->ssl, bio, bio);
    if (server)
        SSL_set_accept_state(m_ssl->ssl);
    else
        SSL_set_connect_state(m_ssl->ssl);
}

TlsCodec::~TlsCodec() = default;

TlsCodec::Step TlsCodec::stepOf(int result)
{
    switch (SSL_get_error(m_ssl->ssl, result)) {
    case SSL_ERROR_NONE:
        return Step::Done;
    case SSL_ERROR_WANT_READ:
        return Step::Starved;
    case SSL_ERROR_ZERO_RETURN:
        m_error = "ended by the other side";
        return Step::Failed;
    default:
        break;
    }
    const unsigned long code = ERR_peek_last_error();
    const char *reason = code ? ERR_reason_error_string(code) : nullptr;
    m_error = reason ? reason : "TLS error";
    return Step::Failed;
}

TlsCodec::Step TlsCodec::handshake()
{
    ERR_clear_error();
    return stepOf(SSL_do_handshake(m_ssl->ssl));
}

TlsCodec::Step TlsCodec::read(void *data, std::size_t size, std::size_t &got)
{
    got = 0;
    ERR_clear_error();
    while (got < size) {
        std::size_t part = 0;
        if (SSL_read_ex(m_ssl->ssl, static_cast<char *>(data) + got, size - got, &part) == 1) {
            got += part;
            continue;
        }
        const Step step = stepOf(0);
        // What was read before a failure is given first; the failure comes again.
        return got > 0 ? Step::Done : step;
    }
    return Step::Done;
}

bool TlsCodec::write(const void *data, std::size_t size)
{
    ERR_clear_error();
    std::size_t written = 0;
    if (SSL_write_ex(m_ssl->ssl, data, size, &written) == 1 && written == size)
        return true;
    stepOf(0);
    return false;
}

std::uint8_t *TlsCodec::space(std::size_t &size)
{
    m_inBegin = m_inEnd = 0;
    const std::size_t wanted = m_in.empty() ? kLeastInput
                               : m_filled   ? std::min(2 * m_in.size(), kMostInput)
                                            : m_in.size();
    if (wanted > m_in.size()) {
        m_in.clear();
        m_in.resize(wanted);
    }
    size = m_in.size();
    return m_in.data();
}

void TlsCodec::received(std::size_t size)
{
    m_inBegin = 0;
    m_inEnd = size;
    m_filled = size == m_in.size();
}

std::string TlsCodec::error() const
{
    return m_error;
}

std::string TlsCodec::peerFingerprint() const
{
    return TlsIdentity::peerFingerprint(m_ssl->ssl);
}

} // namespace zpdt
