#include "FinishedListWidget.h"

#include "FinishedTaskModel.h"
#include "MsgDlg.h"
#include "TransferRowDelegate.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QMenu>
#include <QPointer>
#include <QProcess>
#include <QScrollBar>
#include <QShortcut>
#include <QTimer>
#include <QTreeView>
#include <QUrl>
#include <QVBoxLayout>

namespace {

constexpr int kPage = 20;

} // namespace

FinishedListWidget::FinishedListWidget(QWidget *parent)
    : QWidget(parent)
    , m_model(new FinishedTaskModel(this))
    , m_view(new QTreeView(this))
{
    setObjectName(QStringLiteral("listwid_finished"));
    m_view->setObjectName(QStringLiteral("view_finished"));
    m_view->setModel(m_model);
    auto *delegate = new TransferRowDelegate(
        -1, 0, FinishedTaskModel::ActionColumn,
        [](const QModelIndex &index) {
            QVector<TransferRowDelegate::Action> actions;
            if (index.data(FinishedTaskModel::SuccessRole).toBool()) {
                actions << TransferRowDelegate::Action{Open, QStringLiteral("eye.svg"), tr("Open file"), true};
                actions << TransferRowDelegate::Action{Folder, QStringLiteral("folder.svg"),
                                                       tr("Open folder where file resides"), true};
            } else {
                actions << TransferRowDelegate::Action{Retry, QStringLiteral("retry.svg"), tr("Retry"), true};
            }
            actions << TransferRowDelegate::Action{Delete, QStringLiteral("delete.svg"), tr("Delete"), true};
            return actions;
        },
        this);
    delegate->dress(m_view, FinishedTaskModel::NameColumn);
    QHeaderView *header = m_view->header();
    header->resizeSection(FinishedTaskModel::SizeColumn, 90);
    header->resizeSection(FinishedTaskModel::CenterColumn, 110);
    header->resizeSection(FinishedTaskModel::TimeColumn, 165);
    header->resizeSection(FinishedTaskModel::ResultColumn, 220);
    header->resizeSection(FinishedTaskModel::ActionColumn, 96);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    setFocusProxy(m_view);

    connect(delegate, &TransferRowDelegate::triggered, this, &FinishedListWidget::trigger);
    connect(m_view, &QWidget::customContextMenuRequested, this, &FinishedListWidget::showMenu);
    connect(m_view->verticalScrollBar(), &QScrollBar::valueChanged, this, &FinishedListWidget::Scroll);
    connect(m_view, &QAbstractItemView::activated, this, [this](const QModelIndex &index) {
        trigger(index.data(FinishedTaskModel::SuccessRole).toBool() ? Open : Retry, index);
    });
    auto *erase = new QShortcut(Qt::Key_Delete, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    connect(erase, &QShortcut::activated, this, &FinishedListWidget::RemoveFinishedTaskRecord);
}

void FinishedListWidget::add(const TaskRecord &task, ZpdtError error, const QString &detail)
{
    const bool success = task.Status == ZPDT_SUCCESS;
    m_model->add(task, success ? ZpdtError::None : error, success ? QString() : detail);
    reportCount();
}

void FinishedListWidget::Withdraw(QList<TaskRecord> tasks)
{
    QList<TaskRecord> known;
    for (const TaskRecord &task : qAsConst(tasks)) {
        if (m_model->find(task) >= 0)
            known << task;
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
    // A list that is not filled yet has nothing to scroll.
    if (m_model->rowCount() > before)
        QTimer::singleShot(0, this, [this] { Scroll(m_view->verticalScrollBar()->value()); });
}

void FinishedListWidget::Scroll(int value)
{
    if (m_loading || m_complete || value < m_view->verticalScrollBar()->maximum())
        return;
    m_loading = true;
    const int count = m_model->rowCount();
    emit sigLoadFinishedTaskRecord(count > 0 ? m_model->record(count - 1) : TaskRecord(), kPage);
}

void FinishedListWidget::reportCount()
{
    emit sigFinishTaskCountChanged(m_model->rowCount() + m_notShown);
}

QList<TaskRecord> FinishedListWidget::selected() const
{
    QList<TaskRecord> tasks;
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows)
        tasks << m_model->record(row.row());
    return tasks;
}

void FinishedListWidget::remove(const QList<TaskRecord> &tasks)
{
    if (tasks.isEmpty())
        return;
    for (const TaskRecord &task : tasks)
        m_model->remove(task);
    emit sigDelFinishedTaskRecord(tasks);
    reportCount();
}

void FinishedListWidget::RemoveFinishedTaskRecord()
{
    remove(selected());
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

void FinishedListWidget::RetrySelected()
{
    const QList<TaskRecord> tasks = selected();
    for (const TaskRecord &task : tasks) {
        if (task.Status != ZPDT_SUCCESS)
            emit sigRetryTask(task);
    }
}

void FinishedListWidget::tellMissing()
{
    MsgDlg notice(window());
    notice.setTitle(tr("Error"));
    notice.setText(tr("File not found!"));
    notice.setButtonVisible(QStringLiteral("ok"), false);
    notice.setButtonText(QStringLiteral("cancel"), tr("cancel"));
    notice.exec();
}

void FinishedListWidget::OpenFile(TaskRecord task)
{
    const QString path = TransferTexts::localPath(task);
    if (QFileInfo::exists(path))
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
    else
        tellMissing();
}

void FinishedListWidget::OpenFolder(TaskRecord task)
{
    const QString path = TransferTexts::localPath(task);
    if (!QFileInfo::exists(path)) {
        tellMissing();
        return;
    }
#ifdef Q_OS_WIN
    // The explorer reads its command line itself and wants the quotes around the path alone.
    QProcess explorer;
    explorer.setProgram(QStringLiteral("explorer.exe"));
    explorer.setNativeArguments(QStringLiteral("/e,/select, \"%1\"").arg(QDir::toNativeSeparators(path)));
    explorer.startDetached();
#else
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
#endif
}

void FinishedListWidget::trigger(int id, const QModelIndex &index)
{
    const TaskRecord task = m_model->record(index.row());
    switch (id) {
    case Open:
        OpenFile(task);
        break;
    case Folder:
        OpenFolder(task);
        break;
    case Retry:
        emit sigRetryTask(task);
        break;
    case Delete:
        remove({task});
        break;
    }
}

void FinishedListWidget::showMenu(const QPoint &position)
{
    const QModelIndex index = m_view->indexAt(position);
    if (!index.isValid())
        return;
    const TaskRecord task = m_model->record(index.row());
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (task.Status == ZPDT_SUCCESS) {
        menu->addAction(tr("Open file"), this, [this, task] { OpenFile(task); });
        menu->addAction(tr("Open folder where file resides"), this, [this, task] { OpenFolder(task); });
    } else {
        menu->addAction(tr("Retry"), this, &FinishedListWidget::RetrySelected);
    }
    QAction *erase = menu->addAction(tr("Delete"), this, &FinishedListWidget::RemoveFinishedTaskRecord);
    erase->setShortcut(Qt::Key_Delete);
    menu->popup(m_view->viewport()->mapToGlobal(position));
}
