#include "MovableGroupBox.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QWindow>

MovableGroupBox::MovableGroupBox(QWidget *parent)
    : QGroupBox(parent)
{
}

bool MovableGroupBox::passOn(QMouseEvent *event)
{
    QWidget *target = window();
    if (target == this || !target->property("ownsDragging").toBool())
        return false;
    const QPointF local = target->mapFromGlobal(event->globalPos());
    QMouseEvent copy(event->type(), local, local, event->screenPos(), event->button(), event->buttons(),
                     event->modifiers(), event->source());
    QCoreApplication::sendEvent(target, &copy);
    event->accept();
    return true;
}

void MovableGroupBox::mousePressEvent(QMouseEvent *event)
{
    if (passOn(event))
        return;
    if (event->button() != Qt::LeftButton) {
        QGroupBox::mousePressEvent(event);
        return;
    }
    event->accept();
    // A Wayland client cannot place its own windows; the compositor moves it from here on.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        if (QWindow *handle = window()->windowHandle())
            handle->startSystemMove();
        return;
    }
    m_window = window();
    m_offset = event->globalPos() - m_window->pos();
}

void MovableGroupBox::mouseMoveEvent(QMouseEvent *event)
{
    if (passOn(event))
        return;
    if (!m_window || !(event->buttons() & Qt::LeftButton))
        return;
    m_window->move(event->globalPos() - m_offset);
    event->accept();
}

void MovableGroupBox::mouseReleaseEvent(QMouseEvent *event)
{
    if (passOn(event))
        return;
    m_window = nullptr;
    event->accept();
}

void MovableGroupBox::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (!passOn(event))
        event->accept();
}
