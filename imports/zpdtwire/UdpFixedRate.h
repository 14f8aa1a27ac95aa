#pragma once

#include "UdpController.h"

namespace zpdt {

/// Sends at the target, whatever the line loses. What is under way stays bounded by what the line delivers, so that a
/// target far above the line does not drown it.
class UdpFixedRate : public UdpController
{
public:
    UdpFixedRate(double roundTrip, std::size_t packet);

    void onSample(const UdpSample &sample) override;
    void setTarget(double wireBytesPerSecond, double start, double floor) override;
    double pace() const override;
    std::uint64_t window() const override;
    std::string name() const override { return "fixed"; }

private:
    void learnRoundTrip(const UdpSample &sample);

    const double m_packet;
    double m_target = 0.0;
    double m_floor = 0.0;
    double m_pace = 0.0;
    UdpMaxFilter m_rates{10}; ///< of the last rounds
    std::uint64_t m_round = 0;
    std::uint64_t m_roundEnd = 0;
    double m_roundAcked = 0.0;
    double m_roundLost = 0.0;
    double m_least;
    bool m_measured = false;
    UdpClock::time_point m_leastAt; ///< when the round trip was last about as short
    bool m_draining = false;        ///< less under way for some rounds, to see the round trip without a queue
    double m_newLeast = 0.0;
    std::uint64_t m_drainEnd = 0;
};

} // namespace zpdt
