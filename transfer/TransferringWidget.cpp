#include "TransferringWidget.h"

#include "EnginePort.h"
#include "FinishedListWidget.h"
#include "GlobalConfig.h"
#include "MsgBox.h"
#include "MsgDlg.h"
#include "StorageWatch.h"
#include "TransferDispatch.h"
#include "TransferListWidget.h"
#include "TransferManager.h"
#include "TransferStatusDockWidget.h"
#include "TransferSummaryBar.h"
#include "TransferTaskModel.h"
#include "TransferTexts.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTimer>
#include <QVBoxLayout>

#include <limits>

namespace {

constexpr int kRefreshInterval = 500; // milliseconds
constexpr int kTicksOfRoom = 20;      // refreshes without a task that waits for room, until a full disk is news again
/// A notice that names thousands of files helps nobody.
constexpr int kMostNames = 10;

TransferringWidget *s_instance = nullptr;

void registerTypes()
{
    qRegisterMetaType<TaskRecord>("TaskRecord");
    qRegisterMetaType<QList<TaskRecord>>("QList<TaskRecord>");
    qRegisterMetaType<ZPDTCMDTYPE>("ZPDTCMDTYPE");
    qRegisterMetaType<ZpdtProgress>("ZpdtProgress");
    qRegisterMetaType<QList<ZpdtConnectionInfo>>("QList<ZpdtConnectionInfo>");
    qRegisterMetaType<QList<FileItem>>("QList<FileItem>");
    qRegisterMetaType<SubCenter>("SubCenter");
}

QString titleWithCount(const QString &name, qint64 count)
{
    return count < 1 ? name : QStringLiteral("%1 (%2)").arg(name).arg(count);
}

std::unique_ptr<TransferManager> openStore()
{
    const GlobalConfig *config = GlobalConfig::instance();
    QStringList centers;
    for (const SubCenter &center : config->subCenters())
        centers << center.id;
    const QString user = config->currentUser().username;
    return std::make_unique<TransferManager>(user.isEmpty() ? QString() : config->userDatabase(user), centers);
}

QPushButton *button(const QString &name)
{
    auto *made = new QPushButton;
    made->setObjectName(name);
    return made;
}

} // namespace

TransferringWidget::TransferringWidget(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("wid_transferring"));
    registerTypes();
    m_store = openStore();
    m_engine = std::make_unique<TransferModule>(GlobalConfig::instance()->currentUser().authentication);
    m_port = std::make_unique<TransferModulePort>(m_engine.get());
    m_dispatch = new TransferDispatch(m_port.get(), this);
    m_dispatch->setQuestion([this](const QString &html) {
        MsgBox question(window());
        question.setTitle(tr("Tip"));
        question.setText(html);
        return question.exec() == QDialog::Accepted;
    });
    s_instance = this;

    buildTabs();
    buildWatch();
    auto *timer = new QTimer(this);
    connect(timer, SIGNAL(timeout()), this, SLOT(RefreshTaskCount()));
    timer->start(kRefreshInterval);
    m_dispatch->applyConcurrence();
    connectEngine();
    connectLists();
    connectStore();
    // A lower limit holds for what runs already.
    connect(GlobalConfig::instance(), &GlobalConfig::handlerGetTransferLimitFinished, m_dispatch,
            &TransferDispatch::applyLimits);
    retranslate();
}

TransferringWidget::~TransferringWidget()
{
    if (s_instance == this)
        s_instance = nullptr;
    // First the engine with its threads, so that no report finds half a page.
    m_engine->disconnect(this);
    m_port.reset();
    m_engine.reset();
    // What the lists know last goes into the store, which writes it before it ends.
    for (TransferListWidget *list : {m_uploads, m_downloads})
        list->handOverProgress();
    m_store.reset();
}

TransferringWidget *TransferringWidget::instance()
{
    return s_instance;
}

QWidget *TransferringWidget::buildTab(const QString &name, QWidget *list, const QList<QPushButton *> &buttons)
{
    auto *tab = new QWidget;
    tab->setObjectName(name);
    auto *bar = new QHBoxLayout;
    bar->setContentsMargins(12, 10, 12, 6);
    bar->setSpacing(8);
    for (QPushButton *entry : buttons)
        bar->addWidget(entry);
    bar->addStretch();
    auto *layout = new QVBoxLayout(tab);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(bar);
    layout->addWidget(list);
    return tab;
}

