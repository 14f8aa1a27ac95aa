#pragma once

#include "FileItem.h"

#include <QSize>

/// Where the cached pictures and files of one owner lie on the disk, and how each is named. Paths of a remote drive
/// mean something in their own sub-center only, so the owner is the sub-center. A plain value, usable from any thread;
/// makes no folder but in write().
class CacheFolders
{
public:
    CacheFolders() = default;
    /// @param cacheFolder the user's "Cache/" folder
    /// @param owner id of the sub-center
    CacheFolders(const QString &cacheFolder, const QString &owner);
    /// Of the user who is logged in.
    static CacheFolders ofCurrentUser(const QString &owner);

    /// @p size in pixels.
    QString thumbnail(const FileItem &item, const QSize &size) const;
    QString preview(const FileItem &item, const QSize &size) const;
    QString file(const FileItem &item) const;
    /// @param address of the icon, as the user's record has it
    QString userIcon(const QString &address) const;

    /// Writes the entry, with the folders above it; a reader finds nothing or the whole. False when the disk refuses.
    static bool write(const QString &path, const QByteArray &bytes);
    /// Of an entry that is at most @p limit bytes long; empty otherwise.
    static QByteArray read(const QString &path, qint64 limit);

private:
    QString entry(const QString &kind, const QByteArray &key) const;

    QString m_root;  ///< ends in "/"
    QString m_owner; ///< one harmless name
};
