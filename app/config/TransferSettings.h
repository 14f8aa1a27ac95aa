#pragma once

#include <QDateTime>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QStringList>

/// Transfer parameters of one sub-center as the user set them. Speeds in KB/s; modes are "fair" or "fixed".
struct TargetSpeed
{
    QString transferType = QStringLiteral("ZPDT");
    QString downMode = QStringLiteral("fair");
    QString upMode = QStringLiteral("fair");
    qint64 downloadTargetSpeed = 2048;
    qint64 uploadTargetSpeed = 2048;
};

/// Where the downloads of one sub-center go.
struct DownloadPathSetting
{
    bool alwaysAsk = true;
    bool alwaysUseDefaultPath = false;
    QString defaultPath;
};

/// The "ZPDT" object of the installation settings.
struct ZpdtSettings
{
    QString transferType = QStringLiteral("ZPDT");
    qint64 uploadTargetSpeed = 5120;   ///< KB/s
    qint64 downloadTargetSpeed = 5120; ///< KB/s
    int mss = 1024;
    int downloadLimitCount = 5;
    int uploadLimitCount = 5;
    int beVerify = 0;
};

/// The "Settings" object of the installation settings.
struct SettingsPageOptions
{
    int show = 1;
    QMap<QString, int> subPage;
};

/// One line of the advertisement ticker; plain text from the service.
struct Advertisement
{
    QString postTime;
    QString title;
    QString jumpLink;
    QString content;
};

/// What the service allows: transfer types and the highest target speeds.
struct TransferLimit
{
    QString defaultType;
    QString zpdtType;
    bool available = false;
    qint64 upload = 0;   ///< KB/s; 0: no limit known
    qint64 download = 0; ///< KB/s; 0: no limit known

    /// @p speed with target speeds that are not above the limits.
    TargetSpeed applied(TargetSpeed speed) const
    {
        if (upload > 0)
            speed.uploadTargetSpeed = qMin(speed.uploadTargetSpeed, upload);
        if (download > 0)
            speed.downloadTargetSpeed = qMin(speed.downloadTargetSpeed, download);
        return speed;
    }
};

/// One user who logged in on this machine.
struct KnownUser
{
    QString id;
    QString mobile;
    QString email;
    QString loginType;
};

/// Why and until when an account may not be used.
struct Violation
{
    QString reason;
    QDateTime effectTime;
    int duration = 0; ///< seconds; -1: for good
};

/// What the command line asks to transfer after the login.
struct CommandLineRequest
{
    QStringList filelist;
    QStringList dirlist;
    QString local;
    QString remote;
    QString subCenter; ///< id of the one that it is meant for; empty: whichever is opened
    int method = -1;   ///< 0 upload, 1 download, -1 nothing
};

Q_DECLARE_METATYPE(TargetSpeed)
Q_DECLARE_METATYPE(DownloadPathSetting)
