#pragma once

#include "UdpController.h"

#include <vector>

namespace zpdt {

/// Finds the largest datagram that a path carries, by sending one of each size and seeing whether it arrives.
class UdpPathSize
{
public:
    explicit UdpPathSize(bool v6)
        : m_steps(v6 ? std::vector<std::size_t>{1452, 1400, 1300} : std::vector<std::size_t>{1472, 1452, 1400, 1300})
        , m_jumbo(v6 ? 8952 : 8972)
    {
    }

    std::size_t size() const { return m_size; }
    /// Size of the datagram to try now; 0: none. It counts as sent.
    std::size_t next(UdpClock::time_point now)
    {
        if (m_trying > 0 || now < m_notBefore)
            return 0;
        if (m_size == m_steps.front())
            m_trying = m_jumbo;
        else if (m_step < m_steps.size() && m_size < m_jumbo)
            m_trying = m_steps[m_step];
        else
            m_notBefore = now + kAgain;
        return m_trying;
    }
    /// What became of one. One that was given up may still arrive.
    void answer(std::size_t size, bool arrived, UdpClock::time_point now)
    {
        if (arrived && size > m_size) {
            m_size = size;
            m_step = m_steps.size();
            m_notBefore = {};
        }
        if (size != m_trying)
            return;
        m_trying = 0;
        m_lost = arrived ? 0 : m_lost + 1;
        if (m_lost < kTries)
            return;
        m_lost = 0;
        if (size == m_jumbo)
            m_notBefore = now + kAgain;
        else
            ++m_step;
    }
    /// Nothing arrives any more: perhaps the path changed to one that carries less.
    void fallBack(UdpClock::time_point now)
    {
        m_size = kUdpFirst;
        m_step = 0;
        m_lost = 0;
        m_trying = 0;
        m_notBefore = now + kAfterSilence;
    }

private:
    static constexpr int kTries = 3;
    static constexpr auto kAgain = std::chrono::minutes(10);
    static constexpr auto kAfterSilence = std::chrono::seconds(3);

    const std::vector<std::size_t> m_steps;
    const std::size_t m_jumbo;
    std::size_t m_size = kUdpFirst;
    std::size_t m_step = 0;
    std::size_t m_trying = 0;
    int m_lost = 0;
    UdpClock::time_point m_notBefore;
};

} // namespace zpdt
