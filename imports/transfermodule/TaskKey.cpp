#include "TaskKey.h"

#include <QHash>

TaskKey TaskKey::of(const TaskRecord &record)
{
    return {record.Path, record.Dest, record.From, record.SubCenterId, record.Type};
}

bool TaskKey::operator==(const TaskKey &o) const
{
    return type == o.type && path == o.path && dest == o.dest && from == o.from && subCenter == o.subCenter;
}

std::size_t TaskKeyHash::operator()(const TaskKey &key) const
{
    std::size_t hash = qHash(key.path);
    for (const QString *part : {&key.dest, &key.from, &key.subCenter})
        hash = hash * 1000003u + qHash(*part);
    return hash * 31u + static_cast<std::size_t>(key.type);
}
