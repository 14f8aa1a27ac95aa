#pragma once

#include "UdpBatch.h"

#include <asio/io_context.hpp>

#include <deque>
#include <string>

namespace zpdt {

/// A UDP socket that hands out what comes, in batches, and knows when it can send again. Lives on the I/O thread and
/// keeps itself alive until close().
class UdpPort : public std::enable_shared_from_this<UdpPort>
{
public:
    using Endpoint = asio::ip::udp::endpoint;

    explicit UdpPort(asio::io_context &io)
        : m_socket(io)
    {
    }

    /// Binds to @p local. False with the system's reason.
    bool open(const Endpoint &local, std::string &error);
    Endpoint local() const;
    /// @p onEnd is called after each batch.
    void receive(UdpBatch::Sink onDatagram, std::function<void()> onEnd);
    /// As UdpBatch::send().
    UdpSent send(const Endpoint &to, const std::uint8_t *data, std::size_t size, std::size_t segment, std::size_t &sent)
    {
        return m_batch.send(m_socket, to, data, size, segment, sent);
    }
    /// Calls @p work once when a send that was blocked can go on.
    void whenWritable(std::function<void()> work);
    void close();

private:
    void wait();

    asio::ip::udp::socket m_socket;
    UdpBatch m_batch;
    UdpBatch::Sink m_onDatagram;
    std::function<void()> m_onEnd;
    std::deque<std::function<void()>> m_waiting;
    bool m_closed = false;
};

} // namespace zpdt
