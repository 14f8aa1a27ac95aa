#pragma once

#include "DriveJob.h"
#include "Permission.h"

#include <atomic>
#include <string>
#include <vector>

namespace arkvale::service {

/// Copies files and folders of one home into a folder of it. The copies are made out of sight and appear whole or not
/// at all. Into the folder where the original lies, a copy gets a number ("name (2).ext"); elsewhere a name that exists
/// is a failure, and nothing is copied. Made on any thread, run once on one thread.
class CopyJob final : public DriveJob
{
public:
    CopyJob(UserHome home, std::vector<std::string> sources, std::string target);
    /// From a folder of somebody else, @p origin, into @p home; a name that exists there gets a number. Nothing appears
    /// once @p permission holds no more.
    CopyJob(UserHome home, std::vector<std::string> sources, std::string target, UserHome origin,
            Permission permission);

    Outcome check() override;

private:
    struct Item
    {
        std::string from;
        std::string name; ///< in the target folder
        bool isFolder = false;
        bool numbered = false;
    };

    bool nameTaken(const std::string &name) const;
    Outcome make(const zpdt::SafeFolder &work, const std::atomic<bool> &cancelled, QuotaCharge &charge) override;
    Outcome publish(const zpdt::SafeFolder &work) const override;

    const UserHome m_origin;
    const bool m_foreign = false;
    const std::vector<std::string> m_sources;
    Permission m_permission;
    std::string m_folder; ///< the target without its first slash
    std::vector<Item> m_items;
};

/// Copies one file's bytes and time; runs of zeros become holes.
Outcome copyFile(const zpdt::SafeFolder &from, const std::string &fromPath, const zpdt::SafeFolder &to,
                 const std::string &toPath, const std::atomic<bool> &cancelled, QuotaCharge &charge);

} // namespace arkvale::service
