#pragma once

#include "CacheFolders.h"
#include "FileItem.h"

#include "OrvClient.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <memory>

/// One remote file on its way into the cache of opened files. Everybody who wants the same file shares the job: it is
/// fetched once, and given up when the last of them lets go of it. What was fetched is read-only, so that nobody edits
/// a cache. Signals fire from the event loop. GUI thread only.
class FetchJob : public QObject
{
    Q_OBJECT

public:
    /// Asks a client for the file, to be written to a local path; answered by one of the client's signals for files.
    using Request = std::function<qint64(OrvClient &client, const QString &localPath)>;

    /// The cached file is there and whole. Takes a shorter one away, which is left of a fetch that broke off.
    static bool isThere(const FileItem &item, const QString &localPath);
    /// Joins the job that fetches to @p localPath already, else starts one with a copy of @p client.
    static std::shared_ptr<FetchJob> start(const FileItem &item, const QString &localPath, const OrvClient &client,
                                           const Request &request);
    ~FetchJob() override;

    QString localPath() const { return m_localPath; }
    const FileItem &item() const { return m_item; }

signals:
    /// Bytes, several times a second while they grow.
    void progress(qint64 done, qint64 total);
    /// At most once. The file is there when @p ok.
    void finished(bool ok);

private:
    FetchJob(const FileItem &item, const QString &localPath, const OrvClient &client);
    void answered(qint64 id, int code);
    void look();

    const FileItem m_item;
    const QString m_localPath;
    OrvClient m_client;
    qint64 m_request = 0;
    QTimer m_timer;
};
