#pragma once

#include "TaskTable.h"

#include <QObject>

#include <memory>

class StreamRunnerPrivate;

/// Moves the bytes of the tasks that are in hand: asks for tickets, keeps one connection for each transfer server, and
/// puts small files of the same folders together on one stream. Lost lines are its own affair: a task goes on by
/// itself and ends only in success or in an error that waiting does not mend. Lives on the engine's worker thread.
/// Signals come from the event loop, never from inside begin(), settle() or end().
class StreamRunner : public QObject
{
    Q_OBJECT

public:
    /// @param realNameVerified false: video files inside folders are left out
    explicit StreamRunner(bool realNameVerified, QObject *parent = nullptr);
    /// Stops everything within a second; what was received stays for a later resume.
    ~StreamRunner() override;

    void begin(TaskId id, const TaskRecord &task, const TaskTable::Config &config, TaskTable::Shape shape, bool resumed,
               int priority);
    /// A task that is in hand goes before those of a lower priority.
    void prefer(TaskId id, int priority);
    /// Called after a round of begin() and end(): starts what was begun.
    void settle();
    /// Answered by stopped(), or by ended() when the task was done meanwhile.
    /// @param abandon removes what was received
    void end(TaskId id, bool abandon);
    /// Has the service remove what it received of an upload that is not in hand.
    void discard(const TaskRecord &upload);

    /// What waits for that sub-center tries again at once.
    void wake(const QString &subCenterId);

    /// Speed limits of a sub-center, at once; an empty id stands for all.
    void setParams(const ZpdtTransConfig &config);
    /// @param bytes free capacity of the sub-center
    void setCapacity(const QString &subCenterId, qint64 bytes);

signals:
    void statusChanged(TaskId id, ZpdtTaskStatus status);
    /// The size of a download that was begun without it. A large one is better off on a stream of its own.
    void sizeKnown(TaskId id, qint64 bytes);
    /// At most four times a second for each task, and once before an ended() without success.
    void progressChanged(TaskId id, const ZpdtProgress &progress);
    /// @param bytes size of what was transferred, -1 when it is not known
    void ended(TaskId id, bool success, qint64 bytes);
    void stopped(TaskId id);
    /// A download that was asked for as a file is a folder, and better off on a stream of its own.
    void folderFound(TaskId id);
    /// There is no room for the task; what was received stays. It is no longer in hand.
    void halted(TaskId id);
    void foldersCreated(const QStringList &folders);
    void connectionsChanged(const QList<ZpdtConnectionInfo> &connections);

private:
    std::unique_ptr<StreamRunnerPrivate> d;
};
