#include "UdpRecovery.h"

#include <algorithm>
#include <cmath>

namespace zpdt {

namespace {

constexpr std::uint64_t kMostReorder = 300;
constexpr double kMostLate = 2.0;
constexpr double kLeastRoundTrip = 1e-5;
constexpr double kGrain = 0.001;
constexpr double kRecentShare = 0.5;   ///< of a round trip
constexpr double kRecentLeast = 0.010; ///< shorter spans say more of the timers than of the line
constexpr double kMostProbeTime = 1.0;
/// The longest that the other side waits with an acknowledgement.
constexpr double kAckWait = 0.025;

double seconds(UdpClock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

UdpClock::duration duration(double s)
{
    return std::chrono::duration_cast<UdpClock::duration>(std::chrono::duration<double>(s));
}

} // namespace

void UdpRecovery::firstRoundTrip(double s)
{
    m_smooth = m_least = std::max(s, kLeastRoundTrip);
    m_variation = m_smooth / 2;
}

void UdpRecovery::measure(double s)
{
    s = std::max(s, kLeastRoundTrip);
    m_least = m_measured ? std::min(m_least, s) : s;
    if (m_measured) {
        m_variation += (std::abs(m_smooth - s) - m_variation) / 4;
        m_smooth += (s - m_smooth) / 8;
    } else {
        m_smooth = s;
        m_variation = s / 2;
    }
    m_measured = true;
}

double UdpRecovery::lossTime() const
{
    return std::max(m_late * m_smooth, 2 * kGrain);
}

double UdpRecovery::probeTime() const
{
    const double once = m_smooth + std::max(4 * m_variation, kGrain) + kAckWait;
    // The first two come quickly: one packet is lost easily.
    const int doubled = m_silences < 2 ? 0 : int(std::min(m_silences, 10u)) - 1;
    return std::min(std::ldexp(once, doubled), std::max(kMostProbeTime, 2 * once));
}

UdpSentPacket *UdpRecovery::find(std::uint64_t number)
{
    return number >= m_base && number < nextNumber() ? &m_packets[std::size_t(number - m_base)] : nullptr;
}

void UdpRecovery::onSent(UdpSentPacket packet)
{
    if (packet.elicits) {
        if (m_inFlight == 0) {
            // After a pause the time since the last acknowledgement says nothing of the line.
            m_markAt = m_deliveredAt = packet.at;
            m_deliveredClock = 0;
            m_arrivals.clear();
        }
        packet.delivered = m_delivered;
        packet.deliveredAt = m_deliveredAt;
        packet.deliveredClock = m_deliveredClock;
        packet.markAt = m_markAt;
        m_inFlight += packet.wire;
        packet.inFlight = m_inFlight;
        m_lastEliciting = packet.at;
        ++m_eliciting;
    } else {
        packet.state = UdpSentPacket::Acked; // nobody waits for it
    }
    m_sentBytes += packet.wire;
    m_packets.push_back(packet);
    // Who only acknowledges gets no acknowledgements.
    while (!m_packets.empty() && m_packets.front().state == UdpSentPacket::Acked) {
        m_packets.pop_front();
        ++m_base;
    }
}

bool UdpRecovery::onAck(const UdpAck &ack, UdpClock::time_point now, UdpSample &sample)
{
    if (ack.largest() >= nextNumber())
        return false;
    sample.now = now;
    UdpSentPacket best;
    bool any = false;
    const std::uint64_t before = sample.acked[0] + sample.acked[1];
    for (const auto &range : ack.ranges) {
        if (range.end <= m_base)
            break;
        // Each acknowledgement repeats those before it, so most of it is known.
        std::uint64_t at = range.end;
        const std::uint64_t first = std::max(range.first, m_base);
        while (at > first) {
            const UdpRanges::Range known = m_known.lastBefore(at);
            if (known.end >= at) {
                at = known.first;
                continue;
            }
            for (const std::uint64_t stop = std::max(first, known.end); at > stop; --at) {
                UdpSentPacket &packet = m_packets[std::size_t(at - 1 - m_base)];
                if (packet.state == UdpSentPacket::Acked)
                    continue;
                onArrived(packet, at - 1, ack.largest(), sample);
                if (!any || packet.at > best.at)
                    best = packet;
                any = true;
            }
        }
        m_known.add(first, range.end);
    }
    const std::uint64_t ackedBytes = sample.acked[0] + sample.acked[1] - before;
    if (any) {
        m_silences = 0;
        m_delivered += ackedBytes;
        if (!m_anyAcked || ack.largest() > m_largestAcked) {
            if (const UdpSentPacket *newest = find(ack.largest())) {
                if (newest->elicits) {
                    const double delay = double(ack.delayUs) / 1e6;
                    const double whole = seconds(now - newest->at);
                    sample.roundTrip = whole - std::min(delay, whole - std::min(m_least, whole));
                    measure(sample.roundTrip);
                }
            }
        }
        // Both clocks have to agree that the line was that fast: ours says how fast the packets left, the receiver's
        // how fast they came, whatever then held up the acknowledgements.
        const double left = seconds(best.at - best.markAt);
        const double came = best.deliveredClock > 0 && ack.clockUs > best.deliveredClock
                                ? double(ack.clockUs - best.deliveredClock) / 1e6
                                : seconds(now - best.deliveredAt);
        const double interval = std::max(left, came);
        sample.deliveredBefore = best.delivered;
        sample.limited = best.limited;
        if (interval >= 0.8 * m_least && interval > 0)
            sample.rate = double(m_delivered - best.delivered) / interval;
        sample.early = recentRate({best.at, ack.clockUs, m_delivered});
        m_markAt = best.at;
        m_deliveredAt = now;
        m_deliveredClock = ack.clockUs;
    }
    if (!m_anyAcked || ack.largest() > m_largestAcked)
        m_largestAcked = ack.largest();
    m_anyAcked = true;
    findLost(now, sample);
    trim(now);
    sample.delivered = m_delivered;
    sample.inFlight = m_inFlight;
    return true;
}

/// Bytes a second of the last half round trip; 0 while that is not over.
double UdpRecovery::recentRate(const Arrival &now)
{
    const auto since = [&now](const Arrival &then) {
        const double came = now.clock > then.clock ? double(now.clock - then.clock) / 1e6 : 0.0;
        return std::max(seconds(now.left - then.left), came);
    };
    const double span = std::max(kRecentShare * m_least, kRecentLeast);
    while (m_arrivals.size() > 1 && since(m_arrivals[1]) >= span)
        m_arrivals.pop_front();
    const double interval = m_arrivals.empty() ? 0.0 : since(m_arrivals.front());
    const double rate = interval >= span ? double(now.delivered - m_arrivals.front().delivered) / interval : 0.0;
    if (m_arrivals.empty() || since(m_arrivals.back()) >= kGrain)
        m_arrivals.push_back(now);
    return rate;
}

void UdpRecovery::onArrived(UdpSentPacket &packet, std::uint64_t number, std::uint64_t largest, UdpSample &sample)
{
    if (packet.state == UdpSentPacket::Flying) {
        m_inFlight -= packet.wire;
        --m_eliciting;
    } else if (!packet.probesSize) {
        // It was merely late. Its bytes may have left again already; they are not counted twice.
        m_reorder = std::min(std::max(m_reorder, largest - number + 1), kMostReorder);
        m_late = std::min(m_late + 0.125, kMostLate);
        m_lostBytes -= std::min<std::uint64_t>(m_lostBytes, packet.wire);
    }
    packet.state = UdpSentPacket::Acked;
    if (packet.length > 0)
        m_outbox.acked(packet.offset, packet.length);
    if (packet.probesSize)
        m_sizeProbes.push_back({packet.probesSize, true});
    sample.acked[packet.probes] += packet.wire;
}

void UdpRecovery::markLost(UdpSentPacket &packet, UdpSample &sample)
{
    packet.state = UdpSentPacket::Lost;
    m_inFlight -= packet.wire;
    --m_eliciting;
    if (packet.length > 0)
        m_outbox.lost(packet.offset, packet.length);
    if (packet.probesSize)
        return;
    m_lostBytes += packet.wire;
    sample.lost[packet.probes] += packet.wire;
    sample.lostInFlight = packet.inFlight;
}

void UdpRecovery::findLost(UdpClock::time_point now, UdpSample &sample)
{
    m_lossDue = UdpClock::time_point::max();
    m_firstFlying = std::max(m_firstFlying, m_base);
    const auto overdue = now - duration(lossTime());
    for (; m_firstFlying < nextNumber() && m_firstFlying <= m_largestAcked; ++m_firstFlying) {
        UdpSentPacket &packet = m_packets[std::size_t(m_firstFlying - m_base)];
        if (packet.state != UdpSentPacket::Flying)
            continue;
        // All later ones left later and are less far behind.
        if (m_largestAcked - m_firstFlying < m_reorder && packet.at > overdue) {
            m_lossDue = packet.at + duration(lossTime());
            return;
        }
        if (packet.probesSize)
            m_sizeProbes.push_back({packet.probesSize, false});
        markLost(packet, sample);
    }
}

void UdpRecovery::trim(UdpClock::time_point now)
{
    // Lost ones stay for a while, so that late arrivals are seen for what they are.
    const auto old = now - duration(3 * m_smooth + 0.1);
    while (!m_packets.empty()) {
        const UdpSentPacket &first = m_packets.front();
        if (first.state == UdpSentPacket::Flying || (first.state == UdpSentPacket::Lost && first.at > old))
            break;
        m_packets.pop_front();
        ++m_base;
    }
    m_known.remove(0, m_base);
}

UdpClock::time_point UdpRecovery::deadline() const
{
    if (m_eliciting == 0)
        return UdpClock::time_point::max();
    return std::min(m_lossDue, m_lastEliciting + duration(probeTime()));
}

bool UdpRecovery::onTime(UdpClock::time_point now, UdpSample &sample)
{
    sample.now = now;
    if (now >= m_lossDue)
        findLost(now, sample);
    sample.delivered = m_delivered;
    sample.inFlight = m_inFlight;
    if (m_eliciting == 0 || now < m_lastEliciting + duration(probeTime()))
        return false;
    ++m_silences;
    // What comes next starts the time anew, whether or not it could leave.
    m_lastEliciting = now;
    return true;
}

void UdpRecovery::probe()
{
    const auto again = [](const UdpSentPacket &packet) {
        return packet.state == UdpSentPacket::Flying && packet.length > 0;
    };
    const auto first = std::find_if(m_packets.begin(), m_packets.end(), again);
    if (first == m_packets.end())
        return;
    const auto last = std::find_if(m_packets.rbegin(), m_packets.rend(), again);
    m_outbox.lost(first->offset, first->length);
    m_outbox.lost(last->offset, last->length);
}

bool UdpRecovery::repeatNewest(std::uint64_t end)
{
    m_repeatNext = std::min(m_repeatNext, nextNumber());
    for (const std::uint64_t first = std::max(m_base, m_firstFlying); m_repeatNext > first;) {
        const UdpSentPacket &packet = m_packets[std::size_t(--m_repeatNext - m_base)];
        if (packet.state != UdpSentPacket::Flying || packet.length == 0 || packet.offset >= end)
            continue;
        m_outbox.lost(packet.offset, packet.length);
        if (m_outbox.hasLost())
            return true;
    }
    return false;
}

void UdpRecovery::forgetPath()
{
    m_measured = false;
    m_reorder = 3;
    m_late = 1.125;
    m_silences = 0;
}

} // namespace zpdt
