#pragma once

#include "Codec.h"

#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>
#include <asio/steady_timer.hpp>

#include <memory>
#include <random>
#include <vector>

/// A line between a client and a server on the loopback that does what bad lines do, from one seed. I/O thread.
class UdpRelay : public std::enable_shared_from_this<UdpRelay>
{
public:
    using Endpoint = asio::ip::udp::endpoint;

    struct Faults
    {
        double lost = 0.0; ///< shares of the datagrams
        double late = 0.0; ///< overtaken by those of the next milliseconds
        double twice = 0.0;
        double damaged = 0.0;
        std::size_t most = 65536; ///< larger ones vanish
    };
    struct Counts
    {
        std::uint64_t toServer = 0; ///< bytes
        std::uint64_t toClient = 0;
    };

    UdpRelay(asio::io_context &io, std::uint16_t serverPort, unsigned seed);
    void start();
    void stop();
    std::uint16_t port() const { return m_client.local_endpoint().port(); }
    /// From now on the server sees another address.
    void move();

    Faults faults;
    Counts counts;
    zpdt::Bytes firstToServer; ///< the first datagram that came

private:
    struct Way
    {
        std::array<std::uint8_t, 65536> buffer;
        Endpoint from;
    };
    void receiveClient();
    void receiveServer();
    void pass(const std::uint8_t *data, std::size_t size, bool toServer);
    void deliver(const zpdt::Bytes &datagram, bool toServer);
    bool chance(double share) { return share > 0.0 && std::uniform_real_distribution<>(0.0, 1.0)(m_random) < share; }

    asio::io_context &m_io;
    const Endpoint m_serverAddress;
    Endpoint m_clientAddress;
    asio::ip::udp::socket m_client;
    std::shared_ptr<asio::ip::udp::socket> m_server;
    Way m_fromClient;
    std::mt19937 m_random;
    bool m_stopped = false;
};
