#include "RowListView.h"

#include "RowWidget.h"

#include <QEvent>
#include <QHeaderView>
#include <QIcon>
#include <QPainter>
#include <QScrollBar>

namespace {

constexpr int kRefreshPause = 100; // milliseconds
constexpr int kRowPadding = 20;
constexpr int kMostSearched = 20000;
constexpr int kHintIcon = 48;

} // namespace

RowListView::RowListView(const Factory &factory, QWidget *parent)
    : QAbstractItemView(parent)
    , m_factory(factory)
    , m_header(new QHeaderView(Qt::Horizontal, this))
{
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerPixel);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTabKeyNavigation(false);
    viewport()->setMouseTracking(true);
    m_header->setStretchLastSection(false);
    m_header->setSectionsMovable(false);
    m_header->setHighlightSections(false);
    m_header->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    connect(m_header, &QHeaderView::sectionResized, this, [this] {
        m_moveAll = true;
        scheduleDelayedItemsLayout();
    });
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(kRefreshPause);
    connect(&m_refresh, &QTimer::timeout, this, &RowListView::refresh);
}

void RowListView::setModel(QAbstractItemModel *model)
{
    if (this->model())
        disconnect(this->model(), nullptr, this, nullptr);
    const QItemSelectionModel *before = selectionModel();
    QAbstractItemView::setModel(model);
    delete before;
    // A filter in front of the first model has the same columns, and the head keeps its widths.
    if (!m_header->model())
        m_header->setModel(model);
    connect(model, &QAbstractItemModel::rowsRemoved, this, [this] { scheduleDelayedItemsLayout(); });
}

void RowListView::setHint(const QString &text, const QString &iconFile)
{
    m_hint = text;
    m_hintIcon = iconFile;
    viewport()->update();
}

int RowListView::rows() const
{
    return model() ? model()->rowCount(rootIndex()) : 0;
}

int RowListView::rowHeight() const
{
    return 2 * fontMetrics().height() + kRowPadding;
}

int RowListView::verticalOffset() const
{
    return verticalScrollBar()->value();
}

int RowListView::firstRow() const
{
    return qBound(0, verticalOffset() / rowHeight(), qMax(0, rows() - 1));
}

qint64 RowListView::anchor() const
{
    return verticalOffset() / rowHeight() + m_shift;
}

int RowListView::lastRow() const
{
    return qMin((verticalOffset() + viewport()->height() - 1) / rowHeight(), rows() - 1);
}

RowWidget *RowListView::rowWidget(int row) const
{
    if (m_slots.empty() || row < 0)
        return nullptr;
    const Slot &slot = m_slots[static_cast<std::size_t>(row) % m_slots.size()];
    return slot.row == row ? slot.widget : nullptr;
}

QRect RowListView::visualRect(const QModelIndex &index) const
{
    if (!index.isValid())
        return QRect();
    return QRect(0, index.row() * rowHeight() - verticalOffset(), viewport()->width(), rowHeight());
}

QModelIndex RowListView::indexAt(const QPoint &point) const
{
    const int y = point.y() + verticalOffset();
    const int row = y / rowHeight();
    if (y < 0 || row >= rows() || !viewport()->rect().contains(point))
        return QModelIndex();
    return model()->index(row, 0, rootIndex());
}

void RowListView::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    if (!index.isValid())
        return;
    const int top = index.row() * rowHeight();
    const int room = viewport()->height() - rowHeight();
    const int offset = verticalOffset();
    int wanted = offset;
    if (hint == PositionAtTop || (hint == EnsureVisible && top < offset))
        wanted = top;
    else if (hint == PositionAtBottom || (hint == EnsureVisible && top > offset + room))
        wanted = top - room;
    else if (hint == PositionAtCenter)
        wanted = top - room / 2;
    verticalScrollBar()->setValue(wanted);
}

QModelIndex RowListView::moveCursor(CursorAction action, Qt::KeyboardModifiers)
{
    const int count = rows();
    if (count == 0)
        return QModelIndex();
    const int page = qMax(1, viewport()->height() / rowHeight() - 1);
    int row = currentIndex().isValid() ? currentIndex().row() : -1;
    switch (action) {
    case MoveUp:
    case MovePrevious:
        --row;
        break;
    case MoveDown:
    case MoveNext:
        ++row;
        break;
    case MovePageUp:
        row -= page;
        break;
    case MovePageDown:
        row += page;
        break;
    case MoveHome:
        row = 0;
        break;
    case MoveEnd:
        row = count - 1;
        break;
    case MoveLeft:
    case MoveRight:
        break;
    }
    return model()->index(qBound(0, row, count - 1), 0, rootIndex());
}

