#include "FairPool.h"

#include <algorithm>

namespace arkvale::service {

FairPool::FairPool(unsigned threads, std::size_t maxQueue)
    : m_threads(std::max(threads, 1u))
    , m_mostOfOne(std::max(m_threads - m_threads / 4, 1u))
    , m_maxQueue(maxQueue)
{
    m_workers.reserve(m_threads);
    for (unsigned i = 0; i < m_threads; ++i)
        m_workers.emplace_back([this] { run(); });
}

FairPool::~FairPool()
{
    stop();
}

bool FairPool::post(const std::string &client, std::function<void()> work)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopping || m_waiting >= m_maxQueue)
            return false;
        Line &line = m_lines[client];
        line.waiting.push_back(std::move(work));
        ++m_waiting;
        // With more waiting before, or all its threads taken, the client has its turn coming already.
        if (line.waiting.size() == 1 && line.running < m_mostOfOne)
            m_turns.push_back(client);
    }
    m_wake.notify_one();
    return true;
}

void FairPool::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    for (std::thread &worker : m_workers) {
        if (worker.joinable())
            worker.join();
    }
}

void FairPool::run()
{
    std::unique_lock lock(m_mutex);
    while (true) {
        m_wake.wait(lock, [this] { return !m_turns.empty() || (m_stopping && m_waiting == 0); });
        if (m_turns.empty())
            return;
        const std::string client = std::move(m_turns.front());
        m_turns.pop_front();
        Line &line = m_lines[client];
        std::function<void()> work = std::move(line.waiting.front());
        line.waiting.pop_front();
        --m_waiting;
        ++line.running;
        if (!line.waiting.empty() && line.running < m_mostOfOne) {
            m_turns.push_back(client);
            m_wake.notify_one();
        }

        lock.unlock();
        work();
        work = nullptr;
        lock.lock();

        // A line that was held back by its own running work gets its turn again.
        if (line.running-- == m_mostOfOne && !line.waiting.empty()) {
            m_turns.push_back(client);
            m_wake.notify_one();
        }
        if (line.running == 0 && line.waiting.empty())
            m_lines.erase(client);
        if (m_stopping && m_waiting == 0)
            m_wake.notify_all();
    }
}

} // namespace arkvale::service
