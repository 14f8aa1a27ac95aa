#include "ShareListView.h"

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QSortFilterProxyModel>
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
    , m_proxy(new QSortFilterProxyModel(this))
    , m_view(new QTreeView(this))
    , m_empty(new QLabel(this))
{
    m_proxy->setSourceModel(m_model);
    m_proxy->setSortRole(ShareListModel::SortRole);
    m_proxy->setSortLocaleAware(true);
    m_proxy->setSortCaseSensitivity(Qt::CaseInsensitive);
    m_proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_proxy->setFilterKeyColumn(-1);
    m_view->setModel(m_proxy);
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
            [this](const QModelIndex &index) { emit opened(m_model->record(m_proxy->mapToSource(index).row())); });
    connect(m_view, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &pos) { emit menuAsked(m_view->viewport()->mapToGlobal(pos)); });
    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ShareListView::selectionChanged);
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(m_proxy, signal, this, &ShareListView::refreshEmpty);
    connect(m_proxy, &QAbstractItemModel::modelReset, this, &ShareListView::refreshEmpty);
    retranslate();
}

QList<ShareRecord> ShareListView::selectedRecords() const
{
    QList<ShareRecord> records;
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows)
        records << m_model->record(m_proxy->mapToSource(row).row());
    return records;
}

void ShareListView::setFilter(const QString &text)
{
    m_proxy->setFilterFixedString(text);
    retranslate();
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
    const bool empty = m_known && m_proxy->rowCount() == 0;
    m_empty->setVisible(empty);
    m_view->setVisible(!empty);
    if (empty)
        emit selectionChanged();
}

void ShareListView::retranslate()
{
    const bool mine = m_model->side() == ShareListModel::Mine;
    if (!m_proxy->filterRegularExpression().pattern().isEmpty())
        m_empty->setText(tr("No share matches the search."));
    else
        m_empty->setText(mine ? tr("You have shared nothing so far. Select a file or folder on your disk and choose "
                                   "\"Share\".")
                              : tr("Nobody has shared anything with you so far."));
    m_view->setAccessibleName(mine ? tr("Shared by me") : tr("Shared with me"));
    m_model->retranslate();
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
