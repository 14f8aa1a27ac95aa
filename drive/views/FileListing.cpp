#include "FileListing.h"

#include "RowIndex.h"

#include <algorithm>
#include <vector>

FileListing FileListing::prepare(const QList<FileItem> &items, FileOrder::Type order)
{
    FileListing listing;
    // An entry that is listed twice, as a hostile or confused service may do, is shown once, with its last record.
    QVector<FileItem> &kept = listing.items;
    kept.reserve(items.size());
    RowIndex rows;
    rows.reserve(items.size());
    QVector<int> companions;
    const QString suffix = companionSuffix();
    for (int i = items.size() - 1; i >= 0; --i) {
        kept.append(items.at(i));
        const int row = kept.size() - 1;
        if (!rows.insert(kept, row))
            kept.removeLast();
        else if (kept.at(row).type == FileItem::File && kept.at(row).path.endsWith(suffix))
            companions.append(row);
    }
    std::vector<bool> hidden(size_t(kept.size()));
    for (const int companion : qAsConst(companions)) {
        const QString path = kept.at(companion).path.chopped(suffix.size());
        const int row = rows.find(kept, path);
        if (row < 0 || kept.at(row).type != FileItem::File)
            continue;
        listing.unfinished.insert(path);
        hidden[size_t(companion)] = true;
    }
    if (!listing.unfinished.isEmpty()) {
        QVector<FileItem> shown;
        for (int row = 0; row < kept.size(); ++row) {
            if (!hidden[size_t(row)])
                shown.append(kept.at(row));
        }
        kept.swap(shown);
    }
    std::reverse(kept.begin(), kept.end());
    FileOrder::sort(kept, order);
    for (const FileItem &item : qAsConst(kept)) {
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
