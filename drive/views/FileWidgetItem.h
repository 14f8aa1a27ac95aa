#pragma once

#include "FileItem.h"

#include <QIcon>

class FileItemModel;

/// One row as the views show it: a light handle of the model's row, made where it is needed and valid until the model
/// changes. GUI thread only.
class FileWidgetItem
{
public:
    FileWidgetItem() = default;
    FileWidgetItem(const FileItemModel *model, int row);

    bool isValid() const { return m_model != nullptr; }
    int row() const { return m_row; }
    /// The entry; only of a valid handle.
    const FileItem &item() const;
    bool isUnfinished() const;
    QIcon icon() const;
    /// The name as one line of plain text.
    QString name() const;
    QString toolTip() const;

protected:
    const FileItemModel *m_model = nullptr;
    int m_row = -1;
};
