#include "DropMark.h"

#include "DropDecision.h"
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

void DropMark::move(QDragMoveEvent *event)
{
    const auto *model = static_cast<const FileItemModel *>(m_view->model());
    const QModelIndex under = m_view->indexAt(event->pos());
    const QString folder = model->dropFolder(under);
    const DropDecision::Kind kind = DropDecision::of(event->mimeData(), folder, model->subCenterId());
    DropDecision::apply(kind, event);
    const bool onto = kind && under.isValid() && model->item(under.row()).isFolder();
    m_onto = onto ? QPersistentModelIndex(under.siblingAtColumn(0)) : QPersistentModelIndex();
    m_view->viewport()->update();
    if (!kind)
        return QToolTip::hideText();
    const QString name = FileTexts::line(FileListing::fileName(folder));
    const QString place = name.isEmpty() ? FileItemModel::tr("All Files") : name;
    const QString text =
        kind == DropDecision::Move ? FileItemModel::tr("Move to \"%1\"") : FileItemModel::tr("Upload to \"%1\"");
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
    m_view->model()->dropMimeData(event->mimeData(), event->dropAction(), -1, -1, m_view->indexAt(event->pos()));
    // Accepted, so that the view's own handling only cleans up.
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
