#include "FileItemModel.h"

#include "DriveClipboard.h"
#include "DropDecision.h"

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

QString FileItemModel::dropFolder(const QModelIndex &parent) const
{
    if (m_search)
        return {};
    const bool ontoFolder = parent.isValid() && parent.row() < rowCount() && item(parent.row()).isFolder();
    return ontoFolder ? FileListing::withSlash(item(parent.row()).path) : m_folder;
}

bool FileItemModel::canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                    const QModelIndex &parent) const
{
    Q_UNUSED(row)
    Q_UNUSED(column)
    return action != Qt::IgnoreAction && DropDecision::of(data, dropFolder(parent), m_subCenterId);
}

bool FileItemModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                 const QModelIndex &parent)
{
    Q_UNUSED(row)
    Q_UNUSED(column)
    if (action == Qt::IgnoreAction)
        return false;
    const QString folder = dropFolder(parent);
    switch (DropDecision::of(data, folder, m_subCenterId)) {
    case DropDecision::Move:
        emit sigMove(DriveClipboard::fromMime(data).paths(), folder);
        break;
    case DropDecision::Upload:
        emit sigUpload(DriveClipboard::localFiles(data), folder);
        break;
    case DropDecision::Refused:
        break;
    }
    // The view takes the rows out of a model whose move was accepted; here that is the service's answer to tell.
    return false;
}
