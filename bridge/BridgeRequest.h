#pragma once

#include "FileItem.h"

#include <QString>

/// One message of a web page, read and checked. A plain value; what the page left out or wrote in another type is
/// empty.
struct BridgeRequest
{
    enum Action
    {
        Ignored,
        Login,
        Upload,
        Download,
        Logout
    };

    Action action = Ignored;
    QString username;
    QString token;
    QString center;
    QString dest;          ///< remote folder of an upload
    QList<FileItem> items; ///< what to download
    int refused = 0;       ///< names or folders that were left out because they are none

    static BridgeRequest parse(const QString &message);
    /// One component of a path: not empty, no separator, no NUL, neither "." nor "..".
    static bool isName(const QString &name);
    /// A remote folder none of whose components leads elsewhere; both kinds of slashes separate.
    static bool isFolder(const QString &path);
};
