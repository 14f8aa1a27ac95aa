#include "TabBar.h"

#include <QMouseEvent>

namespace {

constexpr int kPullOut = 24; // pixels beyond the bar's edge; less is a hand that is not steady

} // namespace

TabBar::TabBar(QWidget *parent)
    : QTabBar(parent)
{
}

void TabBar::mousePressEvent(QMouseEvent *event)
{
    m_pressed = event->button() == Qt::LeftButton && tabAt(event->pos()) >= 0;
    QTabBar::mousePressEvent(event);
}

void TabBar::mouseMoveEvent(QMouseEvent *event)
{
    const bool outside = event->y() < -kPullOut || event->y() > height() + kPullOut;
    if (!m_pressed || !outside || !(event->buttons() & Qt::LeftButton)) {
        QTabBar::mouseMoveEvent(event);
        return;
    }
    m_pressed = false;
    // The bar's own moving among neighbours ends here, as if the button had been let go.
    QMouseEvent release(QEvent::MouseButtonRelease, event->localPos(), event->windowPos(), event->screenPos(),
                        Qt::LeftButton, Qt::NoButton, event->modifiers());
    QTabBar::mouseReleaseEvent(&release);
    emit dragOut(currentIndex());
}

void TabBar::mouseReleaseEvent(QMouseEvent *event)
{
    m_pressed = false;
    QTabBar::mouseReleaseEvent(event);
    const int index = tabAt(event->pos());
    if (event->button() == Qt::MiddleButton && index >= 0)
        emit tabCloseRequested(index);
}
