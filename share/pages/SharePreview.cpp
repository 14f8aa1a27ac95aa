#include "SharePreview.h"

#include "GlobalConfig.h"
#include "ImagePreviewWidget.h"

namespace {

// Paths of two shares may be the same, so that each share has a folder of its own in the cache.
CacheFolders foldersOf(const ShareRecord &record)
{
    return CacheFolders::ofCurrentUser(QStringLiteral("share-") + record.shareId);
}

} // namespace

SharePreview::SharePreview(const QString &url, const ShareRecord &record, QWidget *window, QObject *parent)
    : FilePreviewBase(foldersOf(record), window, parent)
    , m_url(url)
    , m_parent(window)
    , m_client(GlobalConfig::instance()->client())
    , m_record(record)
{
    m_client.setUrl(url);
}

SharePreview::~SharePreview()
{
    delete m_viewer;
}

void SharePreview::show(const FileItem &item, const QList<FileItem> &beside)
{
    const quint64 most = quint64(qMax(0, GlobalConfig::instance()->previewFileMaxSize())) * 1048576;
    if (!ImagePreviewWidget::isImage(item) || item.size >= most)
        return open(item);
    if (!m_viewer) {
        m_viewer = new ImagePreviewWidget(m_url, foldersOf(m_record), m_parent);
        m_viewer->setAttribute(Qt::WA_DeleteOnClose);
        m_viewer->setForeign([this](const FileItem &image) { return request(image); });
        // The files themselves are kept; previews of them would be a second copy.
        connect(m_viewer, &ImagePreviewWidget::sigCheckCache, m_viewer, &ImagePreviewWidget::previewCacheInvaild,
                Qt::QueuedConnection);
        connect(m_viewer, &ImagePreviewWidget::sigDownload, this,
                [this, viewer = m_viewer.data()] { emit downloadAsked(viewer->current()); });
    }
    QList<FileItem> images;
    int index = 0;
    for (const FileItem &image : beside) {
        if (image.path == item.path)
            index = images.size();
        if (ImagePreviewWidget::isImage(image))
            images << image;
    }
    m_viewer->setImages(images, index);
    m_viewer->show();
    m_viewer->raise();
    m_viewer->activateWindow();
}

FetchJob::Request SharePreview::request(const FileItem &item) const
{
    return [record = m_record, path = item.path](OrvClient &client, const QString &localPath) {
        return client.shareToMeDownload(record.owner, record.shareId, path, localPath);
    };
}
