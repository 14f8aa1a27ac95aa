#include "UdpSocket.h"

#include <asio/posix/stream_descriptor.hpp>

#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/udp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace zpdt {

namespace {

constexpr int kSocketBuffer = 4 << 20;
constexpr std::size_t kDatagram = 65536;
constexpr auto kMostAge = std::chrono::milliseconds(100);
constexpr std::size_t kSegments = 64; ///< that one call may cut
#ifdef UDP_SEGMENT
constexpr int kCut = UDP_SEGMENT;
constexpr int kJoin = UDP_GRO;
#else
constexpr int kCut = 103;
constexpr int kJoin = 104;
#endif

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

} // namespace

/// The loop's own watch over a socket wakes its thread with every datagram, waited for or not. So the loop watches a
/// poll descriptor instead, which fires once for each time that it is armed.
struct UdpSocket::Private
{
    explicit Private(asio::io_context &io)
        : poll(io)
        , buffer(kMost * kDatagram)
    {
        for (std::size_t i = 0; i < kMost; ++i)
            vectors[i] = {buffer.data() + i * kDatagram, kDatagram};
    }
    ~Private() { close(); }
    void close()
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
        std::error_code ignored;
        poll.close(ignored);
    }
    bool arm(int operation)
    {
        epoll_event event{};
        event.events = EPOLLIN | EPOLLONESHOT;
        return ::epoll_ctl(poll.native_handle(), operation, fd, &event) == 0;
    }

    int fd = -1;
    asio::posix::stream_descriptor poll;
    std::vector<std::uint8_t> buffer;
    std::array<iovec, kMost> vectors{};
    std::array<mmsghdr, kMost> messages{};
    std::array<Endpoint, kMost> from;
    std::array<std::array<char, 96>, kMost> control{};
    bool cuts = true; ///< the system cuts a large piece into datagrams
};

UdpSocket::UdpSocket(asio::io_context &io)
    : d(std::make_shared<Private>(io))
{
}

UdpSocket::~UdpSocket()
{
    d->close();
}

double UdpSocket::timerGrain()
{
    return 0.01;
}

bool UdpSocket::open(const Endpoint &local, std::string &error)
{
    d->fd = ::socket(local.protocol().family(), SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int watch = d->fd < 0 ? -1 : ::epoll_create1(EPOLL_CLOEXEC);
    std::error_code failed;
    if (watch >= 0)
        d->poll.assign(watch, failed);
    if (watch < 0 || failed || ::bind(d->fd, local.data(), socklen_t(local.size())) != 0 || !d->arm(EPOLL_CTL_ADD)) {
        error = std::strerror(errno);
        d->close();
        return false;
    }
    option(d->fd, SOL_SOCKET, SO_RCVBUF, kSocketBuffer);
    option(d->fd, SOL_SOCKET, SO_SNDBUF, kSocketBuffer);
    option(d->fd, SOL_SOCKET, SO_TIMESTAMPNS, 1);
    // Sizes are probed here, so what the system believes of the path is of no interest.
    option(d->fd, IPPROTO_IP, IP_MTU_DISCOVER, IP_PMTUDISC_PROBE);
    option(d->fd, IPPROTO_IPV6, IPV6_MTU_DISCOVER, IPV6_PMTUDISC_PROBE);
    option(d->fd, IPPROTO_UDP, kJoin, 1);
    return true;
}

UdpSocket::Endpoint UdpSocket::local() const
{
    Endpoint endpoint;
    auto size = socklen_t(endpoint.capacity());
    if (d->fd < 0 || ::getsockname(d->fd, endpoint.data(), &size) != 0)
        return {};
    endpoint.resize(size);
    return endpoint;
}

void UdpSocket::close()
{
    d->close();
}

void UdpSocket::whenReadable(std::function<void()> work)
{
    (void)d->arm(EPOLL_CTL_MOD);
    d->poll.async_wait(asio::posix::stream_descriptor::wait_read, [d = d, work = std::move(work)](std::error_code) {
        if (d->fd < 0)
            return;
        epoll_event event;
        (void)::epoll_wait(d->poll.native_handle(), &event, 1, 0);
        work();
    });
}

std::size_t UdpSocket::receive(const Sink &sink)
{
    for (std::size_t i = 0; i < kMost; ++i) {
        msghdr &head = d->messages[i].msg_hdr;
        head.msg_name = d->from[i].data();
        head.msg_namelen = static_cast<socklen_t>(d->from[i].capacity());
        head.msg_iov = &d->vectors[i];
        head.msg_iovlen = 1;
        head.msg_control = d->control[i].data();
        head.msg_controllen = d->control[i].size();
    }
    const int count = ::recvmmsg(d->fd, d->messages.data(), kMost, MSG_DONTWAIT, nullptr);
    const auto now = std::chrono::steady_clock::now();
    const auto wall = std::chrono::system_clock::now().time_since_epoch();
    // Whoever is called may close the socket.
    const auto held = d;
    std::size_t datagrams = 0;
    for (int i = 0; i < count; ++i) {
        msghdr &head = held->messages[std::size_t(i)].msg_hdr;
        Endpoint &from = held->from[std::size_t(i)];
        from.resize(head.msg_namelen);
        const std::size_t size = held->messages[std::size_t(i)].msg_len;
        std::size_t segment = std::max<std::size_t>(size, 1);
        std::chrono::nanoseconds age(0);
        for (cmsghdr *part = CMSG_FIRSTHDR(&head); part; part = CMSG_NXTHDR(&head, part)) {
            if (part->cmsg_level == IPPROTO_UDP && part->cmsg_type == kJoin) {
                int joined = 0;
                std::memcpy(&joined, CMSG_DATA(part), sizeof(joined));
                if (joined > 0)
                    segment = std::size_t(joined);
            }
            if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_TIMESTAMPNS) {
                timespec came{};
                std::memcpy(&came, CMSG_DATA(part), sizeof(came));
                age = wall - std::chrono::seconds(came.tv_sec) - std::chrono::nanoseconds(came.tv_nsec);
            }
        }
        // The wall clock may have been set meanwhile.
        if (age < std::chrono::nanoseconds(0) || age > kMostAge)
            age = std::chrono::nanoseconds(0);
        auto *data = static_cast<std::uint8_t *>(held->vectors[std::size_t(i)].iov_base);
        for (std::size_t at = 0; at < size; at += segment)
            sink(data + at, std::min(segment, size - at), from, now - age);
        datagrams += std::max<std::size_t>(size / segment, 1);
    }
    return datagrams;
}

UdpSent UdpSocket::send(const Endpoint &to, const std::uint8_t *data, std::size_t size, std::size_t segment,
                        std::size_t &sent)
{
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
        if (::sendmsg(d->fd, &head, MSG_DONTWAIT) >= 0) {
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
        const int done = ::sendmmsg(d->fd, messages.data(), count, MSG_DONTWAIT);
        if (done <= 0)
            return outcome(errno);
        for (int i = 0; i < done; ++i)
            sent += vectors[std::size_t(i)].iov_len;
    }
    return UdpSent::Done;
}

} // namespace zpdt
