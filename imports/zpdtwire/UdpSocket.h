#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/udp.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zpdt {

enum class UdpSent
{
    Done,
    Blocked,  ///< the system's buffer is full: once more a little later
    TooLarge, ///< for the network device
    Failed    ///< this time; as if the line had lost it
};

/// A UDP socket that sends and receives many datagrams in few calls, and wakes up its thread for each wait once, where
/// the system knows how. Lives on the I/O thread.
class UdpSocket
{
public:
    using Endpoint = asio::ip::udp::endpoint;
    /// A datagram, where it is from, and when it came: the system knows that better than who reads it late.
    using Sink = std::function<void(std::uint8_t *data, std::size_t size, const Endpoint &from,
                                    std::chrono::steady_clock::time_point at)>;

    static constexpr std::size_t kMost = 16; ///< that receive() takes at least, if they are there
    /// How late a timer may be that is made up for, seconds.
    static double timerGrain();

    explicit UdpSocket(asio::io_context &io);
    ~UdpSocket();
    UdpSocket(const UdpSocket &) = delete;
    UdpSocket &operator=(const UdpSocket &) = delete;

    /// Bound to @p local, with large buffers and no fragments on the way. False with the system's reason.
    bool open(const Endpoint &local, std::string &error);
    Endpoint local() const;
    void close();

    /// Calls @p work once when something has come; not after close().
    void whenReadable(std::function<void()> work);
    /// Hands what has come to @p sink, some dozens of datagrams at most; how many there were.
    std::size_t receive(const Sink &sink);
    /// Sends @p size bytes as datagrams of @p segment bytes, the last one as long as is left.
    /// @param sent bytes that have left, also when the answer is not Done
    UdpSent send(const Endpoint &to, const std::uint8_t *data, std::size_t size, std::size_t segment,
                 std::size_t &sent);

private:
    struct Private;
    std::shared_ptr<Private> d;
};

} // namespace zpdt
