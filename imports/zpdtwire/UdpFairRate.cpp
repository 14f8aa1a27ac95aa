#include "UdpFairRate.h"

#include "UdpFixedRate.h"

#include <algorithm>

namespace zpdt {

namespace {

constexpr double kStartGain = 2.77;
constexpr double kStartWindow = 2.0;
constexpr double kNoQueue = 1.1; ///< round trips, in shortest ones, up to which the start is not held back
constexpr double kFirstPackets = 80.0;
constexpr double kDrainGain = 0.75;
constexpr double kCruiseGain = 1.0;
constexpr double kUpGain = 1.25;
/// Round trips' worth under way. More than one, for acknowledgements that come late; as much more as lets a flow that
/// fills every queue keep about its half.
constexpr double kWindow = 1.6;
constexpr double kUpWindow = 1.7;
/// Round trips, in shortest ones, from which on a queue is deeper than a search for more would fill it.
constexpr double kDeep = 1.25;
constexpr double kHigher = 1.12;
constexpr std::uint64_t kCycleRounds = 8;
constexpr auto kCycleLeast = std::chrono::milliseconds(300);
constexpr auto kLeastLife = std::chrono::seconds(10);
constexpr auto kStillTime = std::chrono::milliseconds(150);
constexpr double kGrown = 1.2;
constexpr unsigned kFlatRounds = 3;
constexpr std::uint64_t kMostRounds = 12; ///< at the start, with whatever there is to send
/// Loss on top of the line's own that tells of a full queue.
constexpr double kFullQueue = 0.02;
constexpr double kFullQueueStart = 0.08;
constexpr double kBack = 0.85;
constexpr double kRunOver = 0.004;
constexpr double kYield = 0.88;
constexpr double kMostYield = 0.7;
constexpr double kUnyield = 0.015; ///< each cycle
constexpr double kSharePackets = 100.0;
constexpr double kLeastPackets = 8.0;

} // namespace

std::unique_ptr<UdpController> UdpController::make(RateMode mode, double roundTrip, std::size_t packet)
{
    if (mode == RateMode::Fixed)
        return std::make_unique<UdpFixedRate>(roundTrip, packet);
    return std::make_unique<UdpFairRate>(roundTrip, packet);
}

UdpFairRate::UdpFairRate(double roundTrip, std::size_t packet)
    : m_packet(double(packet))
    , m_least(roundTrip)
{
}

void UdpFairRate::setTarget(double wireBytesPerSecond, double, double)
{
    m_target = wireBytesPerSecond;
}

double UdpFairRate::rate() const
{
    const double least = kFirstPackets * m_packet / std::max(m_least, 0.001);
    const double rate = m_rates.get() > 0.0 ? m_rates.get() : least;
    return m_lowRate > 0.0 ? std::min(rate, m_lowRate) : rate;
}

double UdpFairRate::pace() const
{
    double gain = 1.0;
    switch (m_phase) {
    case Phase::Start:
        gain = kStartGain;
        break;
    case Phase::Drain:
        gain = kDrainGain;
        break;
    case Phase::Cruise:
    case Phase::Still:
        gain = kCruiseGain;
        break;
    case Phase::Up:
        gain = kUpGain;
        break;
    }
    const double wanted = gain * rate();
    if (m_target <= 0.0)
        return wanted;
    // What the line loses makes the rate seem a little less than what was sent, over and over.
    return m_phase != Phase::Drain && wanted > 0.9 * m_target ? m_target : std::min(wanted, m_target);
}

std::uint64_t UdpFairRate::window() const
{
    double window = 0.0;
    switch (m_phase) {
    case Phase::Start:
        window = m_lastRoundTrip < kNoQueue * m_least ? kStartGain : kStartWindow;
        window = std::max(window * product(), kFirstPackets * m_packet);
        break;
    case Phase::Still:
        window = 0.5 * product();
        break;
    case Phase::Up:
        window = std::max(kUpWindow * m_yield, 1.25) * product();
        break;
    default:
        window = kWindow * m_yield * product();
    }
    if (m_high > 0.0)
        window = std::min(window, m_high);
    if (m_low > 0.0 && m_phase != Phase::Up)
        window = std::min(window, m_low);
    // Bursts, and acknowledgements for several packets at a time, are under way besides.
    return std::uint64_t(std::max(window, kLeastPackets * m_packet) + 0.002 * rate());
}

void UdpFairRate::enter(Phase phase, UdpClock::time_point now)
{
    m_phase = phase;
    m_phaseSince = now;
    m_phaseRound = m_round;
    if (phase == Phase::Up) {
        m_before = m_rates.get();
        m_low = m_lowRate = 0.0;
        m_upAcked = m_upLost = 0.0;
        m_yield = std::min(m_yield + kUnyield, 1.0);
    }
    if (phase == Phase::Drain) {
        ++m_cycle;
        m_cycleSince = now;
    }
}

double UdpFairRate::excess() const
{
    return 1.5 * m_ownLoss + (m_phase == Phase::Start ? kFullQueueStart : kFullQueue);
}

void UdpFairRate::onSample(const UdpSample &sample)
{
    if (!m_started) {
        m_started = true;
        m_leastAt = m_phaseSince = m_cycleSince = sample.now;
    }
    // What there was to send says nothing of a line that nobody has filled yet.
    const double rate = m_phase == Phase::Start ? std::max(sample.rate, sample.early) : sample.rate;
    if (rate > 0.0 && (!sample.limited || rate > std::max(m_rates.get(), this->rate()))) {
        m_rates.add(rate, m_cycle);
        m_roundRate = std::max(m_roundRate, rate);
    }
    m_limited = m_limited || sample.limited;
    learnRoundTrip(sample);
    onLoss(sample);
    if (sample.deliveredBefore >= m_roundEnd && sample.delivered > m_roundEnd) {
        m_roundEnd = sample.delivered;
        ++m_round;
        onRound(sample);
        m_roundRate = 0.0;
        m_limited = false;
    }
    advance(sample);
}

void UdpFairRate::learnRoundTrip(const UdpSample &sample)
{
    if (sample.roundTrip <= 0.0)
        return;
    m_lastRoundTrip = sample.roundTrip;
    if (sample.roundTrip < m_least || !m_measured) {
        m_measured = true;
        m_least = sample.roundTrip;
        m_leastAt = sample.now;
    } else if (sample.roundTrip < 1.05 * m_least + 0.0005) {
        m_leastAt = sample.now; // still as short as ever
    }
    if (m_phase == Phase::Still && m_stillReached)
        m_newLeast = m_newLeast > 0.0 ? std::min(m_newLeast, sample.roundTrip) : sample.roundTrip;
}

void UdpFairRate::onLoss(const UdpSample &sample)
{
    if (sample.lostInFlight > 0)
        m_lastLostFlight = double(sample.lostInFlight);
    m_upAcked += double(sample.acked[1]);
    m_upLost += double(sample.lost[1]);
    m_roundAcked += double(sample.acked[0]);
    m_roundLost += double(sample.lost[0]);
    const double lost = double(sample.lost[0] + sample.lost[1]);
    m_deepAll += lost + double(sample.acked[0] + sample.acked[1]);
    if (m_lastRoundTrip >= kDeep * m_least)
        m_deepLost += lost;
    const double up = m_upAcked + m_upLost;
    if (m_upLost > kLeastPackets * m_packet && m_upLost > excess() * up && up > kSharePackets * m_packet) {
        m_high = m_lastRoundTrip < kDeep * m_least ? std::max(m_lastLostFlight * 0.95, 1.05 * product()) : 0.0;
        m_upAcked = m_upLost = 0.0;
        if (probing())
            enter(Phase::Drain, sample.now);
    }
    const double steady = m_roundAcked + m_roundLost;
    if (m_roundLost > kLeastPackets * m_packet && m_roundLost > excess() * steady &&
        steady > kSharePackets * m_packet && m_round > m_lowRound + 1 && !probing()) {
        // Somebody else's doing as much as ours: back for the rest of this cycle.
        const double now = m_low > 0.0 ? m_low : m_lastLostFlight;
        m_low = std::max(kBack * now, 0.3 * product());
        m_lowRate = std::max(kBack * rate(), m_roundRate);
        m_lowRound = m_round;
    }
}

void UdpFairRate::onRound(const UdpSample &sample)
{
    const double steady = m_roundAcked + m_roundLost;
    if (steady > kSharePackets * m_packet) {
        m_shares[m_shareCount++ % m_shares.size()] = m_roundLost / steady;
        m_roundAcked = m_roundLost = 0.0;
        auto sorted = m_shares;
        const std::size_t count = std::min(m_shareCount, m_shares.size());
        std::sort(sorted.begin(), sorted.begin() + std::ptrdiff_t(count));
        m_ownLoss = sorted[count / 4];
    }
    // A deep queue that ran over: it is not us alone who fill it, since our window would not. The larger our part, the
    // more of the loss is ours, so this brings flows together.
    if (m_phase != Phase::Start && m_deepLost > kLeastPackets * m_packet &&
        m_deepLost > (1.5 * m_ownLoss + kRunOver) * m_deepAll)
        m_yield = std::max(kYield * m_yield, kMostYield);
    m_deepAll = m_deepLost = 0.0;
    if (m_phase == Phase::Start && (!m_limited || m_round > m_phaseRound + kMostRounds)) {
        if (m_rates.get() >= kGrown * m_before) {
            m_before = m_rates.get();
            m_flat = 0;
        } else if (++m_flat >= kFlatRounds) {
            enter(Phase::Drain, sample.now);
        }
        m_upAcked = m_upLost = 0.0;
    }
}

void UdpFairRate::advance(const UdpSample &sample)
{
    const auto now = sample.now;
    const auto inFlight = double(sample.inFlight);
    switch (m_phase) {
    case Phase::Start:
        break;
    case Phase::Drain:
        if (inFlight <= std::min(product(), m_high > 0.0 ? 0.9 * m_high : product()) || m_round > m_phaseRound + 3)
            enter(Phase::Cruise, now);
        break;
    case Phase::Cruise:
        if (now - m_leastAt > kLeastLife) {
            m_stillReached = false;
            m_newLeast = 0.0;
            enter(Phase::Still, now);
        } else if (m_round >= m_phaseRound + kCycleRounds && now - m_cycleSince > kCycleLeast) {
            enter(Phase::Up, now);
        }
        break;
    case Phase::Up:
        if (m_round <= m_phaseRound + 1)
            break;
        if (m_rates.get() >= kGrown * m_before) {
            // There is a lot more: on as at the start.
            m_high = 0.0;
            m_flat = 0;
            m_before = m_rates.get();
            enter(Phase::Start, now);
            break;
        }
        if (m_high > 0.0)
            m_high *= kHigher; // it was not too much
        enter(Phase::Drain, now);
        break;
    case Phase::Still:
        if (!m_stillReached && inFlight <= 0.5 * product() + kLeastPackets * m_packet) {
            m_stillReached = true;
            m_stillEnd = now + kStillTime + std::chrono::microseconds(std::int64_t(m_least * 1e6));
        }
        if ((m_stillReached && now > m_stillEnd) || now - m_phaseSince > std::chrono::seconds(3)) {
            if (m_newLeast > 0.0)
                m_least = m_newLeast;
            m_leastAt = now;
            enter(Phase::Cruise, now);
        }
        break;
    }
}

} // namespace zpdt
