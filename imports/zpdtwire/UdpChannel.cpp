#include "UdpChannel.h"

#include "UdpConnection.h"

namespace zpdt {

std::shared_ptr<UdpChannel> UdpChannel::toServer(Context &context, const std::string &host, std::uint16_t port,
                                                 const std::string &fingerprint, const std::string &key)
{
    return std::shared_ptr<UdpChannel>(
        new UdpChannel(std::make_shared<UdpConnection>(context, host, port, fingerprint, key)));
}

UdpChannel::UdpChannel(std::shared_ptr<UdpConnection> connection)
    : m_connection(std::move(connection))
{
}

UdpChannel::~UdpChannel()
{
    m_connection->close();
}

void UdpChannel::start(Listener *listener)
{
    m_connection->start(listener);
}

void UdpChannel::send(Bytes frames)
{
    m_connection->send(std::move(frames));
}

std::size_t UdpChannel::queuedBytes() const
{
    return m_connection->queuedBytes();
}

void UdpChannel::setReading(bool reading)
{
    m_connection->setReading(reading);
}

bool UdpChannel::setGoal(const RateGoal &goal)
{
    m_connection->setGoal(goal);
    return true;
}

void UdpChannel::urge()
{
    m_connection->urge();
}

void UdpChannel::close()
{
    m_connection->close();
}

Metrics UdpChannel::metrics() const
{
    return m_connection->metrics();
}

std::uint64_t UdpChannel::bytesReceived() const
{
    return m_connection->bytesReceived();
}

std::string UdpChannel::peer() const
{
    return m_connection->peer();
}

} // namespace zpdt
