#pragma once

#include <QGroupBox>
#include <QPoint>

class QMouseEvent;

/// Title bar of a frameless window: dragging it moves the window. A window that moves itself (because it also docks,
/// maximizes ...) sets its dynamic property "ownsDragging" to true; the bar then passes press, move, release and
/// double-click on to it, with positions in the window's coordinates, and moves nothing.
class MovableGroupBox : public QGroupBox
{
    Q_OBJECT

public:
    /// @param parent any widget of the window that is to be moved
    explicit MovableGroupBox(QWidget *parent = nullptr);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

private:
    /// True when the window took the event over.
    bool passOn(QMouseEvent *event);

    QWidget *m_window = nullptr; ///< the window being dragged, null between drags
    QPoint m_offset;             ///< mouse position relative to the window's corner at the press
};
