#include "DriveJob.h"

#include <utility>

namespace arkvale::service {

DriveJob::DriveJob(UserHome home, std::string target)
    : m_home(std::move(home))
    , m_target(std::move(target))
{
}

Outcome DriveJob::run(const std::atomic<bool> &cancelled)
{
    Outcome outcome = check();
    if (!outcome.ok())
        return outcome;
    Storeroom::WorkFolder work(*m_home.storeroom);
    if (!work.result().ok())
        return Outcome::of(work.result(), m_target);
    QuotaCharge charge(m_home);
    outcome = make(work.folder(), cancelled, charge);
    if (outcome.ok())
        outcome = publish(work.folder());
    if (outcome.ok())
        charge.keep();
    return outcome;
}

} // namespace arkvale::service
