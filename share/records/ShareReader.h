#pragma once

#include "ShareRecord.h"
#include "UserInfo.h"

#include <QByteArray>

/// Reads what a service says of shares and their users into records. Every key is optional and may be of a wrong type;
/// what cannot be read is left as it was. Pure functions, usable from any thread.
class ShareReader
{
public:
    /// The elements of the array "share", in its order; what is no object in it is passed over.
    static QList<ShareRecord> records(const QByteArray &body);
    /// The elements of the array "users" that have a name.
    static QList<UserInfo> users(const QByteArray &body);
    /// "shareId" and "link", as a share that was made is answered.
    static void readMade(const QByteArray &body, ShareRecord *record);
    static void readProfile(const QByteArray &body, UserInfo *user);
    /// "userPath" and "filePath": where the transfer server finds a shared item.
    static void readPlace(const QByteArray &body, QString *userPath, QString *filePath);
};
