#include "WireTypes.h"

#include <algorithm>

namespace zpdt {

const char *errorName(Error error)
{
    switch (error) {
    case Error::None:
        return "none";
    case Error::Network:
        return "network";
    case Error::Refused:
        return "refused";
    case Error::NotFound:
        return "not found";
    case Error::NoSpace:
        return "no space";
    case Error::ChangedSource:
        return "source changed";
    case Error::BadName:
        return "bad name";
    case Error::Integrity:
        return "integrity";
    case Error::Cancelled:
        return "cancelled";
    case Error::LocalFile:
        return "file access";
    case Error::Skipped:
        return "left out";
    }
    return "unknown";
}

RateGoal rateGoal(const std::string &mode, double pacingIntervalUs, double pacingLimitUs, double floor,
                  std::uint32_t packetBytes, std::uint64_t targetBytesPerSecond)
{
    RateGoal goal;
    goal.bytesPerSecond = targetBytesPerSecond;
    if (mode != "fixed" || targetBytesPerSecond == 0)
        return goal;
    goal.mode = RateMode::Fixed;
    const double target = double(targetBytesPerSecond);
    const auto pace = [&](double intervalUs) { return intervalUs > 0.0 ? packetBytes * 1e6 / intervalUs : 0.0; };
    goal.floorBytesPerSecond = std::uint64_t(std::clamp(std::max(floor, pace(pacingLimitUs)), 0.0, target));
    goal.startBytesPerSecond =
        std::uint64_t(std::clamp(pace(pacingIntervalUs), double(goal.floorBytesPerSecond), target));
    return goal;
}

} // namespace zpdt
