#pragma once

#include "PendingRecords.h"

#include <QFile>

#include <functional>

/// A file beside the database that holds what the record store accepted and has not written yet, so that a killed
/// program loses nothing. Operations are appended as they come and read back once, at the next start; reading an
/// operation that reached the database already does no harm. What is broken at the end of the file, such as a half
/// written entry, is left out. Guarded by a mutex of its own; without a file everything is a no-op.
class RecordJournal
{
public:
    /// Which bucket an entry belongs to.
    enum Bucket : quint8
    {
        Downloads,
        Uploads,
        Finished
    };
    struct Entry
    {
        Bucket bucket = Downloads;
        bool clear = false; ///< everything of the bucket was cleared; no operation and no records
        PendingRecords::Operation operation = PendingRecords::Add;
        QList<TaskRecord> records;
    };

    /// Opens or makes the file, readable for its owner alone. False when that is not possible.
    bool open(const QString &path);
    void close();
    /// Hands over every whole entry in order; the file stays as it is.
    void read(const std::function<void(const Entry &)> &handler);

    void append(const Entry &entry);
    /// Replaces the contents: what was before is in the database, or among these.
    void replace(const QList<Entry> &entries);
    /// Bytes in the file.
    qint64 size() const;

private:
    static QByteArray frame(const Entry &entry);

    mutable QMutex m_mutex;
    QFile m_file;
    qint64 m_size = 0;
};
