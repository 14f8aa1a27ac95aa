#include "FileListWidget.h"

#include "DropMark.h"
#include "FileItemModel.h"
#include "SelectionBand.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

// QListView would lay every entry out; what it adds to its base is done here by counting.
// NOLINTBEGIN(bugprone-parent-virtual-call)

namespace {

constexpr int Margin = 10; ///< around all cells
constexpr int Gap = 5;     ///< around the box in a cell; the ground is pressed there
constexpr int Padding = 7; ///< inside the box
constexpr int TextLines = 2;

} // namespace

FileListWidget::FileListWidget(QWidget *parent)
    : QListView(parent)
    , m_band(new SelectionBand(this, [this](const QRect &area) { return touched(area); }))
    , m_drop(std::make_unique<DropMark>(this))
{
    setObjectName(QStringLiteral("fileList"));
    setAccessibleName(tr("Files"));
    setMovement(Static);
    setIconSize(QSize(80, 80));
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(false);
    setDragDropMode(DragDrop);
    setDragDropOverwriteMode(true);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true);
}

FileListWidget::~FileListWidget() = default;

void FileListWidget::setFileModel(FileItemModel *model)
{
    m_entries = model;
    setModel(model);
    setModelColumn(FileItemModel::NameColumn);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &FileListWidget::scheduleDelayedItemsLayout);
    connect(model, &QAbstractItemModel::rowsMoved, this, &FileListWidget::scheduleDelayedItemsLayout);
}

FileListWidgetItem FileListWidget::itemAt(int row) const
{
    return {m_entries, row};
}

// Places

int FileListWidget::rows() const
{
    return m_entries ? m_entries->rowCount() : 0;
}

QSize FileListWidget::cell() const
{
    const int text = TextLines * fontMetrics().lineSpacing();
    return QSize(iconSize().width() + 48, iconSize().height() + text + 4 + 2 * Padding + 2 * Gap);
}

int FileListWidget::columns() const
{
    return qMax(1, (viewport()->width() - 2 * Margin) / cell().width());
}

QRect FileListWidget::box(int row) const
{
    const int across = columns(), room = viewport()->width() - 2 * Margin;
    const int left = room * (row % across) / across, right = room * (row % across + 1) / across;
    // A row that is not full is as wide as the others; the rest of the width is shared among the cells.
    return QRect(Margin + left + (right - left - cell().width()) / 2, Margin + row / across * cell().height(),
                 cell().width(), cell().height())
        .adjusted(Gap, Gap, -Gap, -Gap);
}

QRect FileListWidget::visualRect(const QModelIndex &index) const
{
    return index.isValid() ? box(index.row()).translated(0, -verticalOffset()) : QRect();
}

QModelIndex FileListWidget::indexAt(const QPoint &point) const
{
    const int across = columns(), room = qMax(1, viewport()->width() - 2 * Margin);
    const QPoint place = point + QPoint(0, verticalOffset());
    const int column = (place.x() - Margin) * across / room;
    if (place.y() < Margin || place.x() < Margin || column >= across)
        return {};
    const int row = (place.y() - Margin) / cell().height() * across + column;
    return row < rows() && box(row).contains(place) ? m_entries->index(row, modelColumn()) : QModelIndex();
}

std::pair<int, int> FileListWidget::visibleRows() const
{
    const int across = columns(), height = cell().height();
    const int first = qMax(0, verticalOffset() - Margin) / height * across;
    const int last = ((verticalOffset() + viewport()->height() - Margin) / height + 1) * across - 1;
    return {first, qMin(last, rows() - 1)};
}

int FileListWidget::verticalOffset() const
{
    return verticalScrollBar()->value();
}

void FileListWidget::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    if (!index.isValid())
        return;
    const QRect place = visualRect(index).adjusted(-Gap, -Gap, Gap, Gap);
    const int height = viewport()->height();
    QScrollBar *bar = verticalScrollBar();
    if (hint == PositionAtCenter)
        bar->setValue(bar->value() + place.center().y() - height / 2);
    else if (hint == PositionAtTop || place.top() < 0)
        bar->setValue(bar->value() + place.top());
    else if (hint == PositionAtBottom || place.bottom() >= height)
        bar->setValue(bar->value() + place.bottom() - height + 1);
}

void FileListWidget::doItemsLayout()
{
    QAbstractItemView::doItemsLayout();
}

