#include "FileWidget.h"

#include "DriveClipboard.h"
#include "EmptyFolderPanel.h"
#include "FileItemModel.h"
#include "FileListWidget.h"
#include "FileNameDelegate.h"
#include "FileTreeWidget.h"

#include <QAction>
#include <QActionGroup>
#include <QDrag>
#include <QEvent>
#include <QItemSelectionModel>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QScrollBar>

#include <algorithm>

namespace {

/// Pictures are asked for once the view has not moved for so long.
constexpr int RestTime = 60; // ms

} // namespace

FileWidget::FileWidget(QWidget *parent)
    : QStackedWidget(parent)
    , m_model(new FileItemModel(this))
    , m_delegate(new FileNameDelegate(this))
    , m_tree(new FileTreeWidget(this))
    , m_list(new FileListWidget(this))
    , m_empty(new EmptyFolderPanel(this))
{
    setObjectName(QStringLiteral("fileWidget"));
    m_tree->setFileModel(m_model);
    m_list->setFileModel(m_model);
    m_selection = m_tree->selectionModel();
    QItemSelectionModel *unused = m_list->selectionModel();
    m_list->setSelectionModel(m_selection);
    delete unused;
    for (QAbstractItemView *view : {static_cast<QAbstractItemView *>(m_tree), static_cast<QAbstractItemView *>(m_list)})
        setUpView(view);
    addWidget(m_tree);
    addWidget(m_list);
    addWidget(m_empty);
    setFocusProxy(m_tree);

    connect(m_tree, &FileTreeWidget::dragAsked, this, &FileWidget::dragSelection);
    connect(m_list, &FileListWidget::dragAsked, this, &FileWidget::dragSelection);
    connect(m_tree, &FileTreeWidget::orderAsked, this,
            [this](FileOrder::Type order) { emit sortTypeAsked(FileOrder::nameOf(order)); });
    connect(m_delegate, &FileNameDelegate::committed, this, [this](const QModelIndex &index, const QString &name) {
        // Told later: a refusal opens a dialog, and the view is still busy closing its editor.
        const FileItem item = index.data(FileItemModel::ItemRole).value<FileItem>();
        QMetaObject::invokeMethod(
            this, [this, item, name] { emit nameCommitted(item, name); }, Qt::QueuedConnection);
    });
    connect(m_model, &FileItemModel::sigUpload, this, &FileWidget::sigUpload);
    connect(m_model, &FileItemModel::sigMove, this, &FileWidget::sigMove);
    connect(m_model, &FileItemModel::sigGetIcons, this, &FileWidget::sigGetIcons);
    connect(m_model, &QAbstractItemModel::modelAboutToBeReset, this, &FileWidget::keepPlace);
    connect(m_model, &QAbstractItemModel::modelReset, this, &FileWidget::restorePlace);
    connect(m_selection, &QItemSelectionModel::selectionChanged, this, [this] {
        updateActions();
        emit selectionChanged();
    });
    connect(m_empty, &EmptyFolderPanel::uploadClicked, this, &FileWidget::uploadClicked);
    m_empty->setModel(m_model);
    connect(m_empty, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &pos) { emit menuAsked(m_empty->mapToGlobal(pos)); });
    m_restTimer.setSingleShot(true);
    m_restTimer.setInterval(RestTime);
    connect(&m_restTimer, &QTimer::timeout, this, &FileWidget::tellVisiblePictures);
    connect(m_model, &QAbstractItemModel::modelReset, &m_restTimer, QOverload<>::of(&QTimer::start));
    connect(m_model, &QAbstractItemModel::rowsInserted, &m_restTimer, QOverload<>::of(&QTimer::start));
    connect(m_model, &QAbstractItemModel::rowsRemoved, &m_restTimer, QOverload<>::of(&QTimer::start));
    connect(m_model, &QAbstractItemModel::layoutChanged, &m_restTimer, QOverload<>::of(&QTimer::start));
    buildActions();
    updateActions();
}

void FileWidget::setUpView(QAbstractItemView *view)
{
    view->setItemDelegateForColumn(FileItemModel::NameColumn, m_delegate);
    connect(view, &QAbstractItemView::activated, this, &FileWidget::activate);
    connect(view->verticalScrollBar(), &QScrollBar::valueChanged, &m_restTimer, QOverload<>::of(&QTimer::start));
    connect(view, &QWidget::customContextMenuRequested, this,
            [this, view](const QPoint &pos) { emit menuAsked(view->viewport()->mapToGlobal(pos)); });
}