void TransferringWidget::buildTabs()
{
    m_uploads = new TransferListWidget(ZPDT_UPLOAD);
    m_downloads = new TransferListWidget(ZPDT_DOWNLOAD);
    m_finished = new FinishedListWidget;
    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName(QStringLiteral("tabwid_transfer"));
    m_tabs->tabBar()->setDrawBase(false);
    for (TransferListWidget *list : {m_uploads, m_downloads}) {
        const QString suffix = list == m_uploads ? QStringLiteral("upload") : QStringLiteral("download");
        m_startAll << button(QStringLiteral("btn_start_all_") + suffix);
        m_pauseAll << button(QStringLiteral("btn_pause_all_") + suffix);
        m_cancelAll << button(QStringLiteral("btn_cancel_all_") + suffix);
        connect(m_startAll.last(), SIGNAL(clicked()), list, SLOT(StartAllTask()));
        connect(m_pauseAll.last(), SIGNAL(clicked()), list, SLOT(PauseAllTask()));
        connect(m_cancelAll.last(), SIGNAL(clicked()), list, SLOT(CancelAllTask()));
        m_tabs->addTab(
            buildTab(QStringLiteral("tab_") + suffix, list, {m_startAll.last(), m_pauseAll.last(), m_cancelAll.last()}),
            QString());
    }
    m_clearAll = button(QStringLiteral("btn_clear_all"));
    connect(m_clearAll, SIGNAL(clicked()), m_finished, SLOT(RemoveAllFinishedTaskRecord()));
    m_retryAll = button(QStringLiteral("btn_retry_all"));
    connect(m_retryAll, SIGNAL(clicked()), m_finished, SLOT(RetryAll()));
    m_tabs->addTab(buildTab(QStringLiteral("tab_finished"), m_finished, {m_retryAll, m_clearAll}), QString());

    buildStatus();
    auto *columns = new QHBoxLayout;
    columns->setSpacing(0);
    columns->addWidget(m_tabs, 1);
    columns->addWidget(m_dock);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(columns, 1);
    layout->addWidget(m_summary);
}

void TransferringWidget::buildStatus()
{
    m_clock.start();
    m_dock = new TransferStatusDockWidget([this](const QString &id) { return m_totals.tasksOf(id); });
    m_dock->hide();
    m_summary = new TransferSummaryBar;
    connect(m_summary->statusButton(), SIGNAL(clicked()), this, SLOT(OnClickNetStatus()));
    connect(m_dock, &TransferStatusDockWidget::closed, this, &TransferringWidget::OnClickNetStatus);
    connect(m_dock, &TransferStatusDockWidget::worstChanged, this, [this] { m_summary->setHealth(m_dock->worst()); });
}

void TransferringWidget::buildWatch()
{
    m_watch = new StorageWatch(this);
    connect(m_watch, &StorageWatch::roomFound, this, &TransferringWidget::StartAllTask);
    connect(m_watch, &StorageWatch::capacityWanted, this, &TransferringWidget::StorageFiguresWanted);
}

void TransferringWidget::OnClickNetStatus()
{
    const bool shown = m_dock->isHidden();
    m_dock->setVisible(shown);
    m_summary->statusButton()->setChecked(shown);
}

