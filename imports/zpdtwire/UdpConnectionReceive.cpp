#include "UdpConnection.h"

#include "BufferBudget.h"
#include "Context.h"

#include <asio/post.hpp>

#include <algorithm>

namespace zpdt {

namespace {

constexpr auto kAckLeast = std::chrono::milliseconds(1);
constexpr auto kAckMost = std::chrono::milliseconds(8);
constexpr auto kChallengeEvery = std::chrono::milliseconds(200);

} // namespace

void UdpConnection::onDatagram(const std::uint8_t *data, std::size_t size, const Endpoint &from, Clock::time_point at)
{
    if (m_state == State::Ended || m_state == State::Idle || size == 0)
        return;
    if (m_state == State::Finding) {
        m_bytesIn += size;
        if (data[0] == static_cast<std::uint8_t>(UdpKind::Welcome))
            onWelcome(data, size, from);
        else if (data[0] == static_cast<std::uint8_t>(UdpKind::Retry) && m_handshake->retry(data, size))
            sendHello();
        return;
    }
    UdpHeader header;
    if (!UdpHeader::read(data, size, header)) {
        const Bytes unknown = udpUnknown(m_met.other, m_met.unknown);
        if (m_server || size != unknown.size() || !udpEqual(data, unknown.data(), size))
            return;
        if (m_state != State::Open)
            end();
        else
            fail(Error::Network, "the server does not know this connection any more");
        return;
    }
    if (header.connection != m_met.own || !m_arrivals.fresh(header.number) || !decrypt(header, data, size))
        return;
    m_bytesIn += size;
    onFrames(header, m_plain.data(), size - kUdpHeader - kUdpTag, from, at);
}

bool UdpConnection::decrypt(const UdpHeader &header, const std::uint8_t *data, std::size_t size)
{
    UdpCipher *cipher = &m_met.in;
    bool next = false;
    if (header.phase != m_inPhase) {
        next = header.number >= m_inPhaseFirst;
        if (next && !m_nextIn) {
            m_nextIn.emplace();
            if (!m_met.in.advanceTo(*m_nextIn))
                return false;
        }
        auto &other = next ? m_nextIn : m_previousIn;
        if (!other)
            return false;
        cipher = &*other;
    }
    if (!cipher->open(header.number, data, kUdpHeader, data + kUdpHeader, size - kUdpHeader, m_plain.data()))
        return false;
    if (next) {
        m_previousIn = std::move(m_met.in);
        m_met.in = std::move(*m_nextIn);
        m_nextIn.reset();
        m_inPhase = header.phase;
        m_inPhaseFirst = header.number;
    }
    return true;
}

void UdpConnection::onFrames(const UdpHeader &header, const std::uint8_t *data, std::size_t size, const Endpoint &from,
                             Clock::time_point at)
{
    m_heard = at;
    if (m_server)
        onAddress(header, from, size);
    UdpFrameReader reader(data, size);
    UdpFrame frame;
    bool elicits = false;
    while (reader.next(frame)) {
        elicits = elicits || frame.type == UdpFrameType::Data || frame.type == UdpFrameType::Ping;
        if (!onFrame(frame, at, from))
            return;
    }
    if (!reader.ok())
        return fail(Error::Integrity, "a packet that breaks the rules");
    m_arrivals.add(header.number, at, elicits);
    if (elicits)
        wantAck(at);
}

void UdpConnection::wantAck(Clock::time_point now)
{
    if (m_unacked++ > 0)
        return;
    const auto wait =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(m_recovery.roundTrip() / 16));
    m_ackAt = std::max(now, m_lastAck + std::clamp<Clock::duration>(wait, kAckLeast, kAckMost));
    // Room for what comes in eight round trips: a packet that is lost twice holds up all behind it that long, with a
    // queue on the line.
    const double span = std::chrono::duration<double>(now - m_windowAt).count();
    if (span > m_recovery.roundTrip()) {
        const double rate = double(m_inbox.arrived() - m_windowArrived) / span;
        if (!m_context.budget().usedUp())
            m_inbox.widen(std::uint64_t(8 * rate * m_recovery.roundTrip()));
        m_windowAt = now;
        m_windowArrived = m_inbox.arrived();
        if (m_inbox.memory() > m_countedMemory) {
            m_context.budget().add(m_inbox.memory() - m_countedMemory);
            m_countedMemory = m_inbox.memory();
        }
    }
}

