#pragma once

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QString>

/// One file or folder of the remote drive. A plain value, copied freely between threads.
struct FileItem
{
    enum Type : qint32
    {
        File = 0,
        Folder = 1
    };

    QString name;         ///< last component of the path
    qint32 type = File;   ///< kind of entry as the service numbers it; 1 is a folder
    quint64 size = 0;     ///< bytes
    QString icon;         ///< address of the icon or thumbnail, as the service gave it
    quint64 datetime = 0; ///< modification time, milliseconds since the Unix epoch
    QString extra;        ///< carried unchanged
    QString path;         ///< full remote path
    QByteArray iconData;  ///< image bytes of the icon, filled by the icon cache
    QString contentType;  ///< media type given by the service
    QString source;       ///< "SearchFile" for a search result, empty for a listing

    bool isFolder() const { return type == Folder; }
};

Q_DECLARE_TYPEINFO(FileItem, Q_MOVABLE_TYPE);
Q_DECLARE_METATYPE(FileItem)
Q_DECLARE_METATYPE(QList<FileItem>)
