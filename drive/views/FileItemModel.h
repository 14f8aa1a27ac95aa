#pragma once

#include "FileListing.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QHash>
#include <QIcon>

class OrderedWork;

/// The entries of one folder or search result, one row each, always sorted, folders first. Long lists are sorted on a
/// pool thread; changes take effect in the order in which they were asked for, never after destruction. Drops leave as
/// sigMove and sigUpload. GUI thread only.
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

    /// Replaces the list.
    void show(const QList<FileItem> &items);
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

    const FileItem &item(int row) const { return m_listing.items.at(row); }
    const FileListing &listing() const { return m_listing; }
    /// Row of a path, -1 when it is not there.
    int rowOf(const QString &path) const;
    bool isUnfinished(int row) const;
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
    void addNow(const QList<FileItem> &items);
    void addOne(const FileItem &item);
    void count(const FileItem &item, int change);
    void removeNow(const QStringList &paths);
    void renameNow(const QString &src, const QString &dest);
    void insert(const FileItem &item);
    void takeRows(int first, int last);
    void replace(FileListing listing);
    void sortAgain();
    void takeOrder(const QVector<FileItem> &items);
    void itemsChanged();
    QString dropFolder(const QModelIndex &parent) const;
    QIcon icon(int row) const;
    QVariant text(const FileItem &item, int column) const;

    OrderedWork *m_work;
    FileListing m_listing;
    FileOrder::Type m_order = FileOrder::FileName;
    QString m_folder;
    QString m_subCenterId;
    bool m_search = false;
    quint64 m_version = 0;              ///< counts the changes of the list
    mutable QHash<QString, int> m_rows; ///< key to row, made anew when it is next asked for after a change
    mutable bool m_rowsValid = false;
    mutable QHash<QString, QIcon> m_icons;
    QCache<QString, QPixmap> m_thumbnails; ///< by picture key; null: there is none
};
