#pragma once

#include "DriveJob.h"

#include <atomic>
#include <string>
#include <vector>

namespace arkvale::service {

/// Packs files and folders of one home into a zip file of it, which appears when it is complete. Where the name is
/// taken, the archive gets a number ("name (2).zip"). Made on any thread, run once on one thread.
class CompressJob final : public DriveJob
{
public:
    /// @param target path of the archive without ".zip"
    CompressJob(UserHome home, std::vector<std::string> sources, std::string target);

    Outcome check() override;

private:
    struct Item
    {
        std::string from;
        std::string name; ///< in the archive
        zpdt::FileStat stat;
    };
    struct Writer;

    Outcome make(const zpdt::SafeFolder &work, const std::atomic<bool> &cancelled, QuotaCharge &charge) override;
    Outcome pack(Writer &writer, const std::atomic<bool> &cancelled) const;
    Outcome publish(const zpdt::SafeFolder &work) const override;

    const std::vector<std::string> m_sources;
    std::string m_folder;
    std::string m_name; ///< with ".zip"
    std::vector<Item> m_items;
};

} // namespace arkvale::service
