#pragma once

#include "Channel.h"
#include "UdpPacket.h"

namespace zpdt {

/// The stream as it arrives: puts pieces in their order and gives out whole frames, within a bounded buffer.
class UdpInbox
{
public:
    /// The other side may send up to here.
    std::uint64_t mostOffset() const { return m_read + m_window; }
    /// False when the piece lies beyond mostOffset(), or what came is in too many pieces.
    bool add(std::uint64_t offset, const std::uint8_t *data, std::size_t size);

    enum class Next
    {
        Nothing,
        Frame,
        Broken ///< a length that no frame has
    };
    struct Frame
    {
        std::uint8_t type = 0;
        std::uint32_t stream = 0;
        const std::uint8_t *body = nullptr; ///< until the next call
        std::size_t size = 0;
    };
    Next next(Frame &frame);

    /// Room for @p bytes a round trip, as far as that is within bounds.
    void widen(std::uint64_t bytes);
    std::uint64_t arrived() const { return m_arrived; } ///< bytes, about each once
    std::size_t memory() const { return m_ring.size(); }

    static constexpr std::size_t kLeastWindow = 8u << 20;
    static constexpr std::size_t kMostWindow = 32u << 20;

private:
    void grow(std::size_t size);
    std::size_t at(std::uint64_t offset) const { return std::size_t(offset & (m_ring.size() - 1)); }
    void copyOut(std::uint64_t offset, std::uint8_t *out, std::size_t size) const;

    Bytes m_ring; ///< a power of two; grows as it is needed
    Bytes m_frame;
    std::uint64_t m_read = 0;  ///< everything before it was given out
    std::uint64_t m_whole = 0; ///< nothing is missing before it
    std::uint64_t m_window = kLeastWindow;
    std::uint64_t m_arrived = 0;
    UdpRanges m_early; ///< behind m_whole
};

/// The packet numbers that came, for acknowledgements and against packets that come twice.
class UdpArrivals
{
public:
    /// False when the number came before, or is too old to tell.
    bool fresh(std::uint64_t number) const { return number >= m_floor && !m_numbers.contains(number); }
    void add(std::uint64_t number, UdpClock::time_point now, bool elicits);
    /// @p clock0: where the clock of this side begins
    UdpAck ack(UdpClock::time_point now, UdpClock::time_point clock0) const;
    bool any() const { return !m_numbers.empty(); }
    std::uint64_t largest() const { return m_largest; }

private:
    UdpRanges m_numbers;
    std::uint64_t m_floor = 0;
    std::uint64_t m_largest = 0;
    UdpClock::time_point m_largestAt;
    UdpClock::time_point m_lastAt;
};

} // namespace zpdt
