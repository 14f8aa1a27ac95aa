#include "FileItemModel.h"

#include "FileTexts.h"
#include "FileTreeWidgetItem.h"
#include "OrderedWork.h"

#include <QBuffer>
#include <QImageReader>
#include <QPixmap>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

/// Lists up to this length are sorted where they arrive.
constexpr int SortInline = 2000;
/// More changes than this at once renew the list instead of taking row by row.
constexpr int FewChanges = 24;

/// What the decoded pictures of one model may take.
constexpr int ThumbnailMemory = 48 * 1024 * 1024;
/// Pictures of entries are small; one that claims more is not decoded.
constexpr int LargestPicture = 1024;

QString pictureKey(const FileItem &item)
{
    return QString::number(item.datetime, 36) + item.path;
}

ushort folded(QChar c)
{
    const ushort code = c.unicode();
    if (code < 0x80)
        return code >= 'A' && code <= 'Z' ? ushort(code + 0x20) : code;
    return c.toCaseFolded().unicode();
}

/// Whether the name holds the folded text, whatever its case. The toolkit's search would do, but looks each character
/// up in its tables, and all names of a folder are searched with each key that is pressed.
bool holds(const QString &name, const QString &text)
{
    const QChar *at = name.constData();
    const QChar *const last = at + name.size() - text.size();
    for (; at <= last; ++at) {
        int same = 0;
        while (same < text.size() && folded(at[same]) == text.at(same).unicode())
            ++same;
        if (same == text.size())
            return true;
    }
    return false;
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

template <typename Change>
void FileItemModel::renew(const Change &change, RowIndex rows)
{
    beginResetModel();
    change();
    itemsChanged();
    m_rows = std::move(rows);
    applyFilter();
    endResetModel();
}

void FileItemModel::show(const QList<FileItem> &items)
{
    show(items, m_folder, m_search);
}

void FileItemModel::show(const QList<FileItem> &items, const QString &folder, bool search)
{
    const FileOrder::Type order = m_order;
    m_work->runIf(items.size() > SortInline, [this, items, order, folder, search] {
        const auto ready = std::make_shared<FileListing>(FileListing::prepare(items, order));
        const auto rows = std::make_shared<RowIndex>(RowIndex::of(ready->items));
        return OrderedWork::Deliver([this, ready, rows, folder, search] {
            const auto replace = [&] {
                std::swap(m_listing, *ready);
                if (folder != m_folder || search != m_search)
                    m_filter.clear();
                m_folder = folder;
                m_search = search;
            };
            renew(replace, std::move(*rows));
            OrderedWork::discard(std::move(*ready));
            emit shown();
            if (!m_listing.thumbnails.isEmpty())
                emit sigGetIcons(m_listing.thumbnails);
            OrderedWork::discard(std::move(m_listing.thumbnails));
            m_listing.thumbnails = {};
        });
    });
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
    if (items.size() > FewChanges || !m_filter.isEmpty()) {
        renew([&] {
            const FileListing more = FileListing::prepare(items, m_order);
            QVector<int> replaced;
            for (const FileItem &item : more.items) {
                count(item, 1);
                const int entry = find(item.path);
                if (entry >= 0) {
                    count(m_listing.items.at(entry), -1);
                    replaced.append(entry);
                }
            }
            takeOut(replaced);
            FileOrder::merge(m_listing.items, more.items, m_order);
        });
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
    const int entry = find(item.path);
    if (entry < 0)
        return insert(item);
    count(m_listing.items[entry], -1);
    count(item, 1);
    replace(entry, item);
}

void FileItemModel::replace(int entry, const FileItem &item)
{
    const FileItem &old = m_listing.items.at(entry);
    const bool moves = FileOrder::before(old, item, m_order) || FileOrder::before(item, old, m_order);
    const int target = moves ? FileOrder::insertRow(m_listing.items, item, m_order, entry) : entry;
    const auto change = [&] {
        m_listing.items[entry] = item;
        m_listing.items.move(entry, target);
    };
    if (!m_filter.isEmpty())
        return renew(change);
    if (target != entry)
        beginMoveRows({}, entry, entry, {}, target > entry ? target + 1 : target);
    change();
    itemsChanged();
    if (target != entry)
        endMoveRows();
    emit dataChanged(index(target, 0), index(target, ColumnCount - 1));
}

void FileItemModel::takeOut(QVector<int> entries)
{
    std::sort(entries.begin(), entries.end());
    QVector<FileItem> kept;
    kept.reserve(m_listing.items.size() - entries.size());
    auto next = entries.cbegin();
    for (int entry = 0; entry < m_listing.items.size(); ++entry) {
        if (next != entries.cend() && *next == entry)
            ++next;
        else
            kept.append(std::move(m_listing.items[entry]));
    }
    m_listing.items.swap(kept);
    OrderedWork::discard(std::move(kept));
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
    QVector<int> gone;
    for (const QString &path : paths) {
        const int entry = find(path);
        if (entry >= 0)
            gone.append(entry);
    }
    std::sort(gone.begin(), gone.end());
    gone.erase(std::unique(gone.begin(), gone.end()), gone.end());
    if (gone.isEmpty())
        return;

    int folders = 0;
    for (int entry : qAsConst(gone)) {
        const FileItem &item = m_listing.items.at(entry);
        folders += item.isFolder() ? 1 : 0;
        count(item, -1);
        m_listing.unfinished.remove(FileListing::key(item.path));
    }
    if (gone.size() > FewChanges || !m_filter.isEmpty()) {
        renew([&] { takeOut(gone); });
    } else {
        for (int last = gone.size() - 1; last >= 0;) {
            int first = last;
            while (first > 0 && gone[first - 1] == gone[first] - 1)
                --first;
            takeEntries(gone[first], gone[last]);
            last = first - 1;
        }
    }
    emit removed(folders, gone.size() - folders);
}

void FileItemModel::takeEntries(int first, int last)
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
    const int entry = find(src);
    if (entry < 0)
        return;
    FileItem item = m_listing.items[entry];
    item.path = dest;
    item.name = FileListing::fileName(dest);
    replace(entry, item);
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
    if (row >= 0 && this->item(row).datetime == item.datetime)
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
    const auto sorted = std::make_shared<QVector<FileItem>>(m_listing.items);
    m_work->runIf(sorted->size() > SortInline, [this, sorted, order, version] {
        FileOrder::sort(*sorted, order);
        const auto rows = std::make_shared<RowIndex>(RowIndex::of(*sorted));
        return OrderedWork::Deliver([this, sorted, rows, order, version] {
            if (m_order == order && m_version == version)
                renew([&] { m_listing.items.swap(*sorted); }, std::move(*rows));
            else if (m_order == order)
                sortAgain();
            OrderedWork::discard(std::move(*sorted));
        });
    });
}

void FileItemModel::setFilter(const QString &text)
{
    if (text == m_filter)
        return;
    beginResetModel();
    m_filter = text;
    applyFilter();
    endResetModel();
}

void FileItemModel::applyFilter()
{
    m_shownEntries.clear();
    if (m_filter.isEmpty())
        return;
    const QString wanted = m_filter.toCaseFolded();
    for (int entry = 0; entry < m_listing.items.size(); ++entry) {
        if (holds(m_listing.items.at(entry).name, wanted))
            m_shownEntries.append(entry);
    }
}

void FileItemModel::itemsChanged()
{
    m_rows.clear();
    ++m_version;
}

int FileItemModel::find(const QString &path) const
{
    if (m_rows.isEmpty())
        m_rows = RowIndex::of(m_listing.items);
    return m_rows.find(m_listing.items, path);
}

int FileItemModel::rowOfEntry(int entry) const
{
    if (m_filter.isEmpty() || entry < 0)
        return entry;
    const auto found = std::lower_bound(m_shownEntries.begin(), m_shownEntries.end(), entry);
    return found != m_shownEntries.end() && *found == entry ? int(found - m_shownEntries.begin()) : -1;
}

int FileItemModel::rowOf(const QString &path) const
{
    return rowOfEntry(find(path));
}

bool FileItemModel::isUnfinished(int row) const
{
    return !m_listing.unfinished.isEmpty() && m_listing.unfinished.contains(FileListing::key(item(row).path));
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
    if (parent.isValid())
        return 0;
    return m_filter.isEmpty() ? m_listing.items.size() : m_shownEntries.size();
}

int FileItemModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(ColumnCount);
}

