#include "SharePreview.h"

#include "GlobalConfig.h"

// Paths of two shares may be the same, so that each share has a folder of its own in the cache.
SharePreview::SharePreview(const QString &url, const ShareRecord &record, QWidget *window, QObject *parent)
    : FilePreviewBase(CacheFolders::ofCurrentUser(QStringLiteral("share-") + record.shareId), window, parent)
    , m_client(GlobalConfig::instance()->client())
    , m_record(record)
{
    m_client.setUrl(url);
}

FetchJob::Request SharePreview::request(const FileItem &item) const
{
    return [record = m_record, path = item.path](OrvClient &client, const QString &localPath) {
        return client.shareToMeDownload(record.owner, record.shareId, path, localPath);
    };
}
