#include "TransferRules.h"

#include <algorithm>

namespace TransferRules {

const QStringList &videoSuffixes()
{
    static const QStringList suffixes = QStringLiteral("m4v mpeg mov rmvb rm mkv ipod hls asf webm wtv flv a64 3gp 3g2 "
                                                       "wmv avi mp4")
                                            .split(QLatin1Char(' '));
    return suffixes;
}

quint64 targetRate(const ZpdtTransConfig &config, ZPDTCMDTYPE type)
{
    const bool upload = type == ZPDT_UPLOAD;
    const qint64 speed = upload ? config.uploadTargetSpeed : config.downloadTargetSpeed;
    if (speed > 0)
        return static_cast<quint64>(std::min(speed, std::numeric_limits<qint64>::max() / 1024)) * 1024;
    const ZpdtRateControl &pacing = upload ? config.uploadPacing : config.downloadPacing;
    const double longest = std::max(1.0, pacing.pacingLimit);
    return static_cast<quint64>(std::max(1.0, std::max(config.mss, 1) * 1e6 / longest));
}

QPair<QString, quint16> configuredServer(const ZpdtTransConfig &config)
{
    const QString host = config.engineFlagA ? config.asperaHost : config.udtHost;
    bool ok = false;
    const quint16 port = (config.engineFlagA ? config.asperaPort : config.udtPort).toUShort(&ok);
    if (host.isEmpty() || !ok || port == 0)
        return {};
    return {host, port};
}

int retryPause(int failures)
{
    return std::min(5000, 500 << std::clamp(failures, 0, 4));
}

QString folderPath(const QString &path)
{
    QString folder = path;
    const auto isDrive = [&folder] { return folder.size() == 3 && folder.at(1) == QLatin1Char(':'); };
    while (folder.size() > 1 && folder.endsWith(QLatin1Char('/')) && !isDrive())
        folder.chop(1);
    return folder;
}

QString lastName(const QString &path)
{
    const QString whole = folderPath(path);
    return whole.mid(whole.lastIndexOf(QLatin1Char('/')) + 1);
}

QString parentFolder(const QString &path)
{
    const QString whole = folderPath(path);
    const int slash = whole.lastIndexOf(QLatin1Char('/'));
    if (slash < 0)
        return {};
    // "C:/" and "/" keep their separator: without it they are something else.
    if (slash == 0 || (slash == 2 && whole.at(1) == QLatin1Char(':')))
        return whole.left(slash + 1);
    return whole.left(slash);
}

QString joined(const QString &folder, const QString &name)
{
    if (folder.isEmpty())
        return name;
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

} // namespace TransferRules
