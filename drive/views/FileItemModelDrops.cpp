#include "FileItemModel.h"

#include "DriveClipboard.h"

#include <QUrl>

#include <algorithm>

Qt::ItemFlags FileItemModel::flags(const QModelIndex &index) const
{
    // The ground takes drops too: they go into the folder shown.
    if (!index.isValid())
        return m_search ? Qt::NoItemFlags : Qt::ItemIsDropEnabled;
    Qt::ItemFlags result = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
    if (index.column() == NameColumn)
        result |= Qt::ItemIsEditable;
    if (!m_search && item(index.row()).isFolder())
        result |= Qt::ItemIsDropEnabled;
    return result;
}

QStringList FileItemModel::mimeTypes() const
{
    return {DriveClipboard::format(), QStringLiteral("application/x-qabstractitemmodeldatalist"),
            QStringLiteral("text/uri-list")};
}

QMimeData *FileItemModel::mimeData(const QModelIndexList &indexes) const
{
    DriveClipboard record;
    record.type = QStringLiteral("Cut");
    record.subCenterId = m_subCenterId;
    for (const QModelIndex &index : indexes) {
        if (index.column() == NameColumn)
            record.items.append(item(index.row()));
    }
    return record.isEmpty() ? nullptr : new DriveMimeData(record);
}

QString FileItemModel::dropFolder(const QMimeData *data, const QModelIndex &parent) const
{
    if (m_search || !data)
        return {};
    const bool ontoFolder = parent.isValid() && parent.row() < rowCount() && item(parent.row()).isFolder();
    const QString folder = ontoFolder ? FileListing::withSlash(item(parent.row()).path) : m_folder;
    if (!data->hasFormat(DriveClipboard::format())) {
        const QList<QUrl> urls = data->urls();
        const bool local = std::any_of(urls.begin(), urls.end(), [](const QUrl &url) { return url.isLocalFile(); });
        return local ? folder : QString();
    }
    const DriveClipboard record = DriveClipboard::fromMime(data);
    if (record.isEmpty() || record.subCenterId != m_subCenterId)
        return {};
    // Nothing is moved into itself, nor to where it is already.
    const bool useless = std::any_of(record.items.begin(), record.items.end(), [&](const FileItem &item) {
        return folder.startsWith(FileListing::withSlash(item.path)) || FileListing::parentFolder(item.path) == folder;
    });
    return useless ? QString() : folder;
}

bool FileItemModel::canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                    const QModelIndex &parent) const
{
    Q_UNUSED(row)
    Q_UNUSED(column)
    return action != Qt::IgnoreAction && !dropFolder(data, parent).isEmpty();
}

bool FileItemModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                 const QModelIndex &parent)
{
    Q_UNUSED(row)
    Q_UNUSED(column)
    const QString folder = action == Qt::IgnoreAction ? QString() : dropFolder(data, parent);
    if (folder.isEmpty())
        return false;
    if (data->hasFormat(DriveClipboard::format()))
        emit sigMove(DriveClipboard::fromMime(data).paths(), folder);
    else
        emit sigUpload(DriveClipboard::localFiles(data), folder);
    // The view takes the rows out of a model whose move was accepted; here that is the service's answer to tell.
    return false;
}
