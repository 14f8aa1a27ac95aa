#pragma once

#include "UdpController.h"

#include <array>

namespace zpdt {

/// Fills the line without a queue that stands: it keeps a model of the line (the rate at which it delivers, the round
/// trip without a queue), sends at that rate, and looks for more now and then. Loss that is there whatever is sent is
/// taken for the line's own; only what comes on top of it is taken for a queue that is full.
class UdpFairRate : public UdpController
{
public:
    UdpFairRate(double roundTrip, std::size_t packet);

    void onSample(const UdpSample &sample) override;
    void setTarget(double wireBytesPerSecond, double start, double floor) override;
    double pace() const override;
    std::uint64_t window() const override;
    bool probing() const override { return m_phase == Phase::Start || m_phase == Phase::Up; }
    std::string name() const override { return "fair"; }

private:
    enum class Phase
    {
        Start,  ///< doubling every round trip
        Drain,  ///< until the queue that this made is gone
        Cruise, ///< at the rate of the line
        Up,     ///< a little faster: is there more?
        Still   ///< almost nothing under way: how long is the round trip without a queue?
    };

    double rate() const;
    double product() const { return rate() * m_least; }
    double excess() const;
    void enter(Phase phase, UdpClock::time_point now);
    void onRound(const UdpSample &sample);
    void onLoss(const UdpSample &sample);
    void learnRoundTrip(const UdpSample &sample);
    void advance(const UdpSample &sample);

    const double m_packet;
    double m_target = 0.0;
    Phase m_phase = Phase::Start;
    UdpClock::time_point m_phaseSince;
    UdpClock::time_point m_cycleSince;
    bool m_started = false;

    UdpMaxFilter m_rates{2}; ///< of the last cycles
    std::uint64_t m_cycle = 0;
    std::uint64_t m_round = 0;
    std::uint64_t m_phaseRound = 0;
    std::uint64_t m_roundEnd = 0;
    double m_roundRate = 0.0; ///< largest of this round
    double m_before = 0.0;    ///< rate when the search for more began, or at its last success
    unsigned m_flat = 0;      ///< rounds without one
    bool m_limited = false;

    double m_least;
    bool m_measured = false; ///< until then it is a guess
    double m_lastRoundTrip = 0.0;
    double m_newLeast = 0.0;
    UdpClock::time_point m_leastAt;
    bool m_stillReached = false;
    UdpClock::time_point m_stillEnd;

    double m_roundAcked = 0.0; ///< steady ones, until there are enough for a share
    double m_roundLost = 0.0;
    double m_deepAll = 0.0;  ///< of this round
    double m_deepLost = 0.0; ///< while a queue stood
    double m_yield = 1.0;    ///< what is left of the window after others filled the queue as well
    double m_upAcked = 0.0;
    double m_upLost = 0.0;
    double m_lastLostFlight = 0.0;
    std::array<double, 8> m_shares{};
    std::size_t m_shareCount = 0;
    double m_ownLoss = 0.0; ///< share that the line loses by itself
    double m_high = 0.0;    ///< under way without a full queue; 0: no bound known
    double m_low = 0.0;     ///< until the next search: bound after a queue was full without our doing; 0: none
    double m_lowRate = 0.0;
    std::uint64_t m_lowRound = 0;
};

} // namespace zpdt
