#pragma once

#include "UdpCrypto.h"
#include "UdpPacket.h"

#include <array>
#include <map>
#include <mutex>
#include <string>

namespace zpdt {

class TlsIdentity;

using UdpKeyId = std::array<std::uint8_t, 24>; ///< random (16), end of its life in seconds since 1970 (8)
using UdpToken = std::array<std::uint8_t, 16>;
using UdpCookie = std::array<std::uint8_t, 20>; ///< time slot (4), MAC (16); a slot of zero: none

/// What both sides hold once they have met.
struct UdpMet
{
    UdpCipher out;
    UdpCipher in;
    std::uint64_t own = 0;   ///< connection number in packets to this side
    std::uint64_t other = 0; ///< in packets to the other side
    UdpToken unknown{};      ///< in the server's word that it does not know the connection any more
};

/// The client's half of the handshake: one Hello, perhaps once more with a cookie, one Welcome.
class UdpClientHandshake
{
public:
    /// @param fingerprint, @param key as they came with the ticket
    UdpClientHandshake(const std::string &fingerprint, const std::string &key);
    bool valid() const { return m_valid; }
    std::uint64_t connection() const { return m_connection; }

    /// A datagram of kUdpFirst bytes.
    Bytes hello() const;
    /// True when the next Hello has something new to say.
    bool retry(const std::uint8_t *data, std::size_t size);
    /// True with @p met filled when the server has proven itself. Anything else is not from that server.
    bool welcome(const std::uint8_t *data, std::size_t size, UdpMet &met) const;

private:
    bool m_valid = false;
    UdpSecret m_fingerprint{};
    UdpKeyId m_keyId{};
    UdpSecret m_secret{};
    std::uint64_t m_connection = 0;
    UdpCookie m_cookie{};
    UdpExchange m_exchange;
};

/// A Hello as it was read.
struct UdpHello
{
    std::uint64_t connection = 0;
    UdpKeyId keyId{};
    std::array<std::uint8_t, 32> publicKey{};
    UdpCookie cookie{};
    UdpSecret mac{};
    const std::uint8_t *core = nullptr; ///< what the MAC covers; as long as the datagram is there

    static constexpr std::size_t kCore = 2 + 8 + 24 + 32 + 20;
    static bool read(const std::uint8_t *data, std::size_t size, UdpHello &hello);
};

/// The keys that were issued, without a list of them: a key is a number and its MAC under a secret of this process.
/// Only the used ones are kept, until their time is over. issue() from any thread, everything else on one.
class UdpKeyring
{
public:
    UdpKeyring();

    std::string issue();
    /// True with the key's secret when this side issued it, its time is not over and the Hello is from who holds it.
    bool check(const UdpHello &hello, UdpSecret &secret) const;
    /// False when the key has opened a connection before.
    bool use(const UdpKeyId &id);
    bool used(const UdpKeyId &id) const { return m_used.count(id) > 0; }

    /// What a client at that address shows with its next Hello. @p address is any text that stands for it.
    UdpCookie cookie(const std::string &address, std::uint64_t connection) const;
    bool checkCookie(const UdpHello &hello, const std::string &address) const;

private:
    UdpSecret keySecret(const UdpKeyId &id) const;
    UdpCookie cookieAt(std::uint32_t slot, const std::string &address, std::uint64_t connection) const;

    bool m_valid = false;
    UdpSecret m_secret{};
    UdpSecret m_cookieSecret{};
    std::map<UdpKeyId, bool> m_used;
};

/// The server's answer to a good Hello, with @p met filled but for nothing; empty when the library failed.
/// @param connection number for packets to the server
Bytes udpWelcome(const UdpHello &hello, const UdpSecret &secret, const TlsIdentity &identity, std::uint64_t connection,
                 UdpMet &met);
Bytes udpRetry(const UdpHello &hello, const UdpCookie &cookie);

/// The word that a connection is not known, and the token that makes it believable.
Bytes udpUnknown(std::uint64_t connection, const UdpToken &token);
UdpToken udpUnknownToken(const UdpSecret &secret, std::uint64_t connection);

} // namespace zpdt
