#pragma once

#include "PreviewBackend.h"

/// Opens files through the shell. GUI thread only.
class FilePreviewForWindows : public PreviewBackend
{
public:
    FilePreviewForWindows();
    ~FilePreviewForWindows() override;

    bool isSupported(const std::wstring &fileName) const override;
    bool open(const QString &localPath) const override;

private:
    bool m_initialized;
};
