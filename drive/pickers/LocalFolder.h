#pragma once

#include "FileItem.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

class OrderedWork;

/// The entries of one folder of this machine, as records of the same kind as those of the drive: the path is the local
/// one. Reads on a pool thread, and again when the folder changes. Answers for a folder left meanwhile are dropped.
/// GUI thread only.
class LocalFolder : public QObject
{
    Q_OBJECT

public:
    explicit LocalFolder(QObject *parent = nullptr);

    QString path() const { return m_path; }
    /// Answered by listed(), also when the folder cannot be read.
    void open(const QString &path);
    void setHiddenShown(bool shown);
    bool isHiddenShown() const { return m_hidden; }

    /// Reads a folder; takes as long as the disk does.
    /// @param detailed with sizes and times, which take a look at each file
    static QList<FileItem> read(const QString &path, bool hidden, bool detailed);

signals:
    /// @param again the folder is the same as before and has changed, or its sizes and times are known now
    void listed(QList<FileItem> items, bool again);

private:
    void readNow(bool again, bool detailed);

    QString m_path;
    bool m_hidden = false;
    quint64 m_reading = 0; ///< number of the newest reading
    OrderedWork *m_work;
    QFileSystemWatcher m_watcher;
    QTimer m_quiet; ///< runs while a folder keeps changing
};
