#pragma once

#include "SubCenter.h"
#include "TransferModule.h"
#include "TransferSettings.h"
#include "UserInfo.h"

#include <functional>

/// What a transfer's parameters are made from, apart from its sub-center. A plain value.
struct TransferFacts
{
    QString authAddress;
    QString version;
    ZpdtSettings zpdt;
    UserInfo user;
    TargetSpeed speed;
};

/// Fills the engine's parameter record for one sub-center. Pure but for the choice of servers.
class TransConfigBuilder
{
public:
    /// Index below @p count, which is at least 1.
    using Picker = std::function<int(int count)>;

    /// The facts about a sub-center as the configuration store knows them.
    static TransferFacts facts(const QString &subCenterId);
    /// Parameters of a sub-center for which the user has set none: no transfer type, fair, 2048 KB/s both ways.
    static TargetSpeed unsetSpeed();

    static ZpdtTransConfig build(const TransferFacts &facts, const SubCenter &center, const Picker &picker);
    /// Pacing of one direction.
    /// @param speed KB/s @param mss bytes a packet
    static ZpdtRateControl pacing(const QString &mode, qint64 speed, qint32 mss);
    /// Every index equally likely.
    static int randomPick(int count);
};