void RowListView::keyboardSearch(const QString &text)
{
    static const QString kBlank = QStringLiteral(" ");
    const int count = rows();
    if (count == 0 || text == kBlank)
        return;
    const int start = currentIndex().isValid() ? currentIndex().row() + 1 : 0;
    for (int i = 0; i < qMin(count, kMostSearched); ++i) {
        const QModelIndex index = model()->index((start + i) % count, 0, rootIndex());
        if (index.data().toString().startsWith(text, Qt::CaseInsensitive)) {
            setCurrentIndex(index);
            return;
        }
    }
}

void RowListView::setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command)
{
    const int count = rows();
    const QRect area = rect.normalized().translated(0, verticalOffset());
    const int first = qMax(0, area.top() / rowHeight());
    const int last = qMin(count - 1, area.bottom() / rowHeight());
    QItemSelection selection;
    if (first <= last && area.bottom() >= 0)
        selection.select(model()->index(first, 0, rootIndex()),
                         model()->index(last, model()->columnCount(rootIndex()) - 1, rootIndex()));
    selectionModel()->select(selection, command);
}

QRegion RowListView::visualRegionForSelection(const QItemSelection &selection) const
{
    QRegion region;
    for (const QItemSelectionRange &range : selection) {
        const int top = qMax(range.top(), firstRow());
        const int bottom = qMin(range.bottom(), lastRow());
        if (top <= bottom)
            region +=
                QRect(0, top * rowHeight() - verticalOffset(), viewport()->width(), (bottom - top + 1) * rowHeight());
    }
    return region;
}

void RowListView::updateGeometries()
{
    const int headHeight = m_header->sizeHint().height();
    setViewportMargins(0, headHeight, 0, 0);
    const QRect area = viewport()->geometry();
    m_header->setGeometry(area.left(), area.top() - headHeight, area.width(), headHeight);
    QScrollBar *bar = verticalScrollBar();
    bar->setSingleStep(rowHeight() / 2);
    bar->setPageStep(viewport()->height());
    const int most = qMax(0, rows() * rowHeight() - viewport()->height());
    const qint64 wanted = bar->value() + m_shift * rowHeight();
    m_shift = 0;
    // The range first where it grows, the value first where it shrinks: no value in between is shown.
    if (most > bar->maximum())
        bar->setRange(0, most);
    bar->setValue(static_cast<int>(qBound<qint64>(0, wanted, most)));
    bar->setRange(0, most);
    QAbstractItemView::updateGeometries();
}

void RowListView::doItemsLayout()
{
    QAbstractItemView::doItemsLayout();
    updateGeometries();
    placeRows(true);
}

void RowListView::reset()
{
    m_shift = 0;
    QAbstractItemView::reset();
    scheduleDelayedItemsLayout();
}

void RowListView::rowsInserted(const QModelIndex &parent, int start, int end)
{
    QAbstractItemView::rowsInserted(parent, start, end);
    // At the top of the list a person wants to see what comes.
    if (anchor() > 0 && start <= anchor())
        m_shift += end - start + 1;
    scheduleDelayedItemsLayout();
}

void RowListView::rowsAboutToBeRemoved(const QModelIndex &parent, int start, int end)
{
    QAbstractItemView::rowsAboutToBeRemoved(parent, start, end);
    const qint64 above = qMin<qint64>(end, anchor() - 1) - start + 1;
    if (above > 0)
        m_shift -= above;
}

void RowListView::scrollContentsBy(int, int dy)
{
    if (dy == 0)
        return;
    placeRows(false);
    viewport()->update();
}

void RowListView::dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight, const QVector<int> &)
{
    const int first = qMax(topLeft.row(), firstRow());
    const int last = qMin(bottomRight.row(), lastRow());
    if (first > last)
        return;
    for (int row = first; row <= last && !m_slots.empty(); ++row)
        m_slots[static_cast<std::size_t>(row) % m_slots.size()].dirty = true;
    if (!m_refresh.isActive())
        m_refresh.start();
}

