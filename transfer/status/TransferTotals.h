#pragma once

#include "TransferCost.h"

#include "TransferModule.h"

#include <QHash>
#include <QSet>

#include <array>

/// How far the transfers of a page are. Counts files and bytes.
struct TransferFigures
{
    qint64 tasks = 0;  ///< under way or waiting
    qint64 paused = 0; ///< tasks; they are in none of the other figures
    qint64 filesDone = 0;
    qint64 filesTotal = 0;
    qint64 filesFailed = 0;
    qint64 bytesDone = 0;
    qint64 bytesTotal = 0;
    double speed = 0.0;      ///< megabits a second on the lines
    qint64 secondsLeft = -1; ///< -1: not known
    bool counting = false;   ///< folders are still being counted, so the totals grow

    TransferFigures &operator+=(const TransferFigures &other);
};

/// Adds up the engine's reports: what was done since the lists were last empty, what is to do, and how long it takes.
/// Each report costs the same, however many tasks there are. Without widgets, not thread-safe.
class TransferTotals
{
public:
    /// Created, started and sent again; what is known already takes the new record's size and status.
    void put(const QList<TaskRecord> &tasks);
    void progress(const TaskRecord &task, const ZpdtProgress &progress);
    void pause(const QList<TaskRecord> &tasks);
    void finish(const QList<TaskRecord> &tasks);
    void cancel(const QList<TaskRecord> &tasks);
    void lines(const QList<ZpdtConnectionInfo> &connections);

    /// To be called about once a second: learns from what was done since the last call.
    /// @param now milliseconds of a clock that never goes back
    void tick(qint64 now);

    TransferFigures figures(ZPDTCMDTYPE type) const;
    /// Both directions, which go on side by side.
    TransferFigures figures() const;
    /// Tasks of a sub-center that are under way or wait.
    qint64 tasksOf(const QString &subCenterId) const { return m_tasksOf.value(subCenterId); }

private:
    struct Task
    {
        bool active = false;
        bool counting = false;
        bool measured = false; ///< its figures are of this run, so that what is new was moved just now
        qint64 files = 1;
        qint64 filesDone = 0;
        qint64 filesFailed = 0;
        qint64 bytes = 0;
        qint64 bytesDone = 0;
        qint64 bytesHeld = 0; ///< of those, what was there before this run
    };
    struct Lane
    {
        QHash<quint64, Task> tasks;
        TransferFigures running; ///< of the active tasks
        TransferFigures ended;   ///< since the list was last empty
        qint64 counting = 0;     ///< tasks
        qint64 movedFiles = 0;   ///< since the last tick
        qint64 movedBytes = 0;
        TransferCost cost;
    };

    static quint64 keyOf(const TaskRecord &task);
    Lane &lane(int type) { return m_lanes[type == ZPDT_UPLOAD ? 1 : 0]; }
    const Lane &lane(int type) const { return m_lanes[type == ZPDT_UPLOAD ? 1 : 0]; }
    void count(Lane &lane, const Task &task, int sign);
    void setActive(Lane &lane, Task &task, bool active, const QString &subCenterId);

    std::array<Lane, 2> m_lanes;
    QHash<QString, qint64> m_tasksOf;
    qint64 m_lastTick = -1;
};
