#include "ListenSocket.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace arkvale::service {

namespace {

std::uint16_t portOf(const sockaddr_storage &address)
{
    if (address.ss_family == AF_INET6)
        return ntohs(reinterpret_cast<const sockaddr_in6 &>(address).sin6_port);
    return ntohs(reinterpret_cast<const sockaddr_in &>(address).sin_port);
}

} // namespace

ListenSocket::~ListenSocket()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

bool ListenSocket::open(const std::string &address, std::uint16_t port, std::string *error)
{
    const auto fail = [&](const std::string &why) {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
        *error = "Cannot listen on " + address + " port " + std::to_string(port) + ": " + why;
        return false;
    };

    addrinfo hints = {};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    const int result = ::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (result != 0)
        return fail(::gai_strerror(result));
    sockaddr_storage bound = {};
    socklen_t length = found->ai_addrlen;
    std::memcpy(&bound, found->ai_addr, length);
    ::freeaddrinfo(found);

    m_ipv6 = bound.ss_family == AF_INET6;
    m_fd = ::socket(bound.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_fd < 0)
        return fail(std::strerror(errno));
    const int on = 1;
    ::setsockopt(m_fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (::bind(m_fd, reinterpret_cast<const sockaddr *>(&bound), length) != 0 || ::listen(m_fd, SOMAXCONN) != 0)
        return fail(std::strerror(errno));
    ::getsockname(m_fd, reinterpret_cast<sockaddr *>(&bound), &length);
    m_port = portOf(bound);
    return true;
}

void ListenSocket::refuse()
{
    ::shutdown(m_fd, SHUT_RDWR);
}

std::string addressText(const void *socketAddress)
{
    const auto *address = static_cast<const sockaddr *>(socketAddress);
    if (!address)
        return {};
    const socklen_t length = address->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    char host[NI_MAXHOST] = {};
    if (::getnameinfo(address, length, host, sizeof host, nullptr, 0, NI_NUMERICHOST) != 0)
        return {};
    return host;
}

} // namespace arkvale::service
