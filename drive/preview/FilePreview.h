#pragma once

#include "FilePreviewBase.h"

/// Opens the files of one drive. GUI thread only.
class FilePreview : public FilePreviewBase
{
    Q_OBJECT

public:
    /// @param url address of the sub-center's service
    FilePreview(const QString &url, const CacheFolders &folders, QWidget *window, QObject *parent = nullptr);

protected:
    const OrvClient *client() const override { return &m_client; }
    FetchJob::Request request(const FileItem &item) const override;

private:
    OrvClient m_client;
};