void FileWidget::buildActions()
{
    struct Entry
    {
        Command command;
        const char *icon;
        QKeySequence key;
    };
    const QList<Entry> entries{
        {Open, nullptr, {}},
        {Download, "download", {}},
        {Rename, "rename", QKeySequence(Qt::Key_F2)},
        {Delete, "delete", QKeySequence(Qt::Key_Delete)},
        {Preview, "eye", {}},
        {Cut, "cut", QKeySequence(QKeySequence::Cut)},
        {Copy, "copy", QKeySequence(QKeySequence::Copy)},
        {Paste, "paste", QKeySequence(QKeySequence::Paste)},
        {Compress, "archive", {}},
        {Decompress, nullptr, {}},
        {MoveTo, nullptr, QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_M)},
    };
    for (const Entry &entry : entries) {
        auto *action = new QAction(this);
        if (entry.icon)
            action->setIcon(QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/%1.svg").arg(QLatin1String(entry.icon))));
        action->setShortcut(entry.key);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        const Command id = entry.command;
        connect(action, &QAction::triggered, this, [this, id] {
            if (id == Open) {
                const QModelIndexList rows = m_selection->selectedRows();
                activate(rows.isEmpty() ? m_selection->currentIndex() : rows.first());
            } else {
                emit command(id);
            }
        });
        m_actions.insert(id, action);
        addAction(action);
    }
    auto *group = new QActionGroup(this);
    for (FileOrder::Type order : {FileOrder::FileName, FileOrder::Modified, FileOrder::FileSize}) {
        auto *action = new QAction(group);
        action->setCheckable(true);
        action->setChecked(order == m_model->order());
        const QString type = FileOrder::nameOf(order);
        connect(action, &QAction::triggered, this, [this, type] { emit sortTypeAsked(type); });
        m_orders.insert(order, action);
    }
    retranslate();
}

void FileWidget::retranslate()
{
    m_actions[Open]->setText(tr("Open(&O)"));
    m_actions[Download]->setText(tr("Download"));
    m_actions[Rename]->setText(tr("Rename(&R)"));
    m_actions[Delete]->setText(tr("Delete(&D)"));
    m_actions[Preview]->setText(tr("Preview(&P)"));
    m_actions[Cut]->setText(tr("Cut(&X)"));
    m_actions[Copy]->setText(tr("Copy(&C)"));
    m_actions[Paste]->setText(tr("Paste(&V)"));
    m_actions[Compress]->setText(tr("Compress"));
    m_actions[Decompress]->setText(tr("Decompress"));
    m_actions[MoveTo]->setText(tr("Move to(&M)"));
    m_orders[FileOrder::FileName]->setText(tr("Name"));
    m_orders[FileOrder::Modified]->setText(tr("Modified time"));
    m_orders[FileOrder::FileSize]->setText(tr("Size"));
}

void FileWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QStackedWidget::changeEvent(event);
}

void FileWidget::resizeEvent(QResizeEvent *event)
{
    QStackedWidget::resizeEvent(event);
    m_restTimer.start();
}

QSize FileWidget::pictureSize() const
{
    // One size for both views: a picture fetched for the small icons would be a blur in the grid.
    return m_list->iconSize() * devicePixelRatioF();
}

void FileWidget::setIcons(const QList<FileItem> &items)
{
    m_model->setIcons(items);
    for (const FileItem &item : items) {
        if (!item.iconData.isEmpty())
            emit sigIconChanged(item, pictureSize());
    }
}

void FileWidget::tellVisiblePictures()
{
    if (!currentView()->isVisible() || m_model->rowCount() == 0)
        return;
    const std::pair<int, int> seen = m_mode == ListMode ? m_tree->visibleRows() : m_list->visibleRows();
    const int ahead = seen.second - seen.first + 1;
    QList<FileItem> wanted;
    for (int row = seen.first; row <= qMin(seen.second + ahead, m_model->rowCount() - 1); ++row) {
        const FileItem &item = m_model->item(row);
        if (FileListing::isPicture(item) && !m_model->isUnfinished(row) && !m_model->hasThumbnail(item))
            wanted.append(item);
    }
    emit sigVisiblePictures(wanted, pictureSize());
}

void FileWidget::dragSelection()
{
    const QList<FileItem> items = selectedItems();
    if (items.isEmpty())
        return;
    // On the heap: the drag waits in an event loop of its own, in which the page may be closed.
    auto *drag = new QDrag(this);
    drag->setMimeData(new DriveMimeData({QStringLiteral("Cut"), items, m_model->subCenterId()}));
    const FileWidgetItem first = currentItem();
    const qreal scale = devicePixelRatioF();
    QPixmap picture(QSize(72, 56) * scale);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    if (first.isValid())
        first.icon().paint(&painter, QRect(0, 8, 48, 48));
    if (items.size() > 1) {
        const QString number = items.size() > 999 ? QStringLiteral("999+") : QString::number(items.size());
        const QRect badge(72 - fontMetrics().horizontalAdvance(number) - 12, 0,
                          fontMetrics().horizontalAdvance(number) + 12, fontMetrics().height() + 2);
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette().color(QPalette::Link));
        painter.drawRoundedRect(badge, badge.height() / 2.0, badge.height() / 2.0);
        painter.setPen(Qt::white);
        painter.drawText(badge, Qt::AlignCenter, number);
    }
    painter.end();
    drag->setPixmap(picture);
    drag->setHotSpot(QPoint(20, 30));
    drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::MoveAction);
}

