#include "ConfigLocations.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

namespace {

constexpr QFile::Permissions kOwnFolder = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;
constexpr QFile::Permissions kOwnFile = QFile::ReadOwner | QFile::WriteOwner;

QString withSlash(const QString &folder)
{
    return folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
}

void makePrivate(const QString &folder)
{
    QDir().mkpath(folder);
    QFile::setPermissions(folder, kOwnFolder);
}

/// Names that open a device on Windows, with or without an ending.
bool isDeviceName(const QString &name)
{
    const QString stem = name.section(QLatin1Char('.'), 0, 0);
    static const QStringList devices{QStringLiteral("con"), QStringLiteral("prn"), QStringLiteral("aux"),
                                     QStringLiteral("nul")};
    if (devices.contains(stem))
        return true;
    return stem.size() == 4 && stem.at(3).isDigit() &&
           (stem.startsWith(QLatin1String("com")) || stem.startsWith(QLatin1String("lpt")));
}

} // namespace

ConfigLocations::ConfigLocations()
{
    const QString program = QCoreApplication::applicationDirPath();
    const QString named = qEnvironmentVariable("ARKVALE_CONFIG_DIR");
    m_configFolder =
        withSlash(named.isEmpty() ? program + QStringLiteral("/Config") : QDir::fromNativeSeparators(named));
    m_languageFolder = program + QStringLiteral("/Language/");
    m_userData = withSlash(QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation));
}

QString ConfigLocations::knownUsersFile() const
{
    const QString folder = m_userData + QStringLiteral("Config/");
    makePrivate(folder);
    return folder + QStringLiteral("arkvale.ini");
}

QString ConfigLocations::userFolder(const QString &userKey) const
{
    const QString users = m_userData + QStringLiteral("Users/");
    QString folder = users + folderName(userKey) + QLatin1Char('/');
    if (!QFileInfo::exists(folder)) {
        makePrivate(users);
        makePrivate(folder);
    }
    return folder;
}

bool ConfigLocations::userDatabaseExists(const QString &userKey) const
{
    return QFileInfo::exists(m_userData + QStringLiteral("Users/") + folderName(userKey) +
                             QStringLiteral("/ArkvaleTolma"));
}

QString ConfigLocations::userDatabase(const QString &userKey) const
{
    QString path = userFolder(userKey) + QStringLiteral("ArkvaleTolma");
    if (QFileInfo::exists(path))
        return path;
    // Under another name until it is whole, so that a crash never leaves half a database under the real one.
    const QString unfinished = path + QStringLiteral(".new");
    QFile::remove(unfinished);
    if (!QFile::copy(templateDatabase(), unfinished))
        return path;
    if (!QFile::setPermissions(unfinished, kOwnFile) || !QFile::rename(unfinished, path))
        QFile::remove(unfinished);
    return path;
}

QString ConfigLocations::folderName(const QString &userKey)
{
    constexpr int kLongest = 120;
    const QByteArray bytes = userKey.toUtf8();
    QString name;
    for (int i = 0; i < bytes.size(); ++i) {
        const char c = bytes.at(i);
        const bool edge = i == 0 || i == bytes.size() - 1;
        const bool plain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '@';
        if (plain || (c == '.' && !edge))
            name += QLatin1Char(c);
        else
            name += QStringLiteral("%%1").arg(static_cast<uchar>(c), 2, 16, QLatin1Char('0'));
    }
    if (name.isEmpty())
        return QStringLiteral("%");
    if (isDeviceName(name))
        return QStringLiteral("%%1").arg(static_cast<uchar>(bytes.at(0)), 2, 16, QLatin1Char('0')) + name.mid(1);
    if (name.size() > kLongest) {
        const QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
        return name.left(40) + QLatin1Char('%') + QString::fromLatin1(digest);
    }
    return name;
}
