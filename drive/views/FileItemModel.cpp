#include "FileItemModel.h"

#include "DriveClipboard.h"
#include "FileTexts.h"
#include "OrderedWork.h"

#include <QBuffer>
#include <QImageReader>
#include <QPixmap>
#include <QUrl>

#include <algorithm>

namespace {

/// Lists up to this length are sorted where they arrive.
constexpr int SortInline = 2000;
/// More separate removals than this at once redraw the list instead of taking row by row.
constexpr int ManyRanges = 100;

/// What the decoded pictures of one model may take.
constexpr int ThumbnailMemory = 48 * 1024 * 1024;
/// Pictures of entries are small; one that claims more is not decoded.
constexpr int LargestPicture = 1024;

QString pictureKey(const FileItem &item)
{
    return QString::number(item.datetime, 36) + item.path;
}

QImage decoded(const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (!size.isValid() || qMax(size.width(), size.height()) > LargestPicture)
        return {};
    return reader.read();
}

} // namespace

FileItemModel::FileItemModel(QObject *parent)
    : QAbstractTableModel(parent)
    , m_work(new OrderedWork(this))
    , m_thumbnails(ThumbnailMemory)
{
}

FileItemModel::~FileItemModel() = default;

void FileItemModel::show(const QList<FileItem> &items)
{
    const FileOrder::Type order = m_order;
    m_work->runIf(items.size() > SortInline, [this, items, order] {
        return OrderedWork::Deliver([this, listing = FileListing::prepare(items, order)] {
            replace(listing);
            emit shown();
            if (!m_listing.thumbnails.isEmpty())
                emit sigGetIcons(m_listing.thumbnails);
        });
    });
}

void FileItemModel::replace(FileListing listing)
{
    beginResetModel();
    m_listing = std::move(listing);
    itemsChanged();
    endResetModel();
}

void FileItemModel::add(const QList<FileItem> &items)
{
    m_work->post([this, items] { addNow(items); });
}

void FileItemModel::addNow(const QList<FileItem> &items)
{
    const int folders = m_listing.folders, files = m_listing.files;
    QList<FileItem> pictures;
    for (const FileItem &item : items) {
        m_listing.unfinished.remove(FileListing::key(item.path));
        if (FileListing::isPicture(item))
            pictures.append(item);
    }
    // Inserted one by one, a thousand entries would move a long list a thousand times.
    if (items.size() > ManyRanges) {
        FileListing all = FileListing::prepare(m_listing.items.toList() + items, m_order);
        all.unfinished.unite(m_listing.unfinished);
        replace(all);
    } else {
        for (const FileItem &item : items)
            addOne(item);
    }
    emit added(m_listing.folders - folders, m_listing.files - files);
    if (!pictures.isEmpty())
        emit sigGetIcons(pictures);
}

