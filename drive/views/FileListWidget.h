#pragma once

#include "FileListWidgetItem.h"

#include <QListView>

#include <memory>
#include <utility>

class DropMark;
class FileItemModel;
class SelectionBand;

/// The icon grid over the same entries as the detailed list. All cells are alike, so that every place is computed and
/// nothing is laid out: a hundred thousand entries cost what ten do. GUI thread only.
class FileListWidget : public QListView
{
    Q_OBJECT

public:
    explicit FileListWidget(QWidget *parent = nullptr);
    ~FileListWidget() override;

    void setFileModel(FileItemModel *model);
    FileListWidgetItem itemAt(int row) const;
    /// The rows whose cells are in view, also in part; an empty range as {0, -1}.
    std::pair<int, int> visibleRows() const;

    QRect visualRect(const QModelIndex &index) const override;
    QModelIndex indexAt(const QPoint &point) const override;
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    void doItemsLayout() override;
    void selectAll() override;

signals:
    /// The selection is to be dragged.
    void dragAsked();

protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragLeaveEvent(QDragLeaveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void startDrag(Qt::DropActions actions) override;
    void updateGeometries() override;
    void scrollContentsBy(int dx, int dy) override;
    void rowsInserted(const QModelIndex &parent, int start, int end) override;
    void dataChanged(const QModelIndex &from, const QModelIndex &to, const QVector<int> &roles) override;
    int horizontalOffset() const override { return 0; }
    int verticalOffset() const override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command) override;
    QRegion visualRegionForSelection(const QItemSelection &selection) const override;
    QStyleOptionViewItem viewOptions() const override;

private:
    int rows() const;
    int columns() const;
    QSize cell() const;
    QRect box(int row) const;
    QItemSelection touched(const QRect &area) const;
    QItemSelection rowRange(int first, int last) const;
    void paintEntry(QPainter *painter, int row);

    FileItemModel *m_entries = nullptr;
    SelectionBand *m_band;
    std::unique_ptr<DropMark> m_drop;
    int m_hovered = -1;
};
