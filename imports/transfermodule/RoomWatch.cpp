#include "RoomWatch.h"

#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>

namespace {

constexpr int kEvery = 3000;
constexpr qint64 kFirstRemotePause = 15000;
constexpr qint64 kFirstLocalPause = 3000;
constexpr int kMostDoublings = 5;
/// Beyond what a task needs, for the journal and for others that write meanwhile.
constexpr qint64 kSpare = 1 << 20;

/// The folder, or what there is of the way to it.
QString existing(QString folder)
{
    while (!folder.isEmpty() && !QFileInfo::exists(folder)) {
        const QString above = QFileInfo(folder).path();
        if (above == folder)
            break;
        folder = above;
    }
    return folder;
}

} // namespace

RoomWatch::RoomWatch(QObject *parent)
    : QObject(parent)
    , m_timer(this)
{
    m_clock.start();
    m_timer.setInterval(kEvery);
    connect(&m_timer, &QTimer::timeout, this, &RoomWatch::look);
}

void RoomWatch::add(TaskId id, const TaskRecord &task, qint64 need)
{
    const bool upload = task.Type == ZPDT_UPLOAD;
    const int tries = m_tries[id]++;
    Waiting waiting;
    (upload ? waiting.subCenterId : waiting.folder) = upload ? task.SubCenterId : task.Dest;
    waiting.need = need;
    waiting.nextTry =
        m_clock.elapsed() + ((upload ? kFirstRemotePause : kFirstLocalPause) << std::min(tries, kMostDoublings));
    m_waiting[id] = waiting;
    if (!m_timer.isActive())
        m_timer.start();
}

void RoomWatch::forget(TaskId id)
{
    m_waiting.erase(id);
    m_tries.remove(id);
}

void RoomWatch::capacityTold(const QString &subCenterId, qint64 bytes)
{
    QList<TaskId> fitting;
    for (const auto &[id, waiting] : m_waiting) {
        const qint64 need = waiting.need + kSpare;
        // A service that says that there is room and refuses all the same is asked with growing pauses.
        if (waiting.subCenterId != subCenterId || need > bytes ||
            (m_tries.value(id) > 1 && m_clock.elapsed() < waiting.nextTry))
            continue;
        bytes -= need;
        fitting.append(id);
    }
    release(fitting);
}

void RoomWatch::look()
{
    QList<TaskId> fitting;
    QHash<QString, qint64> room; ///< by folder
    QHash<QString, int> tried;   ///< by sub-center
    for (const auto &[id, waiting] : m_waiting) {
        if (m_clock.elapsed() < waiting.nextTry)
            continue;
        if (!waiting.subCenterId.isEmpty()) {
            // One shows whether there is room for the others.
            if (tried[waiting.subCenterId]++ == 0)
                fitting.append(id);
            continue;
        }
        auto free = room.find(waiting.folder);
        if (free == room.end()) {
            const QStorageInfo disk(existing(waiting.folder));
            free = room.insert(waiting.folder, disk.isValid() ? disk.bytesAvailable() : 0);
        }
        const qint64 need = waiting.need + kSpare;
        if (free.value() < need)
            continue;
        free.value() -= need;
        fitting.append(id);
    }
    release(fitting);
    if (m_waiting.empty())
        m_timer.stop();
}

void RoomWatch::release(const QList<TaskId> &tasks)
{
    if (tasks.isEmpty())
        return;
    for (const TaskId id : tasks)
        m_waiting.erase(id);
    QMetaObject::invokeMethod(
        this, [this, tasks] { emit roomThere(tasks); }, Qt::QueuedConnection);
}
