#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace arkvale::service {

class TransferRuntime;

/// Removes partial files that nobody came back for, from all homes, soon after the start and once a day. Owns the
/// thread that does it.
class PartialCleaner
{
public:
    struct Home
    {
        std::string root;             ///< absolute folder on disk
        std::function<void()> shrunk; ///< something was removed; on the cleaner's thread
    };

    /// @param homes asked at the beginning of each round, on the cleaner's thread
    /// @param age of the last change from which on a partial file is abandoned
    PartialCleaner(std::shared_ptr<TransferRuntime> runtime, std::function<std::vector<Home>()> homes,
                   std::chrono::seconds age);
    /// Ends a round that runs, and joins.
    ~PartialCleaner();
    PartialCleaner(const PartialCleaner &) = delete;
    PartialCleaner &operator=(const PartialCleaner &) = delete;

private:
    void run();
    void round();

    const std::shared_ptr<TransferRuntime> m_runtime;
    const std::function<std::vector<Home>()> m_homes;
    const std::chrono::seconds m_age;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::atomic<bool> m_stop{false}; ///< set under m_mutex
    std::thread m_thread;
};

} // namespace arkvale::service
