#include "TaskTable.h"

// What the table tells, and what it remembers of tasks that are gone.

namespace {

/// Ended tasks that are remembered, so that sending one again can be told from sending a new one.
constexpr std::size_t kEndedRemembered = 50000;

} // namespace

void TaskTable::rememberEnd(const Key &key)
{
    const std::size_t hash = KeyHash()(key);
    if (!m_ended.insert(hash).second)
        return;
    m_endedOrder.push_back(hash);
    if (m_endedOrder.size() > kEndedRemembered) {
        m_ended.erase(m_endedOrder.front());
        m_endedOrder.pop_front();
    }
}

void TaskTable::report(TaskReport::Kind kind, Task &task)
{
    // Tasks share a block as long as no task overtakes itself: a block is good for a task when it lies behind the
    // block that told of it last. Thousands of small files so end in three signals a round.
    if (task.reportRound != m_reportRound) {
        task.reportRound = m_reportRound;
        task.reportBlock = -1;
    }
    const bool upload = task.record.Type == ZPDT_UPLOAD;
    qint64 &last = m_lastBlock[static_cast<std::size_t>(kind) * 2 + (upload ? 1 : 0)];
    if (last <= task.reportBlock) {
        m_reports.push_back({kind, upload ? ZPDT_UPLOAD : ZPDT_DOWNLOAD, {}});
        last = static_cast<qint64>(m_reports.size()) - 1;
    }
    m_reports[static_cast<std::size_t>(last)].tasks.append(task.record);
    task.reportBlock = last;
}

void TaskTable::reportAlone(TaskReport::Kind kind, const TaskRecord &record)
{
    Task passing;
    passing.record = record;
    const auto gone = m_goneBlock.find(keyOf(record));
    if (gone != m_goneBlock.end()) {
        passing.reportRound = m_reportRound;
        passing.reportBlock = gone->second;
    }
    report(kind, passing);
    m_goneBlock[keyOf(record)] = passing.reportBlock;
}

std::vector<TaskReport> TaskTable::takeReports()
{
    m_lastBlock.fill(-1);
    m_goneBlock.clear();
    ++m_reportRound;
    return std::exchange(m_reports, {});
}

std::vector<TaskOrder> TaskTable::takeOrders()
{
    return std::exchange(m_orders, {});
}

QList<TaskRecord> TaskTable::takeAbandoned()
{
    return std::exchange(m_abandoned, {});
}
