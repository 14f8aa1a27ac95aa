#pragma once

#include "FileWidgetItem.h"

/// A row of the detailed list: the texts of its columns.
class FileTreeWidgetItem : public FileWidgetItem
{
public:
    using FileWidgetItem::FileWidgetItem;

    /// @param column of FileItemModel
    QString text(int column) const;
    static Qt::Alignment alignment(int column);
};
