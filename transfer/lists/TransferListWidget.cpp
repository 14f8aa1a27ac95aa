#include "TransferListWidget.h"

#include "MsgDlg.h"
#include "TransferRowDelegate.h"
#include "TransferTaskModel.h"

#include <QHeaderView>
#include <QMenu>
#include <QPointer>
#include <QShortcut>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

/// How far behind the store's figures may be, in milliseconds.
constexpr int kHandOverPause = 2000;

bool isPaused(const TaskRecord &task)
{
    return task.Status == ZPDT_PAUSED || task.Status == ZPDT_PAUSING;
}

QVector<TransferRowDelegate::Action> actionsFor(qint32 status)
{
    const bool paused = status == ZPDT_PAUSED;
    const bool canceling = status == ZPDT_CANCELING;
    return {{0, paused ? QStringLiteral("start.svg") : QStringLiteral("pause.svg"), TransferTexts::toggleTip(status),
             status != ZPDT_PAUSING && !canceling},
            {1, QStringLiteral("cancel.svg"), TransferListWidget::tr("Cancel"), !canceling}};
}

} // namespace

TransferListWidget::TransferListWidget(ZPDTCMDTYPE type, QWidget *parent)
    : QWidget(parent)
    , m_type(type)
    , m_model(new TransferTaskModel(this))
    , m_view(new QTreeView(this))
{
    setObjectName(type == ZPDT_UPLOAD ? QStringLiteral("listwid_upload") : QStringLiteral("listwid_download"));
    m_view->setObjectName(QStringLiteral("view_transfer"));
    m_view->setModel(m_model);
    auto *delegate = new TransferRowDelegate(
        TransferTaskModel::ProgressColumn, TransferTaskModel::PercentRole, TransferTaskModel::ActionColumn,
        [](const QModelIndex &index) { return actionsFor(index.data(TransferTaskModel::StatusRole).toInt()); }, this);
    delegate->dress(m_view, TransferTaskModel::NameColumn);
    QHeaderView *header = m_view->header();
    header->resizeSection(TransferTaskModel::ProgressColumn, 230);
    header->resizeSection(TransferTaskModel::SpeedColumn, 110);
    header->resizeSection(TransferTaskModel::StatusColumn, 120);
    header->resizeSection(TransferTaskModel::ActionColumn, 72);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    setFocusProxy(m_view);

    connect(delegate, &TransferRowDelegate::triggered, this, &TransferListWidget::trigger);
    connect(m_view, &QWidget::customContextMenuRequested, this, &TransferListWidget::showMenu);
    m_handOver.setSingleShot(true);
    m_handOver.setInterval(kHandOverPause);
    connect(&m_handOver, &QTimer::timeout, this, &TransferListWidget::handOverProgress);
    // Shortcuts and not key events: the view takes the blank for its own selection.
    auto *toggle = new QShortcut(Qt::Key_Space, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    connect(toggle, &QShortcut::activated, this, &TransferListWidget::ToggleSelected);
    auto *cancel = new QShortcut(Qt::Key_Delete, this, nullptr, nullptr, Qt::WidgetWithChildrenShortcut);
    connect(cancel, &QShortcut::activated, this, &TransferListWidget::CancelSelected);
}

QList<TaskRecord> TransferListWidget::ofOwnType(const QList<TaskRecord> &tasks) const
{
    QList<TaskRecord> own;
    for (const TaskRecord &task : tasks) {
        if (task.Type == m_type)
            own << task;
    }
    return own;
}

void TransferListWidget::CreateEnd(QList<TaskRecord> tasks)
{
    tasks = ofOwnType(tasks);
    if (tasks.isEmpty())
        return;
    m_model->put(tasks);
    emit sigAddFinishedTaskRecord(tasks, m_type);
    reportCounts();
}

void TransferListWidget::StartEnd(QList<TaskRecord> tasks)
{
    QList<TaskRecord> fresh;
    QList<TaskRecord> changed;
    tasks = ofOwnType(tasks);
    for (const TaskRecord &task : qAsConst(tasks)) {
        const int row = m_model->find(task);
        if (row < 0)
            fresh << task;
        else if (isPaused(m_model->record(row)))
            changed << task;
    }
    m_model->put(tasks);
    if (!fresh.isEmpty())
        emit sigAddFinishedTaskRecord(fresh, m_type);
    if (!changed.isEmpty())
        emit sigUpdateTransferRecord(changed, m_type);
    reportCounts();
}

/// Changes that a restart has to know about go to the store at once.
void TransferListWidget::setStatus(const QList<TaskRecord> &tasks, qint32 status)
{
    QList<TaskRecord> changed;
    m_model->setStatus(tasks, status);
    for (const TaskRecord &task : tasks) {
        const int row = m_model->find(task);
        if (row >= 0)
            changed << m_model->record(row);
    }
    if (!changed.isEmpty())
        emit sigUpdateTransferRecord(changed, m_type);
}

void TransferListWidget::PauseEnd(QList<TaskRecord> tasks)
{
    setStatus(ofOwnType(tasks), ZPDT_PAUSED);
    reportCounts();
}

void TransferListWidget::CancelEnd(QList<TaskRecord> tasks)
{
    m_model->remove(ofOwnType(tasks));
    reportCounts();
}

void TransferListWidget::CancelAllPausedEnd(QList<TaskRecord> tasks)
{
    CancelEnd(tasks);
}

void TransferListWidget::Finish(QList<TaskRecord> tasks)
{
    CancelEnd(tasks);
}

void TransferListWidget::Retrans(QList<TaskRecord> tasks)
{
    StartEnd(tasks);
}

void TransferListWidget::CreateCount(qint64 count, ZPDTCMDTYPE type)
{
    // The rows come with the tasks themselves; until then the announced number stands in the title.
    if (type == m_type && count > 0)
        emit sigTransferTaskCountChanged(qMax<qint64>(count, m_model->rowCount()), m_type);
}

void TransferListWidget::OnProgressChanged(TaskRecord task, ZpdtProgress progress)
{
    if (task.Type != m_type)
        return;
    m_model->setProgress(task, progress);
    if (!m_handOver.isActive())
        m_handOver.start();
    reportCounts();
}

void TransferListWidget::handOverProgress()
{
    const QList<TaskRecord> tasks = m_model->takeUnsaved();
    if (!tasks.isEmpty())
        emit sigUpdateTransferRecord(tasks, m_type);
}

void TransferListWidget::Load()
{
    emit sigLoadTransferTaskRecord(m_type);
}

void TransferListWidget::HandlerLoadTransferTaskRecord(QList<TaskRecord> tasks)
{
    QList<TaskRecord> all;
    QList<TaskRecord> paused;
    QList<TaskRecord> running;
    QList<TaskRecord> canceling;
    tasks = ofOwnType(tasks);
    for (TaskRecord &task : tasks) {
        // What the engine told meanwhile is newer than the store.
        if (m_model->find(task) >= 0)
            continue;
        const bool gone = task.Status == ZPDT_CANCELING;
        const bool rests = isPaused(task);
        if (!gone)
            task.Status = rests ? ZPDT_PAUSED : ZPDT_WAITING;
        (gone ? canceling : rests ? paused : running) << task;
        all << task;
    }
    m_model->put(all);
    if (!paused.isEmpty())
        emit sigRegisterPausedTask(paused);
    if (!running.isEmpty())
        emit sigStartAllTask(running);
    for (const TaskRecord &task : qAsConst(canceling))
        emit sigCancelTask(task);
    reportCounts();
}

void TransferListWidget::reportCounts()
{
    const qint64 count = m_model->rowCount();
    const bool running = m_model->activeCount() > 0;
    if (count != m_lastCount) {
        m_lastCount = count;
        emit sigTransferTaskCountChanged(count, m_type);
    }
    if (running != m_lastRunning) {
        m_lastRunning = running;
        emit sigButtonStateChanged(running);
    }
}

void TransferListWidget::StartAllTask()
{
    const QList<TaskRecord> tasks = m_model->records();
    if (!tasks.isEmpty())
        emit sigStartAllTask(tasks);
}

void TransferListWidget::PauseAllTask()
{
    if (m_model->rowCount() > 0)
        emit sigPauseAllTask();
}

void TransferListWidget::CancelAllTask()
{
    if (m_model->rowCount() == 0)
        return;
    const QPointer<TransferListWidget> alive(this);
    MsgDlg question(window());
    question.setTitle(tr("Promption"));
    question.setText(tr("Are you sure to cancel all transmission?"));
    if (question.exec() == QDialog::Accepted && alive) {
        emit sigCancelAllTask();
        emit sigClearTransferTaskRecord(m_type);
    }
}

int TransferListWidget::selectedCount() const
{
    return m_view->selectionModel()->selectedRows().size();
}

QList<TaskRecord> TransferListWidget::selected() const
{
    QList<TaskRecord> tasks;
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    for (const QModelIndex &row : rows)
        tasks << m_model->record(row.row());
    return tasks;
}

void TransferListWidget::ToggleSelected()
{
    const QList<TaskRecord> tasks = selected();
    for (const TaskRecord &task : tasks) {
        if (task.Status == ZPDT_PAUSED)
            ClickStart(task);
        else if (task.Status != ZPDT_PAUSING && task.Status != ZPDT_CANCELING)
            ClickPause(task);
    }
}

void TransferListWidget::CancelSelected()
{
    const QList<TaskRecord> tasks = selected();
    for (const TaskRecord &task : tasks) {
        if (task.Status != ZPDT_CANCELING)
            ClickCancel(task);
    }
}

void TransferListWidget::ClickStart(const TaskRecord &task)
{
    emit sigStartTask(task);
}

void TransferListWidget::ClickPause(const TaskRecord &task)
{
    setStatus({task}, ZPDT_PAUSING);
    emit sigPauseTask(task);
}

void TransferListWidget::ClickCancel(const TaskRecord &task)
{
    setStatus({task}, ZPDT_CANCELING);
    emit sigCancelTask(task);
}

void TransferListWidget::trigger(int id, const QModelIndex &index)
{
    const TaskRecord task = m_model->record(index.row());
    if (id == Cancel)
        ClickCancel(task);
    else if (task.Status == ZPDT_PAUSED)
        ClickStart(task);
    else
        ClickPause(task);
}

void TransferListWidget::showMenu(const QPoint &position)
{
    const QModelIndex index = m_view->indexAt(position);
    if (!index.isValid())
        return;
    const qint32 status = m_model->record(index.row()).Status;
    const bool moving = status != ZPDT_PAUSING && status != ZPDT_CANCELING;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction *toggle = menu->addAction(TransferTexts::toggleTip(status), this, &TransferListWidget::ToggleSelected);
    toggle->setShortcut(Qt::Key_Space);
    toggle->setEnabled(moving);
    QAction *cancel = menu->addAction(tr("Cancel"), this, &TransferListWidget::CancelSelected);
    cancel->setShortcut(Qt::Key_Delete);
    cancel->setEnabled(status != ZPDT_CANCELING);
    menu->popup(m_view->viewport()->mapToGlobal(position));
}
