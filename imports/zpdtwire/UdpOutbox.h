#pragma once

#include "Codec.h"
#include "UdpRanges.h"

#include <deque>

namespace zpdt {

/// The bytes of a stream from when they are queued until the other side has them.
class UdpOutbox
{
public:
    struct Piece
    {
        std::uint64_t offset = 0;
        std::size_t size = 0; ///< 0: nothing to send
        bool again = false;   ///< it had been sent before
    };

    void push(Bytes bytes);
    /// What to send next, at most @p room bytes; what was lost goes first. New bytes only below @p mostOffset.
    Piece next(std::size_t room, std::uint64_t mostOffset) const;
    /// It leaves now. Copies it to @p out.
    void take(const Piece &piece, std::uint8_t *out);
    void acked(std::uint64_t offset, std::size_t size);
    void lost(std::uint64_t offset, std::size_t size);

    std::size_t unsent() const { return std::size_t(m_end - m_next); }
    bool hasLost() const { return !m_lost.empty(); }
    std::uint64_t nextOffset() const { return m_next; }
    std::uint64_t end() const { return m_end; } ///< of what was queued
    /// Everything that was queued has arrived.
    bool empty() const { return m_begin == m_end; }
    void clear();

private:
    struct Chunk
    {
        std::uint64_t offset;
        Bytes bytes;
    };

    std::deque<Chunk> m_chunks;
    std::uint64_t m_begin = 0; ///< everything before it has arrived
    std::uint64_t m_next = 0;  ///< first byte that never left
    std::uint64_t m_end = 0;
    UdpRanges m_acked; ///< behind m_begin
    UdpRanges m_lost;
};

} // namespace zpdt
