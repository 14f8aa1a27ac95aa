#include "UdpConnection.h"

#include "Context.h"

#include <asio/io_context.hpp>
#include <asio/post.hpp>

#include <algorithm>

namespace zpdt {

namespace {

constexpr std::size_t kHeadV4 = 28;
constexpr std::size_t kHeadV6 = 48;
constexpr double kBurstTime = 0.001;
constexpr double kMostBurstTime = 0.003;
/// One in so many bytes has to have been lost before any are sent twice.
constexpr std::uint64_t kRepeatShare = 1000;
/// Packets under one key, far below what the cipher allows.
constexpr std::uint64_t kPhasePackets = 1u << 14;

} // namespace

void UdpConnection::send(Bytes frames)
{
    if (m_state != State::Open && m_state != State::Idle && m_state != State::Finding)
        return;
    m_outbox.push(std::move(frames));
    flushSoon();
}

void UdpConnection::urge()
{
    m_urgedEnd = m_outbox.end();
    m_recovery.restartRepeats();
    flushSoon();
}

/// Queues a packet that is under way once more, where that is worth it. False when it did not.
bool UdpConnection::repeatOne()
{
    return m_urgedEnd > 0 && m_outbox.unsent() == 0 && m_recovery.lostBytes() * kRepeatShare > m_recovery.sentBytes() &&
           m_recovery.repeatNewest(m_urgedEnd);
}

void UdpConnection::flushSoon()
{
    if (m_flushPosted || m_state == State::Idle || m_state == State::Finding)
        return;
    m_flushPosted = true;
    asio::post(m_context.io(), [self = shared_from_this()] {
        self->m_flushPosted = false;
        self->flush();
    });
}

std::size_t UdpConnection::seal(std::uint8_t *out, std::size_t plain)
{
    UdpHeader header;
    header.connection = m_met.other;
    header.number = m_recovery.nextNumber();
    if (header.number - m_outPhaseFirst >= kPhasePackets) {
        UdpCipher next;
        if (m_met.out.advanceTo(next)) {
            m_met.out = std::move(next);
            m_outPhase = !m_outPhase;
            m_outPhaseFirst = header.number;
        }
    }
    header.phase = m_outPhase;
    header.write(out);
    // Nothing leaves in the clear: what could not be sealed is rubbish to the other side.
    if (!m_met.out.seal(header.number, out, kUdpHeader, out + kUdpHeader, plain))
        std::fill(out + kUdpHeader, out + kUdpHeader + plain + kUdpTag, std::uint8_t(0));
    return kUdpHeader + plain + kUdpTag;
}

void UdpConnection::record(Clock::time_point now, std::size_t datagram, UdpSentPacket packet)
{
    packet.at = now;
    packet.wire = std::uint32_t(datagram + (m_remote.address().is_v6() ? kHeadV6 : kHeadV4));
    packet.probes = m_controller->probing();
    packet.limited = m_recovery.deliveredBytes() < m_limitedUntil;
    m_recovery.onSent(packet);
    m_bytesOut += datagram;
    m_lastSent = now;
}

std::size_t UdpConnection::build(std::uint8_t *out, std::size_t size, Clock::time_point now, bool paced)
{
    UdpFrameWriter writer(out + kUdpHeader, size - kUdpHeader - kUdpTag);
    UdpSentPacket packet;
    if (m_unacked > 0 && (now >= m_ackAt || !paced)) {
        UdpAck ack = m_arrivals.ack(now, m_startedAt);
        ack.mostOffset = m_toldMost = m_inbox.mostOffset();
        writer.ack(ack);
        m_unacked = 0;
        m_ackAt = Clock::time_point::max();
        m_lastAck = now;
    }
    if (m_pingWanted) {
        writer.ping();
        m_pingWanted = false;
        packet.elicits = true;
    }
    if (paced && writer.room() > UdpFrameWriter::kDataHead) {
        const auto piece = m_outbox.next(writer.room() - UdpFrameWriter::kDataHead, m_otherMost);
        if (piece.size > 0) {
            m_outbox.take(piece, writer.data(piece.offset, piece.size));
            packet.offset = piece.offset;
            packet.length = std::uint32_t(piece.size);
            packet.elicits = true;
        }
    }
    if (writer.size() == 0)
        return 0;
    const std::size_t datagram = seal(out, writer.size());
    record(now, datagram, packet);
    return datagram;
}

bool UdpConnection::fillBurst(Clock::time_point now)
{
    const std::size_t size = m_size->size();
    const double wanted = m_controller->pace() * kBurstTime;
    const std::size_t most =
        m_probes > 0 ? m_probes * size : std::size_t(std::clamp(wanted, 2.0 * double(size), double(m_burst.size())));
    m_burstEnd = m_burstSegment = 0;
    while (m_burstEnd + size <= most) {
        const bool something = m_outbox.hasLost() || (m_outbox.unsent() > 0 && m_outbox.nextOffset() < m_otherMost);
        if (!something) {
            m_limitedUntil = m_recovery.deliveredBytes() + m_recovery.inFlight() + 1;
            if (m_recovery.inFlight() + size > m_controller->window() || !repeatOne())
                break;
        }
        if (m_probes == 0 && m_recovery.inFlight() + size > m_controller->window())
            break;
        const std::size_t datagram = build(m_burst.data() + m_burstEnd, size, now, true);
        if (m_probes > 0)
            --m_probes;
        m_burstEnd += datagram;
        m_burstSegment = std::max(m_burstSegment, datagram);
        // Only the last datagram of a burst may be shorter than the others.
        if (datagram < size)
            break;
    }
    return m_burstEnd > 0;
}

bool UdpConnection::sendBurst()
{
    std::size_t sent = 0;
    const UdpSent result = m_port->send(m_remote, m_burst.data(), m_burstEnd, m_burstSegment, sent);
    if (result == UdpSent::Blocked) {
        std::copy(m_burst.begin() + std::ptrdiff_t(sent), m_burst.begin() + std::ptrdiff_t(m_burstEnd),
                  m_burst.begin());
        m_burstEnd -= sent;
        m_blocked = true;
        m_port->whenRoom([weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->m_blocked = false;
                self->flush();
            }
        });
        return false;
    }
    if (result == UdpSent::TooLarge)
        m_size->fallBack(Clock::now());
    m_burstEnd = 0;
    return true;
}

