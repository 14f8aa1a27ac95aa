#pragma once

#include "Channel.h"

#include <asio/ip/tcp.hpp>
#include <asio/ssl/context.hpp>
#include <asio/ssl/stream.hpp>
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

private:
    TcpChannel(asio::ip::tcp::socket socket, std::shared_ptr<asio::ssl::context> tls);

    void resolve();
    void connect(const std::vector<asio::ip::tcp::endpoint> &endpoints);
    void handshake();
    void ready();
    void read();
    void parse();
    void write();
    void flushed();
    void fail(Error error, const std::string &text);
    void drop();

    std::shared_ptr<asio::ssl::context> m_tls;
    asio::ssl::stream<asio::ip::tcp::socket> m_stream;
    asio::ip::tcp::resolver m_resolver;
    asio::steady_timer m_timer;
    Listener *m_listener = nullptr;
    std::string m_host;
    std::uint16_t m_port = 0;
    std::string m_fingerprint;
    bool m_server = false;
    bool m_ready = false;
    bool m_closing = false;
    bool m_closed = false;
    bool m_readingWanted = true;
    bool m_reading = false;
    bool m_parsing = false;

    Bytes m_in;
    std::size_t m_inBegin = 0;
    std::size_t m_inEnd = 0;
    std::deque<Bytes> m_out;
    Bytes m_writing;
    std::size_t m_queued = 0; ///< m_out and m_writing

    Metrics m_metrics;
};

} // namespace zpdt
