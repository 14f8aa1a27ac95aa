#pragma once

#include "FileItem.h"
#include "FileOrder.h"

#include <QSet>
#include <QStringList>
#include <QVector>

/// A folder's entries made ready for a view: sorted, with the companions of unfinished transfers taken out. A plain
/// value, worked out on any thread.
struct FileListing
{
    QVector<FileItem> items;
    QSet<QString> unfinished;   ///< keys of files that the transfer engine is still writing
    QList<FileItem> thumbnails; ///< images that want a picture
    int folders = 0;
    int files = 0;

    static FileListing prepare(const QList<FileItem> &items, FileOrder::Type order);

    /// What identifies an entry: its path without a "/" at the end.
    static QString key(const QString &path);
    /// The folder that holds @p path, ends in "/".
    static QString parentFolder(const QString &path);
    /// The last component of a path.
    static QString fileName(const QString &path);
    static QString withSlash(const QString &folder);
    /// The entry is a picture that can be shown as one: an image that is not a ".psd".
    static bool isPicture(const FileItem &item);
    static bool isArchive(const FileItem &item);
    /// Ending of the file beside an unfinished one.
    static QString companionSuffix();
};
