#include "TransferCost.h"

#include <algorithm>
#include <utility>

namespace {

constexpr double kMegabyte = 1048576.0;
constexpr double kLeastFile = 0.00005; // seconds
constexpr double kLeastMegabyte = 0.0002;
/// A cost that came out too low must find its way back.
constexpr double kFloorFile = 0.001;
constexpr double kFloorMegabyte = 0.01;
/// How far the costs may wander in a second, relative to themselves, and how noisy a second is.
constexpr double kDrift = 0.03;
constexpr double kNoise = 0.3;
/// Bytes are told in lumps and files one by one. In short stretches the lumps would make the bytes look like chance,
/// and the files like the cause.
constexpr double kFirstWindow = 4.0; // seconds
constexpr double kWindow = 10.0;     // seconds
constexpr double kStandstill = 15.0; // seconds after which nothing is foretold any more

double square(double value)
{
    return value * value;
}

} // namespace

void TransferCost::observe(double seconds, qint64 files, qint64 bytes)
{
    if (!(seconds > 0.0))
        return;
    m_seconds += seconds;
    m_still = files > 0 || bytes > 0 ? 0.0 : m_still + seconds;
    m_files += static_cast<double>(std::max<qint64>(0, files));
    m_megabytes += static_cast<double>(std::max<qint64>(0, bytes)) / kMegabyte;
    // A pause belongs to what comes after it: by itself it says nothing of files or bytes.
    if (m_seconds < (m_seen > 0.0 ? kWindow : kFirstWindow) || (m_files <= 0.0 && m_megabytes <= 0.0))
        return;
    const double y = std::exchange(m_seconds, 0.0);
    const double f = std::exchange(m_files, 0.0);
    const double m = std::exchange(m_megabytes, 0.0);
    m_seen += y;

    const double drift = kDrift * kDrift * std::min(y, 30.0);
    m_ff += drift * square(std::max(m_file, kFloorFile));
    m_mm += drift * square(std::max(m_megabyte, kFloorMegabyte));

    const double pf = m_ff * f + m_fm * m;
    const double pm = m_fm * f + m_mm * m;
    const double variance = f * pf + m * pm + kNoise * y;
    const double gf = pf / variance;
    const double gm = pm / variance;
    const double surprise = y - (f * m_file + m * m_megabyte);
    m_file = std::max(kLeastFile, m_file + gf * surprise);
    m_megabyte = std::max(kLeastMegabyte, m_megabyte + gm * surprise);
    m_ff -= gf * pf;
    m_fm -= gf * pm;
    m_mm -= gm * pm;
}

double TransferCost::estimate(qint64 files, qint64 bytes) const
{
    if (m_seen <= 0.0 || m_still > kStandstill)
        return -1.0;
    return static_cast<double>(files) * m_file + static_cast<double>(bytes) / kMegabyte * m_megabyte;
}
