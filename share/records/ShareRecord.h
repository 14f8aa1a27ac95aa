#pragma once

#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>

/// One share: an item of somebody's drive that others may see. A plain value.
struct ShareRecord
{
    /// Values of shareType.
    enum Kind
    {
        PublicLink = 0,
        PrivateLink = 1, ///< with a password
        WithUsers = 2
    };

    QString shareId;
    QString owner; ///< user name of the sharer
    QString name;  ///< of the shared item
    QString path;  ///< remote path: on the drive for own shares, "/name" for those of others
    int shareType = PublicLink;
    int isDir = 0; ///< not 0: a folder
    QDateTime shareTime;
    QString contentType;
    QString icon;     ///< address, as the service gave it
    quint64 size = 0; ///< bytes
    QString link;
    QString password;    ///< of a private link, known to its owner alone
    QStringList shareTo; ///< user names
    QString permission;  ///< "read" or "save"
    bool authentification = false;
    QString subCenterId; ///< where the item lies; empty for shares of others
};

Q_DECLARE_METATYPE(ShareRecord)
Q_DECLARE_METATYPE(QList<ShareRecord>)
