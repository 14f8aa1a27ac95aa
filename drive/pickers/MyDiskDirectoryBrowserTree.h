#pragma once

#include "FileItem.h"

#include <QSet>
#include <QTreeWidget>

/// The folders of a drive as a tree with one root, "All Files". Asks for a folder's sub-folders when it is first
/// opened, and again when that failed. GUI thread only.
class MyDiskDirectoryBrowserTree : public QTreeWidget
{
    Q_OBJECT

public:
    explicit MyDiskDirectoryBrowserTree(QWidget *parent = nullptr);

    QTreeWidgetItem *root() const { return topLevelItem(0); }
    QModelIndex indexOf(const QTreeWidgetItem *item) const { return indexFromItem(item); }
    QTreeWidgetItem *itemOf(const QModelIndex &index) const { return itemFromIndex(index); }
    /// Of the item, "/" for the root; empty for a line that is no folder.
    static QString pathOf(const QTreeWidgetItem *item);
    /// Folders that are shown but cannot be chosen or opened.
    void setForbidden(const QSet<QString> &paths) { m_forbidden = paths; }
    bool isForbidden(const QString &path) const;

    /// The item's sub-folders are not known and nobody has asked for them.
    static bool wantsChildren(const QTreeWidgetItem *item);
    void setLoading(QTreeWidgetItem *item);
    /// Sub-folders are on their way no more.
    void setLoaded(QTreeWidgetItem *item, const QString &failure = QString());
    QTreeWidgetItem *addFolder(QTreeWidgetItem *parent, const FileItem &folder);
    /// Names of the sub-folders that are known.
    static QSet<QString> names(const QTreeWidgetItem *parent);

protected:
    void changeEvent(QEvent *event) override;

private:
    void addNote(QTreeWidgetItem *item, const QString &text);
    static void removeNote(QTreeWidgetItem *item);

    QSet<QString> m_forbidden;
};
