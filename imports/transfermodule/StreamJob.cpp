#include "StreamJob.h"

#include "TransferRules.h"

#include <algorithm>

LinkAddress addressOf(const QString &subCenterId, const ZpdtTransConfig &config, const TicketAnswer &answer)
{
    const auto own = TransferRules::configuredServer(config);
    LinkAddress address;
    address.subCenterId = subCenterId;
    address.host = own.first.isEmpty() ? answer.host : own.first;
    address.port = own.first.isEmpty() ? answer.port : own.second;
    address.fingerprint = answer.fingerprint;
    address.clientVersion = config.clientVersion;
    address.udpAllowed = !config.engineFlagA;
    address.udpPort = answer.udpPort;
    address.udpKey = answer.udpKey;
    return address;
}

ZpdtError fromWire(zpdt::Error error)
{
    switch (error) {
    case zpdt::Error::None:
        return ZpdtError::None;
    case zpdt::Error::Network:
        return ZpdtError::Network;
    case zpdt::Error::Refused:
        return ZpdtError::Refused;
    case zpdt::Error::NotFound:
        return ZpdtError::NotFound;
    case zpdt::Error::NoSpace:
        return ZpdtError::NoSpace;
    case zpdt::Error::ChangedSource:
        return ZpdtError::ChangedSource;
    case zpdt::Error::BadName:
        return ZpdtError::BadName;
    case zpdt::Error::Integrity:
        return ZpdtError::Integrity;
    case zpdt::Error::Cancelled:
        return ZpdtError::Cancelled;
    case zpdt::Error::LocalFile:
    case zpdt::Error::Skipped:
        return ZpdtError::LocalFile;
    }
    return ZpdtError::Integrity;
}

std::vector<std::string> excludedSuffixes(bool verified)
{
    std::vector<std::string> excluded;
    if (!verified) {
        for (const QString &suffix : TransferRules::videoSuffixes())
            excluded.push_back('.' + suffix.toStdString());
    }
    return excluded;
}

ZpdtProgress StreamJob::figures(qint64 now) const
{
    ZpdtProgress figures;
    figures.offset = static_cast<qint64>(progress.bytes);
    figures.held = whole ? static_cast<qint64>(progress.held) : 0;
    figures.total = static_cast<qint64>(totals.bytes);
    figures.filesTotal = static_cast<qint64>(totals.files);
    figures.filesDone = static_cast<qint64>(progress.filesDone);
    figures.filesFailed = static_cast<qint64>(progress.filesFailed);
    figures.scanning = !totals.complete;
    figures.speed = meter.megabits(now);
    if (whole && !members.empty())
        figures.total = std::max(figures.total, members.front().size);
    if (!figures.scanning && figures.speed > 0.0)
        figures.secondsLeft =
            static_cast<qint64>(static_cast<double>(figures.total - figures.offset) * 8.0 / 1048576.0 / figures.speed);
    figures.filesSkipped = skipped;
    figures.error = error;
    figures.errorText = errorText;
    if (error == ZpdtError::None && skipped > 0)
        figures.errorText = QStringLiteral("links and special files that were left out: %1").arg(skippedNames);
    return figures;
}
