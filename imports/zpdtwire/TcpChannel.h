#pragma once

#include "Channel.h"
#include "TlsCodec.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <deque>

namespace zpdt {

class Context;

/// The channel over TCP with TLS. Connecting, the TLS handshake and the check of the certificate have to be done
/// within ten seconds. Keeps itself alive until its last asynchronous call came back.
class TcpChannel : public Channel, public std::enable_shared_from_this<TcpChannel>
{
public:
    static std::shared_ptr<TcpChannel> toServer(Context &context, const std::string &host, std::uint16_t port,
                                                const std::string &fingerprint);
    static std::shared_ptr<TcpChannel> accepted(Context &context, asio::ip::tcp::socket socket,
                                                std::shared_ptr<asio::ssl::context> tls);

    void start(Listener *listener) override;
    void send(Bytes frames) override;
    std::size_t queuedBytes() const override { return m_queued; }
    void setReading(bool reading) override;
    void close() override;
    Metrics metrics() const override;
    std::uint64_t bytesReceived() const override { return m_metrics.bytesIn; }
    std::string peer() const override;
    std::shared_ptr<const void> holdFrame() override;

private:
    TcpChannel(asio::ip::tcp::socket socket, std::shared_ptr<asio::ssl::context> tls, bool server);

    void resolve();
    void connect(const std::vector<asio::ip::tcp::endpoint> &endpoints);
    void handshake();
    void ready();
    void read();
    void decode();
    bool parse();
    void makeRoom();
    void write();
    void encode();
    void flushed();
    void fail(Error error, const std::string &text);
    void drop();

    asio::ip::tcp::socket m_socket;
    TlsCodec m_codec;
    asio::ip::tcp::resolver m_resolver;
    asio::steady_timer m_timer;
    Listener *m_listener = nullptr;
    std::string m_host;
    std::uint16_t m_port = 0;
    std::string m_fingerprint;
    const bool m_server;
    bool m_ready = false;
    bool m_closing = false;
    bool m_closed = false;
    bool m_readingWanted = true;
    bool m_reading = false;
    bool m_decoding = false;

    std::shared_ptr<Bytes> m_in; ///< plain bytes; frames that were held stay in it
    bool m_inHeld = false;
    std::size_t m_inBegin = 0;
    std::size_t m_inEnd = 0;
    std::deque<Bytes> m_out;
    Bytes m_gathered;               ///< small frames on their way into one record
    Bytes m_writing;                ///< cipher text that the socket is taking
    std::size_t m_writingPlain = 0; ///< what m_writing holds
    bool m_sending = false;
    std::size_t m_queued = 0; ///< plain bytes of m_out and m_writing

    Metrics m_metrics;
};

} // namespace zpdt
