#include "MyDiskDirectoryBrowserTree.h"

#include "FileTexts.h"

#include <QEvent>
#include <QHeaderView>

namespace {

enum Role
{
    PathRole = Qt::UserRole,
    NameRole, ///< as it is, not as it is shown
    StateRole ///< what is known of the sub-folders
};

enum State
{
    Unknown,
    Loading,
    Known
};

QIcon folderIcon()
{
    static const QIcon icon(QStringLiteral(":/ArkvaleTolmaMain/Icon/folder.svg"));
    return icon;
}

} // namespace

MyDiskDirectoryBrowserTree::MyDiskDirectoryBrowserTree(QWidget *parent)
    : QTreeWidget(parent)
{
    setObjectName(QStringLiteral("folderTree"));
    setAccessibleName(tr("Folders"));
    setHeaderHidden(true);
    setColumnCount(1);
    setIconSize(QSize(18, 18));
    setUniformRowHeights(true);
    setAnimated(false);
    header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    header()->setStretchLastSection(true);
    auto *item = new QTreeWidgetItem(this, {tr("All Files")});
    item->setIcon(0, QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/disk.svg")));
    item->setData(0, PathRole, QStringLiteral("/"));
    item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    setCurrentItem(item);
}

QString MyDiskDirectoryBrowserTree::pathOf(const QTreeWidgetItem *item)
{
    return item ? item->data(0, PathRole).toString() : QString();
}

bool MyDiskDirectoryBrowserTree::isForbidden(const QString &path) const
{
    return m_forbidden.contains(path.size() > 1 && path.endsWith(QLatin1Char('/')) ? path.chopped(1) : path);
}

bool MyDiskDirectoryBrowserTree::wantsChildren(const QTreeWidgetItem *item)
{
    return item && item->data(0, StateRole).toInt() == Unknown && !pathOf(item).isEmpty();
}

void MyDiskDirectoryBrowserTree::addNote(QTreeWidgetItem *item, const QString &text)
{
    auto *note = new QTreeWidgetItem(item, {text});
    note->setFlags(Qt::NoItemFlags);
}

void MyDiskDirectoryBrowserTree::removeNote(QTreeWidgetItem *item)
{
    for (int i = item->childCount() - 1; i >= 0; --i) {
        if (pathOf(item->child(i)).isEmpty())
            delete item->child(i);
    }
}

void MyDiskDirectoryBrowserTree::setLoading(QTreeWidgetItem *item)
{
    removeNote(item);
    item->setData(0, StateRole, Loading);
    addNote(item, tr("Loading..."));
}

void MyDiskDirectoryBrowserTree::setLoaded(QTreeWidgetItem *item, const QString &failure)
{
    removeNote(item);
    item->setData(0, StateRole, failure.isEmpty() ? Known : Unknown);
    if (!failure.isEmpty())
        addNote(item, failure);
    else if (item->childCount() == 0)
        item->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicator);
}

QTreeWidgetItem *MyDiskDirectoryBrowserTree::addFolder(QTreeWidgetItem *parent, const FileItem &folder)
{
    auto *item = new QTreeWidgetItem({FileTexts::line(folder.name)});
    item->setIcon(0, folderIcon());
    item->setData(0, PathRole, folder.path);
    item->setData(0, NameRole, folder.name);
    if (isForbidden(folder.path))
        item->setDisabled(true);
    else
        item->setChildIndicatorPolicy(QTreeWidgetItem::ShowIndicator);
    parent->addChild(item);
    return item;
}

QSet<QString> MyDiskDirectoryBrowserTree::names(const QTreeWidgetItem *parent)
{
    QSet<QString> names;
    for (int i = 0; i < parent->childCount(); ++i)
        names.insert(parent->child(i)->data(0, NameRole).toString());
    return names;
}

void MyDiskDirectoryBrowserTree::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        setAccessibleName(tr("Folders"));
        root()->setText(0, tr("All Files"));
    }
    QTreeWidget::changeEvent(event);
}