void TransferringWidget::connectEngine()
{
    TransferModule *engine = m_engine.get();
    connect(engine, SIGNAL(TaskCreated(QList<TaskRecord>, ZPDTCMDTYPE)), this,
            SLOT(OnFileTaskCreate(QList<TaskRecord>, ZPDTCMDTYPE)));
    connect(engine, SIGNAL(TaskStarted(QList<TaskRecord>, ZPDTCMDTYPE)), this,
            SLOT(OnFileTaskStart(QList<TaskRecord>, ZPDTCMDTYPE)));
    connect(engine, SIGNAL(TaskFinished(QList<TaskRecord>, ZPDTCMDTYPE)), this,
            SLOT(OnFileTaskFinished(QList<TaskRecord>, ZPDTCMDTYPE)));
    connect(engine, SIGNAL(TaskRetrans(QList<TaskRecord>, ZPDTCMDTYPE)), this,
            SLOT(OnFileTaskRetrans(QList<TaskRecord>, ZPDTCMDTYPE)));
    connect(engine, SIGNAL(TaskDirCreated(QStringList)), this, SLOT(OnFolderUploadFinished(QStringList)));
    connect(engine, SIGNAL(TaskPauseEnd(QList<TaskRecord>, ZPDTCMDTYPE)), this,
            SLOT(OnPauseEnd(QList<TaskRecord>, ZPDTCMDTYPE)));
    connect(engine, SIGNAL(TaskCancelEnd(QList<TaskRecord>, ZPDTCMDTYPE)), this,
            SLOT(OnCancelEnd(QList<TaskRecord>, ZPDTCMDTYPE)));
    connect(engine, SIGNAL(TaskExist(QList<TaskRecord>)), this, SLOT(OnTaskExist(QList<TaskRecord>)));
    connect(engine, SIGNAL(TaskCreatePausedCount(qint64, ZPDTCMDTYPE)), this,
            SLOT(TransferTaskCountChanged(qint64, ZPDTCMDTYPE)));
    connect(engine, SIGNAL(ConnectionInfoChanged(QList<ZpdtConnectionInfo>)), this,
            SLOT(OnConnectionInfoChanged(QList<ZpdtConnectionInfo>)));
    connect(engine, &TransferModule::TaskProgressChanged, this,
            [this](const TaskRecord &task, const ZpdtProgress &progress) {
                m_totals.progress(task, progress);
                m_watch->progress(task, progress);
                if (progress.error == ZpdtError::Refused)
                    emit Refused();
            });
    for (TransferListWidget *list : {m_uploads, m_downloads}) {
        connect(engine, SIGNAL(TaskCreateCount(qint64, ZPDTCMDTYPE)), list, SLOT(CreateCount(qint64, ZPDTCMDTYPE)));
        connect(engine, SIGNAL(TaskProgressChanged(TaskRecord, ZpdtProgress)), list,
                SLOT(OnProgressChanged(TaskRecord, ZpdtProgress)));
        connect(list, &TransferListWidget::sigRegisterPausedTask, this,
                [this](const QList<TaskRecord> &tasks) { m_totals.put(tasks); });
        connect(list, SIGNAL(sigRegisterPausedTask(QList<TaskRecord>)), engine,
                SIGNAL(SigRegisterPausedTask(QList<TaskRecord>)));
        connect(list, SIGNAL(sigUnRegisterPausedTask(QList<TaskRecord>)), engine,
                SIGNAL(SigUnRegisterPausedTask(QList<TaskRecord>)));
    }
}

void TransferringWidget::connectLists()
{
    for (TransferListWidget *list : {m_uploads, m_downloads}) {
        connect(list, SIGNAL(sigStartTask(TaskRecord)), this, SLOT(StartTask(TaskRecord)));
        connect(list, SIGNAL(sigPauseTask(TaskRecord)), this, SLOT(PauseTask(TaskRecord)));
        connect(list, SIGNAL(sigCancelTask(TaskRecord)), this, SLOT(CancelTask(TaskRecord)));
        connect(list, SIGNAL(sigStartAllTask(QList<TaskRecord>)), this, SLOT(StartAllTask(QList<TaskRecord>)));
        connect(list, SIGNAL(sigPauseAllTask()), this, SLOT(PauseAllTask()));
        connect(list, SIGNAL(sigCancelAllTask()), this, SLOT(CancelAllTask()));
        connect(list, SIGNAL(sigTransferTaskCountChanged(qint64, ZPDTCMDTYPE)), this,
                SLOT(TransferTaskCountChanged(qint64, ZPDTCMDTYPE)));
        connect(list, SIGNAL(sigButtonStateChanged(bool)), this, SLOT(OnButtonStateChanged(bool)));
    }
    connect(m_finished, SIGNAL(sigRetryTask(TaskRecord)), this, SLOT(StartTask(TaskRecord)));
    connect(m_finished, SIGNAL(sigRetryAllTask(QList<TaskRecord>)), this, SLOT(StartAllTask(QList<TaskRecord>)));
    connect(m_finished, SIGNAL(sigFinishTaskCountChanged(qint64)), this, SLOT(FinishTaskCountChanged(qint64)));
}

