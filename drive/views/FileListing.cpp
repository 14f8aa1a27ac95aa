#include "FileListing.h"

#include <algorithm>

FileListing FileListing::prepare(const QList<FileItem> &items, FileOrder::Type order)
{
    FileListing listing;
    const QString suffix = companionSuffix();
    // An entry that is listed twice, as a hostile or confused service may do, is shown once, with its last record.
    QSet<QString> seen, companions;
    seen.reserve(items.size());
    for (const FileItem &item : items) {
        if (item.type == FileItem::File && item.path.endsWith(suffix))
            companions.insert(key(item.path));
    }
    listing.items.reserve(items.size());
    for (int i = items.size() - 1; i >= 0; --i) {
        const FileItem &item = items.at(i);
        const QString itemKey = key(item.path);
        if (seen.contains(itemKey))
            continue;
        seen.insert(itemKey);
        if (item.type == FileItem::File && companions.contains(itemKey + suffix))
            listing.unfinished.insert(itemKey);
        listing.items.append(item);
    }
    std::reverse(listing.items.begin(), listing.items.end());
    if (!listing.unfinished.isEmpty()) {
        const auto isHidden = [&](const FileItem &item) {
            return item.path.endsWith(suffix) && listing.unfinished.contains(key(item.path).chopped(suffix.size()));
        };
        listing.items.erase(std::remove_if(listing.items.begin(), listing.items.end(), isHidden), listing.items.end());
    }
    FileOrder::sort(listing.items, order);
    for (const FileItem &item : qAsConst(listing.items)) {
        ++(item.isFolder() ? listing.folders : listing.files);
        if (isPicture(item))
            listing.thumbnails.append(item);
    }
    return listing;
}

QString FileListing::key(const QString &path)
{
    return path.size() > 1 && path.endsWith(QLatin1Char('/')) ? path.chopped(1) : path;
}

QString FileListing::parentFolder(const QString &path)
{
    const QString own = key(path);
    return withSlash(own.left(qMax(0, own.lastIndexOf(QLatin1Char('/')))));
}

QString FileListing::fileName(const QString &path)
{
    const QString own = key(path);
    return own.mid(own.lastIndexOf(QLatin1Char('/')) + 1);
}

QString FileListing::withSlash(const QString &folder)
{
    return folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
}

bool FileListing::isPicture(const FileItem &item)
{
    return item.type == FileItem::File && item.contentType.startsWith(QLatin1String("image/")) &&
           !item.name.endsWith(QLatin1String(".psd"), Qt::CaseInsensitive);
}

bool FileListing::isArchive(const FileItem &item)
{
    return !item.isFolder() && item.contentType == QLatin1String("application/zip");
}

QString FileListing::companionSuffix()
{
    return QStringLiteral(".ZPDT.cache");
}
