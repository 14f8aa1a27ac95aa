#include "FilePreview.h"

#include "GlobalConfig.h"

FilePreview::FilePreview(const QString &url, const CacheFolders &folders, QWidget *window, QObject *parent)
    : FilePreviewBase(folders, window, parent)
    , m_client(GlobalConfig::instance()->client())
{
    m_client.setUrl(url);
}

FetchJob::Request FilePreview::request(const FileItem &item) const
{
    return [path = item.path](OrvClient &client, const QString &localPath) {
        return client.getPreviewFile(path, localPath);
    };
}
