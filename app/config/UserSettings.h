#pragma once

#include "TransferSettings.h"

#include <QMap>
#include <QString>

/// The settings of one user, kept in the user's key/value database. A plain value.
struct UserSettings
{
    QString defaultSubCenterId;
    QMap<QString, TargetSpeed> targetSpeeds;          ///< by sub-center id
    QMap<QString, DownloadPathSetting> downloadPaths; ///< by sub-center id

    /// Reads from the thread that calls. What is missing or broken has its default.
    static UserSettings load(const QString &database);
    /// False, and nothing is changed, when the database refused.
    bool save(const QString &database) const;

    static QMap<QString, TargetSpeed> targetSpeedsFromText(const QString &json);
    static QMap<QString, DownloadPathSetting> downloadPathsFromText(const QString &json);
    QString targetSpeedsText() const;
    QString downloadPathsText() const;
};
