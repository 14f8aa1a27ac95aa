#pragma once

#include "TransferSettings.h"

#include <QMap>
#include <QString>

/// What the settings file "arkvale.ini" of the installation holds. A plain value.
struct InstallSettings
{
    QString language; ///< as the file has it; empty: not chosen
    QString auth;
    QString listSubCenter;
    QMap<QString, QString> resetPassword; ///< language code, or "default", to address
    QMap<QString, QString> registerPage;
    QMap<QString, QString> userProtocol;
    QMap<QString, QString> helpUrl;
    QString updateUrl;
    QString version;
    QString sid;
    QString platform;
    QString userType;
    bool disableShare = false;
    bool startWssWhenOpen = false;
    quint16 wssPort = 9998;
    ZpdtSettings zpdt;
    SettingsPageOptions settingsPage;
    int previewFileMaxSize = 10; ///< MB

    /// Replaces *this by what the file holds: an absent key and a key of the wrong type have their defaults, whatever
    /// the others hold. False, and nothing is changed, when the file cannot be read or holds no JSON object.
    bool read(const QString &path);
    /// Writes every key in the order of the members. Keys of the old file that the program does not know stay, behind
    /// its own. False when the disk refused; the old file then stays.
    bool write(const QString &path) const;
};

/// The users who logged in on this machine, newest first.
namespace KnownUsers {

/// At most @p limit users; an unreadable file and entries that are no user count for nothing.
QList<KnownUser> read(const QString &path, int limit);
bool write(const QString &path, const QList<KnownUser> &users);
/// @p users with @p user in front, once, and not more than @p limit of them.
QList<KnownUser> withFirst(const QList<KnownUser> &users, const KnownUser &user, int limit);

} // namespace KnownUsers
