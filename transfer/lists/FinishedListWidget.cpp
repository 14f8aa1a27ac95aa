#include "FinishedListWidget.h"

#include "FinishedItemWidget.h"
#include "FinishedTaskModel.h"
#include "MsgDlg.h"
#include "TransferTexts.h"

#include <QMenu>
#include <QPointer>
#include <QScrollBar>

namespace {

constexpr int kPage = 20;

} // namespace

FinishedListWidget::FinishedListWidget(QWidget *parent)
    : TaskListFrame(
          new FinishedTaskModel, FinishedTaskModel::TaskRole,
          [this](QWidget *viewport) {
              auto *row = new FinishedItemWidget(viewport);
              connect(row, &FinishedItemWidget::sigRemove, this, [this](const TaskRecord &task) { remove({task}); });
              connect(row, &FinishedItemWidget::sigRetryTask, this, &FinishedListWidget::sigRetryTask);
              return row;
          },
          QStringLiteral("transfer.svg"), parent)
    , m_model(static_cast<FinishedTaskModel *>(view()->model()))
{
    m_model->setParent(this);
    setObjectName(QStringLiteral("listwid_finished"));
    view()->setObjectName(QStringLiteral("view_finished"));
    setColumnWidths({90, 130, 170, 190, 108},
                    {FinishedTaskModel::CenterColumn, FinishedTaskModel::TimeColumn, FinishedTaskModel::SizeColumn});
    connect(view(), &QWidget::customContextMenuRequested, this, &FinishedListWidget::showMenu);
    connect(view()->verticalScrollBar(), SIGNAL(valueChanged(int)), this, SLOT(Scroll(int)));
    connect(view(), &QAbstractItemView::activated, this, &FinishedListWidget::activate);
    connect(this, &TaskListFrame::filterChanged, this, &FinishedListWidget::loadMore);
    addKey(Qt::Key_Delete, [this] { RemoveSelected(); });
    retranslate();
}

QString FinishedListWidget::emptyHint() const
{
    return tr("Nothing has been transferred yet.");
}

void FinishedListWidget::add(const TaskRecord &task, ZpdtError error, const QString &detail)
{
    m_model->add(task, error, task.Status == ZPDT_SUCCESS ? QString() : detail);
    reportCount();
}

void FinishedListWidget::Withdraw(QList<TaskRecord> tasks)
{
    if (m_model->rowCount() == 0 && m_retried.isEmpty())
        return;
    QList<TaskRecord> known;
    for (const TaskRecord &task : qAsConst(tasks)) {
        if (m_model->find(task) >= 0) {
            known << task;
        } else if (m_retried.remove(TransferTexts::keyHash(task))) {
            known << task;
            m_notShown = qMax<qint64>(0, m_notShown - 1);
        }
    }
    remove(known);
}

void FinishedListWidget::Load()
{
    m_loading = true;
    emit sigLoadFinishedTaskRecord(TaskRecord(), kPage);
}

void FinishedListWidget::setStoredCount(qint64 count)
{
    m_notShown = m_complete ? 0 : count;
    reportCount();
}

void FinishedListWidget::HandlerLoadFinishedTaskRecord(QList<TaskRecord> tasks)
{
    m_loading = false;
    m_complete = tasks.size() < kPage;
    const int before = m_model->rowCount();
    m_model->addOlder(tasks);
    m_notShown = m_complete ? 0 : qMax<qint64>(0, m_notShown - (m_model->rowCount() - before));
    reportCount();
    if (m_model->rowCount() > before)
        QTimer::singleShot(0, this, &FinishedListWidget::loadMore);
}

void FinishedListWidget::Scroll(int)
{
    loadMore();
}

/// Asks for the next page when the end of the rows is near, so that a person who scrolls does not meet it.
void FinishedListWidget::loadMore()
{
    if (m_loading || m_complete || view()->lastRow() + kPage < view()->model()->rowCount())
        return;
    m_loading = true;
    const int count = m_model->rowCount();
    emit sigLoadFinishedTaskRecord(count > 0 ? m_model->record(count - 1) : TaskRecord(), kPage);
}

