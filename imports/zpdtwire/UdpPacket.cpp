#include "UdpPacket.h"

namespace zpdt {

namespace {

void put(std::uint8_t *out, std::uint64_t value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        out[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

/// Two of these and the counts before them always fit behind the head.
constexpr std::size_t kMostRangeBytes = 14;

} // namespace

void UdpHeader::write(std::uint8_t *out) const
{
    out[0] = static_cast<std::uint8_t>(UdpKind::Data) | (phase ? 1 : 0);
    put(out + 1, connection, 8);
    put(out + 9, number, 6);
}

bool UdpHeader::read(const std::uint8_t *data, std::size_t size, UdpHeader &header)
{
    if (size < kUdpHeader + kUdpTag + 1 || (data[0] & 0xfe) != static_cast<std::uint8_t>(UdpKind::Data))
        return false;
    WireReader in(data + 1, size - 1);
    header.phase = data[0] & 1;
    header.connection = in.u64();
    const std::uint64_t low = in.u32();
    header.number = std::uint64_t(in.u16()) << 32 | low;
    return true;
}

std::uint64_t UdpFrameReader::number48()
{
    const std::uint64_t low = m_in.u32();
    return std::uint64_t(m_in.u16()) << 32 | low;
}

std::uint64_t UdpFrameReader::varint()
{
    std::uint64_t value = 0;
    for (int shift = 0; shift < 49; shift += 7) {
        const std::uint8_t byte = m_in.u8();
        value |= std::uint64_t(byte & 0x7f) << shift;
        if (byte < 0x80)
            return value;
    }
    m_ok = false;
    return 0;
}

bool UdpFrameReader::readAck(UdpAck &ack)
{
    std::uint64_t end = number48() + 1;
    ack.delayUs = m_in.u32();
    ack.clockUs = number48();
    ack.mostOffset = number48();
    const std::size_t count = m_in.u8();
    ack.ranges.clear();
    if (count == 0 || count > kUdpMostRanges)
        return false;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) {
            const std::uint64_t gap = varint();
            if (gap == 0 || gap >= end)
                return false;
            end -= gap;
        }
        const std::uint64_t length = varint();
        if (!m_ok || !m_in.ok() || length == 0 || length > end)
            return false;
        ack.ranges.push_back({end - length, end});
        end -= length;
    }
    return true;
}

bool UdpFrameReader::next(UdpFrame &frame)
{
    if (!m_ok || m_in.left() == 0)
        return false;
    const std::uint8_t type = m_in.u8();
    frame.type = static_cast<UdpFrameType>(type);
    switch (frame.type) {
    case UdpFrameType::Padding:
        (void)m_in.raw(m_in.left());
        return false;
    case UdpFrameType::Ping:
        break;
    case UdpFrameType::Ack:
        m_ok = readAck(frame.ack) && m_ok;
        break;
    case UdpFrameType::Data:
        frame.offset = number48();
        frame.size = m_in.left();
        frame.data = m_in.raw(frame.size);
        m_ok = m_in.ok() && frame.size > 0 && frame.offset <= kUdpMaxNumber - frame.size;
        break;
    case UdpFrameType::Close: {
        const std::uint8_t error = m_in.u8();
        frame.error = static_cast<Error>(error);
        m_ok = error <= static_cast<std::uint8_t>(Error::LocalFile);
        break;
    }
    case UdpFrameType::Challenge:
    case UdpFrameType::Response:
        frame.token = m_in.u64();
        break;
    default:
        m_ok = false;
    }
    m_ok = m_ok && m_in.ok();
    return m_ok;
}

void UdpFrameWriter::number(std::uint64_t value, int bytes)
{
    put(m_at, value, bytes);
    m_at += bytes;
}

void UdpFrameWriter::varint(std::uint64_t value)
{
    for (; value >= 0x80; value >>= 7)
        *m_at++ = static_cast<std::uint8_t>(value | 0x80);
    *m_at++ = static_cast<std::uint8_t>(value);
}

void UdpFrameWriter::ack(const UdpAck &ack)
{
    if (room() < kAckHead + kMostRangeBytes)
        return;
    u8(UdpFrameType::Ack);
    number(ack.largest(), 6);
    number(ack.delayUs, 4);
    number(ack.clockUs, 6);
    number(ack.mostOffset, 6);
    std::uint8_t *count = m_at++;
    *count = 0;
    std::uint64_t end = ack.ranges.front().end;
    for (const auto &range : ack.ranges) {
        if (*count == kUdpMostRanges || room() < kMostRangeBytes)
            break;
        if (*count > 0)
            varint(end - range.end);
        varint(range.end - range.first);
        end = range.first;
        ++*count;
    }
}

std::uint8_t *UdpFrameWriter::data(std::uint64_t offset, std::size_t size)
{
    u8(UdpFrameType::Data);
    number(offset, 6);
    std::uint8_t *at = m_at;
    m_at += size;
    return at;
}

void UdpFrameWriter::close(Error error)
{
    u8(UdpFrameType::Close);
    *m_at++ = static_cast<std::uint8_t>(error);
}

void UdpFrameWriter::challenge(UdpFrameType type, std::uint64_t token)
{
    u8(type);
    number(token, 8);
}

void UdpFrameWriter::pad()
{
    std::fill(m_at, m_end, std::uint8_t(0));
    m_at = m_end;
}

} // namespace zpdt
