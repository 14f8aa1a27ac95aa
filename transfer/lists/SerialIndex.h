#pragma once

#include <QtGlobal>

#include <limits>
#include <vector>

/// Serial numbers found by a hash that need not be unique: open addressing in one block of memory, which costs a list
/// of a million rows 32 to 64 bytes a row and no allocation for each. No thread of its own, not thread-safe.
class SerialIndex
{
public:
    void insert(quint64 hash, qint64 serial)
    {
        if ((m_used + 1) * 2 > m_slots.size())
            grow();
        Slot &slot = m_slots[freeSlot(hash)];
        m_used += slot.serial == kFree;
        ++m_live;
        slot = {hash, serial};
    }

    void remove(quint64 hash, qint64 serial)
    {
        for (std::size_t at = first(hash); !m_slots.empty() && m_slots[at].serial != kFree; at = next(at)) {
            if (m_slots[at].serial == serial) {
                m_slots[at].serial = kGone;
                --m_live;
                return;
            }
        }
    }

    /// The first serial number of that hash that @p match accepts; false when there is none.
    template <typename Match>
    bool find(quint64 hash, Match &&match) const
    {
        for (std::size_t at = first(hash); !m_slots.empty() && m_slots[at].serial != kFree; at = next(at)) {
            if (m_slots[at].hash == hash && m_slots[at].serial != kGone && match(m_slots[at].serial))
                return true;
        }
        return false;
    }

    void clear()
    {
        m_slots.clear();
        m_used = m_live = 0;
    }

private:
    static constexpr qint64 kFree = std::numeric_limits<qint64>::min();
    static constexpr qint64 kGone = kFree + 1; ///< was in use: the search goes on behind it

    struct Slot
    {
        quint64 hash = 0;
        qint64 serial = kFree;
    };

    // The size is a power of two.
    std::size_t first(quint64 hash) const { return m_slots.empty() ? 0 : (hash ^ (hash >> 32)) & (m_slots.size() - 1); }
    std::size_t next(std::size_t at) const { return (at + 1) & (m_slots.size() - 1); }
    std::size_t freeSlot(quint64 hash) const
    {
        std::size_t at = first(hash);
        while (m_slots[at].serial != kFree && m_slots[at].serial != kGone)
            at = next(at);
        return at;
    }
    void grow()
    {
        std::size_t size = 64;
        while (size < (m_live + 1) * 3)
            size *= 2;
        std::vector<Slot> before(size);
        before.swap(m_slots);
        m_used = m_live;
        for (const Slot &slot : before) {
            if (slot.serial != kFree && slot.serial != kGone)
                m_slots[freeSlot(slot.hash)] = slot;
        }
    }

    std::vector<Slot> m_slots;
    std::size_t m_used = 0; ///< slots that are not free
    std::size_t m_live = 0;
};
