#include "ShareListModel.h"

#include "FileItem.h"
#include "FileTexts.h"
#include "ShareTexts.h"

#include <QIcon>

namespace {

/// What a listing of the drive would say of the shared item.
FileItem itemOf(const ShareRecord &record)
{
    FileItem item;
    item.name = record.name;
    item.type = record.isDir ? FileItem::Folder : FileItem::File;
    item.size = record.size;
    item.contentType = record.contentType;
    return item;
}

} // namespace

ShareListModel::ShareListModel(Side side, QObject *parent)
    : QAbstractTableModel(parent)
    , m_side(side)
{
}

void ShareListModel::show(const QList<ShareRecord> &records)
{
    beginResetModel();
    m_records = records;
    endResetModel();
}

void ShareListModel::put(const ShareRecord &record)
{
    const int row = rowOf(record.shareId);
    if (row >= 0) {
        m_records[row] = record;
        emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
        return;
    }
    beginInsertRows({}, 0, 0);
    m_records.prepend(record);
    endInsertRows();
}

void ShareListModel::remove(const QStringList &shareIds)
{
    for (int row = m_records.size() - 1; row >= 0; --row) {
        if (!shareIds.contains(m_records.at(row).shareId))
            continue;
        beginRemoveRows({}, row, row);
        m_records.removeAt(row);
        endRemoveRows();
    }
}

void ShareListModel::setNickname(const QString &username, const QString &nickname)
{
    m_nicknames.insert(username, nickname);
    if (!m_records.isEmpty())
        emit dataChanged(index(0, WhoColumn), index(m_records.size() - 1, WhoColumn));
}

int ShareListModel::rowOf(const QString &shareId) const
{
    for (int row = 0; row < m_records.size(); ++row) {
        if (m_records.at(row).shareId == shareId)
            return row;
    }
    return -1;
}

void ShareListModel::retranslate()
{
    emit headerDataChanged(Qt::Horizontal, 0, ColumnCount - 1);
    if (!m_records.isEmpty())
        emit dataChanged(index(0, 0), index(m_records.size() - 1, ColumnCount - 1));
}

int ShareListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_records.size();
}

int ShareListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(ColumnCount);
}

QString ShareListModel::text(const ShareRecord &record, int column) const
{
    switch (column) {
    case NameColumn:
        return FileTexts::line(record.name);
    case WhoColumn:
        if (m_side == Mine)
            return ShareTexts::audience(record);
        return FileTexts::line(m_nicknames.value(record.owner, record.owner));
    case TimeColumn:
        return record.shareTime.isValid() ? record.shareTime.toString(QStringLiteral("yyyy-MM-dd HH:mm")) : QString();
    case SizeColumn:
        return record.isDir ? QString() : FileTexts::size(itemOf(record));
    default:
        return {};
    }
}

QVariant ShareListModel::data(const QModelIndex &index, int role) const
{
    const ShareRecord &record = m_records.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return text(record, index.column());
    case Qt::ToolTipRole:
        return FileTexts::plainToolTip(index.column() == NameColumn && m_side == Mine ? record.path
                                       : index.column() == WhoColumn && m_side == Mine && record.shareTo.size() > 1
                                           ? record.shareTo.join(QLatin1Char('\n'))
                                           : text(record, index.column()));
    case Qt::DecorationRole:
        if (index.column() == NameColumn)
            return QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(FileTexts::iconName(itemOf(record))));
        return {};
    case Qt::TextAlignmentRole:
        return index.column() == SizeColumn ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter)) : QVariant();
    case SortRole:
        if (index.column() == TimeColumn)
            return record.shareTime;
        return index.column() == SizeColumn ? QVariant(record.size) : QVariant(text(record, index.column()));
    default:
        return {};
    }
}

QVariant ShareListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case NameColumn:
        return tr("Name");
    case WhoColumn:
        return m_side == Mine ? tr("Shared with") : tr("Shared by");
    case TimeColumn:
        return tr("Shared");
    default:
        return tr("Size");
    }
}
