#pragma once

#include "PreviewBackend.h"

#include <QStringList>

/// Opens files through the desktop's associations, as other desktops than Windows keep them: lists of programs by media
/// type, in the person's own folders first. GUI thread only.
class FilePreviewForDesktop : public PreviewBackend
{
public:
    /// Reads the lists of the folders that the environment names.
    FilePreviewForDesktop();
    /// @param configFolders, dataFolders most important first
    FilePreviewForDesktop(const QStringList &configFolders, const QStringList &dataFolders);

    bool isSupported(const std::wstring &fileName) const override;
    bool open(const QString &localPath) const override;

private:
    bool hasProgram(const QString &mediaType) const;

    const QStringList m_lists;    ///< files that name programs by media type
    const QStringList m_programs; ///< folders of the programs' own files
};
