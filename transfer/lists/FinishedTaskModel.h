#pragma once

#include "TaskRows.h"

#include <QAbstractTableModel>
#include <QTimer>

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
        TaskRole = Qt::UserRole, ///< TaskRecord
        ReasonRole               ///< why it failed, empty when that is not known
    };

    explicit FinishedTaskModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// @param error why the task failed; None for a success
    void add(const TaskRecord &task, ZpdtError error, const QString &detail);
    /// Adds older tasks, newest first, below those that are there. Of very many the first ones are there at once and
    /// the others a moment later, so that the window stays alive.
    void addOlder(const QList<TaskRecord> &tasks);
    void remove(const TaskRecord &task) { remove(QList<TaskRecord>{task}); }
    void remove(const QList<TaskRecord> &tasks);
    void clear();

    const TaskRecord &record(int row) const { return m_rows.at(place(row)).record; }
    /// Why the task failed, in the language of the moment; empty when that is not known.
    QString reason(int row) const;
    int find(const TaskRecord &task) const;

private:
    struct Row
    {
        TaskRecord record;
        QString detail;
    };
    void takeIn(int count);
    QString toolTip(const Row &row) const;
    /// A failed record carries its reason in the field that is the engine's.
    static QString reasonOf(const TaskRecord &record);
    /// The newest row arrived last and is shown first.
    int place(int row) const { return m_rows.count() - 1 - row; }

    TaskRows<Row> m_rows;
    QList<TaskRecord> m_coming; ///< older tasks that are not in the rows yet
    int m_came = 0;
    int m_count = 0; ///< rows that the views know
    QTimer m_next;
};
