#pragma once

#include "Outcome.h"
#include "UserHome.h"

#include <atomic>
#include <string>

namespace arkvale::service {

/// A job that fills a folder of a home: what it makes is made out of sight and appears whole or not at all, and counts
/// against the home's quota only if it appears. Made on any thread, run once on one thread.
class DriveJob
{
public:
    virtual ~DriveJob() = default;
    DriveJob(const DriveJob &) = delete;
    DriveJob &operator=(const DriveJob &) = delete;

    /// What can be told at once; the job is not worth starting when it fails.
    virtual Outcome check() = 0;
    /// Calls check() itself.
    Outcome run(const std::atomic<bool> &cancelled);

protected:
    DriveJob(UserHome home, std::string target);

    /// Makes everything inside @p work, and asks @p charge for each byte.
    virtual Outcome make(const zpdt::SafeFolder &work, const std::atomic<bool> &cancelled, QuotaCharge &charge) = 0;
    /// Moves what was made to its place; on failure nothing of it stays there.
    virtual Outcome publish(const zpdt::SafeFolder &work) const = 0;

    const UserHome m_home;
    const std::string m_target; ///< as the user wrote it
};

} // namespace arkvale::service
