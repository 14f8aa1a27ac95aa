#include "DropMark.h"

#include "DriveClipboard.h"
#include "FileItemModel.h"
#include "FileTexts.h"

#include <QAbstractItemView>
#include <QDragMoveEvent>
#include <QPainter>
#include <QToolTip>

DropMark::DropMark(QAbstractItemView *view)
    : m_view(view)
{
}

QString DropMark::decide(QDropEvent *event) const
{
    const auto *model = static_cast<const FileItemModel *>(m_view->model());
    const QString folder = model->dropFolder(event->mimeData(), m_view->indexAt(event->pos()));
    if (folder.isEmpty()) {
        event->ignore();
    } else {
        const bool entries = event->mimeData()->hasFormat(DriveClipboard::format());
        event->setDropAction(entries ? Qt::MoveAction : Qt::CopyAction);
        event->accept();
    }
    return folder;
}

void DropMark::move(QDragMoveEvent *event)
{
    const auto *model = static_cast<const FileItemModel *>(m_view->model());
    const QModelIndex under = m_view->indexAt(event->pos());
    const QString folder = decide(event);
    const bool onto = !folder.isEmpty() && under.isValid() && model->item(under.row()).isFolder();
    m_onto = onto ? QPersistentModelIndex(under.siblingAtColumn(0)) : QPersistentModelIndex();
    m_view->viewport()->update();
    if (folder.isEmpty())
        return QToolTip::hideText();
    const QString name = FileTexts::line(FileListing::fileName(folder));
    const bool entries = event->mimeData()->hasFormat(DriveClipboard::format());
    const QString place = name.isEmpty() ? FileItemModel::tr("All Files") : name;
    const QString text = entries ? FileItemModel::tr("Move to \"%1\"") : FileItemModel::tr("Upload to \"%1\"");
    QToolTip::showText(m_view->viewport()->mapToGlobal(event->pos() + QPoint(14, 14)),
                       FileTexts::plainToolTip(text.arg(place)), m_view->viewport());
}

void DropMark::leave()
{
    m_onto = QPersistentModelIndex();
    m_view->viewport()->update();
    QToolTip::hideText();
}

void DropMark::drop(QDropEvent *event)
{
    if (!decide(event).isEmpty())
        m_view->model()->dropMimeData(event->mimeData(), event->dropAction(), -1, -1, m_view->indexAt(event->pos()));
    // Accepted already, so that the view's own handling only cleans up.
    event->accept();
    leave();
}

void DropMark::paint(QPainter *painter) const
{
    if (!m_onto.isValid())
        return;
    QRect box = m_view->visualRect(m_onto);
    box.setWidth(qMin(box.width(), m_view->viewport()->width()));
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(m_view->palette().color(QPalette::Active, QPalette::Link), 2));
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(QRectF(box).adjusted(1, 1, -1, -1), 4, 4);
    painter->restore();
}