QMenu *FileWidget::createContextMenu(QWidget *parent)
{
    updateActions();
    auto *menu = new QMenu(parent);
    for (QAction *action : qAsConst(m_actions)) {
        // On the ground there is nothing to rename.
        if (action->isEnabled() && (action != m_actions[Rename] || selectedCount() > 0))
            menu->addAction(action);
    }
    menu->addMenu(createSortMenu(menu));
    return menu;
}

QMenu *FileWidget::createSortMenu(QWidget *parent)
{
    auto *menu = new QMenu(tr("Sort by"), parent);
    for (FileOrder::Type order : {FileOrder::FileName, FileOrder::Modified, FileOrder::FileSize}) {
        m_orders[order]->setChecked(order == m_model->order());
        menu->addAction(m_orders[order]);
    }
    return menu;
}

void FileWidget::updateActions()
{
    const int rows = selectedCount();
    const bool one = rows == 1, any = rows > 0, search = m_model->isSearchResult();
    const FileItem item = one ? currentItem().item() : FileItem();
    m_actions[Open]->setEnabled(one);
    m_actions[Download]->setEnabled(any);
    m_actions[Delete]->setEnabled(any);
    m_actions[Preview]->setEnabled(m_previewAvailable && one && FileListing::isPicture(item));
    m_actions[Cut]->setEnabled(any);
    m_actions[Copy]->setEnabled(any);
    m_actions[Compress]->setEnabled(any && !search);
    m_actions[MoveTo]->setEnabled(any && !search);
    m_actions[Decompress]->setEnabled(one && FileListing::isArchive(item));
    m_actions[Paste]->setEnabled(!search);
    // Renaming stays: without one selected entry it says what to do.
    m_actions[Rename]->setEnabled(true);
}

void FileWidget::activate(const QModelIndex &index)
{
    if (!index.isValid())
        return;
    const FileItem item = m_model->item(index.row());
    if (item.path.isEmpty())
        return;
    if (item.isFolder())
        emit sigIntoFolder(item.path);
    else
        emit sigOpenFile(item.path);
}

QAbstractItemView *FileWidget::currentView() const
{
    return m_mode == ListMode ? static_cast<QAbstractItemView *>(m_tree) : m_list;
}

void FileWidget::setShowMode(ShowMode mode)
{
    m_mode = mode;
    const QModelIndex current = m_selection->currentIndex();
    showPart();
    if (current.isValid())
        currentView()->scrollTo(current);
    m_restTimer.start();
}

void FileWidget::setEmptyPanelVisible(bool visible)
{
    m_emptyVisible = visible;
    showPart();
}

void FileWidget::showPart()
{
    const bool filtered = !m_emptyVisible && !m_model->filter().isEmpty() && m_model->rowCount() == 0;
    m_empty->setKind(filtered                    ? EmptyFolderPanel::NothingMatches
                     : m_model->isSearchResult() ? EmptyFolderPanel::NothingFound
                                                 : EmptyFolderPanel::EmptyFolder);
    QWidget *next = m_emptyVisible || filtered ? static_cast<QWidget *>(m_empty) : currentView();
    if (currentWidget() == next)
        return;
    const bool focused = currentWidget()->hasFocus();
    setCurrentWidget(next);
    setFocusProxy(next);
    if (focused)
        next->setFocus();
}

bool FileWidget::isEmptyPanelVisible() const
{
    return m_emptyVisible;
}

void FileWidget::setPreviewAvailable(bool available)
{
    m_previewAvailable = available;
    updateActions();
}

QString FileWidget::sortType() const
{
    return FileOrder::nameOf(m_model->order());
}

void FileWidget::setSortType(const QString &type)
{
    m_model->setOrder(FileOrder::typeOf(type));
    m_tree->setSortIndicator(m_model->order());
}

int FileWidget::selectedCount() const
{
    // Ranges, not rows: a selection of everything costs nothing here.
    int rows = 0;
    const QItemSelection selection = m_selection->selection();
    for (const QItemSelectionRange &range : selection)
        rows += range.height();
    return rows;
}

void FileWidget::forEachSelected(const std::function<void(const FileItem &item)> &visit) const
{
    QItemSelection ranges = m_selection->selection();
    std::sort(ranges.begin(), ranges.end(),
              [](const QItemSelectionRange &a, const QItemSelectionRange &b) { return a.top() < b.top(); });
    int next = 0;
    for (const QItemSelectionRange &range : qAsConst(ranges)) {
        for (int row = qMax(next, range.top()); row <= range.bottom(); ++row) {
            if (!m_model->item(row).path.isEmpty()) // without one there is nothing to ask for
                visit(m_model->item(row));
        }
        next = qMax(next, range.bottom() + 1);
    }
}

