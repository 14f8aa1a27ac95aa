#include "NetdiskPage.h"

#include "FileCacheAssistant.h"
#include "FileIconAssistant.h"
#include "FileInfoAssistant.h"
#include "FileItemModel.h"
#include "FileListing.h"
#include "FilePreview.h"
#include "FileWidget.h"
#include "ImagePreviewWidget.h"
#include "NetDiskServer.h"

void NetdiskPage::connectCaches()
{
    connect(m_icons, SIGNAL(checkFileIconCache(FileItem, QSize)), m_cache, SLOT(checkThumbnailCache(FileItem, QSize)));
    connect(m_cache, SIGNAL(thumbnailCacheVaild(FileItem, QSize)), m_icons, SLOT(getLocalIcon(FileItem, QSize)));
    connect(m_cache, SIGNAL(thumbnailCacheInvaild(FileItem, QSize)), m_icons, SLOT(getRemoteIcon(FileItem)));
    connect(m_cache, SIGNAL(finished()), m_icons, SLOT(stop()));
    connect(m_cache, SIGNAL(finished()), m_info, SLOT(stop()));
    connect(m_icons, SIGNAL(handlerGetFileIconFinished(QList<FileItem>)), this, SLOT(SetIcons(QList<FileItem>)));
    connect(m_view, SIGNAL(sigIconChanged(FileItem, QSize)), m_cache, SLOT(writeThumbnailCache(FileItem, QSize)));
    connect(m_view, SIGNAL(sigGetIcons(QList<FileItem>)), m_icons, SLOT(getIcon(QList<FileItem>)));
    m_icons->setThumbnailSize(m_view->pictureSize());
    connect(m_view, &FileWidget::sigVisiblePictures, m_icons, [this](const QList<FileItem> &items, const QSize &size) {
        m_icons->setThumbnailSize(size);
        m_icons->getVisibleIcons(items);
    });
}

void NetdiskPage::Preview()
{
    const QList<FileItem> items = m_view->selectedItems();
    if (items.size() == 1)
        Preview(items.first().path);
}

void NetdiskPage::Preview(QString path)
{
    const int row = m_view->model()->rowOf(path);
    if (row < 0)
        return;
    const FileItem item = m_view->model()->item(row);
    if (ImagePreviewWidget::isImage(item))
        showImage(item);
    else if (!item.isFolder())
        m_preview->open(item);
}

void NetdiskPage::showImage(const FileItem &item)
{
    if (!m_viewer) {
        m_viewer = new ImagePreviewWidget(m_center.address, m_cache->folders(), this);
        m_viewer->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_viewer, SIGNAL(sigCheckCache(FileItem, QSize)), m_cache, SLOT(checkPreviewCache(FileItem, QSize)));
        connect(m_viewer, SIGNAL(sigWritePreviewCache(FileItem, QSize, QByteArray)), m_cache,
                SLOT(writePreviewCache(FileItem, QSize, QByteArray)));
        connect(m_cache, SIGNAL(previewCacheVaild(FileItem, QSize, QByteArray)), m_viewer,
                SLOT(previewCacheVaild(FileItem, QSize, QByteArray)));
        connect(m_cache, SIGNAL(previewCacheInvaild(FileItem, QSize)), m_viewer,
                SLOT(previewCacheInvaild(FileItem, QSize)));
        connect(m_viewer, SIGNAL(sigDownload()), this, SLOT(Download()));
        connect(m_viewer, SIGNAL(sigDelete()), this, SLOT(Remove()));
        connect(m_server, SIGNAL(handlerRemoveFinished(QStringList)), m_viewer, SLOT(removeImages(QStringList)));
    }
    QList<FileItem> images;
    int index = 0;
    const FileItemModel *model = m_view->model();
    for (int row = 0; row < model->rowCount(); ++row) {
        if (model->item(row).path == item.path)
            index = images.size();
        if (ImagePreviewWidget::isImage(model->item(row)))
            images.append(model->item(row));
    }
    m_viewer->setImages(images, index);
    m_viewer->show();
    m_viewer->raise();
    m_viewer->activateWindow();
}

bool NetdiskPage::askedByViewer() const
{
    return m_viewer && sender() == m_viewer && sender()->objectName() == QLatin1String("ImagePreviewWidget");
}

QWidget *NetdiskPage::askOver()
{
    // A question behind the window that it belongs to would never be seen.
    return m_viewer && m_viewer->isActiveWindow() ? static_cast<QWidget *>(m_viewer) : this;
}
