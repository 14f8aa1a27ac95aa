#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace arkvale::service {

/// A fixed number of threads that share their time fairly among clients: the waiting work of each client forms a line
/// of its own, the lines take turns, and no client ever holds all threads. Work of one client may run at once and out
/// of order. May be used from any thread.
class FairPool
{
public:
    /// @param maxQueue most pieces of work that may wait
    FairPool(unsigned threads, std::size_t maxQueue);
    /// Finishes what waits, then joins the threads.
    ~FairPool();

    FairPool(const FairPool &) = delete;
    FairPool &operator=(const FairPool &) = delete;

    /// False, and @p work is dropped, when too much waits already or the pool is stopping.
    bool post(const std::string &client, std::function<void()> work);
    void stop();

private:
    struct Line
    {
        std::deque<std::function<void()>> waiting;
        unsigned running = 0;
    };

    void run();

    const unsigned m_threads;
    const unsigned m_mostOfOne;
    const std::size_t m_maxQueue;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::map<std::string, Line> m_lines;
    std::list<std::string> m_turns; ///< clients with waiting work and room for another thread
    std::size_t m_waiting = 0;
    bool m_stopping = false;
    std::vector<std::thread> m_workers;
};

} // namespace arkvale::service
