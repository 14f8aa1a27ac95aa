#pragma once

#include <QList>
#include <QMetaType>
#include <QPair>
#include <QString>

/// Host and port of one transfer server, both as the service wrote them.
using ServerAddress = QPair<QString, QString>;

/// One sub-center of the service and what is known of the current user's home in it. A plain value.
struct SubCenter
{
    QString id;
    QString name;
    QString address; ///< service address of this sub-center ("orv")
    QString icon;    ///< address of the icon
    QList<ServerAddress> udtServers;
    QList<ServerAddress> asperaServers;
    QString path;         ///< the user's home here; empty: not yet known, "NotFound": none
    qint64 used = 0;      ///< bytes
    qint64 quota = 0;     ///< bytes
    qint64 requestId = 0; ///< outstanding check of this sub-center, 0 when there is none

    /// The user has a home folder in this sub-center.
    bool hasHome() const { return !path.isEmpty() && path != QLatin1String("NotFound"); }
};

Q_DECLARE_METATYPE(SubCenter)
