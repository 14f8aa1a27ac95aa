#include "PendingRecords.h"

#include <utility>

namespace {

constexpr qint32 kDead = -1;

} // namespace

QString PendingRecords::key(const TaskRecord &record, qint32 type, Operation operation)
{
    return QStringLiteral("%1_%2_%3_%4_%5_%6")
        .arg(record.Path, record.Dest, record.From, record.SubCenterId, QString::number(type),
             QString::number(operation));
}

bool PendingRecords::same(const TaskRecord &a, const TaskRecord &b) const
{
    return (!m_byType || a.Type == b.Type) && a.Type != kDead && a.Path == b.Path && a.Dest == b.Dest &&
           a.From == b.From && a.SubCenterId == b.SubCenterId;
}

int PendingRecords::find(const TaskRecord &record, Operation operation) const
{
    const auto &records = m_lists[operation].records;
    const auto look = [&](qint32 type) {
        const QString text = key(record, type, operation);
        for (auto it = m_all.constFind(text); it != m_all.constEnd() && it.key() == text; ++it) {
            if (same(records[static_cast<std::size_t>(it.value())], record))
                return it.value();
        }
        return -1;
    };
    int place = look(record.Type);
    for (const qint32 type : {ZPDT_DOWNLOAD, ZPDT_UPLOAD}) {
        if (place < 0 && !m_byType && type != record.Type)
            place = look(type);
    }
    return place;
}

void PendingRecords::append(const TaskRecord &record, Operation operation)
{
    List &list = m_lists[operation];
    m_all.insert(key(record, record.Type, operation), static_cast<int>(list.records.size()));
    list.records.push_back(record);
    ++list.live;
}

void PendingRecords::drop(const TaskRecord &record, Operation operation)
{
    const int place = find(record, operation);
    if (place < 0)
        return;
    List &list = m_lists[operation];
    TaskRecord &dropped = list.records[static_cast<std::size_t>(place)];
    m_all.remove(key(dropped, dropped.Type, operation), place);
    dropped = TaskRecord();
    dropped.Type = kDead;
    if (--list.live == 0)
        list.records.clear();
}

void PendingRecords::put(const QList<TaskRecord> &records, Operation operation)
{
    for (const TaskRecord &record : records) {
        if (operation == Change) {
            // A row that goes has no figures to keep.
            if (holds(record, Del))
                continue;
            drop(record, Change);
        } else {
            for (const Operation older : {Add, Del, Change})
                drop(record, older);
        }
        append(record, operation);
    }
}

QList<TaskRecord> PendingRecords::take(Operation operation)
{
    List taken = std::exchange(m_lists[operation], {});
    QList<TaskRecord> records;
    records.reserve(taken.live);
    for (std::size_t i = 0; i < taken.records.size(); ++i) {
        const TaskRecord &record = taken.records[i];
        if (record.Type == kDead)
            continue;
        m_all.remove(key(record, record.Type, operation), static_cast<int>(i));
        records << record;
    }
    return records;
}

void PendingRecords::putBack(const QList<TaskRecord> &records, Operation operation)
{
    for (const TaskRecord &record : records) {
        if (holds(record, Del) || holds(record, operation) || (operation != Add && holds(record, Add)))
            continue;
        append(record, operation);
    }
}

QList<TaskRecord> PendingRecords::waiting(Operation operation) const
{
    QList<TaskRecord> records;
    for (const TaskRecord &record : m_lists[operation].records) {
        if (record.Type != kDead)
            records << record;
    }
    return records;
}

void PendingRecords::clear(const QStringList &subCenterIds)
{
    for (const Operation operation : {Add, Del, Change}) {
        for (const TaskRecord &record : waiting(operation)) {
            if (subCenterIds.contains(record.SubCenterId))
                drop(record, operation);
        }
    }
}
