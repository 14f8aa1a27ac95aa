#pragma once

#include "UdpController.h"
#include "UdpOutbox.h"
#include "UdpPacket.h"

#include <deque>

namespace zpdt {

/// What left in one packet.
struct UdpSentPacket
{
    UdpClock::time_point at;
    std::uint64_t offset = 0;     ///< of its piece of the stream
    std::uint32_t length = 0;     ///< 0: no piece of the stream
    std::uint32_t wire = 0;       ///< bytes on the line
    std::uint16_t probesSize = 0; ///< size that it was to try; its loss says nothing of the line
    bool elicits = false;         ///< wants an acknowledgement
    bool probes = false;          ///< left while the controller probed
    bool limited = false;         ///< there was nothing more to send

    enum State : std::uint8_t
    {
        Flying,
        Acked,
        Lost
    };
    State state = Flying;
    std::uint64_t delivered = 0;      ///< in all, when it left
    UdpClock::time_point deliveredAt; ///< when the last of that was acknowledged
    std::uint64_t deliveredClock = 0; ///< the same by the receiver's clock, microseconds; 0: not known
    UdpClock::time_point markAt;      ///< when the packet had left that brought that acknowledgement
    std::uint64_t inFlight = 0;       ///< with it
};

/// Remembers the packets of one direction, learns from acknowledgements which arrived, which are lost, how long the
/// round trip is and how fast the line delivers, and tells the outbox. Loss is told by later packets that arrived, or
/// by time; the distance grows with every packet that was called lost and was merely late.
class UdpRecovery
{
public:
    explicit UdpRecovery(UdpOutbox &outbox)
        : m_outbox(outbox)
    {
    }

    /// Something to begin with; the first measurement replaces it.
    void firstRoundTrip(double seconds);
    std::uint64_t nextNumber() const { return m_base + m_packets.size(); }
    void onSent(UdpSentPacket packet);
    /// False when it acknowledges what never left.
    bool onAck(const UdpAck &ack, UdpClock::time_point now, UdpSample &sample);
    /// To be called at deadline(). True when it is time to send something although the line seems to take nothing.
    bool onTime(UdpClock::time_point now, UdpSample &sample);
    /// time_point::max() when nothing is under way.
    UdpClock::time_point deadline() const;
    /// The next probe, after silence: what left first and did not arrive is to leave once more.
    void probe();
    /// Gives the outbox a packet that is under way, to leave once more: the newest first, since the loss of older ones
    /// shows soon, and each one once. Only of the stream's bytes before @p end. False when there is none.
    bool repeatNewest(std::uint64_t end);
    void restartRepeats() { m_repeatNext = UINT64_MAX; }
    /// The path is another one: what was measured says nothing any more.
    void forgetPath();

    std::uint64_t inFlight() const { return m_inFlight; }
    bool anyFlying() const { return m_eliciting > 0; }
    double roundTrip() const { return m_smooth; } ///< seconds, smoothed
    double leastRoundTrip() const { return m_least; }
    unsigned silences() const { return m_silences; } ///< probes in a row without an answer
    std::uint64_t sentBytes() const { return m_sentBytes; }
    std::uint64_t lostBytes() const { return m_lostBytes; }
    std::uint64_t deliveredBytes() const { return m_delivered; }
    /// Sizes of packets that arrived, or did not, and were sent to find out.
    struct SizeProbe
    {
        std::size_t size;
        bool arrived;
    };
    std::vector<SizeProbe> takeSizeProbes() { return std::move(m_sizeProbes); }

private:
    UdpSentPacket *find(std::uint64_t number);
    void markLost(UdpSentPacket &packet, UdpSample &sample);
    void findLost(UdpClock::time_point now, UdpSample &sample);
    void onArrived(UdpSentPacket &packet, std::uint64_t number, std::uint64_t largest, UdpSample &sample);
    /// What had arrived by an acknowledgement.
    struct Arrival
    {
        UdpClock::time_point left;   ///< when the newest of the acknowledged packets had left
        std::uint64_t clock = 0;     ///< when it came, by the receiver's clock
        std::uint64_t delivered = 0; ///< in all
    };
    double recentRate(const Arrival &now);
    void measure(double seconds);
    void trim(UdpClock::time_point now);
    double lossTime() const;
    double probeTime() const;

    UdpOutbox &m_outbox;
    std::deque<UdpSentPacket> m_packets; ///< from m_base on
    UdpRanges m_known;                   ///< numbers that were acknowledged
    std::uint64_t m_base = 0;
    std::uint64_t m_firstFlying = 0;
    std::uint64_t m_repeatNext = UINT64_MAX; ///< behind the next one to be sent twice; the largest: behind the newest
    std::uint64_t m_largestAcked = 0;
    bool m_anyAcked = false;
    std::uint64_t m_inFlight = 0;
    std::size_t m_eliciting = 0; ///< flying ones that want an acknowledgement

    double m_smooth = 0.3;
    double m_variation = 0.15;
    double m_least = 0.0;
    bool m_measured = false;
    std::uint64_t m_reorder = 3;
    double m_late = 1.125; ///< round trips until a packet counts as lost
    unsigned m_silences = 0;
    UdpClock::time_point m_lastEliciting;
    UdpClock::time_point m_lossDue = UdpClock::time_point::max();

    std::uint64_t m_delivered = 0;
    UdpClock::time_point m_deliveredAt;
    std::uint64_t m_deliveredClock = 0;
    UdpClock::time_point m_markAt;
    std::deque<Arrival> m_arrivals; ///< of about half a round trip
    std::uint64_t m_sentBytes = 0;
    std::uint64_t m_lostBytes = 0;
    std::vector<SizeProbe> m_sizeProbes;
};

} // namespace zpdt
