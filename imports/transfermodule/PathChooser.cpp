#include "PathChooser.h"

#include <algorithm>

namespace {

/// From here on a line counts as long: packet rates and losses matter more than CPU time, so UDP goes first.
constexpr double kLongMs = 25.0;
/// Below this, losses and windows do not hold TCP back; a slow disk does, and UDP would not mend it.
constexpr double kShortMs = 10.0;
constexpr double kLossy = 0.5;  ///< percent
constexpr double kClean = 0.02; ///< percent
/// How long UDP may come later than TCP before the streams begin without it, and the other way round.
constexpr qint64 kLeastWait = 400;
constexpr qint64 kMostWait = 1500;
constexpr qint64 kSilent = 2500;
constexpr qint64 kConnectTime = 5000;
constexpr qint64 kTrialTime = 3000;
constexpr std::size_t kMeasured = 3; ///< seconds
/// A carrier needs this to find its speed, and a stream to move to it.
constexpr qint64 kRamp = 1500;
constexpr double kVeryPoor = 0.3;
constexpr double kFilled = 0.92; ///< of the target
constexpr double kPoor = 0.6;
constexpr double kFallen = 0.4; ///< of what the carrier reached before
constexpr double kHopeless = 0.3;
/// UDP costs twice the CPU time, so it has to be faster by this much.
constexpr double kFaster = 1.08;
/// Less work than this is done sooner than a trial.
constexpr double kWorthSeconds = 8.0;
constexpr qint64 kCleanTime = 8000;
constexpr qint64 kFirstPause = 30000;
constexpr qint64 kLongestPause = 30 * 60000;
/// What was found out earlier is left alone for so long.
constexpr qint64 kTrusted = 10 * 60000;

} // namespace

QString PathChooser::nameOf(Carrier carrier)
{
    return carrier == Carrier::Tcp ? QStringLiteral("TCP") : QStringLiteral("UDP");
}

void PathChooser::setUdp(bool asked, bool offered)
{
    m_udpAsked = asked;
    m_udpOffered = offered;
}

void PathChooser::begin(qint64 now)
{
    if (m_active)
        return;
    end();
    m_active = true;
    m_begun = now;
    const bool blocked = m_earlier && m_earlier->udpBlocked;
    const bool slower = m_earlier && m_earlier->better == Carrier::Tcp;
    at(Carrier::Tcp).wanted = true;
    at(Carrier::Udp).wanted = m_udpAsked && m_udpOffered && !blocked && !slower;
    if (m_earlier) {
        m_nextTrial = now + kTrusted;
        at(m_earlier->better).best = m_earlier->rate;
    }
}

void PathChooser::end()
{
    m_active = false;
    m_ways = {};
    m_current.reset();
    m_recent.clear();
    m_trial.reset();
    m_escaping = false;
    m_nextTrial = m_nextFallen = 0;
    m_pause = kFirstPause;
    m_reason.clear();
}

double PathChooser::roundTrip() const
{
    const double tcp = at(Carrier::Tcp).roundTripMs;
    const double udp = at(Carrier::Udp).roundTripMs;
    return tcp < 0 || (udp >= 0 && udp < tcp) ? udp : tcp;
}

void PathChooser::ready(Carrier carrier, qint64 now, double roundTripMs)
{
    Way &way = at(carrier);
    way.ready = true;
    way.failed = false;
    way.readyAt = now;
    way.roundTripMs = roundTripMs;
    tick(now, 0);
}

void PathChooser::gone(Carrier carrier, qint64 now)
{
    Way &way = at(carrier);
    const bool never = !way.ready;
    way.ready = false;
    way.failed = true;
    way.wanted = false;
    if (carrier == Carrier::Udp && never && at(Carrier::Tcp).ready)
        settle({Carrier::Tcp, true, 0.0}, now);
    if (m_trial == carrier)
        abandonTrial(now);
    if (m_current != carrier)
        return tick(now, 0);
    m_current.reset();
    m_trial.reset();
    m_recent.clear();
    // Where only one of two carriers breaks, the other one is likely to hold.
    Way &next = at(other(carrier));
    if (next.ready)
        use(other(carrier), now, tr("%1: the connection over %2 broke").arg(nameOf(other(carrier)), nameOf(carrier)));
    else if (!next.wanted)
        next.wanted = !next.failed && (other(carrier) == Carrier::Tcp || (m_udpAsked && m_udpOffered));
}

