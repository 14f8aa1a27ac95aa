#include "FileCacheAssistant.h"

#include <QFileInfo>

namespace {

constexpr qint64 LargestPreview = 64 * 1024 * 1024; // bytes; what a viewer writes is far smaller

} // namespace

FileCacheAssistant::FileCacheAssistant(const QString &owner, QObject *parent)
    : QThread(parent)
    , m_folders(CacheFolders::ofCurrentUser(owner))
    , m_worker(new QObject)
{
    qRegisterMetaType<FileItem>("FileItem");
    qRegisterMetaType<QList<FileItem>>("QList<FileItem>");
    setObjectName(QStringLiteral("drive cache"));
    m_worker->moveToThread(this);
    connect(this, &QThread::finished, m_worker, &QObject::deleteLater);
    start(QThread::LowPriority);
}

FileCacheAssistant::~FileCacheAssistant()
{
    // Queued behind the requests, so that a picture just fetched is still kept.
    QMetaObject::invokeMethod(
        m_worker, [this] { quit(); }, Qt::QueuedConnection);
    wait();
}

void FileCacheAssistant::checkThumbnailCache(FileItem item, QSize size)
{
    QMetaObject::invokeMethod(m_worker, [this, item, size] {
        if (QFileInfo(m_folders.thumbnail(item, size)).size() > 0)
            emit thumbnailCacheVaild(item, size);
        else
            emit thumbnailCacheInvaild(item, size);
    });
}

void FileCacheAssistant::writeThumbnailCache(FileItem item, QSize size)
{
    if (item.iconData.isEmpty())
        return;
    QMetaObject::invokeMethod(m_worker, [this, item, size] {
        const QString path = m_folders.thumbnail(item, size);
        // A cache that cannot be written costs a request the next time, no more.
        if (QFileInfo(path).size() == 0)
            CacheFolders::write(path, item.iconData);
    });
}

void FileCacheAssistant::checkPreviewCache(FileItem item, QSize size)
{
    QMetaObject::invokeMethod(m_worker, [this, item, size] {
        const QByteArray data = CacheFolders::read(m_folders.preview(item, size), LargestPreview);
        if (data.isEmpty())
            emit previewCacheInvaild(item, size);
        else
            emit previewCacheVaild(item, size, data);
    });
}

void FileCacheAssistant::writePreviewCache(FileItem item, QSize size, QByteArray data)
{
    if (!data.isEmpty())
        QMetaObject::invokeMethod(
            m_worker, [this, item, size, data] { CacheFolders::write(m_folders.preview(item, size), data); });
}