bool UdpConnection::onFrame(const UdpFrame &frame, Clock::time_point now, const Endpoint &from)
{
    switch (frame.type) {
    case UdpFrameType::Padding:
    case UdpFrameType::Ping:
        return true;
    case UdpFrameType::Ack: {
        UdpSample sample;
        if (!m_recovery.onAck(frame.ack, now, sample)) {
            fail(Error::Integrity, "an acknowledgement of what was not sent");
            return false;
        }
        m_otherMost = std::max(m_otherMost, frame.ack.mostOffset);
        afterSample(sample);
        return true;
    }
    case UdpFrameType::Data:
        if (m_state == State::Open && !m_inbox.add(frame.offset, frame.data, frame.size)) {
            fail(Error::Integrity, "more data than there is room for");
            return false;
        }
        return true;
    case UdpFrameType::Close:
        if (m_state == State::Open) {
            m_otherLeft = true;
            return true;
        }
        end();
        return false;
    case UdpFrameType::Challenge:
        // A server stays where it is. What asks it for answers may bear a forged address.
        if (m_server)
            return true;
        sendControl(
            now, from, kUdpFirst, [&](UdpFrameWriter &out) { out.challenge(UdpFrameType::Response, frame.token); },
            false);
        return true;
    case UdpFrameType::Response:
        if (m_challenge != 0 && frame.token == m_challenge && from == m_newRemote)
            movedTo(from);
        return true;
    }
    return true;
}

void UdpConnection::onAddress(const UdpHeader &header, const Endpoint &from, std::size_t)
{
    if (from == m_remote || (m_arrivals.any() && header.number < m_arrivals.largest()))
        return;
    const auto now = Clock::now();
    if (from == m_newRemote && now < m_challengeAt + kChallengeEvery)
        return;
    // Nothing but this goes there before it is known that the other side is there.
    if (from != m_newRemote && !udpRandom(&m_challenge, sizeof(m_challenge)))
        return;
    m_newRemote = from;
    m_challengeAt = now;
    sendControl(
        now, from, kUdpFirst, [this](UdpFrameWriter &out) { out.challenge(UdpFrameType::Challenge, m_challenge); },
        false);
}

void UdpConnection::movedTo(const Endpoint &remote)
{
    const bool otherPath = remote.address() != m_remote.address();
    m_remote = remote;
    m_newRemote = {};
    m_challenge = 0;
    if (!otherPath)
        return;
    m_recovery.forgetPath();
    m_size->fallBack(Clock::now());
    m_controller = UdpController::make(m_goal.mode, m_recovery.roundTrip(), m_size->size());
    retarget();
}

void UdpConnection::afterSample(const UdpSample &sample)
{
    for (const auto &probe : m_recovery.takeSizeProbes())
        m_size->answer(probe.size, probe.arrived, sample.now);
    if (!sample.empty())
        m_controller->onSample(sample);
}

void UdpConnection::setReading(bool reading)
{
    if (m_reading == reading)
        return;
    m_reading = reading;
    if (reading && m_told)
        asio::post(m_context.io(), [self = shared_from_this()] {
            self->deliver();
            self->flush();
        });
}

void UdpConnection::deliver()
{
    if (m_delivering || !m_told)
        return;
    m_delivering = true;
    auto found = UdpInbox::Next::Frame;
    UdpInbox::Frame frame;
    while (m_listener && m_state == State::Open && m_reading && found == UdpInbox::Next::Frame) {
        found = m_inbox.next(frame);
        if (found == UdpInbox::Next::Frame)
            m_listener->channelFrame(frame.type, frame.stream, frame.body, frame.size);
    }
    m_delivering = false;
    if (m_state != State::Open)
        return;
    if (found == UdpInbox::Next::Broken)
        return fail(Error::Integrity, "frame of impossible length");
    if (m_otherLeft && found == UdpInbox::Next::Nothing)
        return fail(Error::Network, "the other side has closed the connection");
    if (m_arrivals.any() && m_inbox.mostOffset() - m_toldMost > UdpInbox::kLeastWindow / 4 && m_unacked == 0) {
        m_unacked = 1;
        m_ackAt = Clock::now();
    }
}

void UdpConnection::onBatchEnd()
{
    deliver();
    if (m_otherLeft && m_state == State::Flushing)
        return end();
    flush();
}

} // namespace zpdt
