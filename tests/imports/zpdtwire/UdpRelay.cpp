#include "UdpRelay.h"

using asio::ip::udp;

UdpRelay::UdpRelay(asio::io_context &io, std::uint16_t serverPort, unsigned seed)
    : m_io(io)
    , m_serverAddress(asio::ip::address_v4::loopback(), serverPort)
    , m_client(io, Endpoint(asio::ip::address_v4::loopback(), 0))
    , m_random(seed)
{
    m_client.set_option(asio::socket_base::receive_buffer_size(4 << 20));
}

void UdpRelay::start()
{
    move();
    receiveClient();
}

void UdpRelay::stop()
{
    m_stopped = true;
    m_client.close();
    m_server->close();
}

void UdpRelay::move()
{
    m_server = std::make_shared<udp::socket>(m_io, Endpoint(asio::ip::address_v4::loopback(), 0));
    m_server->set_option(asio::socket_base::receive_buffer_size(4 << 20));
    receiveServer();
}

void UdpRelay::receiveClient()
{
    m_client.async_receive_from(asio::buffer(m_fromClient.buffer), m_fromClient.from,
                                [self = shared_from_this()](std::error_code failed, std::size_t size) {
                                    if (self->m_stopped)
                                        return;
                                    if (!failed) {
                                        self->m_clientAddress = self->m_fromClient.from;
                                        self->pass(self->m_fromClient.buffer.data(), size, true);
                                    }
                                    self->receiveClient();
                                });
}

void UdpRelay::receiveServer()
{
    auto way = std::make_shared<Way>();
    m_server->async_receive_from(
        asio::buffer(way->buffer), way->from,
        [self = shared_from_this(), way, socket = m_server](std::error_code failed, std::size_t size) {
            // What still comes to an address that was left is lost.
            if (self->m_stopped || socket != self->m_server)
                return;
            if (!failed)
                self->pass(way->buffer.data(), size, false);
            self->receiveServer();
        });
}

void UdpRelay::pass(const std::uint8_t *data, std::size_t size, bool toServer)
{
    (toServer ? counts.toServer : counts.toClient) += size;
    if (toServer && firstToServer.empty())
        firstToServer.assign(data, data + size);
    if (size > faults.most || chance(faults.lost))
        return;
    zpdt::Bytes datagram(data, data + size);
    if (chance(faults.damaged))
        datagram[m_random() % size] ^= std::uint8_t(1u << (m_random() % 8));
    if (chance(faults.twice))
        deliver(datagram, toServer);
    if (!chance(faults.late))
        return deliver(datagram, toServer);
    auto timer = std::make_shared<asio::steady_timer>(m_io, std::chrono::microseconds(500 + m_random() % 5000));
    timer->async_wait([self = shared_from_this(), timer, datagram = std::move(datagram), toServer](std::error_code) {
        if (!self->m_stopped)
            self->deliver(datagram, toServer);
    });
}

void UdpRelay::deliver(const zpdt::Bytes &datagram, bool toServer)
{
    std::error_code ignored;
    if (toServer)
        m_server->send_to(asio::buffer(datagram), m_serverAddress, 0, ignored);
    else
        m_client.send_to(asio::buffer(datagram), m_clientAddress, 0, ignored);
}
