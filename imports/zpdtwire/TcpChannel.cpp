#include "TcpChannel.h"

#include "Context.h"
#include "TcpTuning.h"
#include "TlsIdentity.h"

#include <asio/connect.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include <algorithm>
#include <chrono>

namespace zpdt {

namespace {

constexpr auto kConnectTime = std::chrono::seconds(10);
constexpr auto kFlushTime = std::chrono::seconds(1);
constexpr std::size_t kInBuffer = 2 * kMaxFrame;
/// Small frames are sent together up to this size.
constexpr std::size_t kGather = 64 * 1024;

using asio::ip::tcp;

} // namespace

std::shared_ptr<TcpChannel> TcpChannel::toServer(Context &context, const std::string &host, std::uint16_t port,
                                                 const std::string &fingerprint)
{
    std::shared_ptr<TcpChannel> channel(new TcpChannel(tcp::socket(context.io()), TlsIdentity::clientContext()));
    channel->m_host = host;
    channel->m_port = port;
    channel->m_fingerprint = fingerprint;
    return channel;
}

std::shared_ptr<TcpChannel> TcpChannel::accepted(Context &, tcp::socket socket, std::shared_ptr<asio::ssl::context> tls)
{
    std::shared_ptr<TcpChannel> channel(new TcpChannel(std::move(socket), std::move(tls)));
    channel->m_server = true;
    return channel;
}

TcpChannel::TcpChannel(tcp::socket socket, std::shared_ptr<asio::ssl::context> tls)
    : m_tls(std::move(tls))
    , m_stream(std::move(socket), *m_tls)
    , m_resolver(m_stream.get_executor())
    , m_timer(m_stream.get_executor())
{
}

void TcpChannel::start(Listener *listener)
{
    m_listener = listener;
    m_timer.expires_after(kConnectTime);
    m_timer.async_wait([self = shared_from_this()](std::error_code stopped) {
        if (!stopped && !self->m_ready)
            self->fail(Error::Network, "no connection within 10 s");
    });
    // Never answers from inside this call.
    asio::post(m_stream.get_executor(), [self = shared_from_this()] {
        if (self->m_closed)
            return;
        if (self->m_server)
            self->handshake();
        else
            self->resolve();
    });
}

void TcpChannel::resolve()
{
    std::error_code failed;
    const auto address = asio::ip::make_address(m_host, failed);
    if (!failed)
        return connect({tcp::endpoint(address, m_port)});
    m_resolver.async_resolve(m_host, std::to_string(m_port),
                             [self = shared_from_this()](std::error_code error, tcp::resolver::results_type results) {
                                 if (self->m_closed)
                                     return;
                                 if (error)
                                     return self->fail(Error::Network, "host not found: " + self->m_host);
                                 std::vector<tcp::endpoint> endpoints;
                                 for (const auto &result : results)
                                     endpoints.push_back(result.endpoint());
                                 self->connect(endpoints);
                             });
}

void TcpChannel::connect(const std::vector<tcp::endpoint> &endpoints)
{
    asio::async_connect(m_stream.next_layer(), endpoints,
                        [self = shared_from_this()](std::error_code error, const tcp::endpoint &) {
                            if (self->m_closed)
                                return;
                            if (error)
                                return self->fail(Error::Network, "cannot connect: " + error.message());
                            self->handshake();
                        });
}

void TcpChannel::handshake()
{
    auto &socket = m_stream.next_layer();
    std::error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
    m_metrics.congestion = tuneTcp(static_cast<NativeSocket>(socket.native_handle()));
    m_stream.async_handshake(m_server ? asio::ssl::stream_base::server : asio::ssl::stream_base::client,
                             [self = shared_from_this()](std::error_code error) {
                                 if (self->m_closed)
                                     return;
                                 if (error)
                                     return self->fail(Error::Network, "no encrypted connection: " + error.message());
                                 self->ready();
                             });
}

void TcpChannel::ready()
{
    if (!m_server && TlsIdentity::peerFingerprint(m_stream.native_handle()) != m_fingerprint)
        return fail(Error::Refused, "the server showed a certificate that is not the expected one");
    m_ready = true;
    m_timer.cancel();
    m_in.resize(kInBuffer);
    m_listener->channelReady();
    if (m_closed)
        return;
    read();
    write();
}

void TcpChannel::read()
{
    if (m_reading || m_closed || !m_ready || (!m_readingWanted && !m_closing))
        return;
    if (m_inBegin > 0) {
        std::copy(m_in.begin() + std::ptrdiff_t(m_inBegin), m_in.begin() + std::ptrdiff_t(m_inEnd), m_in.begin());
        m_inEnd -= m_inBegin;
        m_inBegin = 0;
    }
    m_reading = true;
    m_stream.async_read_some(asio::buffer(m_in.data() + m_inEnd, m_in.size() - m_inEnd),
                             [self = shared_from_this()](std::error_code error, std::size_t got) {
                                 self->m_reading = false;
                                 if (self->m_closed)
                                     return;
                                 if (error)
                                     return self->fail(Error::Network, "connection lost: " + error.message());
                                 self->m_metrics.bytesIn += got;
                                 if (!self->m_closing)
                                     self->m_inEnd += got;
                                 self->parse();
                             });
}

void TcpChannel::parse()
{
    if (m_parsing)
        return;
    m_parsing = true;
    while (!m_closed && !m_closing && m_readingWanted && m_inEnd - m_inBegin >= kFrameHeader) {
        WireReader header(m_in.data() + m_inBegin, kFrameHeader);
        const std::size_t length = header.u32();
        const std::uint8_t type = header.u8();
        const std::uint32_t stream = header.u32();
        if (length < kFrameHeader - 4 || length + 4 > kMaxFrame) {
            fail(Error::Integrity, "frame of impossible length");
            break;
        }
        if (m_inEnd - m_inBegin < length + 4)
            break;
        const std::uint8_t *body = m_in.data() + m_inBegin + kFrameHeader;
        m_inBegin += length + 4;
        m_listener->channelFrame(type, stream, body, length + 4 - kFrameHeader);
    }
    m_parsing = false;
    read();
}

void TcpChannel::setReading(bool reading)
{
    if (m_readingWanted == reading)
        return;
    m_readingWanted = reading;
    if (reading && m_ready && !m_closed)
        asio::post(m_stream.get_executor(), [self = shared_from_this()] {
            if (!self->m_closed && !self->m_reading)
                self->parse();
        });
}

void TcpChannel::send(Bytes frames)
{
    if (m_closed || m_closing || frames.empty())
        return;
    m_queued += frames.size();
    m_out.push_back(std::move(frames));
    write();
}

void TcpChannel::write()
{
    if (!m_ready || m_closed || !m_writing.empty())
        return;
    if (m_out.empty()) {
        if (m_closing)
            flushed();
        return;
    }
    m_writing = std::move(m_out.front());
    m_out.pop_front();
    while (!m_out.empty() && m_writing.size() + m_out.front().size() <= kGather) {
        m_writing.insert(m_writing.end(), m_out.front().begin(), m_out.front().end());
        m_out.pop_front();
    }
    asio::async_write(m_stream, asio::buffer(m_writing),
                      [self = shared_from_this()](std::error_code error, std::size_t sent) {
                          self->m_queued -= self->m_writing.size();
                          self->m_writing.clear();
                          if (self->m_closed)
                              return;
                          self->m_metrics.bytesOut += sent;
                          if (error)
                              return self->fail(Error::Network, "connection lost: " + error.message());
                          self->write();
                          if (!self->m_closed && !self->m_closing)
                              self->m_listener->channelWritable();
                      });
}

void TcpChannel::close()
{
    if (m_closed || m_closing)
        return;
    m_listener = nullptr;
    if (!m_ready)
        return drop();
    m_closing = true;
    m_inBegin = m_inEnd = 0;
    m_timer.expires_after(kFlushTime);
    m_timer.async_wait([self = shared_from_this()](std::error_code stopped) {
        if (!stopped)
            self->drop();
    });
    write();
    read();
}

void TcpChannel::flushed()
{
    // The other side closes when it saw the end. Closing at once, with bytes of it unread, would take back what is
    // still on its way.
    std::error_code ignored;
    m_stream.next_layer().shutdown(tcp::socket::shutdown_send, ignored);
}

void TcpChannel::fail(Error error, const std::string &text)
{
    Listener *listener = m_closing ? nullptr : m_listener;
    drop();
    if (listener)
        listener->channelClosed(error, text);
}

void TcpChannel::drop()
{
    if (m_closed)
        return;
    m_closed = true;
    m_listener = nullptr;
    m_timer.cancel();
    m_resolver.cancel();
    std::error_code ignored;
    m_stream.next_layer().close(ignored);
    m_queued -= m_queued - m_writing.size();
    m_out.clear();
}

Metrics TcpChannel::metrics() const
{
    Metrics metrics = m_metrics;
    if (m_ready && !m_closed) {
        const auto socket = const_cast<TcpChannel *>(this)->m_stream.next_layer().native_handle();
        tcpFigures(static_cast<NativeSocket>(socket), metrics.roundTripMs, metrics.retransmitPercent);
    }
    return metrics;
}

std::string TcpChannel::peer() const
{
    std::error_code failed;
    const auto endpoint = m_stream.next_layer().remote_endpoint(failed);
    return failed ? m_host : endpoint.address().to_string();
}

} // namespace zpdt
