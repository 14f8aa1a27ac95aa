#include "StorageWatch.h"

#include "TransferTexts.h"

#include <QDir>
#include <QMutex>
#include <QRunnable>
#include <QStorageInfo>
#include <QThreadPool>

#include <algorithm>
#include <limits>

namespace {

/// Room that is left to others: a disk is never filled to the last byte by a task that was waiting for room.
constexpr qint64 kReserve = 1024 * 1024;

} // namespace

/// The road back from the thread pool.
struct StorageWatch::Link
{
    QMutex mutex;
    StorageWatch *owner = nullptr;
};

StorageWatch::StorageWatch(QObject *parent)
    : QObject(parent)
    , m_link(std::make_shared<Link>())
{
    m_link->owner = this;
    m_clock.start();
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &StorageWatch::look);
}

StorageWatch::~StorageWatch()
{
    const QMutexLocker lock(&m_link->mutex);
    m_link->owner = nullptr;
}

qint64 StorageWatch::ofDisk(const QString &folder)
{
    QDir existing(folder);
    while (!existing.exists() && existing.path() != QLatin1String("/") && existing.path() != QLatin1String("."))
        existing.setPath(QFileInfo(existing.path()).path());
    const QStorageInfo disk(existing);
    return disk.isValid() ? disk.bytesAvailable() : -1;
}

QString StorageWatch::placeKey(const TaskRecord &task)
{
    return QString::number(task.Type) + QLatin1Char('\n') + (task.Type == ZPDT_DOWNLOAD ? task.Dest : task.SubCenterId);
}

StorageWatch::Place *StorageWatch::place(const QString &key)
{
    const auto it = m_places.find(key);
    return it == m_places.end() ? nullptr : &it.value();
}

void StorageWatch::progress(const TaskRecord &task, const ZpdtProgress &progress)
{
    if (progress.error == ZpdtError::NoSpace)
        m_lacking.insert(TransferTexts::taskKey(task), qMax<qint64>(0, progress.total - progress.offset));
    else if (!m_lacking.isEmpty())
        m_lacking.remove(TransferTexts::taskKey(task));
}

QList<TaskRecord> StorageWatch::paused(const QList<TaskRecord> &tasks)
{
    QList<TaskRecord> held;
    if (m_lacking.isEmpty())
        return held;
    for (const TaskRecord &task : tasks) {
        const QString key = TransferTexts::taskKey(task);
        const auto lacking = m_lacking.find(key);
        if (lacking == m_lacking.end())
            continue;
        take(key);
        Place &at = m_places[placeKey(task)];
        at.type = task.Type == ZPDT_UPLOAD ? ZPDT_UPLOAD : ZPDT_DOWNLOAD;
        at.where = at.type == ZPDT_DOWNLOAD ? task.Dest : task.SubCenterId;
        at.waiting.insert(++m_lastNumber, {task, *lacking});
        m_spots.insert(key, {placeKey(task), m_lastNumber});
        m_lacking.erase(lacking);
        held << task;
    }
    if (!held.isEmpty() && !m_timer.isActive())
        m_timer.start(m_pauses.look);
    return held;
}

/// Out of its place, if it is in one.
void StorageWatch::take(const QString &taskKey)
{
    const Spot spot = m_spots.take(taskKey);
    if (Place *at = place(spot.place))
        at->waiting.remove(spot.number);
}

void StorageWatch::release(const QList<TaskRecord> &tasks)
{
    if (m_spots.isEmpty() && m_lacking.isEmpty())
        return;
    for (const TaskRecord &task : tasks) {
        const QString key = TransferTexts::taskKey(task);
        m_lacking.remove(key);
        if (m_spots.contains(key))
            take(key);
    }
}

QList<TaskRecord> StorageWatch::releaseAll(ZPDTCMDTYPE type)
{
    QList<TaskRecord> released;
    for (Place &at : m_places) {
        if (at.type != type)
            continue;
        for (const Waiting &one : qAsConst(at.waiting)) {
            m_spots.remove(TransferTexts::taskKey(one.task));
            released << one.task;
        }
        at.waiting.clear();
    }
    return released;
}

void StorageWatch::succeeded(const QList<TaskRecord> &tasks)
{
    if (m_places.isEmpty())
        return;
    for (const TaskRecord &task : tasks) {
        const auto it = m_places.find(placeKey(task));
        if (it == m_places.end())
            continue;
        it->starts = 0;
        if (it->waiting.isEmpty() && !it->asked)
            m_places.erase(it);
    }
}

void StorageWatch::setCapacity(const QString &subCenterId, qint64 bytes)
{
    for (auto it = m_places.begin(); it != m_places.end(); ++it) {
        if (it->type == ZPDT_UPLOAD && it->where == subCenterId)
            it->capacity = bytes;
    }
}

void StorageWatch::look()
{
    if (m_spots.isEmpty())
        return;
    m_timer.start(m_pauses.look);
    const qint64 now = m_clock.elapsed();
    bool wanted = false;
    const QStringList keys = m_places.keys();
    for (const QString &key : keys) {
        Place *at = place(key);
        if (!at || at->waiting.isEmpty() || at->asked || now < at->notBefore)
            continue;
        if (at->type == ZPDT_DOWNLOAD) {
            askDisk(key, *at);
            continue;
        }
        wanted = true;
        if (at->capacity >= 0)
            onRoom(key, at->capacity);
    }
    if (wanted && (m_lastWish < 0 || now - m_lastWish >= m_pauses.capacity)) {
        m_lastWish = now;
        emit capacityWanted();
    }
}

void StorageWatch::askDisk(const QString &key, Place &at)
{
    // A network folder may take its time to answer.
    at.asked = true;
    QThreadPool::globalInstance()->start([link = m_link, ask = m_freeSpace, folder = at.where, key] {
        const qint64 bytes = ask(folder);
        const QMutexLocker lock(&link->mutex);
        if (!link->owner)
            return;
        StorageWatch *owner = link->owner;
        QMetaObject::invokeMethod(
            owner,
            [owner, key, bytes] {
                if (Place *asked = owner->place(key))
                    asked->asked = false;
                owner->onRoom(key, bytes);
            },
            Qt::QueuedConnection);
    });
}

void StorageWatch::onRoom(const QString &key, qint64 bytes)
{
    Place *at = place(key);
    if (!at || bytes < 0)
        return;
    QList<TaskRecord> fits;
    qint64 left = bytes - kReserve;
    for (const Waiting &one : qAsConst(at->waiting)) {
        if (left <= 0 || one.need > left)
            continue;
        left -= one.need;
        fits << one.task;
    }
    if (fits.isEmpty())
        return;
    // The figures of an account do not know of the disk behind it: a start may fail again, and then waits for longer.
    at->notBefore = m_clock.elapsed() + std::min(m_pauses.longest, m_pauses.first << std::min(at->starts, 10));
    ++at->starts;
    at->capacity = -1;
    for (const TaskRecord &task : qAsConst(fits))
        take(TransferTexts::taskKey(task));
    emit roomFound(fits);
}
