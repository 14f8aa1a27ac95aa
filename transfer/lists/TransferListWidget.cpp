#include "TransferListWidget.h"

#include "MsgDlg.h"
#include "TransferItemWidget.h"
#include "TransferTaskModel.h"

#include <QElapsedTimer>
#include <QMenu>
#include <QPointer>

namespace {

/// How far behind the store's figures may be, in milliseconds.
constexpr int kHandOverPause = 2000;
/// Tasks that are more than a few.
constexpr int kMany = 100;
/// How long orders are given before the window has its turn, in milliseconds.
constexpr qint64 kTurn = 8;
/// Rows that are taken in at once: some milliseconds of work.
constexpr int kSlice = 5000;

bool isStartable(qint32 status)
{
    return status == ZPDT_PAUSED;
}

bool isPausable(qint32 status)
{
    return TransferTaskModel::isActive(status);
}

bool isCancelable(qint32 status)
{
    return status != ZPDT_CANCELING;
}

QList<TaskRecord> those(const QList<TaskRecord> &tasks, bool (*which)(qint32))
{
    QList<TaskRecord> chosen;
    for (const TaskRecord &task : tasks) {
        if (which(task.Status))
            chosen << task;
    }
    return chosen;
}

} // namespace

TransferListWidget::TransferListWidget(ZPDTCMDTYPE type, QWidget *parent)
    : TaskListFrame(
          new TransferTaskModel, TransferTaskModel::TaskRole,
          [this](QWidget *viewport) {
              auto *row = new TransferItemWidget(viewport);
              connect(row, &TransferItemWidget::sigStartTask, this, [this](const TaskRecord &task) { start({task}); });
              connect(row, &TransferItemWidget::sigPauseTask, this, [this](const TaskRecord &task) { pause({task}); });
              connect(row, &TransferItemWidget::sigCancelTask, this,
                      [this](const TaskRecord &task) { cancel({task}); });
              return row;
          },
          type == ZPDT_UPLOAD ? QStringLiteral("upload.svg") : QStringLiteral("download.svg"), parent)
    , m_type(type)
    , m_model(static_cast<TransferTaskModel *>(view()->model()))
{
    m_model->setParent(this);
    setObjectName(type == ZPDT_UPLOAD ? QStringLiteral("listwid_upload") : QStringLiteral("listwid_download"));
    view()->setObjectName(QStringLiteral("view_transfer"));
    setColumnWidths({200, 112, 108, 150, 76}, {TransferTaskModel::LeftColumn, TransferTaskModel::SpeedColumn});
    connect(view(), &QWidget::customContextMenuRequested, this, &TransferListWidget::showMenu);
    m_handOver.setSingleShot(true);
    m_handOver.setInterval(kHandOverPause);
    connect(&m_handOver, &QTimer::timeout, this, &TransferListWidget::handOverProgress);
    m_next.setSingleShot(true);
    connect(&m_next, &QTimer::timeout, this, [this] { takeIn(kSlice); });
    m_nextOrders.setSingleShot(true);
    connect(&m_nextOrders, &QTimer::timeout, this, &TransferListWidget::giveOrders);
    addKey(Qt::Key_Space, [this] { ToggleSelected(); });
    addKey(Qt::Key_Delete, [this] { CancelSelected(); });
    retranslate();
}

QString TransferListWidget::emptyHint() const
{
    return m_type == ZPDT_UPLOAD ? tr("No uploads. Drop files on a folder of the drive to send them.")
                                 : tr("No downloads. Choose files of the drive and press Download.");
}

QList<TaskRecord> TransferListWidget::ofOwnType(const QList<TaskRecord> &tasks) const
{
    const bool own =
        std::all_of(tasks.begin(), tasks.end(), [this](const TaskRecord &task) { return task.Type == m_type; });
    if (own)
        return tasks;
    QList<TaskRecord> chosen;
    for (const TaskRecord &task : tasks) {
        if (task.Type == m_type)
            chosen << task;
    }
    return chosen;
}