void TransferringWidget::connectStore()
{
    const TransferManager *store = m_store.get();
    const auto join = [](const QObject *sender, const char *signal, const QObject *receiver, const char *slot) {
        connect(sender, signal, receiver, slot, Qt::QueuedConnection);
    };
    // In this order: a program that is killed in between looks at the task once more, and loses none.
    join(m_engine.get(), SIGNAL(TaskFinished(QList<TaskRecord>, ZPDTCMDTYPE)), store,
         SLOT(OnAddFinishedRecord(QList<TaskRecord>, ZPDTCMDTYPE)));
    join(m_engine.get(), SIGNAL(TaskFinished(QList<TaskRecord>, ZPDTCMDTYPE)), store,
         SLOT(OnDelTransferRecord(QList<TaskRecord>, ZPDTCMDTYPE)));
    join(m_engine.get(), SIGNAL(TaskCancelEnd(QList<TaskRecord>, ZPDTCMDTYPE)), store,
         SLOT(OnDelTransferRecord(QList<TaskRecord>, ZPDTCMDTYPE)));
    for (TransferListWidget *list : {m_uploads, m_downloads}) {
        join(list, SIGNAL(sigAddFinishedTaskRecord(QList<TaskRecord>, ZPDTCMDTYPE)), store,
             SLOT(OnAddTransferRecord(QList<TaskRecord>, ZPDTCMDTYPE)));
        join(list, SIGNAL(sigUpdateTransferRecord(QList<TaskRecord>, ZPDTCMDTYPE)), store,
             SLOT(OnUpdateTransferRecord(QList<TaskRecord>, ZPDTCMDTYPE)));
        join(list, SIGNAL(sigClearTransferTaskRecord(ZPDTCMDTYPE)), store,
             SLOT(OnClearTransferTaskRecord(ZPDTCMDTYPE)));
        join(list, SIGNAL(sigLoadTransferTaskRecord(ZPDTCMDTYPE)), store, SLOT(OnLoadTransferTaskRecord(ZPDTCMDTYPE)));
    }
    join(store, SIGNAL(sigLoadUploadTaskRecord(QList<TaskRecord>)), m_uploads,
         SLOT(HandlerLoadTransferTaskRecord(QList<TaskRecord>)));
    join(store, SIGNAL(sigLoadDownloadTaskRecord(QList<TaskRecord>)), m_downloads,
         SLOT(HandlerLoadTransferTaskRecord(QList<TaskRecord>)));
    join(m_finished, SIGNAL(sigDelFinishedTaskRecord(QList<TaskRecord>)), store,
         SLOT(OnDelFinishedRecord(QList<TaskRecord>)));
    join(m_finished, SIGNAL(sigLoadFailedTaskRecord()), store, SLOT(OnLoadFailedTaskRecord()));
    join(store, SIGNAL(sigLoadFailedTaskRecord(QList<TaskRecord>)), m_finished,
         SLOT(HandlerLoadFailedTaskRecord(QList<TaskRecord>)));
    join(m_finished, SIGNAL(sigClearFinishedTaskRecord()), store, SLOT(OnClearFinishedTaskRecord()));
    join(m_finished, SIGNAL(sigLoadFinishedTaskRecord(TaskRecord, int)), store,
         SLOT(OnLoadFinishedTaskRecord(TaskRecord, int)));
    join(store, SIGNAL(sigLoadFinishedTaskRecord(QList<TaskRecord>)), m_finished,
         SLOT(HandlerLoadFinishedTaskRecord(QList<TaskRecord>)));
    join(store, SIGNAL(sigInitTaskCount(qint64, qint64, qint64)), this, SLOT(InitCount(qint64, qint64, qint64)));
    emit m_store->sigInit();
    m_uploads->Load();
    m_downloads->Load();
    m_finished->Load();
}

void TransferringWidget::retranslate()
{
    for (int i = 0; i < m_startAll.size(); ++i) {
        m_startAll.at(i)->setText(tr("Start All"));
        m_pauseAll.at(i)->setText(tr("Pause All"));
        m_cancelAll.at(i)->setText(tr("Cancel All"));
    }
    m_retryAll->setText(tr("Retry All Failed"));
    m_clearAll->setText(tr("Clear All"));
    RefreshTaskCount();
}

void TransferringWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslate();
    QWidget::changeEvent(event);
}

TransferListWidget *TransferringWidget::listOf(ZPDTCMDTYPE type) const
{
    return type == ZPDT_UPLOAD ? m_uploads : m_downloads;
}

int TransferringWidget::runningCount() const
{
    return m_uploads->model()->activeCount() + m_downloads->model()->activeCount();
}

void TransferringWidget::Upload(QStringList files, QStringList folders, SubCenter center, QString remoteDir)
{
    if (m_dispatch->Upload(files, folders, center, remoteDir))
        emit ChangeTransferStatus(1);
}

void TransferringWidget::Download(QList<FileItem> files, QList<FileItem> folders, SubCenter center, QString localDir)
{
    if (m_dispatch->Download(files, folders, center, localDir))
        emit ChangeTransferStatus(1);
}

