#include "UdpBatch.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/udp.h>
#include <sys/socket.h>
#include <vector>

namespace zpdt {

namespace {

using asio::ip::udp;

constexpr int kSocketBuffer = 4 << 20;
constexpr std::size_t kDatagram = 65536;

template <typename T>
void option(int fd, int level, int name, T value)
{
    (void)::setsockopt(fd, level, name, &value, sizeof(value));
}

UdpSent outcome(int error)
{
    if (error == EAGAIN || error == EWOULDBLOCK || error == ENOBUFS)
        return UdpSent::Blocked;
    return error == EMSGSIZE ? UdpSent::TooLarge : UdpSent::Failed;
}

#ifdef __linux__
constexpr std::size_t kReceive = 16;
constexpr std::size_t kSegments = 64; ///< that one call may cut
#ifdef UDP_SEGMENT
constexpr int kCut = UDP_SEGMENT;
constexpr int kJoin = UDP_GRO;
#else
constexpr int kCut = 103;
constexpr int kJoin = 104;
#endif
#endif

} // namespace

struct UdpBatch::Private
{
#ifdef __linux__
    Private()
        : buffer(kReceive * kDatagram)
    {
        for (std::size_t i = 0; i < kReceive; ++i) {
            vectors[i] = {buffer.data() + i * kDatagram, kDatagram};
            std::memset(&messages[i], 0, sizeof(messages[i]));
        }
    }
    std::vector<std::uint8_t, std::allocator<std::uint8_t>> buffer;
    std::array<iovec, kReceive> vectors{};
    std::array<mmsghdr, kReceive> messages{};
    std::array<udp::endpoint, kReceive> from;
    std::array<std::array<char, 64>, kReceive> control{};
    bool cuts = true; ///< the system cuts a large piece into datagrams
#else
    std::vector<std::uint8_t> buffer = std::vector<std::uint8_t>(kDatagram);
#endif
};

UdpBatch::UdpBatch()
    : d(std::make_unique<Private>())
{
}

UdpBatch::~UdpBatch() = default;

double UdpBatch::timerGrain()
{
    return 0.002;
}

void UdpBatch::tune(udp::socket &socket)
{
    const int fd = socket.native_handle();
    option(fd, SOL_SOCKET, SO_RCVBUF, kSocketBuffer);
    option(fd, SOL_SOCKET, SO_SNDBUF, kSocketBuffer);
#ifdef __linux__
    // Sizes are probed here, so what the system believes of the path is of no interest.
    option(fd, IPPROTO_IP, IP_MTU_DISCOVER, IP_PMTUDISC_PROBE);
    option(fd, IPPROTO_IPV6, IPV6_MTU_DISCOVER, IPV6_PMTUDISC_PROBE);
    option(fd, IPPROTO_UDP, kJoin, 1);
#endif
    std::error_code ignored;
    socket.non_blocking(true, ignored);
}

#ifdef __linux__

bool UdpBatch::receive(udp::socket &socket, const Sink &sink)
{
    for (std::size_t i = 0; i < kReceive; ++i) {
        msghdr &head = d->messages[i].msg_hdr;
        head.msg_name = d->from[i].data();
        head.msg_namelen = static_cast<socklen_t>(d->from[i].capacity());
        head.msg_iov = &d->vectors[i];
        head.msg_iovlen = 1;
        head.msg_control = d->control[i].data();
        head.msg_controllen = d->control[i].size();
    }
    const int count = ::recvmmsg(socket.native_handle(), d->messages.data(), kReceive, MSG_DONTWAIT, nullptr);
    for (int i = 0; i < count; ++i) {
        msghdr &head = d->messages[std::size_t(i)].msg_hdr;
        udp::endpoint &from = d->from[std::size_t(i)];
        from.resize(head.msg_namelen);
        const std::size_t size = d->messages[std::size_t(i)].msg_len;
        std::size_t segment = size;
        for (cmsghdr *part = CMSG_FIRSTHDR(&head); part; part = CMSG_NXTHDR(&head, part)) {
            if (part->cmsg_level == IPPROTO_UDP && part->cmsg_type == kJoin) {
                int joined = 0;
                std::memcpy(&joined, CMSG_DATA(part), sizeof(joined));
                if (joined > 0)
                    segment = std::size_t(joined);
            }
        }
        auto *data = static_cast<std::uint8_t *>(d->vectors[std::size_t(i)].iov_base);
        for (std::size_t at = 0; at < size; at += segment)
            sink(data + at, std::min(segment, size - at), from);
    }
    return count > 0;
}

UdpSent UdpBatch::send(udp::socket &socket, const udp::endpoint &to, const std::uint8_t *data, std::size_t size,
                       std::size_t segment, std::size_t &sent)
{
    const int fd = socket.native_handle();
    sent = 0;
    while (sent < size && d->cuts && size - sent > segment) {
        const std::size_t piece = std::min({size - sent, segment * kSegments, kDatagram / segment * segment - segment});
        iovec vector{const_cast<std::uint8_t *>(data + sent), piece};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(std::uint16_t))] = {};
        msghdr head{};
        head.msg_name = const_cast<sockaddr *>(to.data());
        head.msg_namelen = static_cast<socklen_t>(to.size());
        head.msg_iov = &vector;
        head.msg_iovlen = 1;
        head.msg_control = control;
        head.msg_controllen = sizeof(control);
        cmsghdr *part = CMSG_FIRSTHDR(&head);
        part->cmsg_level = IPPROTO_UDP;
        part->cmsg_type = kCut;
        part->cmsg_len = CMSG_LEN(sizeof(std::uint16_t));
        const auto cut = static_cast<std::uint16_t>(segment);
        std::memcpy(CMSG_DATA(part), &cut, sizeof(cut));
        if (::sendmsg(fd, &head, MSG_DONTWAIT) >= 0) {
            sent += piece;
            continue;
        }
        if (errno != EIO && errno != EINVAL && errno != EOPNOTSUPP)
            return outcome(errno);
        // Not with this system or device: one by one from here on.
        d->cuts = false;
    }
    while (sent < size) {
        std::array<mmsghdr, kSegments> messages{};
        std::array<iovec, kSegments> vectors;
        unsigned count = 0;
        for (std::size_t at = sent; at < size && count < kSegments; at += segment, ++count) {
            vectors[count] = {const_cast<std::uint8_t *>(data + at), std::min(segment, size - at)};
            messages[count].msg_hdr.msg_name = const_cast<sockaddr *>(to.data());
            messages[count].msg_hdr.msg_namelen = static_cast<socklen_t>(to.size());
            messages[count].msg_hdr.msg_iov = &vectors[count];
            messages[count].msg_hdr.msg_iovlen = 1;
        }
        const int done = ::sendmmsg(fd, messages.data(), count, MSG_DONTWAIT);
        if (done <= 0)
            return outcome(errno);
        for (int i = 0; i < done; ++i)
            sent += vectors[std::size_t(i)].iov_len;
    }
    return UdpSent::Done;
}

#else

bool UdpBatch::receive(udp::socket &socket, const Sink &sink)
{
    udp::endpoint from;
    bool any = false;
    for (int i = 0; i < 32; ++i) {
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
    for (sent = 0; sent < size; sent += std::min(segment, size - sent)) {
        if (::sendto(socket.native_handle(), data + sent, std::min(segment, size - sent), 0, to.data(),
                     static_cast<socklen_t>(to.size())) < 0)
            return outcome(errno);
    }
    return UdpSent::Done;
}

#endif

} // namespace zpdt
