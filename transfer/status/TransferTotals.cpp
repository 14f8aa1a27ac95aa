#include "TransferTotals.h"

#include <algorithm>

TransferFigures &TransferFigures::operator+=(const TransferFigures &other)
{
    tasks += other.tasks;
    paused += other.paused;
    filesDone += other.filesDone;
    filesTotal += other.filesTotal;
    filesFailed += other.filesFailed;
    bytesDone += other.bytesDone;
    bytesTotal += other.bytesTotal;
    speed += other.speed;
    counting = counting || other.counting;
    return *this;
}

quint64 TransferTotals::keyOf(const TaskRecord &task)
{
    // Two independent hashes of 32 bits: no list is long enough for two tasks to share both.
    const auto hash = [&task](uint seed) {
        uint value = qHash(task.Path, seed);
        for (const QString *part : {&task.Dest, &task.From, &task.SubCenterId})
            value = value * 31u + qHash(*part, seed + 1);
        return quint64(value);
    };
    return hash(0x5bd1e995u) << 32 | hash(0x27d4eb2fu);
}

void TransferTotals::count(Lane &lane, const Task &task, int sign)
{
    lane.running.filesDone += sign * task.filesDone;
    lane.running.filesTotal += sign * task.files;
    lane.running.filesFailed += sign * task.filesFailed;
    lane.running.bytesDone += sign * task.bytesDone;
    lane.running.bytesTotal += sign * task.bytes;
    lane.counting += sign * int(task.counting);
}

void TransferTotals::setActive(Lane &lane, Task &task, bool active, const QString &subCenterId)
{
    if (task.active == active)
        return;
    task.active = active;
    task.measured = false;
    count(lane, task, active ? 1 : -1);
    lane.running.tasks += active ? 1 : -1;
    lane.running.paused += active ? -1 : 1;
    m_tasksOf[subCenterId] += active ? 1 : -1;
}

void TransferTotals::put(const QList<TaskRecord> &tasks)
{
    for (const TaskRecord &record : tasks) {
        Lane &own = lane(record.Type);
        const bool paused =
            record.Status == ZPDT_PAUSED || record.Status == ZPDT_PAUSING || record.Status == ZPDT_CANCELING;
        const quint64 key = keyOf(record);
        auto task = own.tasks.find(key);
        if (task == own.tasks.end()) {
            // The first of a new batch: what the last one did is no longer of interest.
            if (own.tasks.isEmpty())
                own.ended = TransferFigures();
            task = own.tasks.insert(key, Task());
            ++own.running.paused;
            task->bytes = std::max<qint64>(0, record.FileSize);
            task->bytesDone = qBound<qint64>(0, record.Offset, task->bytes);
        }
        setActive(own, *task, !paused, record.SubCenterId);
    }
}

void TransferTotals::progress(const TaskRecord &record, const ZpdtProgress &progress)
{
    Lane &own = lane(record.Type);
    const auto task = own.tasks.find(keyOf(record));
    if (task == own.tasks.end())
        return;
    Task now = *task;
    now.counting = progress.scanning;
    now.files = std::max<qint64>(1, progress.filesTotal);
    now.filesDone = qBound<qint64>(0, progress.filesDone, now.files);
    now.filesFailed = std::max<qint64>(0, progress.filesFailed);
    now.bytes = std::max<qint64>(0, progress.total);
    now.bytesDone = qBound<qint64>(0, progress.offset, now.bytes);
    if (now.active) {
        // What an earlier run brought shows up at once and took no time now.
        now.bytesHeld = qBound<qint64>(0, progress.held, now.bytesDone);
        if (now.measured) {
            const qint64 moved = now.bytesDone - now.bytesHeld - task->bytesDone + task->bytesHeld;
            own.movedBytes += std::max<qint64>(0, moved);
            if (moved > 0 || now.bytesHeld == task->bytesHeld)
                own.movedFiles += std::max<qint64>(0, now.filesDone - task->filesDone);
        }
        now.measured = true;
        count(own, *task, -1);
        count(own, now, 1);
    }
    *task = now;
}

