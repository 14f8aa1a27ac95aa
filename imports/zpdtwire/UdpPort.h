#pragma once

#include "UdpSocket.h"

#include <asio/steady_timer.hpp>

namespace zpdt {

/// A UDP socket that hands out what comes, in batches: on a busy line it sleeps for a moment between them. Lives on
/// the I/O thread and keeps itself alive until close().
class UdpPort : public std::enable_shared_from_this<UdpPort>
{
public:
    using Endpoint = UdpSocket::Endpoint;

    explicit UdpPort(asio::io_context &io)
        : m_socket(io)
        , m_gather(io)
        , m_room(io)
    {
    }

    bool open(const Endpoint &local, std::string &error) { return m_socket.open(local, error); }
    Endpoint local() const { return m_socket.local(); }
    /// Calls onDatagram() of @p reader for each datagram and onBatchEnd() after each batch, as long as it is there.
    template <typename Reader>
    void receive(const std::weak_ptr<Reader> &reader)
    {
        receive(
            [reader](const std::uint8_t *data, std::size_t size, const Endpoint &from,
                     std::chrono::steady_clock::time_point at) {
                if (const auto here = reader.lock())
                    here->onDatagram(data, size, from, at);
            },
            [reader] {
                if (const auto here = reader.lock())
                    here->onBatchEnd();
            });
    }
    /// As UdpSocket::send().
    UdpSent send(const Endpoint &to, const std::uint8_t *data, std::size_t size, std::size_t segment, std::size_t &sent)
    {
        return m_socket.send(to, data, size, segment, sent);
    }
    /// Calls @p work once, when a send that was blocked may be tried again.
    void whenRoom(std::function<void()> work);
    void close();

private:
    void receive(UdpSocket::Sink onDatagram, std::function<void()> onEnd);
    void wait();
    void read();

    UdpSocket m_socket;
    asio::steady_timer m_gather;
    asio::steady_timer m_room;
    std::chrono::steady_clock::time_point m_lastRead;
    UdpSocket::Sink m_onDatagram;
    std::function<void()> m_onEnd;
    std::vector<std::function<void()>> m_waiting;
    bool m_closed = false;
};

} // namespace zpdt
