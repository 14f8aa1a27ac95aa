#include "UdpFixedRate.h"

#include <algorithm>

namespace zpdt {

namespace {

/// Round trips' worth under way: for packets that are lost, and acknowledgements that come late.
constexpr double kWindow = 1.6;
constexpr double kDrainWindow = 0.9;
/// How far the pace may lie above what the line delivers. Below a third of loss the target holds.
constexpr double kAbove = 1.5;
constexpr double kLeastPackets = 64.0;
/// Seconds' worth besides: bursts, and both sides' waiting for more before they read and answer, which on a short line
/// is more than the round trip.
constexpr double kLateAcks = 0.004;
constexpr auto kLeastLife = std::chrono::seconds(10);
constexpr std::uint64_t kDrainRounds = 3;
constexpr double kDrainPackets = 8.0;
constexpr double kStep = 0.02;
/// Loss from which on the line is held to be too slow for the target.
constexpr double kCongested = 0.1;

} // namespace

UdpFixedRate::UdpFixedRate(double roundTrip, std::size_t packet)
    : m_packet(double(packet))
    , m_least(roundTrip)
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
    if (m_draining)
        return std::uint64_t(std::max(kDrainWindow * rate * m_least, kDrainPackets * m_packet));
    return std::uint64_t(rate * (kWindow * m_least + kLateAcks) + kLeastPackets * m_packet);
}

void UdpFixedRate::learnRoundTrip(const UdpSample &sample)
{
    if (sample.roundTrip <= 0.0)
        return;
    if (!m_measured || sample.roundTrip < m_least)
        m_least = sample.roundTrip; // the first one was a guess
    if (!m_measured || sample.roundTrip < 1.05 * m_least + 0.0005)
        m_leastAt = sample.now;
    m_measured = true;
    if (m_draining) {
        m_newLeast = std::min(m_newLeast, sample.roundTrip);
    } else if (sample.now - m_leastAt > kLeastLife) {
        // A queue stands, or the path has become another one. Without the queue it shows which.
        m_draining = true;
        m_newLeast = sample.roundTrip;
        m_drainEnd = m_round + kDrainRounds;
    }
}

void UdpFixedRate::onSample(const UdpSample &sample)
{
    // What there was to send says nothing of a line that nobody has filled yet.
    const double known = m_rates.get() > 0.0 ? m_rates.get() : m_target;
    if (sample.rate > 0.0 && (!sample.limited || sample.rate > known))
        m_rates.add(sample.rate, m_round);
    learnRoundTrip(sample);
    m_roundAcked += double(sample.acked[0]);
    m_roundLost += double(sample.lost[0]);
    if (sample.deliveredBefore < m_roundEnd || sample.delivered <= m_roundEnd)
        return;
    m_roundEnd = sample.delivered;
    ++m_round;
    const bool congested = m_roundLost > kCongested * (m_roundAcked + m_roundLost);
    m_pace = std::clamp(m_pace + (congested ? -kStep : kStep) * m_target, m_floor, m_target);
    m_roundAcked = m_roundLost = 0.0;
    if (m_draining && m_round >= m_drainEnd) {
        m_draining = false;
        m_least = m_newLeast;
        m_leastAt = sample.now;
    }
}

} // namespace zpdt
