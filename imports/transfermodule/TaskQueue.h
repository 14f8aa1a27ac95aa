#pragma once

#include "TaskKey.h"

#include <functional>
#include <map>
#include <optional>
#include <vector>

/// Whose turn it is in one direction: the tasks that wait, those that were begun ahead of their turn, and the slots of
/// those that run. A task is named here by its turn, which it keeps while it gives way to others. Not thread-safe.
class TaskQueue
{
public:
    /// @param front before all others instead of behind them
    qint64 newTurn(bool front) { return front ? --m_firstTurn : ++m_lastTurn; }
    void put(qint64 turn, TaskId id) { m_waiting.emplace(turn, id); }
    /// Takes out a task that waits or was begun ahead.
    void remove(qint64 turn);

    struct Next
    {
        TaskId id = 0;
        bool begunAhead = false;
    };
    /// Takes out the task whose turn it is and gives it a slot, as long as one is free; to be repeated until nothing
    /// comes.
    std::optional<Next> takeNext();
    /// Tasks from the front that are to be begun ahead of their turn, mostly none: they come in groups.
    /// @param mayGoAhead asked of each in turn; the first one that may not ends the group
    std::vector<TaskId> takeAhead(const std::function<bool(TaskId)> &mayGoAhead);

    /// @param count at least 1; those that run above it keep their slots until they release them
    void setSlots(int count);
    int slotCount() const { return m_slots; }
    bool full() const { return m_taken >= m_slots; }
    int taken() const { return m_taken; }
    void release() { --m_taken; }

private:
    std::map<qint64, TaskId> m_waiting;
    std::map<qint64, TaskId> m_ahead;
    int m_taken = 0;
    int m_slots = 1;
    qint64 m_firstTurn = 0;
    qint64 m_lastTurn = 0;
};
