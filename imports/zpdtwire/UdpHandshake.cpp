#include "UdpHandshake.h"

#include "TlsIdentity.h"

#include <chrono>
#include <cstring>

namespace zpdt {

namespace {

constexpr std::uint8_t kVersion = 1;
constexpr std::int64_t kKeySeconds = 60;
constexpr std::int64_t kSlotSeconds = 16;
constexpr std::size_t kWelcomeHead = 1 + 8 + 8 + 32;
const char kSigned[] = "transfer server, first answer";

std::int64_t seconds()
{
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

std::int64_t endOf(const UdpKeyId &id)
{
    return std::int64_t(WireReader(id.data() + 16, 8).u64());
}

bool fromHex(const std::string &text, std::uint8_t *out, std::size_t size)
{
    const auto digit = [](char c) { return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1; };
    if (text.size() != size * 2)
        return false;
    for (std::size_t i = 0; i < size; ++i) {
        const int high = digit(text[2 * i]);
        const int low = digit(text[2 * i + 1]);
        if (high < 0 || low < 0)
            return false;
        out[i] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return true;
}

void toHex(const std::uint8_t *data, std::size_t size, std::string &out)
{
    static const char kDigits[] = "0123456789abcdef";
    for (std::size_t i = 0; i < size; ++i) {
        out += kDigits[data[i] >> 4];
        out += kDigits[data[i] & 15];
    }
}

/// The secrets of a connection, the same at both ends.
struct Schedule
{
    Schedule(const UdpSecret &fingerprint, const UdpSecret &shared, const UdpSecret &key, const std::uint8_t *helloCore,
             const std::uint8_t *welcomeHead)
        : transcript(udpSha256({{helloCore, UdpHello::kCore}, {welcomeHead, kWelcomeHead}}))
        , master(udpMac(fingerprint.data(), fingerprint.size(),
                        {{shared.data(), shared.size()}, {key.data(), key.size()}}))
    {
    }
    UdpSecret secret(const char *label) const { return udpExpand(master, label, transcript); }
    Bytes toSign() const
    {
        Bytes out(kSigned, kSigned + sizeof(kSigned));
        out.insert(out.end(), transcript.begin(), transcript.end());
        return out;
    }

    const UdpSecret transcript;
    const UdpSecret master;
};

constexpr char kWelcomeLabel[] = "welcome";
constexpr char kToServer[] = "client to server";
constexpr char kToClient[] = "server to client";

UdpSecret helloMac(const UdpSecret &secret, const std::uint8_t *core)
{
    return udpMac(secret.data(), secret.size(), {{core, UdpHello::kCore}});
}

} // namespace

UdpClientHandshake::UdpClientHandshake(const std::string &fingerprint, const std::string &key)
{
    std::array<std::uint8_t, sizeof(UdpKeyId) + sizeof(UdpSecret)> both{};
    if (!fromHex(fingerprint, m_fingerprint.data(), m_fingerprint.size()) || !fromHex(key, both.data(), both.size()))
        return;
    std::memcpy(m_keyId.data(), both.data(), m_keyId.size());
    std::memcpy(m_secret.data(), both.data() + m_keyId.size(), m_secret.size());
    m_valid = m_exchange.valid() && udpRandom(&m_connection, sizeof(m_connection));
}

Bytes UdpClientHandshake::hello() const
{
    WireWriter out;
    out.u8(static_cast<std::uint8_t>(UdpKind::Hello));
    out.u8(kVersion);
    out.u64(m_connection);
    out.raw(m_keyId.data(), m_keyId.size());
    out.raw(m_exchange.publicKey().data(), m_exchange.publicKey().size());
    out.raw(m_cookie.data(), m_cookie.size());
    Bytes bytes = out.take();
    const UdpSecret mac = helloMac(m_secret, bytes.data());
    bytes.insert(bytes.end(), mac.begin(), mac.end());
    bytes.resize(kUdpFirst);
    return bytes;
}

bool UdpClientHandshake::retry(const std::uint8_t *data, std::size_t size)
{
    WireReader in(data, size);
    (void)in.u8();
    const std::uint64_t connection = in.u64();
    const std::uint8_t *cookie = in.raw(m_cookie.size());
    if (!in.complete() || connection != m_connection || std::equal(m_cookie.begin(), m_cookie.end(), cookie))
        return false;
    std::copy(cookie, cookie + m_cookie.size(), m_cookie.begin());
    return true;
}

bool UdpClientHandshake::welcome(const std::uint8_t *data, std::size_t size, UdpMet &met) const
{
    WireReader head(data, size);
    (void)head.u8();
    const std::uint64_t connection = head.u64();
    met.own = connection;
    met.other = head.u64();
    const std::uint8_t *publicKey = head.raw(32);
    UdpSecret shared;
    if (!head.ok() || connection != m_connection || head.left() <= kUdpTag || !m_exchange.shared(publicKey, shared))
        return false;
    const Bytes hello = this->hello();
    const Schedule schedule(m_fingerprint, shared, m_secret, hello.data(), data);
    Bytes body(head.left() - kUdpTag);
    UdpCipher cipher;
    if (!cipher.setSecret(schedule.secret(kWelcomeLabel), false) ||
        !cipher.open(0, data, kWelcomeHead, data + kWelcomeHead, head.left(), body.data()))
        return false;
    WireReader in(body.data(), body.size());
    const std::string certificate = in.text(4096);
    const std::string signature = in.text(4096);
    const std::uint8_t *token = in.raw(met.unknown.size());
    const UdpSecret fingerprint = udpSha256({{certificate.data(), certificate.size()}});
    if (!in.complete() || !udpEqual(fingerprint.data(), m_fingerprint.data(), fingerprint.size()) ||
        !TlsIdentity::verify(certificate, schedule.toSign(), signature))
        return false;
    std::copy(token, token + met.unknown.size(), met.unknown.begin());
    return met.out.setSecret(schedule.secret(kToServer), true) && met.in.setSecret(schedule.secret(kToClient), false);
}

bool UdpHello::read(const std::uint8_t *data, std::size_t size, UdpHello &hello)
{
    WireReader in(data, size);
    if (size < kUdpFirst || in.u8() != static_cast<std::uint8_t>(UdpKind::Hello) || in.u8() != kVersion)
        return false;
    hello.core = data;
    hello.connection = in.u64();
    const auto copy = [&in](auto &to) { std::memcpy(to.data(), in.raw(to.size()), to.size()); };
    copy(hello.keyId);
    copy(hello.publicKey);
    copy(hello.cookie);
    copy(hello.mac);
    return true;
}

UdpKeyring::UdpKeyring()
{
    m_valid = udpRandom(m_secret.data(), m_secret.size()) && udpRandom(m_cookieSecret.data(), m_cookieSecret.size());
}

UdpSecret UdpKeyring::keySecret(const UdpKeyId &id) const
{
    return udpMac(m_secret.data(), m_secret.size(), {{id.data(), id.size()}});
}

std::string UdpKeyring::issue()
{
    UdpKeyId id;
    if (!m_valid || !udpRandom(id.data(), 16))
        return {};
    const auto end = std::uint64_t(seconds() + kKeySeconds);
    for (std::size_t i = 0; i < 8; ++i)
        id[16 + i] = static_cast<std::uint8_t>(end >> (8 * i));
    const UdpSecret secret = keySecret(id);
    std::string text;
    toHex(id.data(), id.size(), text);
    toHex(secret.data(), secret.size(), text);
    return text;
}

bool UdpKeyring::check(const UdpHello &hello, UdpSecret &secret) const
{
    const std::int64_t now = seconds();
    const std::int64_t end = endOf(hello.keyId);
    if (!m_valid || end < now || end > now + kKeySeconds)
        return false;
    secret = keySecret(hello.keyId);
    const UdpSecret mac = helloMac(secret, hello.core);
    return udpEqual(mac.data(), hello.mac.data(), mac.size());
}

bool UdpKeyring::use(const UdpKeyId &id)
{
    const std::int64_t now = seconds();
    for (auto it = m_used.begin(); it != m_used.end();)
        it = endOf(it->first) < now ? m_used.erase(it) : std::next(it);
    return m_used.emplace(id, true).second;
}

UdpCookie UdpKeyring::cookieAt(std::uint32_t slot, const std::string &address, std::uint64_t connection) const
{
    UdpCookie cookie;
    const UdpSecret mac =
        udpMac(m_cookieSecret.data(), m_cookieSecret.size(),
               {{&slot, sizeof(slot)}, {&connection, sizeof(connection)}, {address.data(), address.size()}});
    for (std::size_t i = 0; i < 4; ++i)
        cookie[i] = static_cast<std::uint8_t>(slot >> (8 * i));
    std::copy(mac.begin(), mac.begin() + 16, cookie.begin() + 4);
    return cookie;
}

UdpCookie UdpKeyring::cookie(const std::string &address, std::uint64_t connection) const
{
    return cookieAt(std::uint32_t(seconds() / kSlotSeconds), address, connection);
}

bool UdpKeyring::checkCookie(const UdpHello &hello, const std::string &address) const
{
    const std::uint32_t slot = WireReader(hello.cookie.data(), 4).u32();
    const auto now = std::uint32_t(seconds() / kSlotSeconds);
    if (slot != now && slot + 1 != now)
        return false;
    const UdpCookie expected = cookieAt(slot, address, hello.connection);
    return udpEqual(expected.data(), hello.cookie.data(), expected.size());
}

Bytes udpWelcome(const UdpHello &hello, const UdpSecret &secret, const TlsIdentity &identity, std::uint64_t connection,
                 UdpMet &met)
{
    UdpExchange exchange;
    UdpSecret shared;
    UdpSecret fingerprint;
    if (!exchange.valid() || !exchange.shared(hello.publicKey.data(), shared) ||
        !fromHex(identity.fingerprint(), fingerprint.data(), fingerprint.size()))
        return {};
    met.own = connection;
    met.other = hello.connection;
    met.unknown = udpUnknownToken(identity.secret("unknown connection"), connection);
    WireWriter out;
    out.u8(static_cast<std::uint8_t>(UdpKind::Welcome));
    out.u64(met.other);
    out.u64(met.own);
    out.raw(exchange.publicKey().data(), exchange.publicKey().size());
    Bytes datagram = out.take();
    const Schedule schedule(fingerprint, shared, secret, hello.core, datagram.data());
    std::string signature;
    if (!identity.sign(schedule.toSign(), signature))
        return {};
    WireWriter body;
    body.text(identity.certificate());
    body.text(signature);
    body.raw(met.unknown.data(), met.unknown.size());
    const Bytes plain = body.take();
    datagram.insert(datagram.end(), plain.begin(), plain.end());
    datagram.resize(datagram.size() + kUdpTag);
    UdpCipher cipher;
    // Never more than came in, so that a forged address gets no flood from here.
    const bool good = datagram.size() <= kUdpFirst && cipher.setSecret(schedule.secret(kWelcomeLabel), true) &&
                      cipher.seal(0, datagram.data(), kWelcomeHead, datagram.data() + kWelcomeHead, plain.size()) &&
                      met.out.setSecret(schedule.secret(kToClient), true) &&
                      met.in.setSecret(schedule.secret(kToServer), false);
    return good ? datagram : Bytes();
}

Bytes udpRetry(const UdpHello &hello, const UdpCookie &cookie)
{
    WireWriter out;
    out.u8(static_cast<std::uint8_t>(UdpKind::Retry));
    out.u64(hello.connection);
    out.raw(cookie.data(), cookie.size());
    return out.take();
}

UdpToken udpUnknownToken(const UdpSecret &secret, std::uint64_t connection)
{
    const UdpSecret mac = udpMac(secret.data(), secret.size(), {{&connection, sizeof(connection)}});
    UdpToken token;
    std::copy(mac.begin(), mac.begin() + token.size(), token.begin());
    return token;
}

Bytes udpUnknown(std::uint64_t connection, const UdpToken &token)
{
    WireWriter out;
    out.u8(static_cast<std::uint8_t>(UdpKind::Unknown));
    out.u64(connection);
    out.raw(token.data(), token.size());
    return out.take();
}

} // namespace zpdt
