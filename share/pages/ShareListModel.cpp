#include "ShareListModel.h"

#include "FileItem.h"
#include "FileOrder.h"
#include "FileTexts.h"
#include "ShareTexts.h"

#include <QIcon>
#include <QSet>

#include <algorithm>

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

/// Each made once; as it is, without a tint, in a selection.
QIcon iconOf(const QString &name)
{
    static QHash<QString, QIcon> icons;
    QIcon &icon = icons[name];
    if (icon.isNull()) {
        const QString file = QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(name);
        icon.addFile(file);
        icon.addFile(file, QSize(), QIcon::Selected);
    }
    return icon;
}

} // namespace

ShareListModel::ShareListModel(Side side, QObject *parent)
    : QAbstractTableModel(parent)
    , m_side(side)
{
    m_later.setSingleShot(true);
    m_later.setInterval(0);
    connect(&m_later, &QTimer::timeout, this, [this] { sort(m_column, m_order); });
}

ShareListModel::Entry ShareListModel::entryOf(const ShareRecord &record) const
{
    return {record, FileTexts::line(record.name),
            m_side == Mine ? ShareTexts::audience(record)
                           : FileTexts::line(m_nicknames.value(record.owner, record.owner)),
            record.shareTime.toMSecsSinceEpoch()};
}

void ShareListModel::show(const QList<ShareRecord> &records)
{
    beginResetModel();
    m_entries.clear();
    m_entries.reserve(records.size());
    for (const ShareRecord &record : records)
        m_entries << entryOf(record);
    arrange();
    endResetModel();
}

void ShareListModel::put(const ShareRecord &record)
{
    const auto same = [&](const Entry &entry) { return entry.record.shareId == record.shareId; };
    beginResetModel();
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), same);
    if (found != m_entries.end())
        *found = entryOf(record);
    else
        m_entries.prepend(entryOf(record));
    arrange();
    endResetModel();
}

void ShareListModel::remove(const QStringList &shareIds)
{
    const QSet<QString> ids(shareIds.begin(), shareIds.end());
    const auto gone = [&](const Entry &entry) { return ids.contains(entry.record.shareId); };
    beginResetModel();
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(), gone), m_entries.end());
    arrange();
    endResetModel();
}

void ShareListModel::setNickname(const QString &username, const QString &nickname)
{
    m_nicknames.insert(username, nickname);
    for (Entry &entry : m_entries) {
        if (entry.record.owner == username)
            entry = entryOf(entry.record);
    }
    if (m_column == WhoColumn || isFiltered())
        m_later.start();
    else if (!m_rows.isEmpty())
        emit dataChanged(index(0, WhoColumn), index(m_rows.size() - 1, WhoColumn));
}

void ShareListModel::setFilter(const QString &text)
{
    if (text == m_filter)
        return;
    beginResetModel();
    m_filter = text;
    arrange();
    endResetModel();
}

void ShareListModel::sort(int column, Qt::SortOrder order)
{
    beginResetModel();
    m_column = column;
    m_order = order;
    arrange();
    endResetModel();
}

void ShareListModel::arrange()
{
    m_later.stop();
    m_rows.clear();
    for (int i = 0; i < m_entries.size(); ++i) {
        const Entry &entry = m_entries.at(i);
        if (m_filter.isEmpty() || entry.name.contains(m_filter, Qt::CaseInsensitive) ||
            entry.who.contains(m_filter, Qt::CaseInsensitive))
            m_rows << i;
    }
    if (m_column == NameColumn || m_column == WhoColumn) {
        // By the rule of the drive's own lists, folders first.
        QVector<FileItem> items;
        items.reserve(m_rows.size());
        for (const int row : qAsConst(m_rows)) {
            FileItem item;
            const Entry &entry = m_entries.at(row);
            item.name = m_column == NameColumn ? entry.name : entry.who;
            item.type = m_column == NameColumn && entry.record.isDir ? FileItem::Folder : FileItem::File;
            item.size = quint64(row);
            items << item;
        }
        FileOrder::sort(items, FileOrder::FileName);
        for (int i = 0; i < items.size(); ++i)
            m_rows[i] = int(items.at(i).size);
    } else {
        QVector<QPair<qint64, int>> values;
        values.reserve(m_rows.size());
        for (const int row : qAsConst(m_rows)) {
            const Entry &entry = m_entries.at(row);
            const quint64 size = entry.record.isDir ? 0 : entry.record.size;
            values.append({m_column == SizeColumn ? qint64(size) : entry.time, row});
        }
        std::sort(values.begin(), values.end());
        for (int i = 0; i < values.size(); ++i)
            m_rows[i] = values.at(i).second;
    }
    if (m_order == Qt::DescendingOrder)
        std::reverse(m_rows.begin(), m_rows.end());
}

void ShareListModel::retranslate()
{
    for (Entry &entry : m_entries)
        entry = entryOf(entry.record);
    emit headerDataChanged(Qt::Horizontal, 0, ColumnCount - 1);
    if (!m_rows.isEmpty())
        emit dataChanged(index(0, 0), index(m_rows.size() - 1, ColumnCount - 1));
}

int ShareListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

int ShareListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(ColumnCount);
}

QString ShareListModel::text(const Entry &entry, int column) const
{
    const ShareRecord &record = entry.record;
    switch (column) {
    case NameColumn:
        return entry.name;
    case WhoColumn:
        return entry.who;
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
    const Entry &entry = m_entries.at(m_rows.at(index.row()));
    const ShareRecord &record = entry.record;
    switch (role) {
    case Qt::DisplayRole:
        return text(entry, index.column());
    case Qt::ToolTipRole:
        return FileTexts::plainToolTip(index.column() == NameColumn && m_side == Mine ? record.path
                                       : index.column() == WhoColumn && m_side == Mine && record.shareTo.size() > 1
                                           ? record.shareTo.join(QLatin1Char('\n'))
                                           : text(entry, index.column()));
    case Qt::DecorationRole:
        return index.column() == NameColumn ? iconOf(FileTexts::iconName(itemOf(record))) : QVariant();
    case Qt::TextAlignmentRole:
        return index.column() == SizeColumn ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter)) : QVariant();
    default:
        return {};
    }
}

QVariant ShareListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::TextAlignmentRole && section == SizeColumn)
        return int(Qt::AlignRight | Qt::AlignVCenter);
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
