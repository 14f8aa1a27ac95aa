#include "UdpListener.h"

#include "Context.h"
#include "TlsIdentity.h"
#include "UdpConnection.h"

#include <asio/io_context.hpp>

#include <set>
#include <unordered_map>

namespace zpdt {

namespace {

using Endpoint = asio::ip::udp::endpoint;

/// Handshakes under way; above the first number a client has to show that its address is its own.
constexpr std::size_t kOpenFreely = 32;
constexpr std::size_t kOpenMost = 1024;
constexpr auto kLinger = std::chrono::seconds(5);
constexpr auto kOpenTime = std::chrono::seconds(5);
/// Words to unknown connections in a second.
constexpr unsigned kUnknownMost = 100;

std::string addressText(const Endpoint &endpoint)
{
    return endpoint.address().to_string() + ' ' + std::to_string(endpoint.port());
}

} // namespace

struct UdpKeys::Private
{
    UdpKeyring ring;
};

UdpKeys::UdpKeys()
    : d(std::make_unique<Private>())
{
}

UdpKeys::~UdpKeys() = default;

std::string UdpKeys::issue()
{
    return d->ring.issue();
}

class UdpListener::Core : public std::enable_shared_from_this<UdpListener::Core>
{
public:
    Core(Context &context, const TlsIdentity &identity, std::shared_ptr<UdpKeys> keys, Accept accept)
        : m_context(context)
        , m_identity(identity)
        , m_keys(std::move(keys))
        , m_ring(m_keys->d->ring)
        , m_unknownSecret(identity.secret("unknown connection"))
        , m_accept(std::move(accept))
        , m_linger(context.io())
    {
    }

    bool listen(const std::string &address, std::uint16_t port, std::string &error);
    std::uint16_t port() const { return m_port ? m_port->local().port() : std::uint16_t(0); }
    void close();

    // What the port calls.
    void onDatagram(const std::uint8_t *data, std::size_t size, const Endpoint &from, UdpClock::time_point at);
    void onBatchEnd();

private:
    /// A client that has shown its key and has yet to show that it got the answer.
    struct Opening
    {
        UdpMet met;
        Bytes welcome;
        UdpKeyId keyId{};
        std::array<std::uint8_t, 32> publicKey{};
        UdpClock::time_point at;
    };

    void onHello(const std::uint8_t *data, std::size_t size, const Endpoint &from);
    void onFirst(Opening &opening, const UdpHeader &header, const std::uint8_t *data, std::size_t size,
                 const Endpoint &from, UdpClock::time_point at);
    void onUnknown(std::uint64_t connection, std::size_t size, const Endpoint &from);
    void drop();
    void dropOld(UdpClock::time_point now);
    void forget(std::uint64_t connection);
    void answer(const Bytes &datagram, const Endpoint &to)
    {
        std::size_t sent = 0;
        (void)m_port->send(to, datagram.data(), datagram.size(), datagram.size(), sent);
    }

    Context &m_context;
    const TlsIdentity &m_identity;
    const std::shared_ptr<UdpKeys> m_keys;
    UdpKeyring &m_ring;
    const UdpSecret m_unknownSecret;
    Accept m_accept;
    std::shared_ptr<UdpPort> m_port;
    asio::steady_timer m_linger;
    bool m_closed = false;

