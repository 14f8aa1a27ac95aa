#pragma once

#include "ConfigLocations.h"
#include "GlobalConfig.h"
#include "InstallSettings.h"
#include "UserSettings.h"

/// The members of the store, under its mutex; but the locations never change, and the last three are of the GUI thread.
struct GlobalConfig::Data
{
    ConfigLocations locations;
    InstallSettings settings;
    QMap<QString, QList<QTranslator *>> translators; ///< by language code, owned by the store
    QList<KnownUser> knownUsers;
    int knownUserLimit = 5;

    QString userKey; ///< whose settings are loaded
    UserSettings userSettings;
    QString currentSubCenterId;

    int state = NotLoggedIn;
    UserInfo currentUser;
    QMap<QString, UserInfo> users;
    Violation violation;
    OrvClient client{QString(), QString(), QString(), QString(), QString()};
    CommandLineRequest request;
    QString requestedSubCenterId;

    QList<SubCenter> subCenters;
    QList<Advertisement> advertisements;
    TransferLimit transferLimit;

    // GUI thread only. The store's own requests go through a copy, so that no lock is held while they are made.
    OrvClient requester{QString(), QString(), QString(), QString(), QString()};
    QMap<qint64, bool> pendingSubCenters; ///< request id to "quiet"
    QList<qint64> pendingOthers;

    void forgetHomes();
};
