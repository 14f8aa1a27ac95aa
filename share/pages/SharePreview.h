#pragma once

#include "FilePreviewBase.h"
#include "ShareRecord.h"

/// Opens the files of one share with the programs of this machine. GUI thread only.
class SharePreview : public FilePreviewBase
{
    Q_OBJECT

public:
    /// @param url address of the account
    SharePreview(const QString &url, const ShareRecord &record, QWidget *window, QObject *parent = nullptr);

    QString shareId() const { return m_record.shareId; }

protected:
    const OrvClient *client() const override { return &m_client; }
    FetchJob::Request request(const FileItem &item) const override;

private:
    OrvClient m_client;
    const ShareRecord m_record;
};
