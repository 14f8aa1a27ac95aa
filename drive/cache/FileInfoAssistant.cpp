#include "FileInfoAssistant.h"

#include "FileItemReader.h"
#include "GlobalConfig.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

constexpr int Interval = 150; // ms between batches
constexpr int AtOnce = 8;     // requests on their way

} // namespace

FileInfoAssistant::FileInfoAssistant(const QString &url, QObject *parent)
    : QObject(parent)
    , m_client(GlobalConfig::instance()->client())
{
    m_client.setUrl(url);
    m_timer.setInterval(Interval);
    connect(&m_timer, &QTimer::timeout, this, &FileInfoAssistant::onTimer);
    connect(&m_client, &OrvClient::getFileInfoFinished, this, &FileInfoAssistant::handlerGetFileInfo,
            Qt::QueuedConnection);
}

void FileInfoAssistant::getFileInfo(QStringList paths)
{
    for (const QString &path : qAsConst(paths)) {
        if (m_queued.contains(path))
            continue;
        m_queued.insert(path);
        m_queue.append(path);
    }
    if (!m_timer.isActive()) {
        m_timer.start();
        onTimer();
    }
}

void FileInfoAssistant::stop()
{
    m_timer.stop();
    m_queue.clear();
    m_queued.clear();
    m_pending.clear();
    m_ready.clear();
}

void FileInfoAssistant::onTimer()
{
    while (!m_queue.isEmpty() && m_pending.size() < AtOnce) {
        const QString path = m_queue.takeFirst();
        m_queued.remove(path);
        m_pending.insert(m_client.getFileInfo(path));
    }
    if (m_queue.isEmpty() && m_pending.isEmpty())
        m_timer.stop();
    if (m_ready.isEmpty())
        return;
    QList<FileItem> items;
    items.swap(m_ready);
    emit handlerGetFileInfoFinished(items);
}

void FileInfoAssistant::handlerGetFileInfo(qint64 id, int code, QByteArray body)
{
    if (!m_pending.remove(id))
        return;
    GlobalConfig::instance()->noteAnswer(code);
    if (code == 200) {
        const FileItem item = FileItemReader::item(QJsonDocument::fromJson(body).object(), FileItemReader::PlainTime);
        if (!item.path.isEmpty())
            m_ready.append(item);
    }
    if (m_pending.isEmpty())
        onTimer();
}
