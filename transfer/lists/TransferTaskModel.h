#pragma once

#include "TaskRows.h"

#include <QAbstractTableModel>

#include <vector>

/// The tasks of one direction that are not finished, in the order of their arrival. Rows are keyed by the identity of
/// their task; reports about tasks that are not held change nothing. GUI thread only.
class TransferTaskModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        NameColumn,
        ProgressColumn,
        SpeedColumn,
        LeftColumn,
        StatusColumn,
        ActionColumn,
        ColumnCount
    };
    enum Role
    {
        TaskRole = Qt::UserRole, ///< TaskRecord
        ProgressRole             ///< ZpdtProgress
    };

    explicit TransferTaskModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    struct Put
    {
        QList<TaskRecord> added;
        QList<TaskRecord> resumed; ///< were paused and are no longer
    };
    /// Adds the tasks that are not there; the others take the new record's values.
    Put put(const QList<TaskRecord> &tasks);
    void remove(const QList<TaskRecord> &tasks);
    void clear();
    /// Returns those of them that are there, as they are now.
    QList<TaskRecord> setStatus(const QList<TaskRecord> &tasks, qint32 status);
    /// Gives every task whose status @p which accepts a new one. Returns them as they are now.
    QList<TaskRecord> setStatusWhere(bool (*which)(qint32), qint32 status);
    /// Tasks that rest for want of room are kept as waiting, so that a restart tries them anew; as long as they rest,
    /// or until @p held is taken back. Returns those of them that are there, as they are to be kept.
    QList<TaskRecord> holdForRoom(const QList<TaskRecord> &tasks, bool held);
    void setProgress(const TaskRecord &task, const ZpdtProgress &progress);

    /// The tasks whose progress changed since the last call, as they are to be kept.
    QList<TaskRecord> takeUnsaved();

    const TaskRecord &record(int row) const { return m_rows.at(row).record; }
    QList<TaskRecord> records() const;
    /// The last progress of a task; a default one when it is not held.
    ZpdtProgress progress(const TaskRecord &task) const;
    int find(const TaskRecord &task) const { return m_rows.find(task); }
    static bool isActive(qint32 status);
    static bool isPaused(qint32 status) { return status == ZPDT_PAUSED || status == ZPDT_PAUSING; }
    /// Tasks that neither pause nor wait to end.
    int activeCount() const { return m_active; }

private:
    struct Row
    {
        TaskRecord record;
        ZpdtProgress progress;
        bool unsaved = false;
        bool forRoom = false;
    };
    static TaskRecord kept(const Row &row);
    QString toolTip(const Row &row) const;
    void changeStatus(Row &row, qint32 status);
    void told(int first, int last);

    TaskRows<Row> m_rows;
    std::vector<qint64> m_unsaved; ///< serial numbers
    int m_count = 0;               ///< rows that the views know
    int m_active = 0;
};
