#include "UdpInbox.h"

namespace zpdt {

namespace {
constexpr std::size_t kFirstRing = 64 * 1024;
constexpr std::size_t kMostIntervals = 1024;
/// More than every second packet of the whole window makes; each new one moves those behind it.
constexpr std::size_t kMostPieces = 16384;
} // namespace

void UdpInbox::grow(std::size_t size)
{
    std::size_t ring = std::max(m_ring.size(), kFirstRing);
    while (ring < size)
        ring *= 2;
    if (ring == m_ring.size())
        return;
    Bytes larger(ring);
    if (!m_ring.empty()) {
        const std::uint64_t end = m_early.empty() ? m_whole : m_early.all().back().end;
        for (std::uint64_t offset = m_read; offset < end;) {
            const std::size_t from = at(offset);
            const auto to = std::size_t(offset & (ring - 1));
            const std::size_t part =
                std::size_t(std::min<std::uint64_t>({end - offset, m_ring.size() - from, ring - to}));
            std::memcpy(larger.data() + to, m_ring.data() + from, part);
            offset += part;
        }
    }
    m_ring.swap(larger);
}

bool UdpInbox::add(std::uint64_t offset, const std::uint8_t *data, std::size_t size)
{
    const std::uint64_t end = offset + size;
    if (end > mostOffset())
        return false;
    if (end <= m_whole)
        return true;
    if (offset < m_whole) {
        data += m_whole - offset;
        offset = m_whole;
    }
    if (!m_early.add(offset, end))
        return true;
    if (m_early.all().size() > kMostPieces)
        return false;
    grow(std::size_t(end - m_read));
    for (std::uint64_t to = offset; to < end;) {
        const std::size_t start = at(to);
        const std::size_t part = std::min(std::size_t(end - to), m_ring.size() - start);
        std::memcpy(m_ring.data() + start, data, part);
        data += part;
        to += part;
    }
    m_arrived += end - offset;
    const auto &first = m_early.all().front();
    if (first.first == m_whole) {
        m_whole = first.end;
        m_early.remove(0, m_whole);
    }
    return true;
}

void UdpInbox::copyOut(std::uint64_t offset, std::uint8_t *out, std::size_t size) const
{
    const std::size_t start = at(offset);
    const std::size_t part = std::min(size, m_ring.size() - start);
    std::memcpy(out, m_ring.data() + start, part);
    std::memcpy(out + part, m_ring.data(), size - part);
}

UdpInbox::Next UdpInbox::next(Frame &frame)
{
    if (m_whole - m_read < kFrameHeader)
        return Next::Nothing;
    std::uint8_t head[kFrameHeader];
    copyOut(m_read, head, sizeof(head));
    WireReader in(head, sizeof(head));
    const std::size_t length = in.u32();
    frame.type = in.u8();
    frame.stream = in.u32();
    if (length < kFrameHeader - 4 || length + 4 > kMaxFrame)
        return Next::Broken;
    if (m_whole - m_read < length + 4)
        return Next::Nothing;
    frame.size = length + 4 - kFrameHeader;
    const std::size_t body = at(m_read + kFrameHeader);
    if (body + frame.size <= m_ring.size()) {
        frame.body = m_ring.data() + body;
    } else {
        m_frame.resize(frame.size);
        copyOut(m_read + kFrameHeader, m_frame.data(), frame.size);
        frame.body = m_frame.data();
    }
    m_read += length + 4;
    return Next::Frame;
}

void UdpInbox::widen(std::uint64_t bytes)
{
    m_window = std::max(m_window, std::min<std::uint64_t>(bytes, kMostWindow));
}

void UdpArrivals::add(std::uint64_t number, UdpClock::time_point now, bool elicits)
{
    m_numbers.add(number, number + 1);
    if (m_numbers.all().size() > kMostIntervals) {
        // The oldest gap is given up: what was lost there leaves again under another number.
        m_floor = m_numbers.all()[1].first;
        m_numbers.remove(0, m_floor);
    }
    if (number >= m_largest) {
        m_largest = number;
        m_largestAt = now;
    }
    if (elicits)
        m_lastAt = now;
}

UdpAck UdpArrivals::ack(UdpClock::time_point now, UdpClock::time_point clock0) const
{
    const auto micro = [](UdpClock::duration d) {
        return std::uint64_t(
            std::max<std::int64_t>(0, std::chrono::duration_cast<std::chrono::microseconds>(d).count()));
    };
    UdpAck ack;
    const auto &all = m_numbers.all();
    for (auto it = all.rbegin(); it != all.rend() && ack.ranges.size() < kUdpMostRanges; ++it)
        ack.ranges.push_back(*it);
    ack.delayUs = std::uint32_t(std::min<std::uint64_t>(micro(now - m_largestAt), 0xffffffffu));
    ack.clockUs = 1 + micro(m_lastAt - clock0);
    return ack;
}

} // namespace zpdt