void PathChooser::tick(qint64 now, qint64 silentMs)
{
    if (!m_active)
        return;
    if (!m_current)
        return choose(now);
    const Carrier second = other(*m_current);
    const bool possible = second == Carrier::Tcp || (m_udpAsked && m_udpOffered);
    if (silentMs >= kSilent && possible) {
        m_trial.reset();
        if (at(second).ready) {
            const bool blocked = second == Carrier::Tcp;
            use(second, now, tr("%1: nothing came over %2 any more").arg(nameOf(second), nameOf(*m_current)));
            if (blocked)
                settle({Carrier::Tcp, true, 0.0}, now);
        } else if (!at(second).wanted) {
            at(second).wanted = true;
            at(second).failed = false;
            m_escaping = true;
        }
        return;
    }
    if (m_escaping && silentMs < kSilent) {
        m_escaping = false;
        at(second).wanted = at(second).ready;
    }
    if (m_trial == second && at(second).ready) {
        use(second, now, tr("%1: trying whether it is faster than %2").arg(nameOf(second), nameOf(*m_current)));
        m_trialSince = now;
    } else if (m_trial == second && now - m_trialSince > kConnectTime) {
        abandonTrial(now);
    }
}

/// The race at the start: whoever is there, unless the one that is most likely the better one may still come.
void PathChooser::choose(qint64 now)
{
    const Way &tcp = at(Carrier::Tcp);
    const Way &udp = at(Carrier::Udp);
    if (!tcp.ready && !udp.ready)
        return;
    const bool isLong = roundTrip() >= kLongMs;
    const bool lately = m_earlier && m_earlier->better == Carrier::Udp;
    const bool udpFirst = lately || isLong;
    const auto patience = static_cast<qint64>(3 * std::max(0.0, roundTrip()));
    const qint64 wait = std::clamp(patience, kLeastWait, kMostWait);
    if (udp.ready && (udpFirst || !tcp.wanted || (!tcp.ready && now - udp.readyAt >= wait))) {
        const QString why = lately   ? tr("UDP: it was the faster one here")
                            : isLong ? tr("UDP: a long line (%1 ms)").arg(qRound(roundTrip()))
                                     : tr("UDP: TCP does not pass");
        return use(Carrier::Udp, now, why);
    }
    if (!tcp.ready || (udp.wanted && !udp.ready && udpFirst && now - tcp.readyAt < wait))
        return;
    QString why = tr("TCP: a short line (%1 ms)").arg(qRound(std::max(0.0, roundTrip())));
    if (!m_udpAsked)
        why = tr("TCP: the transfer type asks for it");
    else if (!m_udpOffered)
        why = tr("TCP: the server offers no UDP");
    else if (udp.failed || (m_earlier && m_earlier->udpBlocked))
        why = tr("TCP: UDP does not pass");
    else if (m_earlier && m_earlier->better == Carrier::Tcp)
        why = tr("TCP: it was fast enough here");
    else if (udpFirst)
        why = tr("TCP: UDP does not answer yet");
    use(Carrier::Tcp, now, why);
}

void PathChooser::use(Carrier carrier, qint64 now, const QString &reason)
{
    m_current = carrier;
    m_since = now;
    m_reason = reason;
    m_recent.clear();
    m_escaping = false;
    at(carrier).wanted = true;
    // One that may still come shows that it passes; one that is there is kept by whoever uses it.
    at(other(carrier)).wanted = at(other(carrier)).wanted && !at(other(carrier)).ready;
}

