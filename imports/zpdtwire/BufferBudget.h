#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>

namespace zpdt {

/// Counts the bytes of file data that all connections of a context hold in memory. A hint, not a lock: whoever finds
/// it used up waits, unless it holds nothing itself, so that every stream always gets on. Any thread.
class BufferBudget
{
public:
    explicit BufferBudget(std::size_t limit)
        : m_limit(limit)
    {
    }
    void add(std::size_t bytes) { m_used += bytes; }
    void remove(std::size_t bytes) { m_used -= bytes; }
    bool usedUp() const { return m_used.load() >= m_limit; }
    std::size_t used() const { return m_used.load(); }

private:
    const std::size_t m_limit;
    std::atomic<std::size_t> m_used{0};
};

/// The files that some stream of this process is receiving, by device and path, so that two streams never write the
/// same partial file. Any thread.
class ActiveFiles
{
public:
    /// False when another stream has the file. That one is asked to give it up, if it gave a @p yield of its own; it
    /// is called on the thread that asks.
    bool take(const std::string &key, std::function<void()> yield = {})
    {
        std::function<void()> ask;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            const auto taken = m_keys.emplace(key, std::move(yield));
            if (taken.second)
                return true;
            ask = taken.first->second;
        }
        if (ask)
            ask();
        return false;
    }
    void release(const std::string &key)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_keys.erase(key);
    }

private:
    std::mutex m_mutex;
    std::map<std::string, std::function<void()>> m_keys;
};

} // namespace zpdt
