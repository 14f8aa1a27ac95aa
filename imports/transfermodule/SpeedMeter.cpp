#include "SpeedMeter.h"

#include <algorithm>

namespace {

constexpr qint64 kWindow = 3000;

} // namespace

void SpeedMeter::sample(qint64 now, qint64 bytes)
{
    if (!m_samples.empty() && bytes < m_samples.back().bytes)
        m_samples.clear();
    m_samples.push_back({now, bytes});
    // The newest sample that is older than the window stays: the measure reaches back to it.
    while (m_samples.size() > 2 && m_samples[1].time <= now - kWindow)
        m_samples.pop_front();
}

double SpeedMeter::megabits(qint64 now) const
{
    if (m_samples.size() < 2)
        return 0.0;
    // Time that passed since the last sample counts too, so that a line that stands still falls to zero.
    const qint64 begin = std::max(m_samples.front().time, now - 2 * kWindow);
    const qint64 span = now - begin;
    const qint64 bytes = m_samples.back().bytes - m_samples.front().bytes;
    if (span <= 0 || m_samples.back().time <= now - kWindow)
        return 0.0;
    return static_cast<double>(bytes) * 8.0 / (1024.0 * 1024.0) * 1000.0 / static_cast<double>(span);
}
