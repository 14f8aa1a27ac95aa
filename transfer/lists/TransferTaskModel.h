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
        StatusColumn,
        ActionColumn,
        ColumnCount
    };
    enum Role
    {
        PercentRole = Qt::UserRole, ///< 0 to 100
        StatusRole
    };

    explicit TransferTaskModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// Adds the tasks that are not there; the others take the new record's values.
    void put(const QList<TaskRecord> &tasks);
    void remove(const QList<TaskRecord> &tasks);
    void clear();
    void setStatus(const QList<TaskRecord> &tasks, qint32 status);
    void setProgress(const TaskRecord &task, const ZpdtProgress &progress);

    /// The tasks whose progress changed since the last call.
    QList<TaskRecord> takeUnsaved();

    const TaskRecord &record(int row) const { return m_rows.at(row).record; }
    QList<TaskRecord> records() const;
    /// The last progress of a task; a default one when it is not held.
    ZpdtProgress progress(const TaskRecord &task) const;
    int find(const TaskRecord &task) const { return m_rows.find(TransferTexts::taskKey(task)); }
    /// Tasks that neither pause nor wait to end.
    int activeCount() const { return m_active; }

private:
    struct Row
    {
        TaskRecord record;
        ZpdtProgress progress;
        bool unsaved = false;
    };
    static bool isActive(qint32 status);
    QString toolTip(const Row &row) const;
    void changeStatus(Row &row, qint32 status);

    TaskRows<Row> m_rows;
    std::vector<QString> m_unsaved; ///< keys
    int m_active = 0;
};
