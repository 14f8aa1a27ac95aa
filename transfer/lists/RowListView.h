#pragma once

#include <QAbstractItemView>
#include <QTimer>

#include <functional>
#include <vector>

class QHeaderView;
class RowWidget;

/// A list of equally high rows under a column head. There are only as many row widgets as fit into the window; they
/// move on to other rows as the list is scrolled, so that a million rows cost no more than twenty. Changes of rows that
/// are seen are shown at most ten times a second. What is seen stays where it is when rows above it come or go, except
/// at the top of the list. GUI thread only.
class RowListView : public QAbstractItemView
{
    Q_OBJECT

public:
    using Factory = std::function<RowWidget *(QWidget *parent)>;

    RowListView(const Factory &factory, QWidget *parent = nullptr);

    void setModel(QAbstractItemModel *model) override;
    QHeaderView *header() const { return m_header; }
    /// Shown in the middle while there are no rows.
    void setHint(const QString &text, const QString &iconFile);
    int rowHeight() const;
    /// First and last row that is seen; the last one is before the first when there are none.
    int firstRow() const;
    int lastRow() const;
    /// The widget that shows the row, null when it is not seen.
    RowWidget *rowWidget(int row) const;

    QRect visualRect(const QModelIndex &index) const override;
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    QModelIndex indexAt(const QPoint &point) const override;
    void doItemsLayout() override;
    void reset() override;
    /// Rows beyond the first 20,000 after the current one are not searched.
    void keyboardSearch(const QString &text) override;

protected:
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    int horizontalOffset() const override { return 0; }
    int verticalOffset() const override;
    bool isIndexHidden(const QModelIndex &) const override { return false; }
    void setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command) override;
    QRegion visualRegionForSelection(const QItemSelection &selection) const override;
    void updateGeometries() override;
    void scrollContentsBy(int dx, int dy) override;
    void dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight, const QVector<int> &roles) override;
    void rowsInserted(const QModelIndex &parent, int start, int end) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    struct Slot
    {
        RowWidget *widget;
        int row = -1;
        bool dirty = false;
    };
    int rows() const;
    /// The first row that is seen, as the model counts now.
    qint64 anchor() const;
    /// Row widgets to their rows, which are shown anew where something changed.
    void placeRows(bool all);
    void refresh();

    Factory m_factory;
    QHeaderView *m_header;
    std::vector<Slot> m_slots; ///< a row is shown by the slot of its number modulo their count
    QTimer m_refresh;
    qint64 m_shift = 0; ///< rows that came above what is seen, less those that went, since the last layout
    bool m_moveAll = true;
    QString m_hint;
    QString m_hintIcon;
};
