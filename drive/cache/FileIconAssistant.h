#pragma once

#include "CacheFolders.h"
#include "FileItem.h"
#include "UserInfo.h"

#include "OrvClient.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QSize>
#include <QStringList>
#include <QThreadPool>
#include <QTimer>

/// Fetches the pictures of files and users: from the disk's cache where it has them, else through copies of the
/// session's client, a few at a time, what is seen first. Files are read on pool threads of its own. Answers come in
/// batches; those after stop(), a cancelled wish or destruction are dropped. GUI thread only.
class FileIconAssistant : public QObject
{
    Q_OBJECT

public:
    /// @param url address of the sub-center's service
    FileIconAssistant(const QString &url, const CacheFolders &folders, QObject *parent = nullptr);
    ~FileIconAssistant() override;

    /// Of the pictures asked for from now on, in pixels; each side is held between 16 and 1024.
    void setThumbnailSize(const QSize &size);
    QSize thumbnailSize() const { return m_size; }
    /// Wishes that are not answered yet.
    int pending() const { return m_jobs.size(); }

public slots:
    /// Puts the records before what waits already. Of very many only the first are taken: a view asks again for what it
    /// comes to show.
    void getIcon(QList<FileItem> items);
    /// These are what the person sees now: they come next, and every other wish is taken back.
    void getVisibleIcons(QList<FileItem> items);
    void getUserIcon(QList<UserInfo> users);
    void getLocalIcon(FileItem item, QSize size);
    void getRemoteIcon(FileItem item);
    /// Forgets everything asked for.
    void stop();

signals:
    void checkFileIconCache(FileItem item, QSize size);
    /// With iconData filled. A file without a picture is not answered for.
    void handlerGetFileIconFinished(QList<FileItem> items);
    void handlerGetUserIconFinished(QList<UserInfo> users);

private slots:
    void onTimer();
    void handlerGetFileIcon(qint64 id, int code, QByteArray body);
    void handlerGetUserIcon(qint64 id, int code, QByteArray body);

private:
    struct Job
    {
        FileItem item;
        QSize size;
        enum Stage
        {
            Waiting,
            Checking,
            Reading,
            WaitingForFetch,
            Fetching
        } stage = Waiting;
        QPointer<OrvClient> client; ///< of this request alone: it ends with the client
        qint64 request = 0;
    };

    static QString keyOf(const FileItem &item);
    Job *wanted(const FileItem &item, Job::Stage stage);
    void startNext();
    void fetchNext();
    void endFetch(Job &job);
    void drop(const QString &key);
    void failed(const QString &key, int code);
    void read(const QString &key, const QByteArray &data);
    void ready(const Job &job, const QByteArray &data);
    void userIconRead(const QString &address, const QByteArray &data);
    void tellUsers(const QString &address, const QByteArray &data);

    OrvClient m_client;
    const CacheFolders m_folders;
    QSize m_size{64, 64};
    QTimer m_timer;
    QHash<QString, Job> m_jobs; ///< by path and time
    QStringList m_waiting;      ///< keys, next first
    QStringList m_toFetch;      ///< keys, next first
    int m_busy = 0;             ///< jobs past Waiting
    QHash<qint64, QString> m_fetches;
    QSet<QString> m_without; ///< the service makes no picture of these
    QList<FileItem> m_ready;
    QHash<QString, QList<UserInfo>> m_users; ///< that wait for the icon of an address
    QHash<qint64, QString> m_userRequests;
    QThreadPool m_pool; ///< last: its threads end before the rest goes
};
