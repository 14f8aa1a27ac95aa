#include "JobRunner.h"

#include "Storeroom.h"

#include <exception>

namespace arkvale::service {

namespace {

constexpr std::size_t kMaxListeners = 32;
constexpr std::size_t kMaxWaiting = 4096;

} // namespace

JobRunner::JobRunner(Limits limits)
    : m_limits(limits)
    , m_pool(std::make_unique<FairPool>(limits.threads, kMaxWaiting))
{
}

JobRunner::~JobRunner()
{
    stop();
}

std::optional<std::string> JobRunner::start(const std::string &user, Work work)
{
    const std::string id = randomName();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        forgetOld();
        unsigned active = 0;
        for (const auto &job : m_jobs)
            active += job.second.user == user && !job.second.outcome ? 1 : 0;
        if (m_stopping || active >= m_limits.jobsPerUser)
            return std::nullopt;
        m_jobs[id].user = user;
    }
    if (m_pool->post(user, [this, id, work = std::move(work)] { run(id, work); }))
        return id;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_jobs.erase(id);
    return std::nullopt;
}

void JobRunner::run(const std::string &id, const Work &work)
{
    Outcome outcome;
    try {
        outcome = m_cancelled ? Outcome::cancelled() : work(m_cancelled);
    } catch (const std::exception &) {
        // Out of memory, which other people's archives may bring about.
        outcome = Outcome::failure(500, "memory", "The service ran out of memory.");
    }
    std::vector<Listener> listeners;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Job &job = m_jobs[id];
        job.outcome = outcome;
        job.ended = std::chrono::steady_clock::now();
        listeners.swap(job.listeners);
    }
    for (const Listener &listener : listeners)
        listener(outcome);
}

bool JobRunner::find(const std::string &user, const std::string &id, std::optional<Outcome> &outcome)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    forgetOld();
    const auto job = m_jobs.find(id);
    if (job == m_jobs.end() || job->second.user != user)
        return false;
    outcome = job->second.outcome;
    return true;
}

bool JobRunner::whenDone(const std::string &user, const std::string &id, Listener listener)
{
    Outcome outcome;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        forgetOld();
        const auto job = m_jobs.find(id);
        if (job == m_jobs.end() || job->second.user != user)
            return false;
        std::vector<Listener> &listeners = job->second.listeners;
        if (!job->second.outcome) {
            if (listeners.size() >= kMaxListeners)
                listeners.erase(listeners.begin());
            listeners.push_back(std::move(listener));
            return true;
        }
        outcome = *job->second.outcome;
    }
    listener(outcome);
    return true;
}

void JobRunner::forgetOld()
{
    const auto now = std::chrono::steady_clock::now();
    for (auto job = m_jobs.begin(); job != m_jobs.end();) {
        const bool old = job->second.outcome && now - job->second.ended > m_limits.keep;
        job = old ? m_jobs.erase(job) : std::next(job);
    }
}

void JobRunner::stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping)
            return;
        m_stopping = true;
        m_cancelled = true;
    }
    m_pool->stop();
}

} // namespace arkvale::service
