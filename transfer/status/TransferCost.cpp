#include "TransferCost.h"

#include <algorithm>
#include <cmath>
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
constexpr double kChange = 2.0;      // seconds
constexpr double kTimes = 2.5;
constexpr double kLumps = 6.0;
constexpr double kSlack = 1.1;
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
    m_still = files > 0 || bytes > 0 ? 0.0 : m_still + seconds;
    m_latest.add(seconds, static_cast<double>(std::max<qint64>(0, files)),
                 static_cast<double>(std::max<qint64>(0, bytes)) / kMegabyte);
    // A pause belongs to what comes after it: by itself it says nothing of files or bytes.
    if (m_latest.seconds < kChange || (m_latest.files <= 0.0 && m_latest.megabytes <= 0.0))
        return;
    const Stretch latest = std::exchange(m_latest, Stretch());
    if (m_seen > 0.0 && isOtherLine(latest)) {
        // Learned at once, without what was before.
        m_gathered = Stretch();
        // Costs that are nearly nothing are as uncertain as the time that they did not foretell.
        const double foretold = latest.files * m_file + latest.megabytes * m_megabyte;
        const double factor = std::max(1.0, latest.seconds / foretold);
        m_ff += square(m_file * factor);
        m_mm += square(m_megabyte * factor);
        learn(latest);
        return;
    }
    m_gathered.add(latest.seconds, latest.files, latest.megabytes);
    if (m_gathered.seconds >= (m_seen > 0.0 ? kWindow : kFirstWindow))
        learn(std::exchange(m_gathered, Stretch()));
}

/// Far from what was foretold, and by more than a few lumps.
bool TransferCost::isOtherLine(const Stretch &latest) const
{
    const double foretold = latest.files * m_file + latest.megabytes * m_megabyte;
    const bool far = foretold > kTimes * latest.seconds || foretold * kTimes < latest.seconds;
    return far && std::abs(foretold - latest.seconds) > std::min(kLumps * m_megabyte, kFirstWindow);
}

void TransferCost::learn(const Stretch &stretch)
{
    const double y = stretch.seconds;
    const double f = stretch.files;
    const double m = stretch.megabytes;
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
    // Nothing can have cost more than all the time there was.
    if (f * m_file > kSlack * y)
        m_file = kSlack * y / f;
    if (m * m_megabyte > kSlack * y)
        m_megabyte = kSlack * y / m;
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