QList<FileItem> FileWidget::selectedItems() const
{
    QList<FileItem> items;
    items.reserve(selectedCount());
    forEachSelected([&](const FileItem &item) { items.append(item); });
    return items;
}

QList<FileItem> FileWidget::selectedFiles() const
{
    QList<FileItem> items;
    forEachSelected([&](const FileItem &item) {
        if (!item.isFolder())
            items.append(item);
    });
    return items;
}

QList<FileItem> FileWidget::selectedFolders() const
{
    QList<FileItem> items;
    forEachSelected([&](const FileItem &item) {
        if (item.isFolder())
            items.append(item);
    });
    return items;
}

FileWidgetItem FileWidget::currentItem() const
{
    const QItemSelection selection = m_selection->selection();
    return {m_model, selection.isEmpty() ? m_selection->currentIndex().row() : selection.first().top()};
}

void FileWidget::select(const QStringList &paths)
{
    QVector<int> rows;
    for (const QString &path : paths) {
        const int row = m_model->rowOf(path);
        if (row >= 0)
            rows.append(row);
    }
    if (rows.isEmpty())
        return;
    const QModelIndex first = m_model->index(rows.first(), 0);
    m_selection->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    selectRows(rows);
    currentView()->scrollTo(first);
}

void FileWidget::showPath(const QString &path)
{
    const int row = m_model->rowOf(path);
    if (row >= 0)
        currentView()->scrollTo(m_model->index(row, 0));
}

void FileWidget::selectRows(QVector<int> rows)
{
    std::sort(rows.begin(), rows.end());
    QItemSelection selection;
    for (int i = 0; i < rows.size();) {
        const int top = rows.at(i);
        int bottom = top;
        while (++i < rows.size() && rows.at(i) <= bottom + 1)
            bottom = rows.at(i);
        selection.append({m_model->index(top, 0), m_model->index(bottom, FileItemModel::ColumnCount - 1)});
    }
    m_selection->select(selection, QItemSelectionModel::ClearAndSelect);
}

void FileWidget::selectAll()
{
    currentView()->selectAll();
}

void FileWidget::setFilter(const QString &text)
{
    m_model->setFilter(text);
}

void FileWidget::editName()
{
    const QList<FileItem> items = selectedItems();
    if (items.size() != 1)
        return;
    const QModelIndex index = m_model->index(m_model->rowOf(items.first().path), FileItemModel::NameColumn);
    currentView()->setFocus();
    currentView()->setCurrentIndex(index);
    currentView()->edit(index);
}

void FileWidget::keepPlace()
{
    const int selected = selectedCount();
    m_placeAll = selected > 1 && selected == m_model->rowCount();
    m_placeSelected.clear();
    if (!m_placeAll) {
        forEachSelected([this](const FileItem &item) { m_placeSelected.append(item.path); });
    }
    const int current = m_selection->currentIndex().row();
    m_placeCurrent = current >= 0 && current < m_model->rowCount() ? m_model->item(current).path : QString();
    m_placeScroll = currentView()->verticalScrollBar()->value();
}

void FileWidget::restorePlace()
{
    // Also where the folder changed: none of the old paths is there then, and the list begins at its top.
    const bool sameFolder = m_placeFolder == m_model->folder(), sameOrder = m_placeOrder == m_model->order();
    m_placeFolder = m_model->folder();
    m_placeOrder = m_model->order();
    QAbstractItemView *view = currentView();
    view->doItemsLayout();
    if (sameFolder) {
        const int current = m_placeCurrent.isEmpty() ? -1 : m_model->rowOf(m_placeCurrent);
        if (current >= 0)
            m_selection->setCurrentIndex(m_model->index(current, 0), QItemSelectionModel::NoUpdate);
        QVector<int> rows;
        for (const QString &path : qAsConst(m_placeSelected)) {
            const int row = m_model->rowOf(path);
            if (row >= 0)
                rows.append(row);
        }
        if (m_placeAll)
            view->selectAll();
        else if (!rows.isEmpty())
            selectRows(rows);
        // Another order takes one along with what one was at.
        if (sameOrder)
            view->verticalScrollBar()->setValue(m_placeScroll);
        else if (current >= 0)
            view->scrollTo(m_model->index(current, 0), QAbstractItemView::PositionAtCenter);
    }
    m_placeSelected.clear();
    m_tree->setSortIndicator(m_model->order());
    m_tree->setPathColumnVisible(m_model->isSearchResult());
    showPart();
    updateActions();
    emit selectionChanged();
}