void TransferTotals::pause(const QList<TaskRecord> &tasks)
{
    for (const TaskRecord &record : tasks) {
        Lane &own = lane(record.Type);
        const auto task = own.tasks.find(keyOf(record));
        if (task != own.tasks.end())
            setActive(own, *task, false, record.SubCenterId);
    }
}

void TransferTotals::finish(const QList<TaskRecord> &tasks)
{
    for (const TaskRecord &record : tasks) {
        Lane &own = lane(record.Type);
        const auto task = own.tasks.find(keyOf(record));
        if (task == own.tasks.end())
            continue;
        if (record.Status == ZPDT_SUCCESS) {
            const qint64 bytes = std::max(record.FileSize, task->bytes);
            own.movedFiles += std::max<qint64>(0, task->files - task->filesDone);
            own.movedBytes += std::max<qint64>(0, bytes - task->bytesDone);
            own.ended.filesDone += task->files;
            own.ended.filesTotal += task->files;
            own.ended.bytesDone += bytes;
            own.ended.bytesTotal += bytes;
        } else {
            const qint64 failed = std::max<qint64>(1, task->files - task->filesDone);
            own.ended.filesDone += task->filesDone;
            own.ended.filesFailed += failed;
            own.ended.filesTotal += task->filesDone + failed;
            // What is missing of it is not to come any more.
            own.ended.bytesDone += task->bytesDone;
            own.ended.bytesTotal += task->bytesDone;
        }
        setActive(own, *task, false, record.SubCenterId);
        --own.running.paused;
        own.tasks.erase(task);
    }
}

void TransferTotals::cancel(const QList<TaskRecord> &tasks)
{
    for (const TaskRecord &record : tasks) {
        Lane &own = lane(record.Type);
        const auto task = own.tasks.find(keyOf(record));
        if (task == own.tasks.end())
            continue;
        setActive(own, *task, false, record.SubCenterId);
        --own.running.paused;
        own.tasks.erase(task);
    }
}

void TransferTotals::lines(const QList<ZpdtConnectionInfo> &connections)
{
    lane(ZPDT_UPLOAD).running.speed = lane(ZPDT_DOWNLOAD).running.speed = 0.0;
    for (const ZpdtConnectionInfo &connection : connections) {
        if (connection.state != ZpdtConnectionInfo::Connected)
            continue;
        lane(ZPDT_UPLOAD).running.speed += std::max(0.0, connection.sendRateMbps);
        lane(ZPDT_DOWNLOAD).running.speed += std::max(0.0, connection.receiveRateMbps);
    }
}

void TransferTotals::tick(qint64 now)
{
    const double seconds = m_lastTick < 0 ? 0.0 : static_cast<double>(now - m_lastTick) / 1000.0;
    m_lastTick = now;
    for (Lane &own : m_lanes) {
        if (own.running.tasks > 0 || own.movedFiles > 0 || own.movedBytes > 0)
            own.cost.observe(seconds, own.movedFiles, own.movedBytes);
        own.movedFiles = own.movedBytes = 0;
    }
}

TransferFigures TransferTotals::figures(ZPDTCMDTYPE type) const
{
    const Lane &own = lane(type);
    TransferFigures all = own.running;
    all += own.ended;
    all.counting = own.counting > 0;
    // What carries acknowledgements alone is no speed of its direction.
    if (all.tasks == 0)
        all.speed = 0.0;
    if (all.tasks > 0 && !all.counting) {
        const double left = own.cost.estimate(all.filesTotal - all.filesDone - all.filesFailed,
                                              std::max<qint64>(0, all.bytesTotal - all.bytesDone));
        all.secondsLeft = left < 0.0 ? -1 : static_cast<qint64>(left + 0.5);
    }
    return all;
}

TransferFigures TransferTotals::figures() const
{
    const TransferFigures up = figures(ZPDT_UPLOAD);
    const TransferFigures down = figures(ZPDT_DOWNLOAD);
    TransferFigures all = up;
    all += down;
    const bool known = (up.tasks == 0 || up.secondsLeft >= 0) && (down.tasks == 0 || down.secondsLeft >= 0);
    all.secondsLeft = known ? std::max(up.secondsLeft, down.secondsLeft) : -1;
    return all;
}