void RowListView::refresh()
{
    for (Slot &slot : m_slots) {
        if (!slot.dirty)
            continue;
        slot.dirty = false;
        if (slot.row >= 0 && slot.row < rows())
            slot.widget->showRow(model()->index(slot.row, 0, rootIndex()));
    }
}

void RowListView::placeRows(bool all)
{
    const int height = rowHeight();
    const auto wanted = static_cast<std::size_t>(viewport()->height() / height) + 2;
    if (m_slots.size() < wanted) {
        // With another number of slots every row belongs to another one.
        for (Slot &slot : m_slots)
            slot.row = -1;
        while (m_slots.size() < wanted) {
            m_slots.push_back({m_factory(viewport())});
            m_moveAll = true;
        }
    }
    QVector<QRect> cells;
    if (m_moveAll) {
        for (int i = 0; i < m_header->count(); ++i)
            cells << QRect(m_header->sectionViewportPosition(i), 0, m_header->sectionSize(i), height);
    }
    const int first = firstRow();
    const int last = lastRow();
    for (std::size_t at = 0; at < m_slots.size(); ++at) {
        Slot &slot = m_slots[at];
        const int count = static_cast<int>(m_slots.size());
        const int row = first + ((static_cast<int>(at) - first) % count + count) % count;
        if (m_moveAll) {
            slot.widget->resize(viewport()->width(), height);
            slot.widget->arrange(cells);
        }
        if (row > last) {
            slot.row = -1;
            slot.widget->hide();
            continue;
        }
        if (all || slot.row != row) {
            slot.row = row;
            slot.dirty = false;
            slot.widget->showRow(model()->index(row, 0, rootIndex()));
        }
        slot.widget->move(0, row * height - verticalOffset());
        slot.widget->show();
    }
    m_moveAll = false;
}

void RowListView::resizeEvent(QResizeEvent *event)
{
    m_moveAll = true;
    QAbstractItemView::resizeEvent(event);
    placeRows(false);
}

void RowListView::changeEvent(QEvent *event)
{
    QAbstractItemView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange ||
        event->type() == QEvent::LanguageChange) {
        m_moveAll = true;
        m_header->viewport()->update();
        scheduleDelayedItemsLayout();
    }
}

void RowListView::paintEvent(QPaintEvent *)
{
    executeDelayedItemsLayout();
    QPainter painter(viewport());
    QStyleOptionViewItem option = viewOptions();
    const int count = rows();
    if (count == 0) {
        const QRect area = viewport()->rect();
        const int top = area.center().y() - kHintIcon;
        QIcon(QStringLiteral(":/ArkvaleTolmaMain/Icon/") + m_hintIcon)
            .paint(&painter, QRect(area.center().x() - kHintIcon / 2, top, kHintIcon, kHintIcon), Qt::AlignCenter,
                   QIcon::Disabled);
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(QRect(area.left(), top + kHintIcon + 8, area.width(), 3 * fontMetrics().height()),
                         Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap, m_hint);
        return;
    }
    const QColor line(0xe6, 0xeb, 0xf3);
    for (int row = firstRow(); row <= lastRow(); ++row) {
        const QModelIndex index = model()->index(row, 0, rootIndex());
        option.rect = visualRect(index);
        option.state = QStyle::State_Enabled;
        option.state.setFlag(QStyle::State_Selected, selectionModel()->isRowSelected(row, rootIndex()));
        const RowWidget *widget = rowWidget(row);
        option.state.setFlag(QStyle::State_MouseOver, widget && widget->underMouse());
        option.state.setFlag(QStyle::State_Active, isActiveWindow());
        style()->drawPrimitive(QStyle::PE_PanelItemViewRow, &option, &painter, this);
        style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, &painter, this);
        painter.setPen(line);
        painter.drawLine(option.rect.bottomLeft(), option.rect.bottomRight());
        if (index.row() == currentIndex().row() && hasFocus()) {
            QColor frame = palette().color(QPalette::Highlight).darker(130);
            painter.setPen(frame);
            painter.drawRect(option.rect.adjusted(0, 0, -1, -2));
        }
    }
}