QVariant FileItemModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const FileTreeWidgetItem entry(this, index.row());
    switch (role) {
    case Qt::DisplayRole:
        return entry.text(index.column());
    case Qt::EditRole:
        return entry.item().name;
    case Qt::DecorationRole:
        return index.column() == NameColumn ? QVariant(entry.icon()) : QVariant();
    case Qt::ToolTipRole:
        return entry.toolTip();
    case Qt::AccessibleDescriptionRole:
        return entry.isUnfinished() ? tr("Transfer not finished") : QString();
    case Qt::TextAlignmentRole:
        return int(FileTreeWidgetItem::alignment(index.column()));
    case PathRole:
        return entry.item().path;
    case TypeRole:
        return entry.item().type;
    case UnfinishedRole:
        return entry.isUnfinished();
    case ItemRole:
        return QVariant::fromValue(entry.item());
    default:
        return {};
    }
}

QModelIndexList FileItemModel::match(const QModelIndex &start, int role, const QVariant &value, int hits,
                                     Qt::MatchFlags flags) const
{
    // Typing the beginning of a name must find it at once in a long list too.
    if (role != Qt::DisplayRole || hits != 1 || !(flags & Qt::MatchStartsWith))
        return QAbstractTableModel::match(start, role, value, hits, flags);
    const QString text = value.toString();
    const int rows = rowCount();
    for (int i = 0; i < rows; ++i) {
        const int row = (qMax(0, start.row()) + i) % rows;
        if (item(row).name.startsWith(text, Qt::CaseInsensitive))
            return {index(row, NameColumn)};
    }
    return {};
}

QIcon FileItemModel::icon(int row) const
{
    const FileItem &entry = item(row);
    const auto named = [this](const QString &name) {
        QIcon &icon = m_icons[name];
        if (icon.isNull()) {
            const QString file = QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(name);
            icon = QIcon(file);
            icon.addFile(file, QSize(), QIcon::Selected); // as it is, without a tint
        }
        return icon;
    };
    if (isUnfinished(row))
        return named(QStringLiteral("unfinished"));
    if (FileListing::isPicture(entry)) {
        const QPixmap *picture = m_thumbnails.object(pictureKey(entry));
        if (picture && !picture->isNull()) {
            QIcon icon(*picture);
            icon.addPixmap(*picture, QIcon::Selected);
            return icon;
        }
    }
    return named(FileTexts::iconName(entry));
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
