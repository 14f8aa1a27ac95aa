#pragma once

#include "FileListing.h"
#include "RowIndex.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QHash>
#include <QIcon>

class OrderedWork;

/// The entries of one folder or search result, one row each, always sorted, folders first; with a filter the rows whose
/// name holds it. Long lists are sorted on a pool thread; changes take effect in the order in which they were asked
/// for, never after destruction. Drops leave as sigMove and sigUpload. GUI thread only.
class FileItemModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        NameColumn,
        ModifiedColumn,
        SizeColumn,
        PathColumn, ///< filled for a search result only
        ColumnCount
    };
    enum Role
    {
        PathRole = Qt::UserRole,
        TypeRole,
        UnfinishedRole,
        ItemRole
    };

    explicit FileItemModel(QObject *parent = nullptr);
    ~FileItemModel() override;

    /// Where drops onto the ground go, and what a drag carries.
    void setFolder(const QString &folder) { m_folder = folder; }
    void setSubCenterId(const QString &id) { m_subCenterId = id; }
    /// A search result takes no drops.
    void setSearchResult(bool search) { m_search = search; }
    QString folder() const { return m_folder; }
    QString subCenterId() const { return m_subCenterId; }
    bool isSearchResult() const { return m_search; }

    /// Replaces the list once it is sorted. With a place the drops go there, and another place than before drops the
    /// filter.
    void show(const QList<FileItem> &items);
    void show(const QList<FileItem> &items, const QString &folder, bool search);
    /// Inserts entries at their places; an entry that is there already takes the new record.
    void add(const QList<FileItem> &items);
    void remove(const QStringList &paths);
    /// The entry at @p src gets the path @p dest and its last component as name.
    void rename(const QString &src, const QString &dest);
    /// Shows what the bytes of @p items picture, once they are decoded on a pool thread; the bytes are not kept.
    void setIcons(const QList<FileItem> &items);
    /// Shows @p picture for the entry, if that is still there and has the same time. A null picture says that there is
    /// none: the icon of its kind stays and nobody is asked again. Pictures take a bounded part of the memory; those
    /// not shown for longest go first and are wanted again when they come into view.
    void setThumbnail(const FileItem &item, const QImage &picture);
    /// A picture was shown or is known not to be there.
    bool hasThumbnail(const FileItem &item) const;
    void setOrder(FileOrder::Type order);
    FileOrder::Type order() const { return m_order; }
    /// Shows only entries whose name holds @p text, whatever its case; all of them when it is empty.
    void setFilter(const QString &text);
    QString filter() const { return m_filter; }

    const FileItem &item(int row) const { return m_listing.items.at(entryOf(row)); }
    /// All entries, also those that the filter hides.
    const FileListing &listing() const { return m_listing; }
    /// Row of a path, -1 when it is not there or hidden.
    int rowOf(const QString &path) const;
    bool isUnfinished(int row) const;
    QIcon icon(int row) const;
    QSet<QString> names() const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QStringList mimeTypes() const override;
    QMimeData *mimeData(const QModelIndexList &indexes) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::CopyAction | Qt::MoveAction; }
    Qt::DropActions supportedDragActions() const override { return Qt::CopyAction | Qt::MoveAction; }
    QModelIndexList match(const QModelIndex &start, int role, const QVariant &value, int hits,
                          Qt::MatchFlags flags) const override;
    /// The folder that a drop there goes to; empty in a search result, which takes none.
    QString dropFolder(const QModelIndex &parent) const;
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;

signals:
    void sigUpload(QStringList paths, QString folder);
    void sigMove(QStringList paths, QString folder);
    void sigGetIcons(QList<FileItem> items);
    /// A whole list is in place.
    void shown();
    /// Entries came or went: how many folders and files.
    void added(int folders, int files);
    void removed(int folders, int files);

private:
    int entryOf(int row) const { return m_filter.isEmpty() ? row : m_shownEntries.at(row); }
    int rowOfEntry(int entry) const;
    /// Place of a path among all entries.
    int find(const QString &path) const;
    void addNow(const QList<FileItem> &items);
    void addOne(const FileItem &item);
    void count(const FileItem &item, int change);
    void removeNow(const QStringList &paths);
    void renameNow(const QString &src, const QString &dest);
    void insert(const FileItem &item);
    /// The entry takes the record @p item and the place that it has in the order.
    void replace(int entry, const FileItem &item);
    void takeOut(QVector<int> entries);
    void takeEntries(int first, int last);
    void sortAgain();
    /// Changes the list by @p change as a whole; rows, selection and persistent indexes begin anew.
    /// @param rows where the entries are after it, if that is known
    template <typename Change>
    void renew(const Change &change, RowIndex rows = {});
    void applyFilter();
    void itemsChanged();

    OrderedWork *m_work;
    FileListing m_listing;
    FileOrder::Type m_order = FileOrder::FileName;
    QString m_folder;
    QString m_subCenterId;
    QString m_filter;
    QVector<int> m_shownEntries; ///< with a filter: the entries of the rows
    bool m_search = false;
    quint64 m_version = 0;   ///< counts the changes of the list
    mutable RowIndex m_rows; ///< made anew when it is next asked for after a change
    mutable QHash<QString, QIcon> m_icons;
    QCache<QString, QPixmap> m_thumbnails; ///< by picture key; null: there is none
};
