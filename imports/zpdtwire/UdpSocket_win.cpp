#include "UdpSocket.h"

#include <mstcpip.h>
#include <vector>
#include <ws2tcpip.h>

namespace zpdt {

namespace {

constexpr int kSocketBuffer = 4 << 20;
constexpr std::size_t kDatagram = 65536;

#ifndef SIO_UDP_CONNRESET
constexpr DWORD SIO_UDP_CONNRESET = 0x9800000C;
#endif

} // namespace

struct UdpSocket::Private
{
    explicit Private(asio::io_context &io)
        : socket(io)
        , buffer(kDatagram)
    {
    }
    asio::ip::udp::socket socket;
    std::vector<std::uint8_t> buffer;
};

UdpSocket::UdpSocket(asio::io_context &io)
    : d(std::make_shared<Private>(io))
{
}

UdpSocket::~UdpSocket()
{
    close();
}

double UdpSocket::timerGrain()
{
    return 0.02;
}

bool UdpSocket::open(const Endpoint &local, std::string &error)
{
    auto &socket = d->socket;
    std::error_code failed;
    socket.open(local.protocol(), failed);
    if (!failed)
        socket.bind(local, failed);
    if (failed) {
        error = failed.message();
        close();
        return false;
    }
    std::error_code ignored;
    socket.set_option(asio::socket_base::receive_buffer_size(kSocketBuffer), ignored);
    socket.set_option(asio::socket_base::send_buffer_size(kSocketBuffer), ignored);
    socket.non_blocking(true, ignored);
    const DWORD yes = 1;
    const auto handle = socket.native_handle();
    (void)::setsockopt(handle, IPPROTO_IP, IP_DONTFRAGMENT, reinterpret_cast<const char *>(&yes), sizeof(yes));
    (void)::setsockopt(handle, IPPROTO_IPV6, IPV6_DONTFRAG, reinterpret_cast<const char *>(&yes), sizeof(yes));
    // A word of some host that a port is closed must not come up as an error of the next receive.
    BOOL report = FALSE;
    DWORD returned = 0;
    (void)::WSAIoctl(handle, SIO_UDP_CONNRESET, &report, sizeof(report), nullptr, 0, &returned, nullptr, nullptr);
    return true;
}

UdpSocket::Endpoint UdpSocket::local() const
{
    std::error_code ignored;
    return d->socket.local_endpoint(ignored);
}

void UdpSocket::close()
{
    std::error_code ignored;
    d->socket.close(ignored);
}

void UdpSocket::whenReadable(std::function<void()> work)
{
    d->socket.async_wait(asio::ip::udp::socket::wait_read, [d = d, work = std::move(work)](std::error_code) {
        if (d->socket.is_open())
            work();
    });
}

std::size_t UdpSocket::receive(const Sink &sink)
{
    const auto held = d;
    Endpoint from;
    std::size_t count = 0;
    for (; count < kMost && held->socket.is_open(); ++count) {
        std::error_code failed;
        const std::size_t size = held->socket.receive_from(asio::buffer(held->buffer), from, 0, failed);
        if (failed)
            break;
        sink(held->buffer.data(), size, from, std::chrono::steady_clock::now());
    }
    return count;
}

UdpSent UdpSocket::send(const Endpoint &to, const std::uint8_t *data, std::size_t size, std::size_t segment,
                        std::size_t &sent)
{
    for (sent = 0; sent < size;) {
        std::error_code failed;
        const std::size_t piece = std::min(segment, size - sent);
        d->socket.send_to(asio::buffer(data + sent, piece), to, 0, failed);
        if (failed == asio::error::would_block || failed == asio::error::no_buffer_space)
            return UdpSent::Blocked;
        if (failed)
            return failed == asio::error::message_size ? UdpSent::TooLarge : UdpSent::Failed;
        sent += piece;
    }
    return UdpSent::Done;
}

} // namespace zpdt
