#pragma once

#include <QCoreApplication>
#include <QString>

#include <array>
#include <deque>
#include <optional>

enum class Carrier
{
    Tcp = 0,
    Udp = 1
};

/// What trying both carriers of a server has shown.
struct PathVerdict
{
    Carrier better = Carrier::Tcp;
    bool udpBlocked = false; ///< UDP did not pass at all
    double rate = 0.0;       ///< bytes a second that the better one reached; 0: not known
};

/// Decides which carrier the streams of one server use: races both at the start, watches the one in use, tries the
/// other one where that may help, and goes back when it does not. Pure logic; the caller brings events and the time, in
/// milliseconds of a clock that never goes back, and asks current() and wanted() after each call. Not thread-safe.
class PathChooser
{
    Q_DECLARE_TR_FUNCTIONS(PathChooser)

public:
    /// One second of the carrier in use.
    struct Second
    {
        double bytesPerSecond = 0.0;
        double targetShare = 0.0; ///< of the target speed, 1: filled
        double lossPercent = 0.0;
        double roundTripMs = -1.0; ///< -1: not known
        double secondsLeft = 0.0;  ///< work that waits at this speed; 0: the streams have little to do
    };

    /// @param asked the transfer type allows UDP, @param offered the server offers it
    void setUdp(bool asked, bool offered);
    /// What an earlier connection to the server has shown; counts until the next trial.
    void remember(const std::optional<PathVerdict> &earlier) { m_earlier = earlier; }

    /// Streams want the server. Nothing happens when it is chosen for already.
    void begin(qint64 now);
    /// Nobody wants it any more, or every carrier failed.
    void end();
    bool active() const { return m_active; }

    void ready(Carrier carrier, qint64 now, double roundTripMs);
    void gone(Carrier carrier, qint64 now);
    /// A connection that nobody wanted any more was closed.
    void closed(Carrier carrier) { at(carrier).ready = false; }
    /// Time passes; nothing came over the carrier in use for @p silentMs, though streams use it.
    void tick(qint64 now, qint64 silentMs);
    void second(const Second &second, qint64 now);
    /// The streams have another target speed, so what was measured says nothing any more.
    void targetChanged(qint64 now);

    std::optional<Carrier> current() const { return m_current; }
    /// A connection over that carrier is to be there, or to be made.
    bool wanted(Carrier carrier) const { return at(carrier).wanted; }
    /// Why this carrier, for a person.
    QString reason() const { return m_reason; }
    /// A verdict since the last call, to be remembered for later connections.
    std::optional<PathVerdict> takeVerdict();

private:
    struct Way
    {
        bool wanted = false;
        bool ready = false;
        bool failed = false;
        qint64 readyAt = 0;
        double roundTripMs = -1.0;
        double best = 0.0; ///< bytes a second, over a few seconds with work enough
    };
    static Carrier other(Carrier carrier) { return carrier == Carrier::Tcp ? Carrier::Udp : Carrier::Tcp; }
    static QString nameOf(Carrier carrier);
    Way &at(Carrier carrier) { return m_ways[static_cast<std::size_t>(carrier)]; }
    const Way &at(Carrier carrier) const { return m_ways[static_cast<std::size_t>(carrier)]; }
    double roundTrip() const;
    void choose(qint64 now);
    void use(Carrier carrier, qint64 now, const QString &reason);
    bool worthTrying(const Second &second, double rate, qint64 now);
    void startTrial(Carrier carrier, qint64 now);
    void abandonTrial(qint64 now);
    void judge(double rate, double share, qint64 now);
    void settle(const PathVerdict &verdict, qint64 now);

    bool m_active = false;
    bool m_udpAsked = true;
    bool m_udpOffered = false;
    std::optional<PathVerdict> m_earlier;
    std::array<Way, 2> m_ways;
    std::optional<Carrier> m_current;
    qint64 m_begun = 0;
    qint64 m_since = 0;    ///< when the current one was taken
    qint64 m_targetAt = 0; ///< when the target speed was last changed
    QString m_reason;

    std::deque<Second> m_recent;
    bool m_escaping = false;        ///< the other carrier is wanted because this one is silent
    std::optional<Carrier> m_trial; ///< the carrier that is tried, or waited for
    bool m_fell = false;            ///< the trial is one because this carrier became slow
    double m_rateBefore = 0.0;      ///< of the other carrier, before the trial
    double m_shareBefore = 0.0;
    qint64 m_trialSince = 0;
    qint64 m_nextTrial = 0;
    qint64 m_pause = 0;      ///< after the next trial
    qint64 m_nextFallen = 0; ///< a carrier that became slow may be left from then on
    std::optional<PathVerdict> m_verdict;
};
