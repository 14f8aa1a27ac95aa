#include "TaskListFrame.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

/// A person who types is not kept waiting for each letter.
constexpr int kTypingPause = 200;
/// The least width of the first column, in which a name can be read.
constexpr int kNameRoom = 190;

} // namespace

TaskListFrame::TaskListFrame(QAbstractItemModel *model, int taskRole, const RowListView::Factory &factory,
                             const QString &hintIcon, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_taskRole(taskRole)
    , m_hintIcon(hintIcon)
    , m_view(new RowListView(factory, this))
    , m_filterBar(new QWidget(this))
    , m_filter(new QLineEdit(m_filterBar))
{
    m_view->setModel(model);
    m_filter->setObjectName(QStringLiteral("edit_filter"));
    m_filter->setClearButtonEnabled(true);
    auto *bar = new QHBoxLayout(m_filterBar);
    bar->setContentsMargins(12, 0, 12, 8);
    bar->addWidget(m_filter);
    m_filterBar->hide();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_filterBar);
    layout->addWidget(m_view);
    setFocusProxy(m_view);

    m_apply.setSingleShot(true);
    m_apply.setInterval(kTypingPause);
    connect(&m_apply, &QTimer::timeout, this, &TaskListFrame::applyFilter);
    connect(m_filter, &QLineEdit::textChanged, &m_apply, QOverload<>::of(&QTimer::start));
    connect(m_filter, &QLineEdit::returnPressed, m_view, QOverload<>::of(&QWidget::setFocus));
    addKey(QKeySequence::Find, [this] { openFilter(); });
    addKey(Qt::Key_Escape, [this] { closeFilter(); });
}

void TaskListFrame::setColumnWidths(const QVector<int> &widths, const QVector<int> &spare)
{
    QHeaderView *header = m_view->header();
    header->setSectionResizeMode(0, QHeaderView::Stretch);
    for (int i = 0; i < widths.size(); ++i)
        header->resizeSection(i + 1, widths.at(i));
    header->setSectionResizeMode(widths.size(), QHeaderView::Fixed);
    m_spare = spare;
}

void TaskListFrame::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    QHeaderView *header = m_view->header();
    for (const int column : qAsConst(m_spare))
        header->setSectionHidden(column, false);
    int room = width();
    for (int i = 1; i < header->count(); ++i)
        room -= header->sectionSize(i);
    for (const int column : qAsConst(m_spare)) {
        if (room >= kNameRoom)
            break;
        room += header->sectionSize(column);
        header->setSectionHidden(column, true);
    }
}

void TaskListFrame::addKey(const QKeySequence &keys, const std::function<void()> &action)
{
    // Shortcuts and not key events: the view takes some of these keys for its own purposes.
    auto *shortcut = new QShortcut(keys, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    connect(shortcut, &QShortcut::activated, this, action);
}

void TaskListFrame::addCommonActions(QMenu *menu)
{
    QAction *all = menu->addAction(tr("Select all"), m_view, &QAbstractItemView::selectAll);
    all->setShortcut(QKeySequence::SelectAll);
    all->setEnabled(m_view->model()->rowCount() > 0);
    menu->addAction(tr("Filter..."), this, &TaskListFrame::openFilter)->setShortcut(QKeySequence::Find);
}

QList<TaskRecord> TaskListFrame::selected() const
{
    QList<TaskRecord> tasks;
    const QItemSelection selection = m_view->selectionModel()->selection();
    const QAbstractItemModel *model = m_view->model();
    for (const QItemSelectionRange &range : selection) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            tasks << model->index(row, 0).data(m_taskRole).value<TaskRecord>();
    }
    return tasks;
}

int TaskListFrame::selectedCount() const
{
    int count = 0;
    const QItemSelection selection = m_view->selectionModel()->selection();
    for (const QItemSelectionRange &range : selection)
        count += range.height();
    return count;
}

void TaskListFrame::openFilter()
{
    m_filterBar->show();
    m_filter->setFocus();
    m_filter->selectAll();
}

void TaskListFrame::closeFilter()
{
    m_filter->clear();
    m_filterBar->hide();
    m_view->setFocus();
}

void TaskListFrame::applyFilter()
{
    const QString text = m_filter->text();
    if (text.isEmpty() && m_proxy) {
        m_view->setModel(m_model);
        delete m_proxy;
        m_proxy = nullptr;
    } else if (!text.isEmpty()) {
        if (!m_proxy) {
            m_proxy = new QSortFilterProxyModel(this);
            m_proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);
            m_proxy->setFilterFixedString(text);
            m_proxy->setSourceModel(m_model);
            m_view->setModel(m_proxy);
        }
        m_proxy->setFilterFixedString(text);
    }
    retranslate();
    emit filterChanged();
}

void TaskListFrame::retranslate()
{
    m_filter->setPlaceholderText(tr("Filter by name"));
    if (m_proxy)
        m_view->setHint(tr("No transfer has a name like that."), QStringLiteral("search.svg"));
    else
        m_view->setHint(emptyHint(), m_hintIcon);
}

void TaskListFrame::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}
