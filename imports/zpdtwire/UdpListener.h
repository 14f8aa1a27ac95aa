#pragma once

#include "UdpChannel.h"

#include <functional>
#include <memory>
#include <string>

namespace zpdt {

class TlsIdentity;

/// Issues the keys that open UDP connections to the listeners of one process, each good for one connection within a
/// minute, and knows which were used. Shared by the listeners; outlives them.
class UdpKeys
{
public:
    UdpKeys();
    ~UdpKeys();
    UdpKeys(const UdpKeys &) = delete;
    UdpKeys &operator=(const UdpKeys &) = delete;

    /// Any thread. Hexadecimal text; empty when the system has no random numbers.
    std::string issue();

    struct Private;

private:
    friend class UdpListener;
    std::unique_ptr<Private> d;
};

/// One UDP socket for any number of connections. Lives on the context's I/O thread.
class UdpListener
{
public:
    /// A channel whose other side is about to be proven; start() it or drop it. channelReady follows once that side
    /// has shown that it holds the key.
    using Accept = std::function<void(std::shared_ptr<UdpChannel>)>;

    UdpListener(Context &context, const TlsIdentity &identity, std::shared_ptr<UdpKeys> keys, Accept accept);
    ~UdpListener(); ///< closes
    UdpListener(const UdpListener &) = delete;
    UdpListener &operator=(const UdpListener &) = delete;

    /// @param address to listen on, @param port 0: any free one
    /// False with an English reason in @p error.
    bool listen(const std::string &address, std::uint16_t port, std::string &error);
    std::uint16_t port() const; ///< 0 before listen()
    /// Nobody new. The connections that there are have to end within five seconds.
    void close();

    class Core;

private:
    std::shared_ptr<Core> m_core;
};

} // namespace zpdt
