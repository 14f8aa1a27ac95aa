#include "UdpBatch.h"

#include <mstcpip.h>
#include <vector>
#include <ws2tcpip.h>

namespace zpdt {

using asio::ip::udp;

namespace {

constexpr int kSocketBuffer = 4 << 20;
constexpr std::size_t kDatagram = 65536;
constexpr int kMost = 64;

#ifndef SIO_UDP_CONNRESET
constexpr DWORD SIO_UDP_CONNRESET = 0x9800000C;
#endif

UdpSent outcome(const std::error_code &error)
{
    if (error == asio::error::would_block || error == asio::error::no_buffer_space)
        return UdpSent::Blocked;
    return error == asio::error::message_size ? UdpSent::TooLarge : UdpSent::Failed;
}

} // namespace

struct UdpBatch::Private
{
    std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(kDatagram);
};

UdpBatch::UdpBatch()
    : d(std::make_unique<Private>())
{
}

UdpBatch::~UdpBatch() = default;

double UdpBatch::timerGrain()
{
    return 0.016;
}

void UdpBatch::tune(udp::socket &socket)
{
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
}

bool UdpBatch::receive(udp::socket &socket, const Sink &sink)
{
    udp::endpoint from;
    bool any = false;
    for (int i = 0; i < kMost; ++i) {
        std::error_code failed;
        const std::size_t size = socket.receive_from(asio::buffer(d->buffer), from, 0, failed);
        if (failed)
            break;
        any = true;
        sink(d->buffer.data(), size, from);
    }
    return any;
}

UdpSent UdpBatch::send(udp::socket &socket, const udp::endpoint &to, const std::uint8_t *data, std::size_t size,
                       std::size_t segment, std::size_t &sent)
{
    for (sent = 0; sent < size;) {
        std::error_code failed;
        const std::size_t piece = std::min(segment, size - sent);
        socket.send_to(asio::buffer(data + sent, piece), to, 0, failed);
        if (failed)
            return outcome(failed);
        sent += piece;
    }
    return UdpSent::Done;
}

} // namespace zpdt
