#include "TaskReports.h"

#include <utility>

TaskReports::TaskReports()
{
    m_lastBlock.fill(-1);
}

void TaskReports::add(TaskReport::Kind kind, const TaskRecord &task, Mark &mark)
{
    // No task may overtake itself: a block is good for it when it lies behind the block that told of it last.
    if (mark.round != m_round)
        mark = {m_round, -1};
    const bool upload = task.Type == ZPDT_UPLOAD;
    qint64 &last = m_lastBlock[static_cast<std::size_t>(kind) * 2 + (upload ? 1 : 0)];
    if (last <= mark.block) {
        m_reports.push_back({kind, upload ? ZPDT_UPLOAD : ZPDT_DOWNLOAD, {}});
        last = static_cast<qint64>(m_reports.size()) - 1;
    }
    m_reports[static_cast<std::size_t>(last)].tasks.append(task);
    mark.block = last;
}

void TaskReports::addPassing(TaskReport::Kind kind, const TaskRecord &task)
{
    const TaskKey key = TaskKey::of(task);
    Mark mark = enter(key);
    add(kind, task, mark);
    leave(key, mark);
}

void TaskReports::leave(const TaskKey &key, const Mark &mark)
{
    if (mark.round == m_round)
        m_gone[key] = mark.block;
}

TaskReports::Mark TaskReports::enter(const TaskKey &key) const
{
    const auto gone = m_gone.find(key);
    return gone == m_gone.end() ? Mark{} : Mark{m_round, gone->second};
}

std::vector<TaskReport> TaskReports::take()
{
    m_lastBlock.fill(-1);
    m_gone.clear();
    ++m_round;
    return std::exchange(m_reports, {});
}