void PathChooser::second(const Second &second, qint64 now)
{
    if (!m_current)
        return;
    // Without work a carrier shows nothing.
    if (second.secondsLeft <= 0.0 || now - std::max(m_since, m_targetAt) < kRamp) {
        m_recent.clear();
        return;
    }
    m_recent.push_back(second);
    if (m_recent.size() > kMeasured)
        m_recent.pop_front();
    double rate = 0.0;
    double share = 0.0;
    for (const Second &one : m_recent) {
        rate += one.bytesPerSecond / static_cast<double>(m_recent.size());
        share += one.targetShare / static_cast<double>(m_recent.size());
    }
    if (m_trial == *m_current) {
        const bool hopeless = m_recent.size() >= 2 && rate < kHopeless * m_rateBefore;
        if (hopeless || (m_recent.size() == kMeasured && now - m_trialSince >= kTrialTime))
            judge(rate, share, now);
        return;
    }
    const bool enough = m_recent.size() == kMeasured || (m_recent.size() >= 2 && share < kVeryPoor);
    if (!enough || m_trial)
        return;
    Second mean = second;
    mean.targetShare = share;
    if (worthTrying(mean, rate, now)) {
        // What a carrier reached before it became slow is no measure of it.
        m_rateBefore = m_fell ? std::min(rate, second.bytesPerSecond) : rate;
        m_shareBefore = m_fell ? std::min(share, second.targetShare) : share;
        startTrial(other(*m_current), now);
    } else if (share >= kFilled && *m_current == Carrier::Tcp) {
        m_reason = tr("TCP: it fills the target speed");
    }
    at(*m_current).best = std::max(at(*m_current).best, rate);
}

void PathChooser::targetChanged(qint64 now)
{
    m_targetAt = now;
    m_recent.clear();
    for (Way &way : m_ways)
        way.best = 0.0;
}

bool PathChooser::worthTrying(const Second &second, double rate, qint64 now)
{
    if (!m_udpAsked || !m_udpOffered || second.secondsLeft < kWorthSeconds)
        return false;
    const bool filled = second.targetShare >= kFilled;
    m_fell = !filled && rate < kFallen * at(*m_current).best && now >= m_nextFallen;
    if (m_fell) {
        m_nextFallen = now + m_pause;
        return true;
    }
    if (now < m_nextTrial)
        return false;
    if (*m_current == Carrier::Udp) {
        const bool clean = filled && second.lossPercent < kClean && now - m_since >= kCleanTime;
        return clean || second.targetShare < kPoor;
    }
    const bool held = second.roundTripMs >= kShortMs || second.lossPercent >= kLossy;
    return !filled && held;
}

void PathChooser::startTrial(Carrier carrier, qint64 now)
{
    m_trial = carrier;
    m_trialSince = now;
    at(carrier).wanted = true;
    at(carrier).failed = false;
    tick(now, 0);
}

void PathChooser::abandonTrial(qint64 now)
{
    m_trial.reset();
    m_nextTrial = now + m_pause;
    m_pause = std::min(2 * m_pause, kLongestPause);
    if (m_current)
        at(other(*m_current)).wanted = at(other(*m_current)).ready;
}

/// Both have been measured.
void PathChooser::judge(double rate, double share, qint64 now)
{
    const Carrier tried = *m_current;
    const bool onUdp = tried == Carrier::Udp;
    const double udp = onUdp ? rate : m_rateBefore;
    const double tcp = onUdp ? m_rateBefore : rate;
    const double tcpShare = onUdp ? m_shareBefore : share;
    const bool udpBetter = tcpShare < kFilled && udp >= kFaster * tcp;
    const Carrier better = udpBetter ? Carrier::Udp : Carrier::Tcp;
    at(tried).best = rate;
    at(other(tried)).best = m_rateBefore;
    const auto megabits = [](double bytes) { return QString::number(bytes * 8.0 / 1e6, 'f', 1); };
    const QString reason =
        udpBetter             ? tr("UDP: faster than TCP here (%1 and %2 Mbps)").arg(megabits(udp), megabits(tcp))
        : tcpShare >= kFilled ? tr("TCP: it fills the target speed")
                              : tr("TCP: not slower than UDP here (%1 and %2 Mbps)").arg(megabits(tcp), megabits(udp));
    m_trial.reset();
    m_nextTrial = now + kTrusted;
    settle({better, false, std::max(udp, tcp)}, now);
    if (better != tried)
        use(better, now, reason);
    else
        m_reason = reason;
    at(other(better)).wanted = false;
}

void PathChooser::settle(const PathVerdict &verdict, qint64 now)
{
    m_verdict = verdict;
    m_earlier = verdict;
    if (verdict.udpBlocked)
        m_nextTrial = std::max(m_nextTrial, now + m_pause);
}

std::optional<PathVerdict> PathChooser::takeVerdict()
{
    return std::exchange(m_verdict, std::nullopt);
}
