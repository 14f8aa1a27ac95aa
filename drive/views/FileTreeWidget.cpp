#include "FileTreeWidget.h"

#include "DropMark.h"
#include "FileItemModel.h"
#include "SelectionBand.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

FileTreeWidget::FileTreeWidget(QWidget *parent)
    : QTreeView(parent)
    , m_band(new SelectionBand(this, [this](const QRect &area) { return touched(area); }))
    , m_drop(std::make_unique<DropMark>(this))
{
    setObjectName(QStringLiteral("fileTree"));
    setAccessibleName(tr("Files"));
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setUniformRowHeights(true);
    setIconSize(QSize(22, 22));
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(false);
    setDragDropMode(DragDrop);
    setDragDropOverwriteMode(true);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    header()->setSectionsMovable(false);
    header()->setSectionsClickable(true);
    header()->setHighlightSections(false);
    header()->setStretchLastSection(false);
    connect(header(), &QHeaderView::sectionClicked, this, [this](int column) {
        switch (column) {
        case FileItemModel::NameColumn:
            emit orderAsked(FileOrder::FileName);
            break;
        case FileItemModel::ModifiedColumn:
            emit orderAsked(FileOrder::Modified);
            break;
        case FileItemModel::SizeColumn:
            emit orderAsked(FileOrder::FileSize);
            break;
        default:
            break;
        }
    });
}

FileTreeWidget::~FileTreeWidget() = default;

void FileTreeWidget::setFileModel(FileItemModel *model)
{
    m_entries = model;
    setModel(model);
    setPathColumnVisible(false);
    setSortIndicator(model->order());
    fitColumns();
}

void FileTreeWidget::setSortIndicator(FileOrder::Type order)
{
    static const int columns[] = {FileItemModel::NameColumn, FileItemModel::SizeColumn, FileItemModel::ModifiedColumn};
    header()->setSortIndicatorShown(true);
    header()->setSortIndicator(columns[order], Qt::AscendingOrder);
}

void FileTreeWidget::setPathColumnVisible(bool visible)
{
    setColumnHidden(FileItemModel::PathColumn, !visible);
    fitColumns();
}

FileTreeWidgetItem FileTreeWidget::itemAt(int row) const
{
    return {m_entries, row};
}

int FileTreeWidget::heightOfRow() const
{
    return qMax(1, m_entries && m_entries->rowCount() > 0 ? rowHeight(m_entries->index(0, 0)) : 1);
}

std::pair<int, int> FileTreeWidget::visibleRows() const
{
    const int top = verticalScrollBar()->value(), height = heightOfRow();
    const int rows = m_entries ? m_entries->rowCount() : 0;
    return {qMin(top / height, qMax(0, rows - 1)), qMin((top + viewport()->height()) / height, rows - 1)};
}

QItemSelection FileTreeWidget::touched(const QRect &area) const
{
    const int height = heightOfRow(), first = qMax(0, area.top()) / height;
    const int last = qMin(area.bottom() / height, m_entries->rowCount() - 1);
    if (first > last || area.bottom() < 0)
        return {};
    return {m_entries->index(first, 0), m_entries->index(last, FileItemModel::ColumnCount - 1)};
}

void FileTreeWidget::selectAll()
{
    selectionModel()->select(touched(QRect(0, 0, 1, m_entries->rowCount() * heightOfRow())),
                             QItemSelectionModel::ClearAndSelect);
}

void FileTreeWidget::setSelectionModel(QItemSelectionModel *selection)
{
    QTreeView::setSelectionModel(selection);
    // To paint a column's head the header asks whether every row of it is selected, one by one. Whole columns never are
    // anything here, so it gets a selection that stays empty.
    QItemSelectionModel *old = m_noColumns;
    m_noColumns = new QItemSelectionModel(selection->model(), this);
    header()->setSelectionModel(m_noColumns);
    delete old;
}

void FileTreeWidget::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && !indexAt(event->pos()).isValid()) {
        setFocus(Qt::MouseFocusReason);
        m_band->press(event);
        return;
    }
    QTreeView::mousePressEvent(event);
}

void FileTreeWidget::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_band->move(event))
        QTreeView::mouseMoveEvent(event);
}

void FileTreeWidget::mouseReleaseEvent(QMouseEvent *event)
{
    if (!m_band->release())
        QTreeView::mouseReleaseEvent(event);
}

void FileTreeWidget::dragMoveEvent(QDragMoveEvent *event)
{
    QAbstractItemView::dragMoveEvent(event); // NOLINT(bugprone-parent-virtual-call)
    m_drop->move(event);
}

void FileTreeWidget::dragLeaveEvent(QDragLeaveEvent *event)
{
    QTreeView::dragLeaveEvent(event);
    m_drop->leave();
}

void FileTreeWidget::dropEvent(QDropEvent *event)
{
    m_drop->drop(event);
    QTreeView::dropEvent(event);
}

void FileTreeWidget::startDrag(Qt::DropActions actions)
{
    Q_UNUSED(actions)
    emit dragAsked();
}

void FileTreeWidget::paintEvent(QPaintEvent *event)
{
    QTreeView::paintEvent(event);
    QPainter painter(viewport());
    m_drop->paint(&painter);
    m_band->paint(&painter);
}

void FileTreeWidget::drawRow(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QTreeView::drawRow(painter, option, index);
    if (!hasFocus() || index.row() != currentIndex().row())
        return;
    QColor ring = palette().color(QPalette::Link);
    ring.setAlpha(110);
    painter->setPen(ring);
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5), 3, 3);
}

QRegion FileTreeWidget::visualRegionForSelection(const QItemSelection &selection) const
{
    // Worked out range by range, a large scattered selection would take longer than painting anew what is in view.
    return selection.isEmpty() ? QRegion() : QRegion(viewport()->rect());
}

void FileTreeWidget::resizeEvent(QResizeEvent *event)
{
    QTreeView::resizeEvent(event);
    fitColumns();
}

void FileTreeWidget::fitColumns()
{
    if (!model())
        return;
    // The name takes what the others leave. Widths follow the font, so that a time is never cut off.
    const int time = fontMetrics().horizontalAdvance(QStringLiteral("2000-00-00 00:00")) + 36;
    const int size = fontMetrics().horizontalAdvance(QStringLiteral("1023.99G")) + 40;
    const bool path = !isColumnHidden(FileItemModel::PathColumn);
    const int rest = qMax(120, viewport()->width() - time - size);
    setColumnWidth(FileItemModel::NameColumn, path ? rest * 3 / 5 : rest);
    setColumnWidth(FileItemModel::ModifiedColumn, time);
    setColumnWidth(FileItemModel::SizeColumn, size);
    if (path)
        setColumnWidth(FileItemModel::PathColumn, rest - rest * 3 / 5);
}

void FileTreeWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange) {
        setAccessibleName(tr("Files"));
        header()->viewport()->update();
    }
    QTreeView::changeEvent(event);
}
