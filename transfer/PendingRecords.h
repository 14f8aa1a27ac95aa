#pragma once

#include "TransferModule.h"

#include <QMultiHash>
#include <QMutex>

#include <array>
#include <vector>

/// One bucket of the record store: what is still to be written to a table, the newest operation on a task standing for
/// those before it. Guarded by its own mutex, which the caller holds; owns no thread.
class PendingRecords
{
public:
    enum Operation
    {
        Add,
        Del,
        Change ///< new figures of a row that is there, or is about to be added
    };

    /// @param byType whether the direction belongs to a task's identity in the table
    explicit PendingRecords(bool byType)
        : m_byType(byType)
    {
    }

    QMutex &mutex() { return m_mutex; }

    void put(const QList<TaskRecord> &records, Operation operation);
    /// Takes what waits for that operation away, in the order of arrival.
    QList<TaskRecord> take(Operation operation);
    /// Gives back what could not be written, unless something newer came for the task meanwhile. Changes are given
    /// back before the inserts that they belong to.
    void putBack(const QList<TaskRecord> &records, Operation operation);
    /// Copies of what waits for that operation.
    QList<TaskRecord> waiting(Operation operation) const;
    /// Forgets the records of these sub-centers.
    void clear(const QStringList &subCenterIds);
    bool holds(const TaskRecord &record, Operation operation) const { return find(record, operation) >= 0; }

    /// Entries of all operations, and of one.
    int size() const { return m_all.size(); }
    int size(Operation operation) const { return m_lists[operation].live; }

private:
    struct List
    {
        std::vector<TaskRecord> records; ///< a dead one has kDead for its type
        int live = 0;
    };

    static QString key(const TaskRecord &record, qint32 type, Operation operation);
    bool same(const TaskRecord &a, const TaskRecord &b) const;
    int find(const TaskRecord &record, Operation operation) const;
    void append(const TaskRecord &record, Operation operation);
    void drop(const TaskRecord &record, Operation operation);

    QMutex m_mutex;
    const bool m_byType;
    QMultiHash<QString, int> m_all; ///< place in the operation's list; different tasks may have one key
    std::array<List, 3> m_lists;
};
