#pragma once

#include "TransferModule.h"

#include <cstddef>

using TaskId = quint64;

/// What makes two records the same task.
struct TaskKey
{
    static TaskKey of(const TaskRecord &record);
    bool operator==(const TaskKey &o) const;

    QString path, dest, from, subCenter;
    qint32 type;
};

struct TaskKeyHash
{
    std::size_t operator()(const TaskKey &key) const;
};
