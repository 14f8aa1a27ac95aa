#pragma once

#include "TaskRows.h"

#include <QAbstractTableModel>

/// The tasks that ended, newest first. A task that ends again takes the place of its earlier row. GUI thread only.
class FinishedTaskModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        NameColumn,
        SizeColumn,
        CenterColumn,
        TimeColumn,
        ResultColumn,
        ActionColumn,
        ColumnCount
    };
    enum Role
    {
        SuccessRole = Qt::UserRole
    };

    explicit FinishedTaskModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// @param error why the task failed; None for a success
    void add(const TaskRecord &task, ZpdtError error, const QString &detail);
    /// Adds older tasks, newest first, below those that are there.
    void addOlder(const QList<TaskRecord> &tasks);
    void remove(const TaskRecord &task);
    void clear();

    const TaskRecord &record(int row) const { return m_rows.at(place(row)).record; }
    /// Why the task failed, in the language of the moment; empty when that is not known.
    QString reason(int row) const { return m_rows.at(place(row)).reason(); }
    int find(const TaskRecord &task) const;

private:
    struct Row
    {
        TaskRecord record;
        ZpdtError error = ZpdtError::None;
        QString detail;

        QString reason() const;
    };
    /// The newest row arrived last and is shown first.
    int place(int row) const { return m_rows.count() - 1 - row; }

    TaskRows<Row> m_rows;
};
