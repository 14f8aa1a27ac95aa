#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QString>

/// The logged-in user, or any user that the service describes. A plain value.
/// The access pair and the high-speed transfer credentials live in memory only and are never written to disk.
struct UserInfo
{
    QString nickname;
    QString username;
    QString email;
    QString mobile;
    QString icon;        ///< address of the avatar
    QByteArray iconData; ///< image bytes of the avatar
    QString accessId;
    QString accessToken;
    QString path;       ///< home path
    QString asperaUser; ///< per-login credentials of the transfer service
    QString asperaPassword;
    int asperaTcpPort = 0;
    bool authentication = false; ///< the account has passed the identity verification
    qint64 storageUsed = 0;      ///< bytes, as last answered for a drive page
    qint64 storageQuota = 0;     ///< bytes; 0 when not yet known
    QString loginType;           ///< kept with the remembered users
};

Q_DECLARE_METATYPE(UserInfo)