void TransferringWidget::StartTask(TaskRecord task)
{
    // Somebody who tries again wants to hear what comes of it.
    m_storageTold = false;
    m_dispatch->StartTask(task);
}

void TransferringWidget::PauseTask(TaskRecord task)
{
    m_watch->release({task});
    m_dispatch->PauseTask(task);
}

void TransferringWidget::CancelTask(TaskRecord task)
{
    m_dispatch->CancelTask(task);
}

void TransferringWidget::StartAllTask(QList<TaskRecord> tasks)
{
    m_dispatch->StartAllTask(tasks);
}

void TransferringWidget::PauseAllTask()
{
    if (!sender())
        return;
    if (auto *list = qobject_cast<TransferListWidget *>(sender())) {
        // What waits for room is paused from now on because somebody said so.
        list->holdForRoom(m_watch->releaseAll(list->type()), false);
    }
    m_dispatch->PauseAllTask(sender()->objectName());
}

void TransferringWidget::CancelAllTask()
{
    if (sender())
        m_dispatch->CancelAllTask(sender()->objectName());
}

void TransferringWidget::SetZpdtParams(QString subCenterId)
{
    m_dispatch->SetZpdtParams(subCenterId);
}

void TransferringWidget::ApplyConcurrence()
{
    m_dispatch->applyConcurrence();
}

void TransferringWidget::UpdateStorageCapacity()
{
    m_dispatch->updateStorageCapacity();
    for (const SubCenter &center : GlobalConfig::instance()->subCenters()) {
        if (center.hasHome())
            m_watch->setCapacity(center.id, center.quota > 0 ? qMax<qint64>(0, center.quota - center.used)
                                                             : std::numeric_limits<qint64>::max());
    }
}

void TransferringWidget::RefreshTaskCount()
{
    m_tabs->setTabText(0, titleWithCount(tr("Uploading"), m_uploadCount));
    m_tabs->setTabText(1, titleWithCount(tr("Downloading"), m_downloadCount));
    m_tabs->setTabText(2, titleWithCount(tr("Finished"), m_finishedCount));
    // Costs are learned by the second.
    if (++m_ticks % 2 == 0) {
        m_totals.tick(m_clock.elapsed());
        if (m_dock->isVisible())
            m_dock->refresh();
    }
    m_ticksWithRoom = m_watch->isEmpty() ? m_ticksWithRoom + 1 : 0;
    if (m_ticksWithRoom >= kTicksOfRoom)
        m_storageTold = false;
    m_summary->setFigures(m_totals.figures(ZPDT_UPLOAD), m_totals.figures(ZPDT_DOWNLOAD), m_totals.figures());
}

void TransferringWidget::InitCount(qint64 uploads, qint64 downloads, qint64 finished)
{
    // Tasks may have come before the store's answer.
    m_uploadCount = qMax<qint64>(uploads, m_uploads->model()->rowCount());
    m_downloadCount = qMax<qint64>(downloads, m_downloads->model()->rowCount());
    m_finished->setStoredCount(finished);
}

void TransferringWidget::TransferTaskCountChanged(qint64 count, ZPDTCMDTYPE type)
{
    // The engine counts what it holds already, which after a restart is less than what is on its way to it.
    const qint64 least = sender() == m_engine.get() ? listOf(type)->model()->rowCount() : 0;
    (type == ZPDT_UPLOAD ? m_uploadCount : m_downloadCount) = qMax(count, least);
}

void TransferringWidget::FinishTaskCountChanged(qint64 count)
{
    m_finishedCount = count;
}

void TransferringWidget::OnFileTaskCreate(QList<TaskRecord> tasks, ZPDTCMDTYPE type)
{
    m_totals.put(tasks);
    m_finished->Withdraw(tasks);
    listOf(type)->CreateEnd(tasks);
    emit FileTransferringTaskCreated(type);
    OnButtonStateChanged(true);
}

void TransferringWidget::OnFileTaskStart(QList<TaskRecord> tasks, ZPDTCMDTYPE type)
{
    m_watch->release(tasks);
    m_totals.put(tasks);
    m_finished->Withdraw(tasks);
    listOf(type)->StartEnd(tasks);
}

void TransferringWidget::OnFileTaskRetrans(QList<TaskRecord> tasks, ZPDTCMDTYPE type)
{
    m_watch->release(tasks);
    m_totals.put(tasks);
    m_finished->Withdraw(tasks);
    listOf(type)->Retrans(tasks);
    OnButtonStateChanged(true);
}

