#pragma once

#include "TaskTable.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QObject>
#include <QTimer>

#include <map>

/// The tasks that wait for room on a disk. Looks at local disks every few seconds; a service's room is known by what it
/// tells, and asked for by trying again with growing pauses. Tasks go on in their order as far as the room goes, so
/// that a full disk does not make all of them try in vain. Lives on the engine's worker thread.
class RoomWatch : public QObject
{
    Q_OBJECT

public:
    explicit RoomWatch(QObject *parent = nullptr);

    /// @param need bytes, 0 when not known
    void add(TaskId id, const TaskRecord &task, qint64 need);
    /// The task ended; its next wait begins with short pauses again.
    void forget(TaskId id);
    /// @param bytes free capacity of the sub-center
    void capacityTold(const QString &subCenterId, qint64 bytes);

signals:
    /// From the event loop.
    void roomThere(const QList<TaskId> &tasks);

private:
    struct Waiting
    {
        QString subCenterId; ///< of an upload; empty for a download
        QString folder;      ///< of a download
        qint64 need = 0;
        qint64 nextTry = 0;
    };

    void look();
    void release(const QList<TaskId> &tasks);

    std::map<TaskId, Waiting> m_waiting;
    QHash<TaskId, int> m_tries;
    QTimer m_timer;
    QElapsedTimer m_clock;
};
