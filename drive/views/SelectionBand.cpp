#include "SelectionBand.h"

#include <QAbstractItemView>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

namespace {

constexpr int EdgeInterval = 30; // ms

} // namespace

SelectionBand::SelectionBand(QAbstractItemView *view, Touched touched)
    : QObject(view)
    , m_view(view)
    , m_touched(std::move(touched))
{
}

QPoint SelectionBand::scrolled() const
{
    return QPoint(m_view->horizontalScrollBar()->value(), m_view->verticalScrollBar()->value());
}

void SelectionBand::press(const QMouseEvent *event)
{
    const bool adds = event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier);
    m_before = adds ? m_view->selectionModel()->selection() : QItemSelection();
    if (!adds)
        m_view->selectionModel()->clearSelection();
    m_from = m_to = event->pos() + scrolled();
    m_active = true;
}

bool SelectionBand::move(const QMouseEvent *event)
{
    if (!m_active)
        return false;
    m_pointer = event->pos();
    const QRect inner = m_view->viewport()->rect();
    if (m_pointer.y() < inner.top() || m_pointer.y() > inner.bottom()) {
        if (!m_edgeTimer.isActive())
            m_edgeTimer.start(EdgeInterval, this);
    } else {
        m_edgeTimer.stop();
    }
    select();
    return true;
}

void SelectionBand::select()
{
    m_to = m_pointer + scrolled();
    QItemSelection selection = m_touched(QRect(m_from, m_to).normalized());
    if (!m_before.isEmpty())
        selection.merge(m_before, QItemSelectionModel::Select);
    m_view->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    m_view->viewport()->update();
}

bool SelectionBand::release()
{
    if (!m_active)
        return false;
    m_active = false;
    m_edgeTimer.stop();
    m_before.clear();
    const QItemSelection selection = m_view->selectionModel()->selection();
    if (!selection.isEmpty())
        m_view->selectionModel()->setCurrentIndex(selection.first().topLeft(), QItemSelectionModel::NoUpdate);
    m_view->viewport()->update();
    return true;
}

void SelectionBand::timerEvent(QTimerEvent *event)
{
    Q_UNUSED(event)
    QScrollBar *bar = m_view->verticalScrollBar();
    const QRect inner = m_view->viewport()->rect();
    const int beyond = m_pointer.y() < inner.top() ? m_pointer.y() - inner.top() : m_pointer.y() - inner.bottom();
    bar->setValue(bar->value() + beyond);
    select();
}

void SelectionBand::paint(QPainter *painter) const
{
    if (!m_active || m_from == m_to)
        return;
    QColor colour = m_view->palette().color(QPalette::Active, QPalette::Link);
    painter->save();
    painter->setPen(colour);
    colour.setAlpha(36);
    painter->setBrush(colour);
    painter->drawRect(QRect(m_from, m_to).normalized().translated(-scrolled()).adjusted(0, 0, -1, -1));
    painter->restore();
}
