#pragma once

#include "TaskQueue.h"
#include "TaskReports.h"

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// What the table asks of whoever moves the bytes. A Run is answered by finished(), halted(), a Stop by stopped() or
/// finished().
struct TaskOrder
{
    enum Kind
    {
        Run,
        Stop,    ///< keep what is there, the task will go on later
        Abandon, ///< stop and remove what is there
        Prefer   ///< its urgency() has risen
    };

    Kind kind = Run;
    TaskId id = 0;
};

/// The tasks of the engine, their states and queues: pure logic without network, files or threads. Every operation
/// leaves reports (signals to send) and orders (work to begin or end), which the caller takes away afterwards.
/// Operations on one task cost O(log n), those on all tasks O(n). Not thread-safe.
class TaskTable
{
public:
    using Config = std::shared_ptr<const ZpdtTransConfig>;

    /// What a new task is, as far as its maker knows.
    enum class Shape
    {
        Unknown, ///< file or folder: found out when it runs
        File,
        SmallFile, ///< may be begun ahead of its turn, so that it costs no round trip of its own
        Folder
    };

    /// Takes a new task in. A task that is there and under way is reported as Exist; one that is paused goes on, one
    /// that ended before is sent again, both reported as Retrans. Returns false for Exist.
    bool add(TaskRecord record, Shape shape, const Config &config);
    /// Starts a paused task, moves a waiting one to the front, where the latest one that runs gives way to it, puts one
    /// that runs first on the line, or takes in one that is not held.
    /// @param shape used when the table does not know it yet
    void start(const TaskRecord &record, const Config &config, Shape shape = Shape::Unknown);
    /// @param shapeOf called for the tasks whose shape is not known yet
    void startAll(const QList<TaskRecord> &records, ZPDTCMDTYPE type, const Config &config,
                  const std::function<Shape(const TaskRecord &)> &shapeOf = {});
    /// A task that is not held is answered as paused, so that no caller waits for nothing.
    void pause(const TaskRecord &record);
    void pauseAll(ZPDTCMDTYPE type);
    /// A task that is not held is answered as cancelled.
    void cancel(const TaskRecord &record);
    void cancelAll(ZPDTCMDTYPE type);
    /// Holds tasks of an earlier run as paused. Returns how many were new.
    int registerPaused(const QList<TaskRecord> &records);
    /// Forgets tasks that are paused; others are left alone.
    void unregisterPaused(const QList<TaskRecord> &records);
    /// @param count tasks that may run at once, at least 1; tasks above it go back to the front of the queue
    void setMaxConcurrence(ZPDTCMDTYPE type, int count);

    // What the runner reports. Ids that are gone are ignored: a late report is no error.
    /// @param status Preparing, Connecting or Transferring; not shown for a task that is being stopped
    void setStatus(TaskId id, ZpdtTaskStatus status);
    void setProgress(TaskId id, qint64 offset, qint64 total);
    /// Why the task is about to fail; goes with its record. None for a task that succeeds.
    void setReason(TaskId id, ZpdtError error);
    /// What was taken for a small file is something else: it is stopped, goes back to its place, and runs alone in its
    /// turn.
    void takeOutOfGroup(TaskId id, Shape shape);
    void finished(TaskId id, bool success);
    void stopped(TaskId id);
    /// It cannot go on for now and rests as if it had been paused.
    void halted(TaskId id);

    const TaskRecord *record(TaskId id) const;
    Config config(TaskId id) const;
    Shape shape(TaskId id) const;
    /// True when the task was begun before, in this run of the program or an earlier one.
    bool resumed(TaskId id) const;
    /// 0 as a rule; the later a task was moved first, the higher.
    int urgency(TaskId id) const;
    std::optional<TaskId> find(const TaskRecord &record) const;
    /// Tasks held in one direction: waiting, running and paused.
    int count(ZPDTCMDTYPE type) const;
    /// Tasks that use one of the slots of setMaxConcurrence.
    int running(ZPDTCMDTYPE type) const;

    std::vector<TaskReport> takeReports() { return m_reports.take(); }
    std::vector<TaskOrder> takeOrders();
    /// Tasks that were cancelled without running, whose remains on disk may go.
    QList<TaskRecord> takeAbandoned();

private:
    enum class State
    {
        Queued,
        Ahead,
        Running,
        Stopping,
        Paused
    };
    enum class AfterStop
    {
        Pause,
        PauseThenStart,
        Cancel,
        CancelThenCreate,
        Requeue
    };

    struct Task
    {
        TaskRecord record;
        Config config;
        Shape shape = Shape::Unknown;
        State state = State::Queued;
        AfterStop afterStop = AfterStop::Pause;
        bool slot = false;    ///< counts against the concurrence
        bool resumed = false; ///< something of it may be at the destination
        int urgency = 0;
        ZpdtTaskStatus workStatus = ZPDT_PREPARING; ///< the runner's, while the task waits for its turn
        qint64 turn = 0;                            ///< place in the queue
        TaskReports::Mark told;
    };
    struct Lane
    {
        std::map<TaskId, Task> tasks; ///< in order of arrival
        TaskQueue queue;
    };

    Lane &lane(qint32 type) { return m_lanes[type == ZPDT_UPLOAD ? 1 : 0]; }
    const Lane &lane(qint32 type) const { return m_lanes[type == ZPDT_UPLOAD ? 1 : 0]; }
    Task *task(TaskId id);
    const Task *task(TaskId id) const;
    TaskId insert(TaskRecord record, Shape shape, const Config &config);
    void erase(TaskId id);
    void enqueue(TaskId id, Task &task, bool front);
    void putBack(TaskId id, Task &task);
    void dequeue(Task &task);
    void releaseSlot(Task &task);
    void stop(TaskId id, Task &task, AfterStop after);
    enum class Place
    {
        Back,
        First
    };
    void resume(TaskId id, Task &task, const Config &config, Place place);
    void takeIn(const TaskRecord &record, const Config &config, Shape shape, Place place);
    void makeWay(Lane &lane);
    void pauseTask(TaskId id, Task &task);
    void cancelTask(TaskId id);
    void begin(Task &task);
    void schedule(Lane &lane);
    void rememberEnd(const TaskKey &key);
    void report(TaskReport::Kind kind, Task &task) { m_reports.add(kind, task.record, task.told); }

    std::array<Lane, 2> m_lanes;
    std::unordered_map<TaskKey, TaskId, TaskKeyHash> m_index;
    TaskId m_lastId = 0;
    int m_lastUrgency = 0;
    std::unordered_set<std::size_t> m_ended;
    std::deque<std::size_t> m_endedOrder;
    TaskReports m_reports;
    std::vector<TaskOrder> m_orders;
    QList<TaskRecord> m_abandoned;
};
