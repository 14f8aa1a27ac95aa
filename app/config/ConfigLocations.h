#pragma once

#include <QString>

/// Where the settings and the users' files lie. The "Config" folder is the one beside the executable, or the one that
/// the environment variable ARKVALE_CONFIG_DIR names. Folders of users are readable by their owner alone. Values of
/// the moment of construction; copies may be used from any thread.
class ConfigLocations
{
public:
    ConfigLocations();

    QString configFolder() const { return m_configFolder; }     ///< ends in "/"
    QString languageFolder() const { return m_languageFolder; } ///< ends in "/"
    QString settingsFile() const { return m_configFolder + QStringLiteral("arkvale.ini"); }
    QString templateDatabase() const { return m_configFolder + QStringLiteral("ArkvaleTolma"); }
    /// Its folder is made when missing.
    QString knownUsersFile() const;

    /// The folder of one user, made when missing; ends in "/".
    QString userFolder(const QString &userKey) const;
    /// The user's database, copied from the template when it does not exist. The path is returned even when that
    /// failed; see userDatabaseExists().
    QString userDatabase(const QString &userKey) const;
    /// Makes nothing.
    bool userDatabaseExists(const QString &userKey) const;

    /// A user's key as one harmless name of a folder: different keys have different names, also where the file system
    /// takes no notice of case, and no name leaves the folder or stands for a device.
    static QString folderName(const QString &userKey);

private:
    QString m_configFolder;
    QString m_languageFolder;
    QString m_userData; ///< ends in "/"
};