void FinishedListWidget::reportCount()
{
    emit sigFinishTaskCountChanged(m_model->rowCount() + m_notShown);
}

void FinishedListWidget::remove(const QList<TaskRecord> &tasks)
{
    if (tasks.isEmpty())
        return;
    m_model->remove(tasks);
    emit sigDelFinishedTaskRecord(tasks);
    reportCount();
    loadMore();
}

void FinishedListWidget::RemoveSelected()
{
    remove(selected());
}

void FinishedListWidget::RemoveFinishedTaskRecord()
{
    RemoveAllFinishedTaskRecord();
}

void FinishedListWidget::RemoveAllFinishedTaskRecord()
{
    if (m_model->rowCount() + m_notShown == 0)
        return;
    const QPointer<FinishedListWidget> alive(this);
    MsgDlg question(window());
    question.setTitle(tr("Promption"));
    question.setText(tr("Are you sure to clear all record?"));
    if (question.exec() != QDialog::Accepted || !alive)
        return;
    m_model->clear();
    m_notShown = 0;
    m_complete = true;
    emit sigClearFinishedTaskRecord();
    reportCount();
}

void FinishedListWidget::RetryAll()
{
    emit sigLoadFailedTaskRecord();
}

void FinishedListWidget::HandlerLoadFailedTaskRecord(QList<TaskRecord> tasks)
{
    // What failed a moment ago may not be in the store yet.
    QSet<quint64> known;
    for (const TaskRecord &task : qAsConst(tasks)) {
        known << TransferTexts::keyHash(task);
        if (m_model->find(task) < 0)
            m_retried << TransferTexts::keyHash(task);
    }
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const TaskRecord &task = m_model->record(row);
        if (task.Status != ZPDT_SUCCESS && !known.contains(TransferTexts::keyHash(task)))
            tasks << task;
    }
    retry(tasks);
}

void FinishedListWidget::retry(QList<TaskRecord> tasks)
{
    for (TaskRecord &task : tasks)
        task.taskExtra = 0; // held the reason of the failure
    if (!tasks.isEmpty())
        emit sigRetryAllTask(tasks);
}

void FinishedListWidget::RetrySelected()
{
    QList<TaskRecord> failed;
    const QList<TaskRecord> tasks = selected();
    std::copy_if(tasks.begin(), tasks.end(), std::back_inserter(failed),
                 [](const TaskRecord &task) { return task.Status != ZPDT_SUCCESS; });
    if (failed.size() == 1)
        emit sigRetryTask(failed.first());
    else
        retry(failed);
}

void FinishedListWidget::activate(const QModelIndex &index)
{
    const TaskRecord task = index.data(FinishedTaskModel::TaskRole).value<TaskRecord>();
    if (task.Status == ZPDT_SUCCESS)
        FinishedItemWidget::openFile(task, window());
    else
        emit sigRetryTask(task);
}

void FinishedListWidget::showMenu(const QPoint &position)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QModelIndex index = view()->currentIndex();
    if (selectedCount() > 0 && index.isValid()) {
        const TaskRecord task = index.data(FinishedTaskModel::TaskRole).value<TaskRecord>();
        if (task.Status != ZPDT_SUCCESS)
            menu->addAction(tr("Retry"), this, &FinishedListWidget::RetrySelected);
        menu->addAction(tr("Open file"), this, [this, task] { FinishedItemWidget::openFile(task, window()); });
        menu->addAction(tr("Open folder where file resides"), this,
                        [this, task] { FinishedItemWidget::openFolder(task, window()); });
        menu->addAction(tr("Delete"), this, &FinishedListWidget::RemoveSelected)->setShortcut(Qt::Key_Delete);
        menu->addSeparator();
    }
    addCommonActions(menu);
    menu->popup(view()->viewport()->mapToGlobal(position));
}