void FileListWidget::updateGeometries()
{
    const int lines = (rows() + columns() - 1) / columns();
    const int height = lines * cell().height() + 2 * Margin;
    QScrollBar *bar = verticalScrollBar();
    bar->setSingleStep(qMax(1, cell().height() / 3));
    bar->setPageStep(viewport()->height());
    bar->setRange(0, qMax(0, height - viewport()->height()));
    QAbstractItemView::updateGeometries();
}

void FileListWidget::resizeEvent(QResizeEvent *event)
{
    // What was first in view stays there when the number of columns changes.
    const QModelIndex first = m_entries ? m_entries->index(visibleRows().first, modelColumn()) : QModelIndex();
    const bool scrolledDown = verticalOffset() > 0 && event->oldSize().width() != event->size().width();
    QAbstractItemView::resizeEvent(event);
    updateGeometries();
    if (scrolledDown)
        scrollTo(first, PositionAtTop);
}

void FileListWidget::scrollContentsBy(int dx, int dy)
{
    QAbstractItemView::scrollContentsBy(dx, dy);
    viewport()->update();
}

void FileListWidget::rowsInserted(const QModelIndex &parent, int start, int end)
{
    QAbstractItemView::rowsInserted(parent, start, end);
    scheduleDelayedItemsLayout();
}

void FileListWidget::dataChanged(const QModelIndex &from, const QModelIndex &to, const QVector<int> &roles)
{
    QAbstractItemView::dataChanged(from, to, roles);
    viewport()->update();
}

// Selection

QItemSelection FileListWidget::rowRange(int first, int last) const
{
    if (first > last)
        return {};
    return {m_entries->index(first, 0), m_entries->index(last, FileItemModel::ColumnCount - 1)};
}

QItemSelection FileListWidget::touched(const QRect &area) const
{
    QItemSelection selection;
    const int across = columns(), height = cell().height();
    const int firstLine = qMax(0, area.top() - Margin) / height;
    const int lastLine = qMin((area.bottom() - Margin) / height, (rows() - 1) / across);
    for (int line = firstLine; line <= lastLine; ++line) {
        int first = -1, last = -2;
        for (int row = line * across; row < qMin((line + 1) * across, rows()); ++row) {
            if (!box(row).intersects(area))
                continue;
            first = first < 0 ? row : first;
            last = row;
        }
        // Neighbouring lines that are touched as a whole make one range.
        if (!selection.isEmpty() && selection.last().bottom() == first - 1)
            first = selection.takeLast().top();
        if (first >= 0)
            selection.append(rowRange(first, last));
    }
    return selection;
}

void FileListWidget::setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command)
{
    // A click gives one place; with Shift the places where the range begins and ends, which goes by the order of rows.
    const QModelIndex from = indexAt(rect.topLeft()), to = indexAt(rect.bottomRight());
    const QModelIndex begin = from.isValid() ? from : to, end = to.isValid() ? to : from;
    const QItemSelection selection =
        begin.isValid() ? rowRange(qMin(begin.row(), end.row()), qMax(begin.row(), end.row())) : QItemSelection();
    selectionModel()->select(selection, command);
}

QRegion FileListWidget::visualRegionForSelection(const QItemSelection &selection) const
{
    return selection.isEmpty() ? QRegion() : QRegion(viewport()->rect());
}

void FileListWidget::selectAll()
{
    selectionModel()->select(rowRange(0, rows() - 1), QItemSelectionModel::ClearAndSelect);
}

QModelIndex FileListWidget::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    Q_UNUSED(modifiers)
    const int count = rows();
    if (count == 0)
        return {};
    const int across = columns(), page = qMax(1, viewport()->height() / cell().height()) * across;
    const int row = currentIndex().row();
    if (row < 0)
        return m_entries->index(0, modelColumn());
    int next = row;
    switch (action) {
    case MoveLeft:
    case MovePrevious:
        next = row - 1;
        break;
    case MoveRight:
    case MoveNext:
        next = row + 1;
        break;
    case MoveUp:
        next = row >= across ? row - across : row;
        break;
    case MoveDown:
        // From above a gap in the last line to its last entry.
        next = row / across < (count - 1) / across ? qMin(row + across, count - 1) : row;
        break;
    case MovePageUp:
        next = row >= page ? row - page : row % across;
        break;
    case MovePageDown:
        next = row + page;
        break;
    case MoveHome:
        next = 0;
        break;
    case MoveEnd:
        next = count - 1;
        break;
    }
    return m_entries->index(qBound(0, next, count - 1), modelColumn());
}