    std::unordered_map<std::uint64_t, Opening> m_opening;
    std::unordered_map<std::uint64_t, std::shared_ptr<UdpConnection>> m_connections;
    std::set<std::shared_ptr<UdpConnection>> m_touched;
    UdpClock::time_point m_unknownSince;
    unsigned m_unknown = 0;
};

bool UdpListener::Core::listen(const std::string &address, std::uint16_t port, std::string &error)
{
    std::error_code failed;
    const auto parsed = asio::ip::make_address(address, failed);
    if (failed) {
        error = "not an address: " + address;
        return false;
    }
    auto socket = std::make_shared<UdpPort>(m_context.io());
    if (!socket->open(Endpoint(parsed, port), error)) {
        error = "cannot listen on UDP " + address + ":" + std::to_string(port) + ": " + error;
        return false;
    }
    m_port = std::move(socket);
    m_port->receive(weak_from_this());
    return true;
}

void UdpListener::Core::close()
{
    m_closed = true;
    m_accept = nullptr;
    m_opening.clear();
    if (!m_port || m_connections.empty())
        return drop();
    // They say good-bye over this socket.
    m_linger.expires_after(kLinger);
    m_linger.async_wait([self = shared_from_this()](std::error_code) { self->drop(); });
}

void UdpListener::Core::drop()
{
    const auto left = std::move(m_connections);
    m_connections.clear();
    if (m_port)
        m_port->close();
}

void UdpListener::Core::onDatagram(const std::uint8_t *data, std::size_t size, const Endpoint &from,
                                   UdpClock::time_point at)
{
    UdpHeader header;
    if (!UdpHeader::read(data, size, header))
        return m_closed ? void() : onHello(data, size, from);
    const auto found = m_connections.find(header.connection);
    if (found != m_connections.end()) {
        const auto connection = found->second;
        m_touched.insert(connection);
        return connection->onDatagram(data, size, from, at);
    }
    const auto opening = m_opening.find(header.connection);
    if (opening != m_opening.end())
        return onFirst(opening->second, header, data, size, from, at);
    onUnknown(header.connection, size, from);
}

void UdpListener::Core::onBatchEnd()
{
    const auto touched = std::move(m_touched);
    m_touched.clear();
    for (const auto &connection : touched)
        connection->onBatchEnd();
}

void UdpListener::Core::onHello(const std::uint8_t *data, std::size_t size, const Endpoint &from)
{
    UdpHello hello;
    UdpSecret secret;
    if (!UdpHello::read(data, size, hello) || !m_ring.check(hello, secret))
        return;
    const auto now = UdpClock::now();
    if (m_ring.used(hello.keyId)) {
        // The same client once more, whose answer was lost, or somebody who repeats what he heard.
        for (const auto &entry : m_opening) {
            if (entry.second.keyId == hello.keyId && entry.second.publicKey == hello.publicKey)
                return answer(entry.second.welcome, from);
        }
        return;
    }
    dropOld(now);
    if (m_opening.size() >= kOpenFreely && !m_ring.checkCookie(hello, addressText(from)))
        return answer(udpRetry(hello, m_ring.cookie(addressText(from), hello.connection)), from);
    Opening opening;
    std::uint64_t number = 0;
    if (m_opening.size() >= kOpenMost || !udpRandom(&number, sizeof(number)) || m_opening.count(number) > 0 ||
        m_connections.count(number) > 0)
        return;
    opening.welcome = udpWelcome(hello, secret, m_identity, number, opening.met);
    if (opening.welcome.empty() || !m_ring.use(hello.keyId))
        return;
    opening.keyId = hello.keyId;
    opening.publicKey = hello.publicKey;
    opening.at = now;
    answer(opening.welcome, from);
    m_opening.emplace(number, std::move(opening));
}

void UdpListener::Core::onFirst(Opening &opening, const UdpHeader &header, const std::uint8_t *data, std::size_t size,
                                const Endpoint &from, UdpClock::time_point at)
{
    Bytes plain(size);
    if (!opening.met.in.open(header.number, data, kUdpHeader, data + kUdpHeader, size - kUdpHeader, plain.data()))
        return;
    const double roundTrip = std::chrono::duration<double>(UdpClock::now() - opening.at).count();
    UdpMet met = std::move(opening.met);
    m_opening.erase(header.connection);
    if (!m_accept)
        return;
    auto connection = std::make_shared<UdpConnection>(m_context, m_port, std::move(met), from, roundTrip,
                                                      [weak = weak_from_this()](std::uint64_t number) {
                                                          if (const auto self = weak.lock())
                                                              self->forget(number);
                                                      });
    m_connections.emplace(header.connection, connection);
    connection->onDatagram(data, size, from, at);
    m_touched.insert(connection);
    m_accept(std::shared_ptr<UdpChannel>(new UdpChannel(std::move(connection))));
}

void UdpListener::Core::onUnknown(std::uint64_t connection, std::size_t size, const Endpoint &from)
{
    const auto now = UdpClock::now();
    if (now - m_unknownSince > std::chrono::seconds(1)) {
        m_unknownSince = now;
        m_unknown = 0;
    }
    const Bytes word = udpUnknown(connection, udpUnknownToken(m_unknownSecret, connection));
    if (size > word.size() && ++m_unknown <= kUnknownMost)
        answer(word, from);
}

void UdpListener::Core::dropOld(UdpClock::time_point now)
{
    for (auto it = m_opening.begin(); it != m_opening.end();)
        it = now - it->second.at > kOpenTime ? m_opening.erase(it) : std::next(it);
}

void UdpListener::Core::forget(std::uint64_t connection)
{
    m_connections.erase(connection);
    if (m_closed && m_connections.empty() && m_port)
        m_linger.cancel();
}

UdpListener::UdpListener(Context &context, const TlsIdentity &identity, std::shared_ptr<UdpKeys> keys, Accept accept)
    : m_core(std::make_shared<Core>(context, identity, std::move(keys), std::move(accept)))
{
}

UdpListener::~UdpListener()
{
    m_core->close();
}

bool UdpListener::listen(const std::string &address, std::uint16_t port, std::string &error)
{
    return m_core->listen(address, port, error);
}

std::uint16_t UdpListener::port() const
{
    return m_core->port();
}

void UdpListener::close()
{
    m_core->close();
}

} // namespace zpdt
