#pragma once

#include "FilePreviewBase.h"
#include "ShareRecord.h"

class ImagePreviewWidget;

/// Opens the files of one share: images in the viewer, others with the programs of this machine. GUI thread only.
class SharePreview : public FilePreviewBase
{
    Q_OBJECT

public:
    /// @param url address of the account
    SharePreview(const QString &url, const ShareRecord &record, QWidget *window, QObject *parent = nullptr);
    ~SharePreview() override;

    const ShareRecord &record() const { return m_record; }
    /// @param beside what lies in the same folder: its images are a key away in the viewer
    void show(const FileItem &item, const QList<FileItem> &beside);

signals:
    void downloadAsked(FileItem item);

protected:
    const OrvClient *client() const override { return &m_client; }
    FetchJob::Request request(const FileItem &item) const override;

private:
    const QString m_url;
    QWidget *m_parent;
    OrvClient m_client;
    const ShareRecord m_record;
    QPointer<ImagePreviewWidget> m_viewer;
};
