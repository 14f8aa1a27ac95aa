#pragma once

#include "UdpPacket.h"

#include <memory>

namespace zpdt {

/// What one acknowledgement, or one look at what is overdue, has told. All bytes are those on the line, headers of the
/// network included.
struct UdpSample
{
    UdpClock::time_point now;
    double rate = 0.0;                 ///< bytes a second at which the other side received; 0: not known
    double early = 0.0;                ///< the same over half a round trip: sooner, and less exact; 0: not known
    bool limited = false;              ///< the rate says how much there was to send rather than what the line takes
    double roundTrip = 0.0;            ///< seconds, of the newest packet; 0: not known
    std::uint64_t delivered = 0;       ///< in all
    std::uint64_t deliveredBefore = 0; ///< in all, when the newest of the acknowledged packets left
    std::uint64_t inFlight = 0;        ///< after this
    /// Of packets that left while the controller probed [1] and while it did not [0].
    std::uint64_t acked[2] = {};
    std::uint64_t lost[2] = {};
    std::uint64_t lostInFlight = 0; ///< what was under way when the last of the lost ones left

    bool empty() const { return !acked[0] && !acked[1] && !lost[0] && !lost[1]; }
};

/// Decides how fast packets leave and how many may be under way.
class UdpController
{
public:
    virtual ~UdpController() = default;
    virtual void onSample(const UdpSample &sample) = 0;
    /// @param wireBytesPerSecond the most it may use, the lines' additions included; 0: no limit.
    /// @param floor, @param start likewise, of a fixed goal
    virtual void setTarget(double wireBytesPerSecond, double start, double floor) = 0;
    virtual double pace() const = 0;          ///< bytes a second
    virtual std::uint64_t window() const = 0; ///< bytes
    /// Whether what leaves now may be more than the line takes, on purpose.
    virtual bool probing() const { return false; }
    virtual std::string name() const = 0;

    static std::unique_ptr<UdpController> make(RateMode mode, double roundTrip, std::size_t packet);
};

/// The largest of the values that came within a number of turns.
class UdpMaxFilter
{
public:
    explicit UdpMaxFilter(std::uint64_t turns)
        : m_turns(turns)
    {
    }
    void add(double value, std::uint64_t turn)
    {
        // Kept in three: the best, the best after it, the best after that.
        if (value >= m_best[0].value || turn - m_best[2].turn > m_turns) {
            m_best[0] = m_best[1] = m_best[2] = {value, turn};
            return;
        }
        if (value >= m_best[1].value)
            m_best[1] = m_best[2] = {value, turn};
        else if (value >= m_best[2].value)
            m_best[2] = {value, turn};
        while (turn - m_best[0].turn > m_turns) {
            m_best[0] = m_best[1];
            m_best[1] = m_best[2];
            m_best[2] = {value, turn};
        }
    }
    double get() const { return m_best[0].value; }

private:
    struct Entry
    {
        double value = 0.0;
        std::uint64_t turn = 0;
    };
    std::uint64_t m_turns;
    Entry m_best[3];
};

} // namespace zpdt
