#pragma once

#include <cstdint>
#include <string>

namespace arkvale::service {

/// A listening TCP socket, closed with this object.
class ListenSocket
{
public:
    ListenSocket() = default;
    ~ListenSocket();
    ListenSocket(const ListenSocket &) = delete;
    ListenSocket &operator=(const ListenSocket &) = delete;

    /// @param address IPv4 or IPv6 address in digits; @param port 0 for any free one. False with a sentence in
    /// @p error when it cannot be had.
    bool open(const std::string &address, std::uint16_t port, std::string *error);

    /// Refuses new connections; the number stays taken until this object ends.
    void refuse();

    int fd() const { return m_fd; }
    std::uint16_t port() const { return m_port; }
    bool isIpv6() const { return m_ipv6; }

private:
    int m_fd = -1;
    std::uint16_t m_port = 0;
    bool m_ipv6 = false;
};

/// The address of a socket's other side in digits, without the port.
std::string addressText(const void *socketAddress);

} // namespace arkvale::service