void TransferListWidget::save(const QList<TaskRecord> &tasks)
{
    if (!tasks.isEmpty())
        emit sigUpdateTransferRecord(tasks, m_type);
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
    // One that is sent again comes without having been created.
    const TransferTaskModel::Put result = m_model->put(ofOwnType(tasks));
    if (!result.added.isEmpty())
        emit sigAddFinishedTaskRecord(result.added, m_type);
    save(result.resumed);
    reportCounts();
}

void TransferListWidget::PauseEnd(QList<TaskRecord> tasks)
{
    save(m_model->setStatus(ofOwnType(tasks), ZPDT_PAUSED));
    reportCounts();
}

void TransferListWidget::CancelEnd(QList<TaskRecord> tasks)
{
    tasks = ofOwnType(tasks);
    m_model->remove(tasks);
    reportCounts();
    QList<TaskRecord> known;
    for (const TaskRecord &task : qAsConst(tasks)) {
        if (!m_registered.isEmpty() && m_registered.remove(TransferTexts::keyHash(task)))
            known << task;
    }
    if (!known.isEmpty())
        emit sigUnRegisterPausedTask(known);
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

void TransferListWidget::holdForRoom(const QList<TaskRecord> &tasks, bool held)
{
    save(m_model->holdForRoom(ofOwnType(tasks), held));
}

void TransferListWidget::handOverProgress()
{
    save(m_model->takeUnsaved());
}

void TransferListWidget::Load()
{
    emit sigLoadTransferTaskRecord(m_type);
}

void TransferListWidget::HandlerLoadTransferTaskRecord(QList<TaskRecord> tasks)
{
    m_coming += ofOwnType(tasks);
    if (!m_next.isActive())
        takeIn(kSlice);
}

void TransferListWidget::takeIn(int count)
{
    QList<TaskRecord> all;
    QList<TaskRecord> paused;
    QList<TaskRecord> running;
    QList<TaskRecord> canceling;
    const int end = static_cast<int>(qMin<qint64>(m_coming.size(), qint64(m_came) + count));
    for (; m_came < end; ++m_came) {
        TaskRecord task = m_coming.at(m_came);
        // What the engine told meanwhile is newer than the store.
        if (m_model->find(task) >= 0)
            continue;
        const bool gone = task.Status == ZPDT_CANCELING;
        const bool rests = TransferTaskModel::isPaused(task.Status);
        if (!gone)
            task.Status = rests ? ZPDT_PAUSED : ZPDT_WAITING;
        (gone ? canceling : rests ? paused : running) << task;
        all << task;
    }
    if (m_came < m_coming.size()) {
        m_next.start(0);
    } else {
        m_next.stop();
        m_coming.clear();
        m_came = 0;
    }
    m_model->put(all);
    reportCounts();
    for (const TaskRecord &task : qAsConst(paused))
        m_registered << TransferTexts::keyHash(task);
    if (!paused.isEmpty())
        emit sigRegisterPausedTask(paused);
    if (!running.isEmpty())
        emit sigStartAllTask(running);
    order(true, canceling);
}

void TransferListWidget::reportCounts()
{
    const qint64 count = m_model->rowCount() + m_coming.size() - m_came;
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
    takeIn(m_coming.size());
    dropPauses();
    const QList<TaskRecord> tasks = m_model->records();
    if (!tasks.isEmpty())
        emit sigStartAllTask(tasks);
}

void TransferListWidget::PauseAllTask()
{
    takeIn(m_coming.size());
    if (m_model->rowCount() == 0)
        return;
    // Also where the program ends before the engine has answered.
    save(m_model->setStatusWhere(isPausable, ZPDT_PAUSING));
    reportCounts();
    dropPauses();
    emit sigPauseAllTask();
}

/// False also where the list went away meanwhile.
bool TransferListWidget::confirm(const QString &text)
{
    const QPointer<TransferListWidget> alive(this);
    MsgDlg question(window());
    question.setTitle(tr("Promption"));
    question.setText(text);
    return question.exec() == QDialog::Accepted && alive;
}

void TransferListWidget::CancelAllTask()
{
    takeIn(m_coming.size());
    if (m_model->rowCount() == 0)
        return;
    if (!confirm(tr("Are you sure to cancel all transmission?")))
        return;
    m_model->setStatusWhere(isCancelable, ZPDT_CANCELING);
    reportCounts();
    dropPauses();
    emit sigCancelAllTask();
    emit sigClearTransferTaskRecord(m_type);
}

void TransferListWidget::start(const QList<TaskRecord> &tasks)
{
    if (tasks.size() == 1)
        emit sigStartTask(tasks.first());
    else if (!tasks.isEmpty())
        emit sigStartAllTask(tasks);
}

void TransferListWidget::pause(const QList<TaskRecord> &tasks)
{
    const bool everything = tasks.size() > kMany && tasks.size() == m_model->activeCount();
    save(m_model->setStatus(tasks, ZPDT_PAUSING));
    reportCounts();
    if (!everything)
        return order(false, tasks);
    // One word to the engine instead of thousands.
    dropPauses();
    emit sigPauseAllTask();
}

void TransferListWidget::cancel(const QList<TaskRecord> &tasks)
{
    save(m_model->setStatus(tasks, ZPDT_CANCELING));
    reportCounts();
    order(true, tasks);
}

void TransferListWidget::order(bool cancel, const QList<TaskRecord> &tasks)
{
    for (const TaskRecord &task : tasks)
        m_orders.push_back({cancel, task});
    if (!m_nextOrders.isActive())
        giveOrders();
}

void TransferListWidget::giveOrders()
{
    QElapsedTimer turn;
    turn.start();
    while (!m_orders.empty()) {
        const Order next = std::move(m_orders.front());
        m_orders.pop_front();
        if (next.cancel)
            emit sigCancelTask(next.task);
        else
            emit sigPauseTask(next.task);
        if (turn.elapsed() >= kTurn && !m_orders.empty()) {
            m_nextOrders.start(0);
            return;
        }
    }
}

void TransferListWidget::dropPauses()
{
    m_orders.erase(std::remove_if(m_orders.begin(), m_orders.end(), [](const Order &order) { return !order.cancel; }),
                   m_orders.end());
}

void TransferListWidget::ToggleSelected()
{
    const QList<TaskRecord> tasks = selected();
    pause(those(tasks, isPausable));
    start(those(tasks, isStartable));
}

void TransferListWidget::StartSelected()
{
    start(those(selected(), isStartable));
}

void TransferListWidget::PauseSelected()
{
    pause(those(selected(), isPausable));
}

void TransferListWidget::CancelSelected()
{
    const int count = those(selected(), isCancelable).size();
    // A stray key must not throw away what took hours.
    if (count == 0 || (count > 1 && !confirm(tr("Are you sure to cancel the %1 selected transfers?").arg(count))))
        return;
    // As they are now: some may have ended while the question stood.
    cancel(those(selected(), isCancelable));
}

void TransferListWidget::showMenu(const QPoint &position)
{
    const QList<TaskRecord> tasks = selected();
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](const QString &text, void (TransferListWidget::*slot)(), bool (*which)(qint32)) {
        QAction *action = menu->addAction(text, this, slot);
        action->setEnabled(
            std::any_of(tasks.begin(), tasks.end(), [which](const TaskRecord &task) { return which(task.Status); }));
        return action;
    };
    if (!tasks.isEmpty()) {
        add(tr("Start"), &TransferListWidget::StartSelected, isStartable);
        add(tr("Pause"), &TransferListWidget::PauseSelected, isPausable);
        add(tr("Cancel"), &TransferListWidget::CancelSelected, isCancelable)->setShortcut(Qt::Key_Delete);
        menu->addSeparator();
    }
    addCommonActions(menu);
    menu->popup(view()->viewport()->mapToGlobal(position));
}
