#pragma once

#include <asio/ip/udp.hpp>

#include <cstdint>
#include <functional>
#include <memory>

namespace zpdt {

enum class UdpSent
{
    Done,
    Blocked,  ///< the system's buffer is full: once more when the socket is writable
    TooLarge, ///< for the network device
    Failed    ///< this time; as if the line had lost it
};

/// Sending and receiving many datagrams in few calls of the system, where it knows how. One for each socket.
class UdpBatch
{
public:
    using Sink = std::function<void(std::uint8_t *data, std::size_t size, const asio::ip::udp::endpoint &from)>;

    UdpBatch();
    ~UdpBatch();
    UdpBatch(const UdpBatch &) = delete;
    UdpBatch &operator=(const UdpBatch &) = delete;

    /// How late a timer of the system may be, seconds.
    static double timerGrain();
    /// Large buffers, no fragments on the way, and what else the system has for such a socket.
    void tune(asio::ip::udp::socket &socket);
    /// Hands what has come to @p sink, some dozens of datagrams at most. False when nothing had come.
    bool receive(asio::ip::udp::socket &socket, const Sink &sink);
    /// Sends @p size bytes as datagrams of @p segment bytes, the last one as long as is left.
    /// @param sent bytes that have left, also when the answer is not Done
    UdpSent send(asio::ip::udp::socket &socket, const asio::ip::udp::endpoint &to, const std::uint8_t *data,
                 std::size_t size, std::size_t segment, std::size_t &sent);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace zpdt
