#include "TransConfigBuilder.h"

#include "GlobalConfig.h"

#include <QRandomGenerator>

namespace {

constexpr qint64 kSlowestInterval = 999999; // microseconds, when there is no speed to derive one from
constexpr double kIntervalFactor = 1.08;
constexpr double kPacingLimit = 30000.0;
constexpr double kFloorFactor = 0.92;
constexpr double kBytesPerKilobyte = 1024.0;

qint32 modeNumber(const QString &mode)
{
    return mode == QLatin1String("fair") ? 2 : 1;
}

ServerAddress pick(const QList<ServerAddress> &servers, const TransConfigBuilder::Picker &picker)
{
    return servers.isEmpty() ? ServerAddress() : servers.at(picker(servers.size()) % servers.size());
}

} // namespace

TargetSpeed TransConfigBuilder::unsetSpeed()
{
    TargetSpeed speed;
    speed.transferType.clear();
    return speed;
}

TransferFacts TransConfigBuilder::facts(const QString &subCenterId)
{
    const GlobalConfig *config = GlobalConfig::instance();
    TransferFacts facts;
    facts.authAddress = config->auth();
    facts.version = config->version();
    facts.zpdt = config->zpdt();
    facts.user = config->currentUser();
    facts.speed = unsetSpeed();
    config->targetSpeed(subCenterId, &facts.speed);
    facts.speed = config->transferLimit().applied(facts.speed);
    return facts;
}

ZpdtRateControl TransConfigBuilder::pacing(const QString &mode, qint64 speed, qint32 mss)
{
    const qint64 interval = speed > 0 ? qint64(mss) * 1000000 / (speed * 1024) : kSlowestInterval;
    ZpdtRateControl control;
    control.mode = mode;
    control.pacingInterval = static_cast<double>(interval) * kIntervalFactor;
    control.pacingLimit = kPacingLimit;
    control.rateFloor = static_cast<double>(speed) * kFloorFactor * kBytesPerKilobyte;
    return control;
}

ZpdtTransConfig TransConfigBuilder::build(const TransferFacts &facts, const SubCenter &center, const Picker &picker)
{
    const TargetSpeed &speed = facts.speed;
    ZpdtTransConfig config;
    config.clientTag = facts.authAddress;
    config.clientVersion = facts.version;
    config.mss = facts.zpdt.mss;
    config.userId = facts.user.username;
    config.subCenterId = center.id;
    config.subCenterRoot = center.path;
    config.optionA = true;
    config.optionB = true;

    const ServerAddress udt = pick(center.udtServers, picker);
    config.udtHost = udt.first;
    config.udtPort = udt.second;
    config.asperaHost = pick(center.asperaServers, picker).first;
    // The login names the port that is open to this user, whatever the server's entry says.
    config.asperaPort = QString::number(facts.user.asperaTcpPort);
    config.asperaUser = facts.user.asperaUser;
    config.asperaPassword = facts.user.asperaPassword;

    config.uploadPacing = pacing(speed.upMode, speed.uploadTargetSpeed, config.mss);
    config.downloadPacing = pacing(speed.downMode, speed.downloadTargetSpeed, config.mss);
    config.downloadMode = modeNumber(speed.downMode);
    if (speed.downloadTargetSpeed >= 0)
        config.downloadTargetSpeed = speed.downloadTargetSpeed;
    config.uploadMode = modeNumber(speed.upMode);
    if (speed.uploadTargetSpeed >= 0)
        config.uploadTargetSpeed = speed.uploadTargetSpeed;

    const QString type = speed.transferType.isEmpty() ? facts.zpdt.transferType : speed.transferType;
    config.engineFlagA = config.engineFlagB = type != QLatin1String("ZPDT");
    config.beVerify = facts.zpdt.beVerify;
    return config;
}

int TransConfigBuilder::randomPick(int count)
{
    return QRandomGenerator::global()->bounded(count);
}