// Mouse and drags

void FileListWidget::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && !indexAt(event->pos()).isValid()) {
        setFocus(Qt::MouseFocusReason);
        m_band->press(event);
        return;
    }
    QAbstractItemView::mousePressEvent(event);
}

void FileListWidget::mouseMoveEvent(QMouseEvent *event)
{
    if (m_band->move(event))
        return;
    const int hovered = indexAt(event->pos()).row();
    if (hovered != m_hovered) {
        m_hovered = hovered;
        viewport()->update();
    }
    QAbstractItemView::mouseMoveEvent(event);
}

void FileListWidget::mouseReleaseEvent(QMouseEvent *event)
{
    if (!m_band->release())
        QAbstractItemView::mouseReleaseEvent(event);
}

void FileListWidget::leaveEvent(QEvent *event)
{
    m_hovered = -1;
    viewport()->update();
    QAbstractItemView::leaveEvent(event);
}

void FileListWidget::timerEvent(QTimerEvent *event)
{
    QAbstractItemView::timerEvent(event);
}

void FileListWidget::dragMoveEvent(QDragMoveEvent *event)
{
    QAbstractItemView::dragMoveEvent(event);
    m_drop->move(event);
}

void FileListWidget::dragLeaveEvent(QDragLeaveEvent *event)
{
    QAbstractItemView::dragLeaveEvent(event);
    m_drop->leave();
}

void FileListWidget::dropEvent(QDropEvent *event)
{
    m_drop->drop(event);
    QAbstractItemView::dropEvent(event);
}

void FileListWidget::startDrag(Qt::DropActions actions)
{
    Q_UNUSED(actions)
    emit dragAsked();
}

// Painting

QStyleOptionViewItem FileListWidget::viewOptions() const
{
    QStyleOptionViewItem option = QAbstractItemView::viewOptions();
    option.decorationPosition = QStyleOptionViewItem::Top;
    option.decorationSize = iconSize();
    return option;
}

void FileListWidget::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    const auto visible = visibleRows();
    for (int row = visible.first; row <= visible.second; ++row) {
        if (event->rect().intersects(box(row).translated(0, -verticalOffset())))
            paintEntry(&painter, row);
    }
    m_drop->paint(&painter);
    m_band->paint(&painter);
}

void FileListWidget::paintEntry(QPainter *painter, int row)
{
    const FileListWidgetItem entry = itemAt(row);
    const QModelIndex index = m_entries->index(row, modelColumn());
    QStyleOptionViewItem option = viewOptions();
    option.rect = visualRect(index);
    option.index = index;
    option.showDecorationSelected = true;
    option.state.setFlag(QStyle::State_Selected, selectionModel()->isSelected(index));
    option.state.setFlag(QStyle::State_MouseOver, row == m_hovered);
    option.state.setFlag(QStyle::State_HasFocus, hasFocus() && index == currentIndex());
    option.features = QStyleOptionViewItem::HasDisplay;
    option.viewItemPosition = QStyleOptionViewItem::OnlyOne;
    style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, this);

    const QRect inner = option.rect.adjusted(Padding, Padding, -Padding, -Padding);
    const QRect picture(inner.center().x() - iconSize().width() / 2 + 1, inner.top(), iconSize().width(),
                        iconSize().height());
    entry.icon().paint(painter, picture);
    if (state() == EditingState && index == currentIndex())
        return;
    const QStringList lines = entry.lines(fontMetrics(), inner.width(), TextLines);
    painter->setPen(
        palette().color(option.state & QStyle::State_Selected ? QPalette::HighlightedText : QPalette::Text));
    QRect line(inner.left(), picture.bottom() + 5, inner.width(), fontMetrics().lineSpacing());
    for (const QString &text : lines) {
        painter->drawText(line, Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextSingleLine | Qt::TextDontClip, text);
        line.translate(0, line.height());
    }
    if (option.state & QStyle::State_HasFocus) {
        QColor ring = palette().color(QPalette::Link);
        ring.setAlpha(110);
        painter->setPen(ring);
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    }
}

void FileListWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        setAccessibleName(tr("Files"));
    QListView::changeEvent(event);
}
// NOLINTEND(bugprone-parent-virtual-call)
