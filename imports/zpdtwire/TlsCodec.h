#pragma once

#include "Codec.h"

#include <memory>

namespace asio::ssl {
class context;
}

namespace zpdt {

/// TLS between two pieces of memory: what came from the line goes in, plain bytes come out, and the other way round.
/// Whoever owns the socket moves much at a time, whatever the size of a TLS record. One thread.
class TlsCodec
{
public:
    enum class Step
    {
        Done,
        Starved, ///< wants more from the line
        Failed   ///< broken, or ended by the other side
    };

    TlsCodec(std::shared_ptr<asio::ssl::context> context, bool server);
    ~TlsCodec();
    TlsCodec(const TlsCodec &) = delete;
    TlsCodec &operator=(const TlsCodec &) = delete;

    Step handshake();
    /// Plain bytes into @p data; those of several records, as far as there are.
    Step read(void *data, std::size_t size, std::size_t &got);
    /// Appends to output().
    bool write(const void *data, std::size_t size);

    /// Where the next bytes from the line go, once the former are used up; then received() tells how many came.
    /// Grows with what comes.
    std::uint8_t *space(std::size_t &size);
    void received(std::size_t size);
    bool hasInput() const { return m_inBegin < m_inEnd; }
    void dropInput() { m_inBegin = m_inEnd = 0; }
    /// For the line; the owner takes it away.
    Bytes &output() { return m_out; }

    /// Of the last failure; English.
    std::string error() const;
    std::string peerFingerprint() const;

private:
    struct Line;
    struct Ssl;
    Step stepOf(int result);

    std::unique_ptr<Ssl> m_ssl;
    Bytes m_in;
    std::size_t m_inBegin = 0;
    std::size_t m_inEnd = 0;
    bool m_filled = false;
    Bytes m_out;
    std::string m_error;
};

} // namespace zpdt
