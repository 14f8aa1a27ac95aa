#include "FileTreeWidget.h"

#include "FileItemModel.h"

#include <QEvent>
#include <QHeaderView>

FileTreeWidget::FileTreeWidget(QWidget *parent)
    : QTreeView(parent)
{
    setObjectName(QStringLiteral("fileTree"));
    setAccessibleName(tr("Files"));
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setIconSize(QSize(22, 22));
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(true);
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    header()->setSectionsMovable(false);
    header()->setSectionsClickable(true);
    header()->setHighlightSections(false);
    header()->setStretchLastSection(false);
    connect(header(), &QHeaderView::sectionClicked, this, [this](int column) {
        switch (column) {
        case FileItemModel::NameColumn:
            emit orderAsked(FileOrder::FileName);
            break;
        case FileItemModel::ModifiedColumn:
            emit orderAsked(FileOrder::Modified);
            break;
        case FileItemModel::SizeColumn:
            emit orderAsked(FileOrder::FileSize);
            break;
        default:
            break;
        }
    });
}

void FileTreeWidget::setFileModel(FileItemModel *model)
{
    setModel(model);
    setPathColumnVisible(false);
    setSortIndicator(model->order());
    fitColumns();
}

void FileTreeWidget::setSortIndicator(FileOrder::Type order)
{
    static const int columns[] = {FileItemModel::NameColumn, FileItemModel::SizeColumn, FileItemModel::ModifiedColumn};
    header()->setSortIndicatorShown(true);
    header()->setSortIndicator(columns[order], Qt::AscendingOrder);
}

void FileTreeWidget::setPathColumnVisible(bool visible)
{
    setColumnHidden(FileItemModel::PathColumn, !visible);
    fitColumns();
}

void FileTreeWidget::resizeEvent(QResizeEvent *event)
{
    QTreeView::resizeEvent(event);
    fitColumns();
}

void FileTreeWidget::fitColumns()
{
    if (!model())
        return;
    // The name takes what the others leave. Widths follow the font, so that a time is never cut off.
    const int time = fontMetrics().horizontalAdvance(QStringLiteral("2000-00-00 00:00")) + 36;
    const int size = fontMetrics().horizontalAdvance(QStringLiteral("1023.99G")) + 40;
    const bool path = !isColumnHidden(FileItemModel::PathColumn);
    const int rest = qMax(120, viewport()->width() - time - size);
    setColumnWidth(FileItemModel::NameColumn, path ? rest * 3 / 5 : rest);
    setColumnWidth(FileItemModel::ModifiedColumn, time);
    setColumnWidth(FileItemModel::SizeColumn, size);
    if (path)
        setColumnWidth(FileItemModel::PathColumn, rest - rest * 3 / 5);
}

void FileTreeWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        setAccessibleName(tr("Files"));
        header()->viewport()->update();
    }
    QTreeView::changeEvent(event);
}
