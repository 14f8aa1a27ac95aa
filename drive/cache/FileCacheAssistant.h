#pragma once

#include "CacheFolders.h"
#include "FileItem.h"

#include <QSize>
#include <QThread>

/// The caches of thumbnails and previews on the disk: tells whether an entry is there and writes new ones, on this
/// thread of its own, in the order of the requests. The object itself lives on the thread that made it, its signals are
/// to be received queued. Its destructor lets writes that wait run out and joins the thread.
class FileCacheAssistant : public QThread
{
    Q_OBJECT

public:
    /// Of the user who is logged in. Starts the thread.
    /// @param owner id of the sub-center
    explicit FileCacheAssistant(const QString &owner, QObject *parent = nullptr);
    ~FileCacheAssistant() override;

    const CacheFolders &folders() const { return m_folders; }

public slots:
    /// Answered by thumbnailCacheVaild or thumbnailCacheInvaild. Sizes in pixels.
    void checkThumbnailCache(FileItem item, QSize size);
    /// Keeps the item's iconData, unless the entry is there.
    void writeThumbnailCache(FileItem item, QSize size);
    /// Answered by previewCacheVaild with the bytes, or previewCacheInvaild.
    void checkPreviewCache(FileItem item, QSize size);
    void writePreviewCache(FileItem item, QSize size, QByteArray data);

signals:
    void thumbnailCacheVaild(FileItem item, QSize size);
    void thumbnailCacheInvaild(FileItem item, QSize size);
    void previewCacheVaild(FileItem item, QSize size, QByteArray data);
    void previewCacheInvaild(FileItem item, QSize size);

private:
    const CacheFolders m_folders;
    QObject *m_worker; ///< lives on this thread
};
