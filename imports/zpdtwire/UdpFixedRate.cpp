#include "UdpFixedRate.h"

#include <algorithm>

namespace zpdt {

namespace {

constexpr double kWindow = 2.0;
/// How far the pace may lie above what the line delivers. Below a third of loss the target holds.
constexpr double kAbove = 1.5;
constexpr double kLeastPackets = 64.0;
constexpr auto kLeastPeriod = std::chrono::seconds(10);
constexpr double kStep = 0.02;
/// Loss from which on the line is held to be too slow for the target.
constexpr double kCongested = 0.1;

} // namespace

UdpFixedRate::UdpFixedRate(double roundTrip, std::size_t packet)
    : m_packet(double(packet))
    , m_least(roundTrip)
    , m_nextLeast(roundTrip)
{
}

void UdpFixedRate::setTarget(double wireBytesPerSecond, double start, double floor)
{
    m_pace = m_target > 0.0 ? m_pace * wireBytesPerSecond / m_target : start > 0.0 ? start : wireBytesPerSecond;
    m_target = wireBytesPerSecond;
    m_floor = std::min(floor, m_target);
    m_pace = std::clamp(m_pace, m_floor, m_target);
}

double UdpFixedRate::pace() const
{
    return m_rates.get() > 0.0 ? std::min(m_pace, kAbove * m_rates.get()) : m_pace;
}

std::uint64_t UdpFixedRate::window() const
{
    const double rate = m_rates.get() > 0.0 ? m_rates.get() : m_target;
    return std::uint64_t(kWindow * rate * m_least + kLeastPackets * m_packet);
}

void UdpFixedRate::onSample(const UdpSample &sample)
{
    if (sample.rate > 0.0 && (!sample.limited || sample.rate > m_rates.get()))
        m_rates.add(sample.rate, m_round);
    if (sample.roundTrip > 0.0) {
        m_least = std::min(m_least, sample.roundTrip);
        m_nextLeast = std::min(m_nextLeast, sample.roundTrip);
        // The first value is a guess.
        if (sample.now > m_leastEnd) {
            // The path may have become another one.
            m_least = m_leastEnd == UdpClock::time_point() ? sample.roundTrip : m_nextLeast;
            m_nextLeast = sample.roundTrip;
            m_leastEnd = sample.now + kLeastPeriod;
        }
    }
    m_roundAcked += double(sample.acked[0]);
    m_roundLost += double(sample.lost[0]);
    if (sample.deliveredBefore < m_roundEnd || sample.delivered <= m_roundEnd)
        return;
    m_roundEnd = sample.delivered;
    ++m_round;
    const bool congested = m_roundLost > kCongested * (m_roundAcked + m_roundLost);
    m_pace = std::clamp(m_pace + (congested ? -kStep : kStep) * m_target, m_floor, m_target);
    m_roundAcked = m_roundLost = 0.0;
}

} // namespace zpdt