void UdpConnection::sendControl(Clock::time_point now, const Endpoint &to, std::size_t size,
                                const std::function<void(UdpFrameWriter &)> &write, bool elicits)
{
    std::uint8_t out[kUdpMost];
    UdpFrameWriter writer(out + kUdpHeader, size - kUdpHeader - kUdpTag);
    write(writer);
    const std::size_t datagram = seal(out, writer.size());
    UdpSentPacket packet;
    packet.elicits = elicits;
    packet.probesSize = size > m_size->size() ? std::uint16_t(size) : std::uint16_t(0);
    record(now, datagram, packet);
    std::size_t sent = 0;
    (void)m_port->send(to, out, datagram, datagram, sent);
}

void UdpConnection::probeSize(Clock::time_point now)
{
    if (const std::size_t size = m_size->next(now)) {
        sendControl(
            now, m_remote, size,
            [](UdpFrameWriter &out) {
                out.ping();
                out.pad();
            },
            true);
    }
}

void UdpConnection::sendPaced(Clock::time_point &now)
{
    const auto duration = [](double seconds) {
        return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    };
    // Time that was lost to a late timer is made up for, a few milliseconds' worth at a time.
    m_nextSend = std::max(m_nextSend, now - duration(UdpSocket::timerGrain()));
    const double behind = std::chrono::duration<double>(now - m_nextSend).count();
    const double most = m_controller->pace() * std::clamp(kBurstTime + behind, kBurstTime, kMostBurstTime);
    for (double bytes = 0; (now >= m_nextSend && now >= m_notBefore && bytes < most) || m_probes > 0;) {
        if (!fillBurst(now))
            return;
        bytes += double(m_burstEnd);
        m_nextSend += duration(double(m_burstEnd) * 1.02 / std::max(m_controller->pace(), 1.0));
        if (!sendBurst())
            return;
        if (m_listener && m_told)
            m_listener->channelWritable();
        if (m_state != State::Open && m_state != State::Flushing)
            return;
        now = Clock::now();
    }
    if (now >= m_nextSend)
        m_notBefore = std::max(m_notBefore, now + duration(kBurstTime / 2));
}

void UdpConnection::flush()
{
    if ((m_state != State::Open && m_state != State::Flushing) || m_blocked)
        return;
    auto now = Clock::now();
    if (m_burstEnd > 0 && !sendBurst())
        return;
    if (m_told && m_state == State::Open)
        probeSize(now);
    sendPaced(now);
    if (m_state != State::Open && m_state != State::Flushing)
        return;
    if (m_pingWanted || (m_unacked > 0 && now >= m_ackAt)) {
        std::uint8_t out[kUdpFirst];
        std::size_t sent = 0;
        if (const std::size_t datagram = build(out, sizeof(out), now, false))
            (void)m_port->send(m_remote, out, datagram, datagram, sent);
    }
    if (m_state == State::Flushing && m_outbox.empty())
        leave();
    schedule();
}

} // namespace zpdt
