#include "CacheFolders.h"

#include "ConfigLocations.h"
#include "GlobalConfig.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

namespace {

QByteArray keyOf(const FileItem &item)
{
    return item.path.toUtf8() + QByteArray::number(item.datetime);
}

QByteArray keyOf(const FileItem &item, const QSize &size)
{
    return keyOf(item) + QByteArray::number(size.width()) + QByteArray::number(size.height());
}

QString placed(const QString &folder, const QByteArray &key)
{
    const QString digest = QString::fromLatin1(QCryptographicHash::hash(key, QCryptographicHash::Md5).toHex());
    return folder + digest.at(0) + QLatin1Char('/') + digest.at(1) + QLatin1Char('/') + digest.at(2) +
           QLatin1Char('/') + digest;
}

} // namespace

CacheFolders::CacheFolders(const QString &cacheFolder, const QString &owner)
    : m_root(cacheFolder)
    , m_owner(ConfigLocations::folderName(owner))
{
}

CacheFolders CacheFolders::ofCurrentUser(const QString &owner)
{
    GlobalConfig *config = GlobalConfig::instance();
    return CacheFolders(config->userFolder(config->currentUser().username) + QStringLiteral("Cache/"), owner);
}

QString CacheFolders::entry(const QString &kind, const QByteArray &key) const
{
    return placed(m_root + m_owner + kind, key);
}

QString CacheFolders::thumbnail(const FileItem &item, const QSize &size) const
{
    return entry(QStringLiteral("/Thumbnail/"), keyOf(item, size));
}

QString CacheFolders::preview(const FileItem &item, const QSize &size) const
{
    return entry(QStringLiteral("/Preview/"), keyOf(item, size));
}

QString CacheFolders::file(const FileItem &item) const
{
    return entry(QStringLiteral("/File/"), keyOf(item));
}

QString CacheFolders::userIcon(const QString &address) const
{
    // The same in all sub-centers, so without the owner.
    return placed(m_root + QStringLiteral("UserIcon/"), address.toUtf8());
}

bool CacheFolders::write(const QString &path, const QByteArray &bytes)
{
    if (!QDir().mkpath(QFileInfo(path).path()))
        return false;
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
}

QByteArray CacheFolders::read(const QString &path, qint64 limit)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > limit)
        return {};
    return file.readAll();
}
