#include "UdpOutbox.h"

#include "FramePool.h"

namespace zpdt {

namespace {
/// Small frames share a piece of memory up to this size.
constexpr std::size_t kGather = 16 * 1024;
} // namespace

void UdpOutbox::push(Bytes bytes)
{
    if (bytes.empty())
        return;
    const std::size_t size = bytes.size();
    if (!m_chunks.empty() && m_chunks.back().bytes.size() + size <= kGather) {
        Bytes &last = m_chunks.back().bytes;
        last.insert(last.end(), bytes.begin(), bytes.end());
    } else {
        m_chunks.push_back({m_end, std::move(bytes)});
    }
    m_end += size;
}

UdpOutbox::Piece UdpOutbox::next(std::size_t room, std::uint64_t mostOffset) const
{
    if (!m_lost.empty()) {
        const auto &first = m_lost.all().front();
        return {first.first, std::size_t(std::min<std::uint64_t>(room, first.end - first.first)), true};
    }
    const std::uint64_t end = std::min(m_end, mostOffset);
    if (m_next >= end)
        return {};
    return {m_next, std::size_t(std::min<std::uint64_t>(room, end - m_next)), false};
}

void UdpOutbox::take(const Piece &piece, std::uint8_t *out)
{
    auto chunk = std::prev(std::upper_bound(m_chunks.begin(), m_chunks.end(), piece.offset,
                                            [](std::uint64_t at, const Chunk &c) { return at < c.offset; }));
    std::uint64_t at = piece.offset;
    std::size_t left = piece.size;
    for (; left > 0; ++chunk) {
        const auto from = std::size_t(at - chunk->offset);
        const std::size_t part = std::min(left, chunk->bytes.size() - from);
        std::memcpy(out, chunk->bytes.data() + from, part);
        out += part;
        at += part;
        left -= part;
    }
    if (piece.again)
        m_lost.remove(piece.offset, piece.offset + piece.size);
    else
        m_next = piece.offset + piece.size;
}

void UdpOutbox::acked(std::uint64_t offset, std::size_t size)
{
    const std::uint64_t end = offset + size;
    if (end <= m_begin)
        return;
    m_lost.remove(offset, end);
    m_acked.add(std::max(offset, m_begin), end);
    const auto &first = m_acked.all().front();
    if (first.first > m_begin)
        return;
    m_begin = first.end;
    m_acked.remove(0, m_begin);
    while (!m_chunks.empty() && m_chunks.front().offset + m_chunks.front().bytes.size() <= m_begin) {
        FramePool::give(std::move(m_chunks.front().bytes));
        m_chunks.pop_front();
    }
}

void UdpOutbox::lost(std::uint64_t offset, std::size_t size)
{
    std::uint64_t at = std::max(offset, m_begin);
    const std::uint64_t end = offset + size;
    const auto &acked = m_acked.all();
    auto hole = std::upper_bound(acked.begin(), acked.end(), at,
                                 [](std::uint64_t from, const UdpRanges::Range &range) { return from < range.end; });
    for (; at < end && hole != acked.end() && hole->first < end; ++hole) {
        m_lost.add(at, std::max(at, hole->first));
        at = hole->end;
    }
    m_lost.add(at, end);
}

void UdpOutbox::clear()
{
    m_chunks.clear();
    m_acked.clear();
    m_lost.clear();
    m_begin = m_next = m_end;
}

} // namespace zpdt
