#pragma once

#include "TransferModule.h"

#include <QElapsedTimer>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QTimer>

#include <functional>
#include <memory>

/// Keeps the tasks that rest because a disk or an account is full, looks for room and asks for their start when there
/// is some. A place that fills up again is left alone for longer each time, up to five minutes. GUI thread; the local
/// disks are asked on the thread pool, and answers that come after the end are dropped.
class StorageWatch : public QObject
{
    Q_OBJECT

public:
    /// Free bytes at a local folder; below 0 when that cannot be told. Called on other threads.
    using FreeSpace = std::function<qint64(const QString &folder)>;
    /// Milliseconds.
    struct Pauses
    {
        int look = 3000;  ///< between two looks at a place
        int first = 5000; ///< between two starts there, doubled with each
        int longest = 300000;
        int capacity = 30000; ///< between two wishes for the account's figures
    };

    explicit StorageWatch(QObject *parent = nullptr);
    ~StorageWatch() override;

    void setFreeSpace(const FreeSpace &freeSpace) { m_freeSpace = freeSpace; }
    void setPauses(const Pauses &pauses) { m_pauses = pauses; }

    /// The reason why a task rests comes with its last progress.
    void progress(const TaskRecord &task, const ZpdtProgress &progress);
    /// Returns those of the tasks that rest for want of room; they are watched from now on.
    QList<TaskRecord> paused(const QList<TaskRecord> &tasks);
    /// Tasks that somebody else started, paused or cancelled, or that ended.
    void release(const QList<TaskRecord> &tasks);
    /// Everything of a direction. Returns what was watched.
    QList<TaskRecord> releaseAll(ZPDTCMDTYPE type);
    /// A place where something succeeded is as good as new.
    void succeeded(const QList<TaskRecord> &tasks);
    /// @param bytes free in the account at that sub-center
    void setCapacity(const QString &subCenterId, qint64 bytes);
    bool isEmpty() const { return m_spots.isEmpty(); }

    /// Free bytes for this user on the disk of the folder, or of what there is of the path to it.
    static qint64 ofDisk(const QString &folder);

signals:
    void roomFound(QList<TaskRecord> tasks);
    /// New figures of the accounts would be of use.
    void capacityWanted();

private:
    struct Waiting
    {
        TaskRecord task;
        qint64 need = 0; ///< bytes
    };
    struct Place
    {
        ZPDTCMDTYPE type = ZPDT_DOWNLOAD;
        QString where;                  ///< folder of downloads, sub-center of uploads
        QMap<quint64, Waiting> waiting; ///< by a rising number, so in the order of arrival
        qint64 capacity = -1;           ///< of an account; -1: not told since the last start there
        qint64 notBefore = 0;
        int starts = 0;
        bool asked = false;
    };
    /// Where a task waits.
    struct Spot
    {
        QString place;
        quint64 number = 0;
    };
    struct Link;

    static QString placeKey(const TaskRecord &task);
    Place *place(const QString &key);
    void look();
    void askDisk(const QString &key, Place &place);
    void onRoom(const QString &key, qint64 bytes);
    void take(const QString &taskKey);

    FreeSpace m_freeSpace = &StorageWatch::ofDisk;
    Pauses m_pauses;
    QHash<QString, Place> m_places;
    QHash<QString, Spot> m_spots;     ///< of the tasks that are watched
    QHash<QString, qint64> m_lacking; ///< tasks whose last progress told of no room, with their need
    QTimer m_timer;
    QElapsedTimer m_clock;
    qint64 m_lastWish = -1;
    quint64 m_lastNumber = 0;
    std::shared_ptr<Link> m_link;
};
