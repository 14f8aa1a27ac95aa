#pragma once

#include "Codec.h"
#include "UdpRanges.h"
#include "WireTypes.h"

#include <chrono>

namespace zpdt {

using UdpClock = std::chrono::steady_clock;

/// First byte of every datagram.
enum class UdpKind : std::uint8_t
{
    Hello = 1,   ///< client: key, exchange
    Retry = 2,   ///< server: once more, with this cookie
    Welcome = 3, ///< server: its exchange and its proof
    Unknown = 4, ///< server: it does not know this connection (any more)
    Data = 0x40  ///< and Data + 1: the other phase of the keys
};

/// Least size of a Hello, and of any first datagram that is answered.
constexpr std::size_t kUdpFirst = 1200;
/// Kind (1), connection (8), packet number (6).
constexpr std::size_t kUdpHeader = 15;
constexpr std::size_t kUdpTag = 16;
constexpr std::size_t kUdpMost = 8972;
constexpr std::uint64_t kUdpMaxNumber = (1ull << 48) - 1;
/// Ranges in one acknowledgement; with the headers they fit into the smallest packet.
constexpr std::size_t kUdpMostRanges = 160;

/// Head of an encrypted packet, as it travels in the clear and is authenticated.
struct UdpHeader
{
    std::uint64_t connection = 0;
    std::uint64_t number = 0;
    bool phase = false;

    void write(std::uint8_t *out) const; ///< kUdpHeader bytes
    /// False when it is no encrypted packet.
    static bool read(const std::uint8_t *data, std::size_t size, UdpHeader &header);
};

enum class UdpFrameType : std::uint8_t
{
    Padding = 0, ///< to the end of the packet
    Ping = 1,
    Ack = 2,
    Data = 3, ///< to the end of the packet
    Close = 4,
    Challenge = 5,
    Response = 6
};

/// What has arrived so far.
struct UdpAck
{
    std::vector<UdpRanges::Range> ranges; ///< packet numbers, newest first; at least one
    std::uint32_t delayUs = 0;            ///< since the newest of them came
    std::uint64_t clockUs = 0;            ///< when the last of them came, by the receiver's clock
    std::uint64_t mostOffset = 0;         ///< the stream may be sent up to here

    std::uint64_t largest() const { return ranges.front().end - 1; }
};

struct UdpFrame
{
    UdpFrameType type = UdpFrameType::Padding;
    UdpAck ack;
    std::uint64_t offset = 0;           ///< of data in the stream
    const std::uint8_t *data = nullptr; ///< valid as long as the packet is
    std::size_t size = 0;               ///< 1 or more
    std::uint64_t token = 0;            ///< of a challenge and its response
    Error error = Error::None;          ///< of a close
};

/// Reads the frames of a decrypted packet one after the other. Whatever the bytes are, it stays within them and its
/// values are within their bounds.
class UdpFrameReader
{
public:
    UdpFrameReader(const std::uint8_t *data, std::size_t size)
        : m_in(data, size)
    {
    }
    /// False at the end, and at the first frame that breaks the rules.
    bool next(UdpFrame &frame);
    bool ok() const { return m_ok; }

private:
    bool readAck(UdpAck &ack);
    std::uint64_t number48();
    std::uint64_t varint();

    WireReader m_in;
    bool m_ok = true;
};

/// Writes frames into a packet of a given size.
class UdpFrameWriter
{
public:
    UdpFrameWriter(std::uint8_t *out, std::size_t size)
        : m_begin(out)
        , m_at(out)
        , m_end(out + size)
    {
    }
    std::size_t size() const { return std::size_t(m_at - m_begin); }
    std::size_t room() const { return std::size_t(m_end - m_at); }

    void ping() { u8(UdpFrameType::Ping); }
    /// Leaves out the oldest ranges where they do not fit.
    void ack(const UdpAck &ack);
    /// Where the @p size bytes of the stream belong that the packet ends with. The room has to be there.
    std::uint8_t *data(std::uint64_t offset, std::size_t size);
    void close(Error error);
    void challenge(UdpFrameType type, std::uint64_t token);
    /// Fills the packet up.
    void pad();

    static constexpr std::size_t kDataHead = 7;
    static constexpr std::size_t kAckHead = 24; ///< without ranges

private:
    void u8(UdpFrameType type) { *m_at++ = static_cast<std::uint8_t>(type); }
    void number(std::uint64_t value, int bytes);
    void varint(std::uint64_t value);

    std::uint8_t *m_begin;
    std::uint8_t *m_at;
    std::uint8_t *m_end;
};

} // namespace zpdt
