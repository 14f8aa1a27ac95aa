#include "TcpChannel.h"

#include "Context.h"
#include "FramePool.h"
#include "TcpTuning.h"
#include "TlsIdentity.h"

#include <asio/connect.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include <chrono>
#include <cstring>
#include <utility>

namespace zpdt {

namespace {

constexpr auto kConnectTime = std::chrono::seconds(10);
constexpr auto kFlushTime = std::chrono::seconds(1);
/// One TLS record.
constexpr std::size_t kRecord = 16 * 1024;
/// For a connection on which little comes.
constexpr std::size_t kFirstBuffer = 2 * kRecord;
/// Small frames share records up to this size.
constexpr std::size_t kGather = 4 * kRecord;
/// Cipher text that is given to the socket at a time.
constexpr std::size_t kBatch = 192 * 1024;

using asio::ip::tcp;

} // namespace

std::shared_ptr<TcpChannel> TcpChannel::toServer(Context &context, const std::string &host, std::uint16_t port,
                                                 const std::string &fingerprint)
{
    std::shared_ptr<TcpChannel> channel(new TcpChannel(tcp::socket(context.io()), TlsIdentity::clientContext(), false));
    channel->m_host = host;
    channel->m_port = port;
    channel->m_fingerprint = fingerprint;
    return channel;
}

std::shared_ptr<TcpChannel> TcpChannel::accepted(Context &, tcp::socket socket, std::shared_ptr<asio::ssl::context> tls)
{
    std::shared_ptr<TcpChannel> channel(new TcpChannel(std::move(socket), std::move(tls), true));
    return channel;
}

TcpChannel::TcpChannel(tcp::socket socket, std::shared_ptr<asio::ssl::context> tls, bool server)
    : m_socket(std::move(socket))
    , m_codec(std::move(tls), server)
    , m_resolver(m_socket.get_executor())
    , m_timer(m_socket.get_executor())
    , m_server(server)
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
    asio::post(m_socket.get_executor(), [self = shared_from_this()] {
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
    asio::async_connect(m_socket, endpoints, [self = shared_from_this()](std::error_code error, const tcp::endpoint &) {
        if (self->m_closed)
            return;
        if (error)
            return self->fail(Error::Network, "cannot connect: " + error.message());
        self->handshake();
    });
}

void TcpChannel::handshake()
{
    std::error_code ignored;
    m_socket.set_option(tcp::no_delay(true), ignored);
    m_metrics.congestion = tuneTcp(static_cast<NativeSocket>(m_socket.native_handle()));
    decode();
}

void TcpChannel::ready()
{
    if (!m_server && m_codec.peerFingerprint() != m_fingerprint)
        return fail(Error::Refused, "the server showed a certificate that is not the expected one");
    m_ready = true;
    m_timer.cancel();
    m_in = FramePool::share(kFirstBuffer);
    m_listener->channelReady();
}

void TcpChannel::read()
{
    const bool wanted = m_readingWanted || m_closing || !m_ready;
    if (m_reading || m_closed || !wanted || m_codec.hasInput())
        return;
    m_reading = true;
    std::size_t size = 0;
    std::uint8_t *space = m_codec.space(size);
    m_socket.async_read_some(asio::buffer(space, size), [self = shared_from_this()](std::error_code error,
                                                                                    std::size_t got) {
        self->m_reading = false;
        if (self->m_closed)
            return;
        if (error)
            return self->fail(Error::Network,
                              (self->m_ready ? "connection lost: " : "no encrypted connection: ") + error.message());
        self->m_metrics.bytesIn += got;
        self->m_codec.received(got);
        self->decode();
    });
}

/// Goes on with what came from the line as far as it reaches.
void TcpChannel::decode()
{
    if (m_decoding || m_closed)
        return;
    m_decoding = true;
    while (!m_closed) {
        if (m_closing)
            break;
        TlsCodec::Step step = TlsCodec::Step::Done;
        if (!m_ready) {
            step = m_codec.handshake();
            if (step == TlsCodec::Step::Done)
                ready();
        } else if (parse()) {
            makeRoom();
            std::size_t got = 0;
            step = m_codec.read(m_in->data() + m_inEnd, m_in->size() - m_inEnd, got);
            m_inEnd += got;
        } else {
            break;
        }
        if (step == TlsCodec::Step::Failed)
            fail(Error::Network, (m_ready ? "connection lost: " : "no encrypted connection: ") + m_codec.error());
        if (step != TlsCodec::Step::Done)
            break;
    }
    m_decoding = false;
    if (m_closing)
        m_codec.dropInput();
    write();
    read();
}

/// Delivers the whole frames that are there. False when no more are wanted now.
bool TcpChannel::parse()
{
    while (!m_closed && !m_closing && m_readingWanted) {
        if (m_inEnd - m_inBegin < kFrameHeader)
            return true;
        WireReader header(m_in->data() + m_inBegin, kFrameHeader);
        const std::size_t length = header.u32();
        const std::uint8_t type = header.u8();
        const std::uint32_t stream = header.u32();
        if (length < kFrameHeader - 4 || length + 4 > kMaxFrame) {
            fail(Error::Integrity, "frame of impossible length");
            return false;
        }
        if (m_inEnd - m_inBegin < length + 4)
            return true;
        const std::uint8_t *body = m_in->data() + m_inBegin + kFrameHeader;
        m_inBegin += length + 4;
        m_listener->channelFrame(type, stream, body, length + 4 - kFrameHeader);
    }
    return false;
}

/// Room for a record at least, behind the beginning of the frame that is not whole yet.
void TcpChannel::makeRoom()
{
    if (m_inBegin == m_inEnd && !m_inHeld)
        m_inBegin = m_inEnd = 0;
    if (m_in->size() - m_inEnd >= kRecord)
        return;
    const std::size_t rest = m_inEnd - m_inBegin;
    if (!m_inHeld && m_inBegin >= kRecord) {
        std::memmove(m_in->data(), m_in->data() + m_inBegin, rest);
    } else {
        const std::shared_ptr<Bytes> full = std::exchange(m_in, FramePool::share(FramePool::kSlab));
        std::memcpy(m_in->data(), full->data() + m_inBegin, rest);
        m_inHeld = false;
    }
    m_inBegin = 0;
    m_inEnd = rest;
}

std::shared_ptr<const void> TcpChannel::holdFrame()
{
    m_inHeld = true;
    return m_in;
}

void TcpChannel::setReading(bool reading)
{
    if (m_readingWanted == reading)
        return;
    m_readingWanted = reading;
    if (reading && m_ready && !m_closed)
        asio::post(m_socket.get_executor(), [self = shared_from_this()] { self->decode(); });
}

void TcpChannel::send(Bytes frames)
{
    if (m_closed || m_closing || frames.empty())
        return;
    m_queued += frames.size();
    m_out.push_back(std::move(frames));
    write();
}

/// Encrypts about a batch of what is queued.
void TcpChannel::encode()
{
    while (!m_out.empty() && m_codec.output().size() < kBatch) {
        Bytes frames = std::move(m_out.front());
        m_out.pop_front();
        m_gathered.clear();
        while (!m_out.empty() && m_gathered.size() + frames.size() + m_out.front().size() <= kGather) {
            m_gathered.insert(m_gathered.end(), frames.begin(), frames.end());
            frames = std::move(m_out.front());
            m_out.pop_front();
        }
        if (!m_gathered.empty()) {
            m_gathered.insert(m_gathered.end(), frames.begin(), frames.end());
            frames.swap(m_gathered);
        }
        m_writingPlain += frames.size();
        if (!m_codec.write(frames.data(), frames.size()))
            return fail(Error::Network, "connection lost: " + m_codec.error());
        if (m_gathered.empty())
            FramePool::give(std::move(frames));
        else
            frames.swap(m_gathered);
    }
}

void TcpChannel::write()
{
    if (m_closed || m_sending)
        return;
    if (m_ready)
        encode();
    if (m_closed)
        return;
    if (m_codec.output().empty()) {
        if (m_closing)
            flushed();
        return;
    }
    m_sending = true;
    m_writing.swap(m_codec.output());
    // The library's own condition hands over 64 KiB at a time.
    const auto all = [](std::error_code error, std::size_t) { return error ? 0 : kBatch * 2; };
    asio::async_write(m_socket, asio::buffer(m_writing), all,
                      [self = shared_from_this()](std::error_code error, std::size_t sent) {
                          self->m_sending = false;
                          self->m_queued -= std::exchange(self->m_writingPlain, 0);
                          self->m_writing.clear();
                          if (self->m_closed)
                              return;
                          self->m_metrics.bytesOut += sent;
                          if (error)
                              return self->fail(Error::Network, "connection lost: " + error.message());
                          self->write();
                          if (!self->m_closed && !self->m_closing && self->m_ready)
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
    m_socket.shutdown(tcp::socket::shutdown_send, ignored);
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
    m_socket.close(ignored);
    m_queued = m_writingPlain;
    m_out.clear();
}

Metrics TcpChannel::metrics() const
{
    Metrics metrics = m_metrics;
    if (m_ready && !m_closed) {
        const auto socket = const_cast<TcpChannel *>(this)->m_socket.native_handle();
        tcpFigures(static_cast<NativeSocket>(socket), metrics.roundTripMs, metrics.retransmitPercent);
        std::error_code failed;
        const auto local = m_socket.local_endpoint(failed);
        metrics.localAddress = failed ? std::string() : local.address().to_string();
    }
    return metrics;
}

std::string TcpChannel::peer() const
{
    std::error_code failed;
    const auto endpoint = m_socket.remote_endpoint(failed);
    return failed ? m_host : endpoint.address().to_string();
}

} // namespace zpdt
