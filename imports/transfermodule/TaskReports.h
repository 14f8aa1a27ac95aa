#pragma once

#include "TaskKey.h"

#include <array>
#include <unordered_map>
#include <vector>

/// One signal to send: tasks of one direction that met the same fate, in the order in which they met it.
struct TaskReport
{
    enum Kind
    {
        Created,
        Retrans,
        Started,
        Finished,
        PauseEnd,
        CancelEnd,
        Exist,
        KindCount
    };

    Kind kind = Created;
    ZPDTCMDTYPE type = ZPDT_DOWNLOAD;
    QList<TaskRecord> tasks;
};

/// Gathers the fates of tasks into few signals: tasks share one as long as each task's own story keeps its order.
/// Thousands of small files so end in three signals a round. Not thread-safe.
class TaskReports
{
public:
    /// Where a task was told of last.
    struct Mark
    {
        quint64 round = 0;
        qint64 block = -1; ///< of that round's reports
    };

    TaskReports();
    void add(TaskReport::Kind kind, const TaskRecord &task, Mark &mark);
    /// Tells of a task that is not held.
    void addPassing(TaskReport::Kind kind, const TaskRecord &task);
    /// To be called when a task ceases to be held, in case that it comes back.
    void leave(const TaskKey &key, const Mark &mark);
    /// The mark of a task that begins to be held.
    Mark enter(const TaskKey &key) const;
    /// Everything since the last call, which ends the round.
    std::vector<TaskReport> take();

private:
    std::vector<TaskReport> m_reports;
    std::array<qint64, 2 * TaskReport::KindCount> m_lastBlock; ///< of each kind in each direction
    std::unordered_map<TaskKey, qint64, TaskKeyHash> m_gone;   ///< last block of tasks that left in this round
    quint64 m_round = 1;
};
