#include "FetchJob.h"

#include "GlobalConfig.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <limits>

namespace {

constexpr int LookInterval = 200; // ms

/// The jobs that run, by local path.
QHash<QString, std::weak_ptr<FetchJob>> &running()
{
    static QHash<QString, std::weak_ptr<FetchJob>> jobs;
    return jobs;
}

bool removeFile(const QString &path)
{
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner); // where a read-only file cannot be removed
    return QFile::remove(path);
}

} // namespace

bool FetchJob::isThere(const FileItem &item, const QString &localPath)
{
    const QFileInfo file(localPath);
    if (!file.exists())
        return false;
    if (quint64(file.size()) >= item.size)
        return true;
    removeFile(localPath);
    return false;
}

std::shared_ptr<FetchJob> FetchJob::start(const FileItem &item, const QString &localPath, const OrvClient &client,
                                          const Request &request)
{
    if (const auto known = running().value(localPath).lock())
        return known;
    const std::shared_ptr<FetchJob> job(new FetchJob(item, localPath, client));
    running().insert(localPath, job);
    QDir().mkpath(QFileInfo(localPath).path()); // where that fails the client tells it
    job->m_request = request(job->m_client, localPath);
    job->m_timer.start(LookInterval);
    return job;
}

FetchJob::FetchJob(const FileItem &item, const QString &localPath, const OrvClient &client)
    : m_item(item)
    , m_localPath(localPath)
    , m_client(client)
{
    const auto answer = [this](qint64 id, int code) { answered(id, code); };
    connect(&m_client, &OrvClient::getPreviewFileFinished, this, answer, Qt::QueuedConnection);
    connect(&m_client, &OrvClient::shareDownloadFinished, this, answer, Qt::QueuedConnection);
    connect(&m_timer, &QTimer::timeout, this, &FetchJob::look);
}

FetchJob::~FetchJob()
{
    // Another job for the path may have begun since this one had its answer.
    if (running().value(m_localPath).expired())
        running().remove(m_localPath);
}

void FetchJob::look()
{
    // The client writes beside the file under a name that begins with the file's.
    const QFileInfo file(m_localPath);
    qint64 done = 0;
    for (const QFileInfo &part : QDir(file.path()).entryInfoList({file.fileName() + QLatin1Char('*')}, QDir::Files))
        done = qMax(done, part.size());
    emit progress(done, qint64(qMin(m_item.size, quint64(std::numeric_limits<qint64>::max()))));
}

void FetchJob::answered(qint64 id, int code)
{
    if (id != m_request)
        return;
    m_timer.stop();
    running().remove(m_localPath);
    GlobalConfig::instance()->noteAnswer(code);
    const bool ok = code == 200 && QFile::exists(m_localPath) && isThere(m_item, m_localPath);
    if (ok)
        QFile::setPermissions(m_localPath, QFile::ReadOwner);
    emit finished(ok);
}
