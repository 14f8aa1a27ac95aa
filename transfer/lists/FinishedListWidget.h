#pragma once

#include "TaskListFrame.h"
#include "TransferModule.h"

#include <QSet>

class FinishedTaskModel;

/// The list of ended transfers, named "listwid_finished", newest first. A failed one says why and can be sent again; a
/// successful one can be opened. Records that an earlier run kept are asked for in pages. GUI thread only.
class FinishedListWidget : public TaskListFrame
{
    Q_OBJECT

public:
    explicit FinishedListWidget(QWidget *parent = nullptr);

    FinishedTaskModel *model() const { return m_model; }
    void add(const TaskRecord &task, ZpdtError error, const QString &detail);
    /// Asks the store for the newest records of earlier runs.
    void Load();
    /// How many records the store holds, of which the list shows as many as were asked for.
    void setStoredCount(qint64 count);

public slots:
    /// A task that runs again is no longer an ended one.
    void Withdraw(QList<TaskRecord> tasks);
    void HandlerLoadFinishedTaskRecord(QList<TaskRecord> tasks);
    /// Removes the records of the selected rows; the files stay.
    void RemoveSelected();
    /// Both ask first, and remove all records.
    void RemoveFinishedTaskRecord();
    void RemoveAllFinishedTaskRecord();
    void Scroll(int value);
    void RetrySelected();
    /// Every task that failed, those too that the list does not show yet.
    void RetryAll();
    void HandlerLoadFailedTaskRecord(QList<TaskRecord> tasks);

signals:
    void sigRetryTask(TaskRecord task);
    void sigRetryAllTask(QList<TaskRecord> tasks);
    void sigLoadFailedTaskRecord();
    void sigLoadFinishedTaskRecord(TaskRecord taskStart, int count);
    void sigDelFinishedTaskRecord(QList<TaskRecord> tasks);
    void sigClearFinishedTaskRecord();
    void sigFinishTaskCountChanged(qint64 count);

protected:
    QString emptyHint() const override;

private:
    void activate(const QModelIndex &index);
    void showMenu(const QPoint &position);
    void remove(const QList<TaskRecord> &tasks);
    void retry(QList<TaskRecord> tasks);
    void loadMore();
    void reportCount();

    FinishedTaskModel *m_model;
    bool m_loading = false;
    bool m_complete = false; ///< there are no older records than those shown
    qint64 m_notShown = 0;   ///< records of the store that are not in the list yet
    QSet<quint64> m_retried; ///< of those, the tasks that were asked to run again
};
