#pragma once

#include "Channel.h"

#include <memory>
#include <string>

namespace zpdt {

class Context;
class UdpConnection;

/// The channel over UDP: every packet encrypted and authenticated, lost ones sent again, the pace ruled by setGoal().
/// The client's end owns a socket; ends of the server come from a UdpListener and share its socket. Keeps itself alive
/// until the line has ended. queuedBytes() counts what has not left yet, not what waits for its acknowledgement.
class UdpChannel : public Channel
{
public:
    /// @param host name or address
    /// @param key "udpKey" of a ticket answer; opens one connection within its life of a minute. One that is no key
    /// ends the channel with Refused.
    /// Connecting has to be done within five seconds: channelClosed with Network is how a blocked path shows. Whoever
    /// races this with TcpChannel just starts both, keeps the first that tells channelReady and close()s the other.
    static std::shared_ptr<UdpChannel> toServer(Context &context, const std::string &host, std::uint16_t port,
                                                const std::string &fingerprint, const std::string &key);
    ~UdpChannel() override;

    void start(Listener *listener) override;
    void send(Bytes frames) override;
    std::size_t queuedBytes() const override;
    void setReading(bool reading) override;
    bool setGoal(const RateGoal &goal) override;
    void urge() override;
    void close() override;
    Metrics metrics() const override;
    std::uint64_t bytesReceived() const override;
    std::string peer() const override;

private:
    friend class UdpListener;
    explicit UdpChannel(std::shared_ptr<UdpConnection> connection);

    std::shared_ptr<UdpConnection> m_connection;
};

} // namespace zpdt
