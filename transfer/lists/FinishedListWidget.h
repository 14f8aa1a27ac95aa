#pragma once

#include "TransferModule.h"

#include <QWidget>

class FinishedTaskModel;
class QTreeView;

/// The list of ended transfers, named "listwid_finished", newest first. A failed one says why and can be sent again; a
/// successful one can be opened. Records that an earlier run kept are asked for in pages. GUI thread only.
class FinishedListWidget : public QWidget
{
    Q_OBJECT

public:
    explicit FinishedListWidget(QWidget *parent = nullptr);

    FinishedTaskModel *model() const { return m_model; }
    QTreeView *view() const { return m_view; }
    void add(const TaskRecord &task, ZpdtError error, const QString &detail);
    /// Asks the store for the newest records of earlier runs.
    void Load();
    /// How many records the store holds, of which the list shows as many as were asked for.
    void setStoredCount(qint64 count);

public slots:
    /// A task that runs again is no longer an ended one.
    void Withdraw(QList<TaskRecord> tasks);
    void HandlerLoadFinishedTaskRecord(QList<TaskRecord> tasks);
    void RemoveFinishedTaskRecord();
    /// Asks first.
    void RemoveAllFinishedTaskRecord();
    void Scroll(int value);
    void OpenFile(TaskRecord task);
    void OpenFolder(TaskRecord task);
    void RetrySelected();

signals:
    void sigRetryTask(TaskRecord task);
    void sigLoadFinishedTaskRecord(TaskRecord taskStart, int count);
    void sigDelFinishedTaskRecord(QList<TaskRecord> tasks);
    void sigClearFinishedTaskRecord();
    void sigFinishTaskCountChanged(qint64 count);

private:
    enum ActionId
    {
        Open,
        Folder,
        Retry,
        Delete
    };
    void trigger(int id, const QModelIndex &index);
    void showMenu(const QPoint &position);
    QList<TaskRecord> selected() const;
    void remove(const QList<TaskRecord> &tasks);
    void tellMissing();
    void reportCount();

    FinishedTaskModel *m_model;
    QTreeView *m_view;
    bool m_loading = false;
    bool m_complete = false; ///< there are no older records than those shown
    qint64 m_notShown = 0;   ///< records of the store that are not in the list yet
};
