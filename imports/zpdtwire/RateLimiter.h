#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace zpdt {

/// Holds a stream of bytes to a mean rate. What is taken too early is paid with waiting; unused time counts for a
/// tenth of a second only, so that a pause is not followed by a flood.
class RateLimiter
{
public:
    using Clock = std::chrono::steady_clock;

    /// @param bytesPerSecond 0: no limit
    void setRate(std::uint64_t bytesPerSecond)
    {
        if (m_rate == bytesPerSecond)
            return;
        m_rate = bytesPerSecond;
        m_next = Clock::time_point();
    }
    bool limited() const { return m_rate > 0; }
    /// When the next bytes may leave.
    Clock::time_point next() const { return m_next; }
    bool ready(Clock::time_point now) const { return m_rate == 0 || now >= m_next; }
    void take(std::size_t bytes, Clock::time_point now)
    {
        if (m_rate == 0)
            return;
        const auto cost = std::chrono::duration<double>(double(bytes) / double(m_rate));
        m_next =
            std::max(m_next, now - std::chrono::milliseconds(100)) + std::chrono::duration_cast<Clock::duration>(cost);
    }

private:
    std::uint64_t m_rate = 0;
    Clock::time_point m_next;
};

} // namespace zpdt
