#pragma once

#include <QtGlobal>

#include <deque>

/// Speed of something that counts up, over the last few seconds. A plain value; the caller brings the time.
class SpeedMeter
{
public:
    /// @param now milliseconds of a clock that never goes back
    /// @param bytes count so far; one that falls begins the measure anew
    void sample(qint64 now, qint64 bytes);
    void reset() { m_samples.clear(); }
    /// Megabits (of 1024 x 1024 bits) a second at @p now; 0 when nothing moved in the window.
    double megabits(qint64 now) const;

private:
    struct Sample
    {
        qint64 time;
        qint64 bytes;
    };
    std::deque<Sample> m_samples;
};
