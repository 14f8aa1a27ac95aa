#pragma once

#include <QPersistentModelIndex>

class FileItemModel;
class QAbstractItemView;
class QDragMoveEvent;
class QDropEvent;
class QPainter;

/// Tells, while something is dragged over a view of entries, what a drop there would do: by the cursor (upload copies,
/// entries move), by a frame around the folder that takes it, and by a line beside the pointer. Performs the drop too.
/// Belongs to the view that hands it its events. GUI thread only.
class DropMark
{
public:
    explicit DropMark(QAbstractItemView *view);

    void move(QDragMoveEvent *event);
    void leave();
    void drop(QDropEvent *event);
    void paint(QPainter *painter) const;

private:
    QAbstractItemView *m_view;
    QPersistentModelIndex m_onto; ///< the folder under the pointer, none for the ground
};
