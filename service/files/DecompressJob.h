#pragma once

#include "DriveJob.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace arkvale::service {

/// Unpacks an archive of one home (zip, tar plain or packed, 7z) into a folder of it. Everything is unpacked out of
/// sight first: an archive that is damaged, encrypted, too large, or names anything outside the folder, leaves nothing
/// behind. A target folder that is missing is made; what exists in it stays, and what is unpacked gets a number then.
/// Made on any thread, run once on one thread.
class DecompressJob final : public DriveJob
{
public:
    struct Limits
    {
        std::uint64_t entries = 500000;
        std::uint64_t bytes = 1ull << 40;
        /// What an archive may grow to, as a multiple of its own size, once it is above freeBytes.
        std::uint64_t ratio = 200;
        std::uint64_t freeBytes = 256ull << 20;
        unsigned depth = 256; ///< names of one path
    };

    DecompressJob(UserHome home, std::string source, std::string target)
        : DecompressJob(home, source, target, Limits())
    {
    }
    DecompressJob(UserHome home, std::string source, std::string target, Limits limits);

    Outcome check() override;

private:
    class Reader;

    Outcome make(const zpdt::SafeFolder &work, const std::atomic<bool> &cancelled, QuotaCharge &charge) override;
    Outcome publish(const zpdt::SafeFolder &work) const override;

    const std::string m_source;
    const Limits m_limits;
    std::string m_from;
    std::string m_folder;
};

} // namespace arkvale::service
