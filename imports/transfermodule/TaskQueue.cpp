#include "TaskQueue.h"

#include <algorithm>
#include <cstddef>

namespace {

/// How many small files are begun ahead of their turn in each direction. They are begun in groups of at least half
/// of it while the queue is long, because a group travels as one stream.
constexpr std::size_t kAhead = 1024;

} // namespace

void TaskQueue::remove(qint64 turn)
{
    if (m_waiting.erase(turn) == 0)
        m_ahead.erase(turn);
}

std::optional<TaskQueue::Next> TaskQueue::takeNext()
{
    if (full() || (m_waiting.empty() && m_ahead.empty()))
        return std::nullopt;
    // Those begun ahead came from the front of the queue; only one that was moved first since is before them.
    const bool ahead = m_waiting.empty() || (!m_ahead.empty() && m_ahead.begin()->first < m_waiting.begin()->first);
    std::map<qint64, TaskId> &from = ahead ? m_ahead : m_waiting;
    const Next next{from.begin()->second, ahead};
    from.erase(from.begin());
    ++m_taken;
    return next;
}

std::vector<TaskId> TaskQueue::takeAhead(const std::function<bool(TaskId)> &mayGoAhead)
{
    std::vector<TaskId> group;
    if (m_ahead.size() > kAhead / 2)
        return group;
    while (m_ahead.size() < kAhead && !m_waiting.empty() && mayGoAhead(m_waiting.begin()->second)) {
        group.push_back(m_waiting.begin()->second);
        m_ahead.insert(m_waiting.extract(m_waiting.begin()));
    }
    return group;
}

void TaskQueue::setSlots(int count)
{
    m_slots = std::max(1, count);
}
