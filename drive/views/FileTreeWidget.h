#pragma once

#include "FileOrder.h"

#include <QTreeView>

class FileItemModel;

/// The detailed list: columns name, modified time and size, for a search result the folder too. A click on a column's
/// head asks for that order. GUI thread only.
class FileTreeWidget : public QTreeView
{
    Q_OBJECT

public:
    explicit FileTreeWidget(QWidget *parent = nullptr);

    void setFileModel(FileItemModel *model);
    void setSortIndicator(FileOrder::Type order);
    void setPathColumnVisible(bool visible);

signals:
    void orderAsked(FileOrder::Type order);

protected:
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void fitColumns();
};
