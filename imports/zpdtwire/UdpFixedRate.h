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
    const double m_packet;
    double m_target = 0.0;
    double m_floor = 0.0;
    double m_pace = 0.0;
    UdpMaxFilter m_rates{10}; ///< of the last rounds
    std::uint64_t m_round = 0;
    std::uint64_t m_roundEnd = 0;
    double m_roundAcked = 0.0;
    double m_roundLost = 0.0;
    double m_least; ///< of this and the last period
    double m_nextLeast;
    UdpClock::time_point m_leastEnd;
};

} // namespace zpdt
