#include "FileIconAssistant.h"

#include "GlobalConfig.h"

#include <QFile>
#include <QRunnable>

#include <functional>

namespace {

constexpr int Interval = 30;      // ms between batches of answers
constexpr int MostWaiting = 1000; // wishes
constexpr int MostBusy = 24;      // wishes looked after at once
constexpr int MostFetches = 4;    // requests on their way; the lane has room for more, which previews need
constexpr int MostRemembered = 20000;
constexpr int LargestSide = 1024;               // pixels
constexpr qint64 LargestIcon = 4 * 1024 * 1024; // bytes

/// A whole image of one of the two formats that thumbnails come in; no other decoder is to see bytes of the network.
bool isPicture(const QByteArray &data)
{
    return (data.startsWith("\x89PNG") && data.endsWith(QByteArray("IEND\xae\x42\x60\x82", 8))) ||
           (data.startsWith("\xff\xd8\xff") && data.endsWith("\xff\xd9"));
}

class Task : public QRunnable
{
public:
    explicit Task(std::function<void()> work)
        : m_work(std::move(work))
    {
    }
    void run() override { m_work(); }

private:
    const std::function<void()> m_work;
};

} // namespace

FileIconAssistant::FileIconAssistant(const QString &url, const CacheFolders &folders, QObject *parent)
    : QObject(parent)
    , m_client(GlobalConfig::instance()->client())
    , m_folders(folders)
{
    qRegisterMetaType<FileItem>("FileItem");
    qRegisterMetaType<QList<FileItem>>("QList<FileItem>");
    m_client.setUrl(url);
    m_pool.setMaxThreadCount(2);
    m_timer.setInterval(Interval);
    connect(&m_timer, &QTimer::timeout, this, &FileIconAssistant::onTimer);
    connect(&m_client, &OrvClient::getIconFinished, this, &FileIconAssistant::handlerGetUserIcon, Qt::QueuedConnection);
}

FileIconAssistant::~FileIconAssistant()
{
    stop();
    m_pool.waitForDone();
}

void FileIconAssistant::setThumbnailSize(const QSize &size)
{
    const QSize held = size.expandedTo(QSize(16, 16)).boundedTo(QSize(LargestSide, LargestSide));
    if (held == m_size)
        return;
    // Pictures of the old size would be taken for new ones.
    for (const QString &key : m_jobs.keys())
        drop(key);
    m_waiting.clear();
    m_toFetch.clear();
    m_ready.clear();
    m_size = held;
}

QString FileIconAssistant::keyOf(const FileItem &item)
{
    return item.path + QLatin1Char('\n') + QString::number(item.datetime);
}

void FileIconAssistant::getIcon(QList<FileItem> items)
{
    QStringList front;
    QSet<QString> taken;
    for (const FileItem &item : qAsConst(items)) {
        if (front.size() == MostWaiting)
            break;
        const QString key = keyOf(item);
        const auto known = m_jobs.constFind(key);
        if (m_without.contains(key) || (known != m_jobs.constEnd() && known->stage != Job::Waiting))
            continue;
        if (known == m_jobs.constEnd()) {
            Job job;
            job.item = item;
            job.size = m_size;
            m_jobs.insert(key, job);
        } else if (taken.contains(key)) {
            continue;
        }
        front.append(key);
        taken.insert(key);
    }
    for (const QString &key : qAsConst(m_waiting)) {
        if (taken.contains(key))
            continue;
        if (front.size() < MostWaiting)
            front.append(key);
        else
            m_jobs.remove(key);
    }
    m_waiting = front;
    startNext();
}

void FileIconAssistant::getVisibleIcons(QList<FileItem> items)
{
    QSet<QString> seen;
    for (const FileItem &item : qAsConst(items))
        seen.insert(keyOf(item));
    for (const QString &key : m_jobs.keys()) {
        if (!seen.contains(key))
            drop(key);
    }
    m_waiting.clear();
    // Those that wait for the network keep their turn by what is seen, not by when it was asked for.
    QStringList toFetch;
    for (const FileItem &item : qAsConst(items)) {
        if (m_toFetch.contains(keyOf(item)))
            toFetch.append(keyOf(item));
        const auto job = m_jobs.constFind(keyOf(item));
        if (job != m_jobs.constEnd() && job->stage == Job::Waiting)
            m_waiting.append(job.key());
    }
    m_toFetch = toFetch;
    getIcon(items);
    fetchNext();
}

void FileIconAssistant::stop()
{
    m_timer.stop();
    for (const QString &key : m_jobs.keys())
        drop(key);
    m_waiting.clear();
    m_toFetch.clear();
    m_ready.clear();
    m_users.clear();
    m_userRequests.clear();
    m_pool.clear();
}

void FileIconAssistant::drop(const QString &key)
{
    const auto found = m_jobs.find(key);
    if (found == m_jobs.end())
        return;
    if (found->stage != Job::Waiting)
        --m_busy;
    endFetch(*found);
    m_jobs.erase(found);
}

void FileIconAssistant::endFetch(Job &job)
{
    m_fetches.remove(job.request);
    if (job.client)
        job.client->deleteLater(); // and with it a request that still runs
    job.client.clear();
    job.request = 0;
}

void FileIconAssistant::startNext()
{
    if (!m_timer.isActive() && !m_jobs.isEmpty())
        m_timer.start();
    while (m_busy < MostBusy && !m_waiting.isEmpty()) {
        const auto job = m_jobs.find(m_waiting.takeFirst());
        if (job == m_jobs.end())
            continue;
        ++m_busy;
        job->stage = Job::Checking;
        emit checkFileIconCache(job->item, job->size);
    }
}

