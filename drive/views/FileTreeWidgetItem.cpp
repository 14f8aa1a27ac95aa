#include "FileTreeWidgetItem.h"

#include "FileItemModel.h"
#include "FileTexts.h"

QString FileTreeWidgetItem::text(int column) const
{
    switch (column) {
    case FileItemModel::ModifiedColumn:
        return FileTexts::time(item());
    case FileItemModel::SizeColumn:
        return FileTexts::size(item());
    case FileItemModel::PathColumn:
        return FileTexts::line(FileListing::parentFolder(item().path));
    default:
        return name();
    }
}

Qt::Alignment FileTreeWidgetItem::alignment(int column)
{
    return (column == FileItemModel::SizeColumn ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter;
}
