#include "TransferRowDelegate.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QIcon>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <QTreeView>

namespace {

constexpr int kButton = 24;
constexpr int kIcon = 16;
constexpr int kGap = 4;
constexpr int kBar = 6;
constexpr int kRowHeight = 46;

} // namespace

TransferRowDelegate::TransferRowDelegate(int progressColumn, int percentRole, int actionColumn, Actions actions,
                                         QObject *parent)
    : QStyledItemDelegate(parent)
    , m_progressColumn(progressColumn)
    , m_percentRole(percentRole)
    , m_actionColumn(actionColumn)
    , m_actions(std::move(actions))
{
}

void TransferRowDelegate::dress(QTreeView *view, int nameColumn)
{
    view->setItemDelegate(this);
    view->setRootIsDecorated(false);
    view->setUniformRowHeights(true);
    view->setAllColumnsShowFocus(true);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->setContextMenuPolicy(Qt::CustomContextMenu);
    view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    view->header()->setStretchLastSection(false);
    view->header()->setSectionsMovable(false);
    view->header()->setSectionResizeMode(nameColumn, QHeaderView::Stretch);
}

QRect TransferRowDelegate::buttonRect(const QRect &cell, int number)
{
    const QRect first(cell.left() + kGap, cell.center().y() - kButton / 2, kButton, kButton);
    return first.translated(number * (kButton + kGap), 0);
}

const TransferRowDelegate::Action *TransferRowDelegate::actionAt(const QVector<Action> &actions, const QRect &cell,
                                                                 const QPoint &position) const
{
    for (int i = 0; i < actions.size(); ++i) {
        if (buttonRect(cell, i).contains(position))
            return &actions.at(i);
    }
    return nullptr;
}

void TransferRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    if (index.column() != m_progressColumn && index.column() != m_actionColumn) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem item(option);
    initStyleOption(&item, index);
    const QString text = item.text;
    item.text.clear();
    const QStyle *style = item.widget ? item.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &item, painter, item.widget);

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (index.column() == m_actionColumn) {
        const QVector<Action> actions = m_actions(index);
        for (int i = 0; i < actions.size(); ++i) {
            QRect icon(0, 0, kIcon, kIcon);
            icon.moveCenter(buttonRect(option.rect, i).center());
            QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/") + actions.at(i).icon)
                .paint(painter, icon, Qt::AlignCenter, actions.at(i).enabled ? QIcon::Normal : QIcon::Disabled);
        }
    } else {
        const int textHeight = option.fontMetrics.height();
        const int top = option.rect.center().y() - (textHeight + kGap + kBar) / 2;
        const QRect line(option.rect.left() + kGap, top, option.rect.width() - 2 * kGap, textHeight);
        painter->setPen(option.palette.color(QPalette::Text));
        painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                          option.fontMetrics.elidedText(text, Qt::ElideRight, line.width()));
        const QRectF bar(line.left(), line.bottom() + kGap, line.width(), kBar);
        QPainterPath groove;
        groove.addRoundedRect(bar, kBar / 2.0, kBar / 2.0);
        painter->fillPath(groove, QColor(0xe0, 0xe7, 0xf1));
        const int percent = index.data(m_percentRole).toInt();
        if (percent > 0) {
            painter->setClipPath(groove);
            QRectF done(bar);
            done.setWidth(bar.width() * percent / 100.0);
            QPainterPath filled;
            filled.addRoundedRect(done, kBar / 2.0, kBar / 2.0);
            painter->fillPath(filled, QColor(0x2f, 0x6f, 0xde));
        }
    }
    painter->restore();
}

QSize TransferRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    return QSize(size.width(), qMax(kRowHeight, option.fontMetrics.height() * 2 + kGap + kBar));
}

bool TransferRowDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                                    const QModelIndex &index)
{
    if (event->type() == QEvent::ToolTip && index.isValid() && index.column() == m_actionColumn) {
        const QVector<Action> actions = m_actions(index);
        const Action *action = actionAt(actions, option.rect, event->pos());
        QToolTip::showText(event->globalPos(), action ? action->tip : QString(), view);
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

bool TransferRowDelegate::editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                                      const QModelIndex &index)
{
    const QEvent::Type type = event->type();
    if (index.column() != m_actionColumn || (type != QEvent::MouseButtonRelease && type != QEvent::MouseButtonPress))
        return QStyledItemDelegate::editorEvent(event, model, option, index);
    const auto *mouse = static_cast<QMouseEvent *>(event);
    const QVector<Action> actions = m_actions(index);
    const Action *action = actionAt(actions, option.rect, mouse->pos());
    if (!action || mouse->button() != Qt::LeftButton)
        return false;
    if (type == QEvent::MouseButtonRelease && action->enabled)
        emit triggered(action->id, index);
    return true;
}
