#pragma once

#include <QTabBar>

/// The tabs of one pane. They can be moved among each other; a tab that is pulled out of the bar leaves as dragOut(),
/// the middle mouse button as tabCloseRequested(). GUI thread only.
class TabBar : public QTabBar
{
    Q_OBJECT

public:
    explicit TabBar(QWidget *parent = nullptr);

signals:
    /// The tab of that number is being pulled away with the mouse button down.
    void dragOut(int index);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    bool m_pressed = false;
};
