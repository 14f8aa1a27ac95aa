#pragma once

#include "FileOrder.h"
#include "FileTreeWidgetItem.h"

#include <QTreeView>

#include <memory>
#include <utility>

class DropMark;
class FileItemModel;
class SelectionBand;

/// The detailed list: columns name, modified time and size, for a search result the folder too. A click on a column's
/// head asks for that order. GUI thread only.
class FileTreeWidget : public QTreeView
{
    Q_OBJECT

public:
    explicit FileTreeWidget(QWidget *parent = nullptr);
    ~FileTreeWidget() override;

    void setFileModel(FileItemModel *model);
    FileTreeWidgetItem itemAt(int row) const;
    /// The rows in view, also in part; an empty range as {0, -1}.
    std::pair<int, int> visibleRows() const;
    void setSortIndicator(FileOrder::Type order);
    void setPathColumnVisible(bool visible);
    void selectAll() override;
    void setSelectionModel(QItemSelectionModel *selection) override;

signals:
    /// The selection is to be dragged.
    void dragAsked();
    void orderAsked(FileOrder::Type order);

protected:
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void drawRow(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QRegion visualRegionForSelection(const QItemSelection &selection) const override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void startDrag(Qt::DropActions actions) override;

private:
    void fitColumns();
    int heightOfRow() const;
    QItemSelection touched(const QRect &area) const;

    FileItemModel *m_entries = nullptr;
    QItemSelectionModel *m_noColumns = nullptr; ///< what the header takes for the selection
    SelectionBand *m_band;
    std::unique_ptr<DropMark> m_drop;
};