FileIconAssistant::Job *FileIconAssistant::wanted(const FileItem &item, Job::Stage stage)
{
    const auto found = m_jobs.find(keyOf(item));
    return found != m_jobs.end() && found->stage == stage ? &*found : nullptr;
}

void FileIconAssistant::getLocalIcon(FileItem item, QSize size)
{
    Job *job = wanted(item, Job::Checking);
    if (!job)
        return;
    job->stage = Job::Reading;
    const QString path = m_folders.thumbnail(item, size);
    m_pool.start(new Task([this, key = keyOf(item), path] {
        const QByteArray data = CacheFolders::read(path, LargestIcon);
        if (!isPicture(data))
            QFile::remove(path);
        QMetaObject::invokeMethod(
            this, [this, key, data] { read(key, data); }, Qt::QueuedConnection);
    }));
}

void FileIconAssistant::getRemoteIcon(FileItem item)
{
    Job *job = wanted(item, Job::Checking);
    if (!job)
        return;
    job->stage = Job::WaitingForFetch;
    m_toFetch.append(keyOf(item));
    fetchNext();
}

void FileIconAssistant::fetchNext()
{
    while (m_fetches.size() < MostFetches && !m_toFetch.isEmpty()) {
        const QString key = m_toFetch.takeFirst();
        const auto job = m_jobs.find(key);
        if (job == m_jobs.end() || job->stage != Job::WaitingForFetch)
            continue;
        job->stage = Job::Fetching;
        auto *client = new OrvClient(m_client);
        client->setParent(this);
        job->client = client;
        // The record's icon tells the kind of entry; what is in a picture only its thumbnail shows.
        if (job->item.contentType.startsWith(QLatin1String("image/"))) {
            connect(client, &OrvClient::getThumbnailFinished, this, &FileIconAssistant::handlerGetFileIcon,
                    Qt::QueuedConnection);
            job->request = client->getThumbnail(job->item.path, job->size);
        } else {
            connect(client, &OrvClient::getIconFinished, this, &FileIconAssistant::handlerGetFileIcon,
                    Qt::QueuedConnection);
            job->request = client->getIcon(job->item.icon);
        }
        m_fetches.insert(job->request, key);
    }
}

void FileIconAssistant::handlerGetFileIcon(qint64 id, int code, QByteArray body)
{
    const QString key = m_fetches.value(id);
    const auto job = m_jobs.find(key);
    if (job == m_jobs.end())
        return;
    endFetch(*job);
    GlobalConfig::instance()->noteAnswer(code);
    if (code == 200 && isPicture(body) && body.size() <= LargestIcon)
        ready(*job, body);
    else
        failed(key, code);
    fetchNext();
}

void FileIconAssistant::failed(const QString &key, int code)
{
    // Those that say what they are of the file itself; any other may go well the next time.
    const bool forGood = code == 200 || code == 404 || code == 413 || code == 415 || code == 422;
    if (forGood && m_without.size() < MostRemembered)
        m_without.insert(key);
    drop(key);
    startNext();
}

void FileIconAssistant::read(const QString &key, const QByteArray &data)
{
    const auto job = m_jobs.find(key);
    if (job == m_jobs.end() || job->stage != Job::Reading)
        return;
    if (isPicture(data))
        return ready(*job, data);
    // A broken entry of the cache is no more than a miss.
    job->stage = Job::WaitingForFetch;
    m_toFetch.append(key);
    fetchNext();
}

void FileIconAssistant::ready(const Job &job, const QByteArray &data)
{
    m_ready.append(job.item);
    m_ready.last().iconData = data;
    drop(keyOf(job.item)); // and with it the record
    startNext();
}

void FileIconAssistant::onTimer()
{
    if (m_jobs.isEmpty())
        m_timer.stop();
    if (m_ready.isEmpty())
        return;
    QList<FileItem> items;
    items.swap(m_ready);
    emit handlerGetFileIconFinished(items);
}

// Icons of users

void FileIconAssistant::getUserIcon(QList<UserInfo> users)
{
    for (const UserInfo &user : qAsConst(users)) {
        if (user.icon.isEmpty())
            continue;
        QList<UserInfo> &waiting = m_users[user.icon];
        waiting.append(user);
        if (waiting.size() > 1)
            continue;
        const QString address = user.icon;
        const QString path = m_folders.userIcon(address);
        m_pool.start(new Task([this, address, path] {
            const QByteArray data = CacheFolders::read(path, LargestIcon);
            QMetaObject::invokeMethod(
                this, [this, address, data] { userIconRead(address, data); }, Qt::QueuedConnection);
        }));
    }
}

void FileIconAssistant::userIconRead(const QString &address, const QByteArray &data)
{
    if (!m_users.contains(address))
        return;
    if (data.isEmpty())
        m_userRequests.insert(m_client.getIcon(address), address);
    else
        tellUsers(address, data);
}

void FileIconAssistant::handlerGetUserIcon(qint64 id, int code, QByteArray body)
{
    const QString address = m_userRequests.take(id);
    if (address.isEmpty())
        return;
    GlobalConfig::instance()->noteAnswer(code);
    if (code != 200 || body.isEmpty()) {
        m_users.remove(address);
        return;
    }
    const QString path = m_folders.userIcon(address);
    m_pool.start(new Task([path, body] { CacheFolders::write(path, body); }));
    tellUsers(address, body);
}

void FileIconAssistant::tellUsers(const QString &address, const QByteArray &data)
{
    QList<UserInfo> users = m_users.take(address);
    for (UserInfo &user : users)
        user.iconData = data;
    emit handlerGetUserIconFinished(users);
}
