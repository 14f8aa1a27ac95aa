#include "FileListWidget.h"

#include "FileItemModel.h"

#include <QEvent>

FileListWidget::FileListWidget(QWidget *parent)
    : QListView(parent)
{
    setObjectName(QStringLiteral("fileList"));
    setAccessibleName(tr("Files"));
    setViewMode(IconMode);
    setMovement(Static);
    setResizeMode(Adjust);
    setUniformItemSizes(true);
    setLayoutMode(Batched);
    setBatchSize(1000);
    setWordWrap(true);
    setTextElideMode(Qt::ElideMiddle);
    setIconSize(QSize(64, 64));
    setSpacing(6);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(true);
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setVerticalScrollMode(ScrollPerPixel);
}

void FileListWidget::setFileModel(FileItemModel *model)
{
    setModel(model);
    setModelColumn(FileItemModel::NameColumn);
}

void FileListWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        setAccessibleName(tr("Files"));
    QListView::changeEvent(event);
}