void TransferringWidget::OnFileTaskFinished(QList<TaskRecord> tasks, ZPDTCMDTYPE type)
{
    m_watch->release(tasks);
    m_totals.finish(tasks);
    TransferListWidget *list = listOf(type);
    QStringList names;
    QStringList uploaded;
    QList<TaskRecord> succeeded;
    int others = 0;
    for (TaskRecord &task : tasks) {
        // The reason of a failure came with the task's last progress, which the list still holds.
        const ZpdtProgress progress = list->model()->progress(task);
        if (!task.FinishDate.isValid())
            task.FinishDate = QDateTime::currentDateTime();
        m_finished->add(task, progress.error, progress.errorText);
        if (task.Status != ZPDT_SUCCESS)
            continue;
        succeeded << task;
        if (names.size() < kMostNames)
            names << TransferTexts::taskName(task);
        else
            ++others;
        if (type == ZPDT_UPLOAD)
            uploaded << TransferTexts::remotePath(task);
    }
    list->Finish(tasks);
    m_watch->succeeded(succeeded);
    if (others > 0)
        names << tr("and %1 more").arg(others);
    if (!uploaded.isEmpty())
        emit FileUploadFinished(uploaded);
    if (!names.isEmpty())
        emit FileTransferringFinished(names, type);
}

void TransferringWidget::OnFolderUploadFinished(QStringList folders)
{
    emit FolderUploadFinished(folders);
}

void TransferringWidget::OnPauseEnd(QList<TaskRecord> tasks, ZPDTCMDTYPE type)
{
    m_totals.pause(tasks);
    TransferListWidget *list = listOf(type);
    list->PauseEnd(tasks);
    const QList<TaskRecord> held = m_watch->paused(tasks);
    if (held.isEmpty())
        return;
    list->holdForRoom(held, true);
    showStorageExhausted();
}

void TransferringWidget::OnCancelEnd(QList<TaskRecord> tasks, ZPDTCMDTYPE type)
{
    m_watch->release(tasks);
    m_totals.cancel(tasks);
    listOf(type)->CancelEnd(tasks);
}

void TransferringWidget::OnTaskExist(QList<TaskRecord> tasks)
{
    if (tasks.isEmpty())
        return;
    QString text = tr("following tasks are already running");
    const int shown = qMin(tasks.size(), kMostNames);
    for (int i = 0; i < shown; ++i) {
        const TaskRecord &task = tasks.at(i);
        const QString folder = task.From.endsWith(QLatin1Char('/')) ? task.From : task.From + QLatin1Char('/');
        text += QStringLiteral("\n%1/%2,").arg(i + 1).arg(tasks.size());
        text +=
            QStringLiteral("%1:%2%3...")
                .arg(task.Type == ZPDT_UPLOAD ? tr("Upload") : tr("Download"), folder, TransferTexts::taskName(task));
    }
    if (!m_existNotice) {
        m_existNotice = new MsgDlg(window());
        m_existNotice->setTitle(tr("Tasks already running"));
        m_existNotice->setButtonVisible(QStringLiteral("cancel"), false);
    }
    m_existNotice->setText(text);
    // Not exec(): a report of the engine must not wait for a person.
    if (!m_existNotice->isVisible())
        m_existNotice->open();
    OnButtonStateChanged(true);
}

void TransferringWidget::showStorageExhausted()
{
    if (!m_storageNotice) {
        m_storageNotice = new MsgDlg(window());
        m_storageNotice->setTitle(tr("Tip"));
        m_storageNotice->setText(tr("Not enough storage"));
        m_storageNotice->setButtonVisible(QStringLiteral("ok"), false);
        m_storageNotice->setButtonText(QStringLiteral("cancel"), tr("cancel"));
    }
    // One full disk is one notice, however many tasks find it full and however often they try again.
    if (!m_storageTold && !m_storageNotice->isVisible())
        m_storageNotice->open();
    m_storageTold = true;
}

void TransferringWidget::OnConnectionInfoChanged(QList<ZpdtConnectionInfo> connections)
{
    m_totals.lines(connections);
    m_dock->OnConnectionInfoChanged(connections);
}

void TransferringWidget::OnButtonStateChanged(bool)
{
    emit ChangeTransferStatus(runningCount() > 0 ? 2 : 0);
}
