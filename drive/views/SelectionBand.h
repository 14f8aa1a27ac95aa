#pragma once

#include <QBasicTimer>
#include <QItemSelection>
#include <QObject>
#include <QRect>

#include <functional>

class QAbstractItemView;
class QMouseEvent;
class QPainter;

/// The rubber band of a view: begins where the ground is pressed, selects what it touches, scrolls at the edges. With
/// Ctrl or Shift it adds to the selection. Belongs to the view that hands it its mouse events. GUI thread only.
class SelectionBand : public QObject
{
public:
    /// What lies in an area that is given in the coordinates of the whole content.
    using Touched = std::function<QItemSelection(const QRect &area)>;

    SelectionBand(QAbstractItemView *view, Touched touched);

    bool isActive() const { return m_active; }
    void press(const QMouseEvent *event);
    /// True when the event belonged to the band.
    bool move(const QMouseEvent *event);
    bool release();
    void paint(QPainter *painter) const;

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    QPoint scrolled() const;
    void select();

    QAbstractItemView *m_view;
    Touched m_touched;
    QItemSelection m_before;
    QPoint m_from, m_to; ///< in the coordinates of the whole content
    QPoint m_pointer;    ///< in the window's
    QBasicTimer m_edgeTimer;
    bool m_active = false;
};
