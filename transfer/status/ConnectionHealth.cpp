#include "ConnectionHealth.h"

QString ConnectionHealth::keyOf(const ZpdtConnectionInfo &connection)
{
    return connection.subCenterId + QLatin1Char('\n') + connection.host + QLatin1Char('\n') + connection.port;
}

ConnectionHealth::Verdict ConnectionHealth::judge(const ZpdtConnectionInfo &connection, bool wanted, qint64 now)
{
    History &history = m_histories[keyOf(connection)];
    if (connection.state != ZpdtConnectionInfo::Connected) {
        history.bad = false;
        history.against = 0;
        if (!wanted)
            history.outSince = -1;
        else if (history.outSince < 0)
            history.outSince = now;
        return history.outSince >= 0 && now - history.outSince >= kPatience ? OutOfReach : Good;
    }
    history.outSince = -1;
    const bool worse = connection.lossPercent >= kBadLoss || connection.roundTripMs >= kBadRoundTrip;
    const bool better = connection.lossPercent < kGoodLoss && connection.roundTripMs < kGoodRoundTrip;
    history.against = (history.bad ? better : worse) ? history.against + 1 : 0;
    if (history.against >= kReports) {
        history.bad = !history.bad;
        history.against = 0;
    }
    return history.bad ? Bad : Good;
}