void FileItemModel::addOne(const FileItem &item)
{
    const int row = rowOf(item.path);
    if (row < 0)
        return insert(item);
    count(m_listing.items[row], -1);
    count(item, 1);
    m_listing.items[row] = item;
    ++m_version;
    emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

void FileItemModel::count(const FileItem &item, int change)
{
    (item.isFolder() ? m_listing.folders : m_listing.files) += change;
}

void FileItemModel::insert(const FileItem &item)
{
    const int row = FileOrder::insertRow(m_listing.items, item, m_order);
    beginInsertRows({}, row, row);
    m_listing.items.insert(row, item);
    count(item, 1);
    itemsChanged();
    endInsertRows();
}

void FileItemModel::remove(const QStringList &paths)
{
    m_work->post([this, paths] { removeNow(paths); });
}

void FileItemModel::removeNow(const QStringList &paths)
{
    QVector<int> rows;
    for (const QString &path : paths) {
        const int row = rowOf(path);
        if (row >= 0)
            rows.append(row);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    if (rows.isEmpty())
        return;

    int folders = 0, ranges = 0;
    for (int i = 0; i < rows.size(); ++i) {
        folders += m_listing.items[rows[i]].isFolder() ? 1 : 0;
        count(m_listing.items[rows[i]], -1);
        ranges += i == 0 || rows[i] != rows[i - 1] + 1 ? 1 : 0;
        m_listing.unfinished.remove(FileListing::key(m_listing.items[rows[i]].path));
    }
    if (ranges > ManyRanges) {
        beginResetModel();
        QVector<FileItem> kept;
        kept.reserve(m_listing.items.size() - rows.size());
        for (int row = 0, next = 0; row < m_listing.items.size(); ++row) {
            if (next < rows.size() && rows[next] == row)
                ++next;
            else
                kept.append(m_listing.items[row]);
        }
        m_listing.items.swap(kept);
        itemsChanged();
        endResetModel();
    } else {
        for (int last = rows.size() - 1; last >= 0;) {
            int first = last;
            while (first > 0 && rows[first - 1] == rows[first] - 1)
                --first;
            takeRows(rows[first], rows[last]);
            last = first - 1;
        }
    }
    emit removed(folders, rows.size() - folders);
}

void FileItemModel::takeRows(int first, int last)
{
    beginRemoveRows({}, first, last);
    m_listing.items.remove(first, last - first + 1);
    itemsChanged();
    endRemoveRows();
}

void FileItemModel::rename(const QString &src, const QString &dest)
{
    m_work->post([this, src, dest] { renameNow(src, dest); });
}

void FileItemModel::renameNow(const QString &src, const QString &dest)
{
    const int row = rowOf(src);
    if (row < 0)
        return;
    FileItem item = m_listing.items[row];
    item.path = dest;
    item.name = FileListing::fileName(dest);
    const int target = FileOrder::insertRow(m_listing.items, item, m_order, row);
    if (target != row)
        beginMoveRows({}, row, row, {}, target > row ? target + 1 : target);
    m_listing.items[row] = item;
    m_listing.items.move(row, target);
    itemsChanged();
    if (target != row)
        endMoveRows();
    emit dataChanged(index(target, 0), index(target, ColumnCount - 1));
}

void FileItemModel::setIcons(const QList<FileItem> &items)
{
    m_work->run([this, items] {
        QList<QImage> pictures;
        for (const FileItem &item : items)
            pictures.append(decoded(item.iconData));
        return OrderedWork::Deliver([this, items, pictures] {
            for (int i = 0; i < items.size(); ++i)
                setThumbnail(items.at(i), pictures.at(i));
        });
    });
}

void FileItemModel::setThumbnail(const FileItem &item, const QImage &picture)
{
    auto *pixmap = new QPixmap(QPixmap::fromImage(picture));
    m_thumbnails.insert(pictureKey(item), pixmap, qMax<int>(64, int(picture.sizeInBytes())));
    const int row = rowOf(item.path);
    if (row >= 0 && m_listing.items.at(row).datetime == item.datetime)
        emit dataChanged(index(row, NameColumn), index(row, NameColumn), {Qt::DecorationRole});
}

bool FileItemModel::hasThumbnail(const FileItem &item) const
{
    return m_thumbnails.contains(pictureKey(item));
}

void FileItemModel::setOrder(FileOrder::Type order)
{
    if (m_order == order)
        return;
    m_order = order;
    m_work->post([this] { sortAgain(); });
}

void FileItemModel::sortAgain()
{
    const FileOrder::Type order = m_order;
    const quint64 version = m_version;
    m_work->runIf(m_listing.items.size() > SortInline, [this, items = m_listing.items, order, version]() mutable {
        FileOrder::sort(items, order);
        return OrderedWork::Deliver([this, items, order, version] {
            if (m_order != order)
                return;
            if (m_version == version)
                takeOrder(items);
            else
                sortAgain();
        });
    });
}

void FileItemModel::takeOrder(const QVector<FileItem> &items)
{
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    QStringList paths;
    for (const QModelIndex &index : before)
        paths.append(m_listing.items.at(index.row()).path);
    m_listing.items = items;
    itemsChanged();
    QModelIndexList after;
    for (int i = 0; i < before.size(); ++i)
        after.append(index(rowOf(paths.at(i)), before.at(i).column()));
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void FileItemModel::itemsChanged()
{
    m_rowsValid = false;
    ++m_version;
}

int FileItemModel::rowOf(const QString &path) const
{
    if (!m_rowsValid) {
        m_rows.clear();
        m_rows.reserve(m_listing.items.size());
        for (int row = 0; row < m_listing.items.size(); ++row)
            m_rows.insert(FileListing::key(m_listing.items.at(row).path), row);
        m_rowsValid = true;
    }
    return m_rows.value(FileListing::key(path), -1);
}

bool FileItemModel::isUnfinished(int row) const
{
    return m_listing.unfinished.contains(FileListing::key(item(row).path));
}

QSet<QString> FileItemModel::names() const
{
    QSet<QString> result;
    result.reserve(m_listing.items.size());
    for (const FileItem &item : m_listing.items)
        result.insert(item.name);
    return result;
}

int FileItemModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_listing.items.size();
}

int FileItemModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(ColumnCount);
}

QVariant FileItemModel::text(const FileItem &item, int column) const
{
    switch (column) {
    case ModifiedColumn:
        return FileTexts::time(item);
    case SizeColumn:
        return FileTexts::size(item);
    case PathColumn:
        return FileListing::parentFolder(item.path);
    default:
        return item.name;
    }
}

QVariant FileItemModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_listing.items.size())
        return {};
    const FileItem &item = m_listing.items.at(index.row());
    switch (role) {
    case Qt::DisplayRole: {
        // A line break in a name would push the text out of its row.
        QString shownText = text(item, index.column()).toString();
        shownText.replace(QLatin1Char('\n'), QChar(0x2424)).replace(QLatin1Char('\r'), QChar(0x240d));
        return shownText;
    }
    case Qt::EditRole:
        return item.name;
    case Qt::DecorationRole:
        return index.column() == NameColumn ? QVariant(icon(index.row())) : QVariant();
    case Qt::ToolTipRole:
        return FileTexts::plainToolTip(FileTexts::toolTip(item));
    case Qt::AccessibleDescriptionRole:
        return isUnfinished(index.row()) ? tr("Transfer not finished") : QString();
    case Qt::TextAlignmentRole:
        // The others are left to the view: the icon grid centres the name.
        return index.column() == SizeColumn ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter)) : QVariant();
    case PathRole:
        return item.path;
    case TypeRole:
        return item.type;
    case UnfinishedRole:
        return isUnfinished(index.row());
    case ItemRole:
        return QVariant::fromValue(item);
    default:
        return {};
    }
}

