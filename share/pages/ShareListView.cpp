#include "ShareListView.h"

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QScrollBar>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

constexpr int kTimeWidth = 150;
constexpr int kSizeWidth = 100;
constexpr int kIconSide = 20;

} // namespace

ShareListView::ShareListView(ShareListModel::Side side, QWidget *parent)
    : QWidget(parent)
    , m_model(new ShareListModel(side, this))
    , m_view(new QTreeView(this))
    , m_empty(new QLabel(this))
{
    m_view->setModel(m_model);
    m_view->setObjectName(side == ShareListModel::Mine ? QStringLiteral("sharesOfMine") : QStringLiteral("sharesToMe"));
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->setIconSize({kIconSide, kIconSide});
    m_view->setSortingEnabled(true);
    m_view->sortByColumn(ShareListModel::TimeColumn, Qt::DescendingOrder);
    m_view->header()->setSectionsMovable(false);
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setWordWrap(true);
    m_empty->setProperty("hint", true);
    m_empty->hide();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    layout->addWidget(m_empty, 1);
    setFocusProxy(m_view);

    connect(m_view, &QTreeView::activated, this,
            [this](const QModelIndex &index) { emit opened(m_model->record(index.row())); });
    connect(m_view, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &pos) { emit menuAsked(m_view->viewport()->mapToGlobal(pos)); });
    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ShareListView::selectionChanged);
    connect(m_model, &QAbstractItemModel::modelAboutToBeReset, this, &ShareListView::keepPlace);
    connect(m_model, &QAbstractItemModel::modelReset, this, &ShareListView::findPlace);
    retranslate();
}

QList<ShareRecord> ShareListView::selectedRecords() const
{
    QList<ShareRecord> records;
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows)
        records << m_model->record(row.row());
    return records;
}

void ShareListView::setFilter(const QString &text)
{
    m_model->setFilter(text);
    refreshEmpty();
}

void ShareListView::show(const QList<ShareRecord> &records)
{
    m_known = true;
    m_model->show(records);
    refreshEmpty();
}

void ShareListView::refreshEmpty()
{
    const bool empty = m_known && m_model->rowCount() == 0;
    if (m_model->isFiltered())
        m_empty->setText(tr("No share matches the search."));
    else
        m_empty->setText(m_model->side() == ShareListModel::Mine
                             ? tr("You have shared nothing so far. Select a file or folder on your disk and choose "
                                  "\"Share\".")
                             : tr("Nobody has shared anything with you so far."));
    m_empty->setVisible(empty);
    m_view->setVisible(!empty);
    if (empty)
        emit selectionChanged();
}

void ShareListView::retranslate()
{
    const bool mine = m_model->side() == ShareListModel::Mine;
    m_view->setAccessibleName(mine ? tr("Shared by me") : tr("Shared with me"));
    m_model->retranslate();
    refreshEmpty();
}

// What is selected stays so when the list gets another order, or comes anew.
void ShareListView::keepPlace()
{
    // What a search has hidden altogether is there again when the search is cleared.
    if (m_model->rowCount() == 0)
        return;
    m_selected.clear();
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows)
        m_selected.insert(m_model->record(row.row()).shareId);
    const QModelIndex current = m_view->currentIndex();
    m_current = current.isValid() ? m_model->record(current.row()).shareId : QString();
    m_scrolled = m_view->verticalScrollBar()->value();
}

void ShareListView::findPlace()
{
    refreshEmpty();
    if (m_model->rowCount() == 0)
        return;
    QItemSelection selection;
    QModelIndex current;
    for (int row = 0; row < m_model->rowCount() && !(m_selected.isEmpty() && m_current.isEmpty()); ++row) {
        const QString &id = m_model->record(row).shareId;
        if (id == m_current)
            current = m_model->index(row, 0);
        if (!m_selected.contains(id))
            continue;
        const int from = row;
        while (row + 1 < m_model->rowCount() && m_selected.contains(m_model->record(row + 1).shareId))
            ++row;
        selection.append({m_model->index(from, 0), m_model->index(row, ShareListModel::ColumnCount - 1)});
    }
    m_view->verticalScrollBar()->setValue(m_scrolled);
    m_view->selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    m_view->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    emit selectionChanged();
}

void ShareListView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}

void ShareListView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Delete)
        emit removeAsked();
    else
        QWidget::keyPressEvent(event);
}

void ShareListView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitColumns();
}

void ShareListView::fitColumns()
{
    QHeaderView *header = m_view->header();
    const int rest = qMax(200, width() - kTimeWidth - kSizeWidth - 16);
    header->setStretchLastSection(false);
    header->resizeSection(ShareListModel::NameColumn, rest * 3 / 5);
    header->resizeSection(ShareListModel::WhoColumn, rest - rest * 3 / 5);
    header->resizeSection(ShareListModel::TimeColumn, kTimeWidth);
    header->resizeSection(ShareListModel::SizeColumn, kSizeWidth);
}
