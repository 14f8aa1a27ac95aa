#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace arkvale::service {

/// Runs short work at given times on one thread of its own. May be used from any thread.
class Alarm
{
public:
    using Clock = std::chrono::steady_clock;

    Alarm();
    /// Work that is not yet due is dropped.
    ~Alarm();

    Alarm(const Alarm &) = delete;
    Alarm &operator=(const Alarm &) = delete;

    void at(Clock::time_point time, std::function<void()> work);
    /// Makes everything due at once, and all that is added later.
    void rush();
    /// Runs what is left and ends the thread; work that is added later is dropped.
    void finish();

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::multimap<Clock::time_point, std::function<void()>> m_work;
    bool m_rushing = false;
    bool m_finishing = false;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace arkvale::service