QIcon FileItemModel::icon(int row) const
{
    const FileItem &item = m_listing.items.at(row);
    const auto named = [this](const QString &name) {
        QIcon &icon = m_icons[name];
        if (icon.isNull())
            icon = QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(name));
        return icon;
    };
    if (isUnfinished(row))
        return named(QStringLiteral("unfinished"));
    if (FileListing::isPicture(item)) {
        const QPixmap *picture = m_thumbnails.object(pictureKey(item));
        if (picture && !picture->isNull())
            return QIcon(*picture);
    }
    return named(FileTexts::iconName(item));
}

QVariant FileItemModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return section == SizeColumn ? int(Qt::AlignRight | Qt::AlignVCenter) : int(Qt::AlignLeft | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case NameColumn:
        return tr("Name");
    case ModifiedColumn:
        return tr("Modified");
    case SizeColumn:
        return tr("Size");
    default:
        return tr("Path");
    }
}

Qt::ItemFlags FileItemModel::flags(const QModelIndex &index) const
{
    // The ground takes drops too: they go into the folder shown.
    if (!index.isValid())
        return m_search ? Qt::NoItemFlags : Qt::ItemIsDropEnabled;
    Qt::ItemFlags result = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled | Qt::ItemNeverHasChildren;
    if (index.column() == NameColumn)
        result |= Qt::ItemIsEditable;
    if (!m_search)
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
    if (parent.isValid() && parent.row() < m_listing.items.size() && item(parent.row()).isFolder())
        return FileListing::withSlash(item(parent.row()).path);
    return m_folder;
}

bool FileItemModel::canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                    const QModelIndex &parent) const
{
    Q_UNUSED(row)
    Q_UNUSED(column)
    if (m_search || !data || action == Qt::IgnoreAction)
        return false;
    if (!data->hasFormat(DriveClipboard::format()))
        return data->hasUrls();
    const DriveClipboard record = DriveClipboard::fromMime(data);
    if (record.isEmpty() || record.subCenterId != m_subCenterId)
        return false;
    // Nothing is moved into itself, nor to where it is already.
    const QString folder = dropFolder(parent);
    return std::none_of(record.items.begin(), record.items.end(), [&](const FileItem &item) {
        return folder.startsWith(FileListing::withSlash(item.path)) || FileListing::parentFolder(item.path) == folder;
    });
}

bool FileItemModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                                 const QModelIndex &parent)
{
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    const QString folder = dropFolder(parent);
    if (data->hasFormat(DriveClipboard::format())) {
        emit sigMove(DriveClipboard::fromMime(data).paths(), folder);
    } else {
        QStringList paths;
        for (const QUrl &url : data->urls()) {
            if (url.isLocalFile())
                paths.append(url.toLocalFile());
        }
        if (paths.isEmpty())
            return false;
        emit sigUpload(paths, folder);
    }
    // The view takes the rows out of a model whose move was accepted; here that is the service's answer to tell.
    return false;
}
