#pragma once

#include "TransferModule.h"

#include <QHash>

/// Judges the engine's connections from their reports, which come about once a second.
///
/// A connection is bad when it lost 5 % of what was sent or needs half a second for a round trip, three reports in a
/// row, and good again after three reports below 3 % and 300 ms. A server is out of reach when tasks wait for it and it
/// was not connected for 10 seconds. A plain value; the caller brings the time.
class ConnectionHealth
{
public:
    enum Verdict
    {
        Good,
        Bad,        ///< slow or lossy
        OutOfReach, ///< no connection although one is wanted
    };

    static constexpr double kBadLoss = 5.0;         ///< percent
    static constexpr double kGoodLoss = 3.0;        ///< percent
    static constexpr double kBadRoundTrip = 500.0;  ///< milliseconds
    static constexpr double kGoodRoundTrip = 300.0; ///< milliseconds
    static constexpr int kReports = 3;
    static constexpr qint64 kPatience = 10000; ///< milliseconds

    /// @param wanted tasks wait for this connection
    /// @param now milliseconds of a clock that never goes back
    Verdict judge(const ZpdtConnectionInfo &connection, bool wanted, qint64 now);
    static QString keyOf(const ZpdtConnectionInfo &connection);

private:
    struct History
    {
        bool bad = false;
        int against = 0;      ///< reports in a row that speak against the present verdict
        qint64 outSince = -1; ///< -1: connected, or not wanted
    };
    QHash<QString, History> m_histories;
};
