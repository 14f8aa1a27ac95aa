#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace zpdt {

/// A set of whole numbers as sorted intervals that do not touch. Cheap where it grows at its end.
class UdpRanges
{
public:
    struct Range
    {
        std::uint64_t first;
        std::uint64_t end; ///< one behind the last
    };

    /// False when all of it was there.
    bool add(std::uint64_t first, std::uint64_t end)
    {
        if (first >= end)
            return false;
        if (m_ranges.empty() || first > m_ranges.back().end) {
            m_ranges.push_back({first, end});
            return true;
        }
        // The first one that reaches up to the new one, and the first one wholly behind it.
        auto from = std::lower_bound(m_ranges.begin(), m_ranges.end(), first,
                                     [](const Range &range, std::uint64_t at) { return range.end < at; });
        auto to = from;
        while (to != m_ranges.end() && to->first <= end)
            ++to;
        if (from == to) {
            m_ranges.insert(from, {first, end});
            return true;
        }
        if (from->first <= first && from->end >= end)
            return false;
        from->first = std::min(from->first, first);
        from->end = std::max(std::prev(to)->end, end);
        m_ranges.erase(std::next(from), to);
        return true;
    }

    void remove(std::uint64_t first, std::uint64_t end)
    {
        auto at = std::upper_bound(m_ranges.begin(), m_ranges.end(), first,
                                   [](std::uint64_t from, const Range &range) { return from < range.end; });
        while (at != m_ranges.end() && at->first < end) {
            if (at->first < first && at->end > end) {
                const Range tail{end, at->end};
                at->end = first;
                m_ranges.insert(std::next(at), tail);
                return;
            }
            if (at->first < first)
                (at++)->end = first;
            else if (at->end > end)
                at->first = end;
            else
                at = m_ranges.erase(at);
        }
    }

    bool contains(std::uint64_t number) const
    {
        if (m_ranges.empty() || number >= m_ranges.back().end)
            return false;
        const auto at = std::upper_bound(m_ranges.begin(), m_ranges.end(), number,
                                         [](std::uint64_t from, const Range &range) { return from < range.end; });
        return at != m_ranges.end() && at->first <= number;
    }

    /// The interval that holds the last number below @p number that is there; an empty one at 0 when there is none.
    Range lastBefore(std::uint64_t number) const
    {
        const auto at = std::lower_bound(m_ranges.begin(), m_ranges.end(), number,
                                         [](const Range &range, std::uint64_t below) { return range.first < below; });
        return at == m_ranges.begin() ? Range{0, 0} : *std::prev(at);
    }

    bool empty() const { return m_ranges.empty(); }
    const std::vector<Range> &all() const { return m_ranges; }
    void clear() { m_ranges.clear(); }

private:
    std::vector<Range> m_ranges;
};

} // namespace zpdt
