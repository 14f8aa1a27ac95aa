#pragma once

#include "FairPool.h"
#include "Outcome.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace arkvale::service {

/// Runs operations that take their time. Users share the threads fairly, a user has a bounded number of jobs, and a
/// result is kept for a while after its job ended. May be used from any thread.
class JobRunner
{
public:
    struct Limits
    {
        unsigned threads = 4;      ///< of which one user holds three at most
        unsigned jobsPerUser = 16; ///< waiting and running
        std::chrono::seconds keep{600};
    };
    /// @p cancelled turns true when the job should end soon.
    using Work = std::function<Outcome(const std::atomic<bool> &cancelled)>;
    using Listener = std::function<void(const Outcome &)>;

    JobRunner()
        : JobRunner(Limits())
    {
    }
    explicit JobRunner(Limits limits);
    /// Stops.
    ~JobRunner();

    JobRunner(const JobRunner &) = delete;
    JobRunner &operator=(const JobRunner &) = delete;

    /// The id of the new job, which cannot be guessed; empty when the user has too many, or after stop().
    std::optional<std::string> start(const std::string &user, Work work);

    /// False when @p user has no such job. @p outcome is empty while the job waits or runs.
    bool find(const std::string &user, const std::string &id, std::optional<Outcome> &outcome);
    /// Calls @p listener once with the outcome, from a thread of the runner, or at once when the job has ended. False
    /// when there is no such job. Of very many listeners of one job the oldest are dropped.
    bool whenDone(const std::string &user, const std::string &id, Listener listener);

    /// Cancels every job, answers their listeners and waits for the threads.
    void stop();

private:
    struct Job
    {
        std::string user;
        std::optional<Outcome> outcome;
        std::chrono::steady_clock::time_point ended;
        std::vector<Listener> listeners;
    };

    void run(const std::string &id, const Work &work);
    void forgetOld();

    const Limits m_limits;
    std::atomic<bool> m_cancelled{false};
    std::mutex m_mutex;
    std::map<std::string, Job> m_jobs;
    bool m_stopping = false;
    std::unique_ptr<FairPool> m_pool;
};

} // namespace arkvale::service
