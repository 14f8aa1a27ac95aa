#include "Alarm.h"

namespace arkvale::service {

Alarm::Alarm()
    : m_thread([this] { run(); })
{
}

Alarm::~Alarm()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}

void Alarm::finish()
{
    {
        const std::lock_guard lock(m_mutex);
        m_rushing = true;
        m_finishing = true;
    }
    m_wake.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}

void Alarm::at(Clock::time_point time, std::function<void()> work)
{
    {
        const std::lock_guard lock(m_mutex);
        m_work.emplace(time, std::move(work));
    }
    m_wake.notify_one();
}

void Alarm::rush()
{
    {
        const std::lock_guard lock(m_mutex);
        m_rushing = true;
    }
    m_wake.notify_one();
}

void Alarm::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_stopping) {
        if (m_work.empty()) {
            if (m_finishing)
                return;
            m_wake.wait(lock);
            continue;
        }
        const auto first = m_work.begin();
        if (!m_rushing && first->first > Clock::now()) {
            m_wake.wait_until(lock, first->first);
            continue;
        }
        const std::function<void()> work = std::move(first->second);
        m_work.erase(first);
        lock.unlock();
        work();
        lock.lock();
    }
}

} // namespace arkvale::service
