#pragma once

#include <QtGlobal>

/// What a file and what a byte cost in time, learned while transfers run. Many small files cost their number, few large
/// ones their bytes; a plain average of bytes a second is wrong for the one or for the other. Both costs are followed
/// by a small filter that reacts within half a minute and keeps what it knows of the cost that the present
/// files say nothing about. A plain value; the caller brings the time.
class TransferCost
{
public:
    /// @param seconds that passed since the last call, with transfers under way
    /// @param files, bytes that were done in them
    void observe(double seconds, qint64 files, qint64 bytes);
    /// Seconds for so many more. Below 0: not known, since too little was seen or nothing moves any more.
    double estimate(qint64 files, qint64 bytes) const;

    double secondsPerFile() const { return m_file; }
    double secondsPerMegabyte() const { return m_megabyte; }

private:
    struct Stretch
    {
        double seconds = 0.0;
        double files = 0.0;
        double megabytes = 0.0;

        void add(double s, double f, double m)
        {
            seconds += s;
            files += f;
            megabytes += m;
        }
    };
    bool isOtherLine(const Stretch &latest) const;
    void learn(const Stretch &stretch);

    // An ordinary service on an ordinary line, until something is known.
    double m_file = 0.005;
    double m_megabyte = 0.1;
    // Their covariance.
    double m_ff = 0.01 * 0.01;
    double m_fm = 0.0;
    double m_mm = 1.0 * 1.0;
    double m_seen = 0.0;  ///< seconds that were learned from
    double m_still = 0.0; ///< seconds since something was done
    Stretch m_latest;     ///< not yet judged
    Stretch m_gathered;   ///< not yet learned from
};
